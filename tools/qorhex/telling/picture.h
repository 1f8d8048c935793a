// SPDX-License-Identifier: MIT
//
// An image as a picture.

#ifndef QORHEX_PICTURE_H
#define QORHEX_PICTURE_H

#include <string>

#include "telling/report.h"

/// Draws the memory map of `report` as an SVG document, addresses growing
/// downwards.
///
/// Segments and gaps are drawn to one scale, with breaks in long gaps; beside
/// them stand their addresses, sizes, and the regions with their use. The
/// document has a white background and no scripts, needs no fonts but generic
/// ones, and is the same for the same report. Its size has a bound whatever the
/// image has.
std::string pictureOf(const report_t& report);

#endif  // QORHEX_PICTURE_H
