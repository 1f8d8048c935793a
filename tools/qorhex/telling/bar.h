// SPDX-License-Identifier: MIT
//
// The addresses of an image as one line of cells.

#ifndef QORHEX_BAR_H
#define QORHEX_BAR_H

#include <cstddef>
#include <string>

#include "telling/report.h"

/// Returns `width` cells, equal parts of what lies from the first to the last
/// address of `report`: of its regions where there are any, else of its data;
/// nothing where there is neither. A cell is '#' where all its addresses have
/// data, '+' where some have, '.' where none has.
///
/// A gap longer than all data together is the three cells "/ /": one between
/// data, or one between regions where no data follows or goes before. What lies
/// between two such gaps has at least a cell of its own; where there are too
/// many for that, the longest are short.
std::string barOf(const report_t& report, std::size_t width);

#endif  // QORHEX_BAR_H
