// SPDX-License-Identifier: MIT
//
// Where text goes that is made in pieces.

#ifndef QORHEX_TEXT_SINK_H
#define QORHEX_TEXT_SINK_H

#include <functional>
#include <string_view>

/// Takes the next piece of a text. What it throws ends the making of it.
using textSink_t = std::function<void(std::string_view)>;

#endif  // QORHEX_TEXT_SINK_H
