// SPDX-License-Identifier: MIT
//
// The long table of an image, and what is told below it.

#ifndef QORHEX_LONG_TABLE_H
#define QORHEX_LONG_TABLE_H

#include <cstddef>

#include "telling/report.h"
#include "telling/text_sink.h"

/// Gives `sink` the table of `report`: a heading, a line for each segment and
/// for each gap between two of them, the total; without segments there is the
/// total only.
///
/// Segments have their CRC-32; the lines of their first and last byte where
/// they are known, with the FILE before the line where there are several; and
/// their regions where there are any. Below, each behind an empty line, stand
/// the use of the regions, the start addresses, and a bar of `width` cells.
void makeLongTable(const report_t& report, std::size_t width,
                   const textSink_t& sink);

/// Writes the long table of `report` to standard output, with a bar as wide as
/// the terminal.
void showLongTable(const report_t& report);

#endif  // QORHEX_LONG_TABLE_H
