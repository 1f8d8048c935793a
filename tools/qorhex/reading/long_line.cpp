// SPDX-License-Identifier: MIT

#include "reading/long_line.h"

#include <algorithm>

void LongLine::add(char character) {
  const std::uint64_t at = length++;
  if (at < shownOfLongLine) {
    beginning += character;
  }
  const bool blank = isBlank(character) || at < skip;
  if (head.empty() && !blank) {
    bodyBegin = at;
    open(start, maxRecordText + shownOfLongLine);
  }
  if (!head.empty() || !blank) {
    const bool digit =
        hexDigits[static_cast<unsigned char>(character)] != noHexDigit;
    if (blank && gap == nowhere) {
      gap = at;
      open(odd, around);
    } else if (!blank && strange == nowhere && gap != nowhere) {
      strange = gap;
    } else if (!digit && !blank && strange == nowhere && at != bodyBegin) {
      strange = at;
      gap = at;
      open(odd, around);
    }
    if (head.size() < maxRecordText) {
      head += character;
    }
  }
  for (window_t* const window : {&start, &odd}) {
    if (window->text.size() < window->wanted) {
      window->text += character;
    }
  }
  recent += character;
  if (recent.size() == 4 * shownOfLongLine) {
    recent.erase(0, 3 * shownOfLongLine);
  }
}

void LongLine::end() {
  if (recent.back() != '\r') {
    return;
  }
  for (window_t* const window : {&start, &odd}) {
    if (window->first + window->text.size() == length) {
      window->text.pop_back();
    }
  }
  recent.pop_back();
  --length;
}

bool LongLine::isLost() const {
  if (length <= longestShownLine || head.empty()) {
    return false;
  }
  return head[0] != ':' ? start.text.size() + maxRecordText >= start.wanted
                        : strange != nowhere && odd.text.size() == odd.wanted;
}

lineBody_t LongLine::body() const {
  const std::uint64_t size =
      (strange == nowhere && gap != nowhere ? gap : length) - bodyBegin;
  const std::string_view kept = head;
  return {kept.substr(0, static_cast<std::size_t>(
                             std::min<std::uint64_t>(size, kept.size()))),
          size, strange == nowhere ? size : strange - bodyBegin};
}

excerpt_t LongLine::excerpt(std::uint64_t column) const {
  const window_t front{0, 0, beginning};
  for (const window_t* window : {&odd, &start, &front}) {
    if (window->first >= column ||
        column - 1 > window->first + window->text.size()) {
      continue;
    }
    const auto at = static_cast<std::size_t>(column - 1 - window->first);
    const std::size_t first = std::min(
        std::max(at, around) - around,
        std::max(window->text.size(), shownOfLongLine) - shownOfLongLine);
    return {window->text.substr(first, shownOfLongLine),
            window->first + first + 1};
  }
  const std::size_t shown = std::min(recent.size(), shownOfLongLine);
  return {recent.substr(recent.size() - shown), length - shown + 1};
}

// Opens `window` at the character that was added last; `behind` more belong to
// it.
void LongLine::open(window_t& window, std::size_t behind) const {
  const std::size_t before = std::min(recent.size(), shownOfLongLine);
  window.first = length - 1 - before;
  window.text = recent.substr(recent.size() - before);
  window.wanted = std::max(before + behind, shownOfLongLine);
}
