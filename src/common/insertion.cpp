// SPDX-License-Identifier: MIT

#include "common/insertion.h"

#include <locale>

#include "common/stream_state.h"

namespace qorutil_internal {

bool takesNumbers(const std::ostream& os) {
  static const std::locale& classic = std::locale::classic();
  return takesTexts(os) && os.getloc() == classic;
}

bool insertQuietly(std::ostream& os, std::string_view text) {
  const StreamState restored(os);
  os.unsetf(std::ios_base::unitbuf);
  return insertText(os, text);
}

}  // namespace qorutil_internal
