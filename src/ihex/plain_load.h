// SPDX-License-Identifier: MIT
//
// What IntelHexFile::load() stands for, as plainly as it can be said. The
// library does not call it: it is here to be read, and the tests hold load()
// against it.

#ifndef QORUTIL_IHEX_PLAIN_LOAD_H
#define QORUTIL_IHEX_PLAIN_LOAD_H

#include "qorutil/intelhex.h"

namespace qorutil_internal {

/// Does what `image.load(path, singleBlock)` does, by parseHexFile() and
/// createNewBlock(); but where memory runs out on the way, the blocks made so
/// far stay in the image.
bool loadPlainly(IntelHexFile& image, const char* path, bool singleBlock);

}  // namespace qorutil_internal

#endif  // QORUTIL_IHEX_PLAIN_LOAD_H
