// SPDX-License-Identifier: MIT
//
// From a HEX file to an image: the text is checked, put into order where the
// library would not read it right, and handed to the library.

#ifndef QORHEX_READING_H
#define QORHEX_READING_H

#include <string>

#include <qorutil/intelhex.h>

#include "arguments.h"

/// Reads the HEX file `path` as `arguments` ask for it.
///
/// Throws QorException for a text that is refused; its message names the file.
IntelHexFile readImage(const arguments_t& arguments, const std::string& path);

#endif  // QORHEX_READING_H
