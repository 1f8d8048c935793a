// SPDX-License-Identifier: MIT

#include "telling/progress.h"

#include <algorithm>

#include <unistd.h>

#include "reading/names.h"
#include "telling/columns.h"
#include "telling/messages.h"
#include "telling/terminal.h"

namespace {

// Never fewer columns than a terminal takes for `text`, which is UTF-8: what
// has three bytes or more can be wide.
std::size_t mostColumnsOf(const std::string& text) {
  return columnsOf(text) + static_cast<std::size_t>(std::count_if(
                               text.begin(), text.end(), [](char character) {
                                 return static_cast<unsigned char>(character) >=
                                        0xE0;
                               }));
}

}  // namespace

Progress::Progress(bool shown, const std::string& subjectName,
                   const char* stepName, std::uint64_t amount)
    : enabled(shown),
      title("qorhex: " + escapeName(subjectName) + ": " + stepName),
      width(shown ? terminalWidth(STDERR_FILENO) : std::nullopt),
      total(amount) {}

Progress::~Progress() {
  if (width) {
    showInPlace({}, 0);
  }
}

void Progress::advance(std::uint64_t amount) {
  done += amount;
  if (enabled && total != 0) {
    // The text may have grown since its size was asked for.
    tell(done < total ? static_cast<unsigned>(done * 100 / total) : 100);
  }
}

void Progress::finish() {
  if (enabled) {
    tell(100);
  }
  if (width) {
    showInPlace({}, 0);
  }
}

void Progress::tell(unsigned percent) {
  const unsigned reached = width ? percent : percent / 10 * 10;
  if (reached <= told) {
    return;
  }
  told = reached;
  if (width) {
    showBar(reached);
  } else {
    writeError(title + ' ' + std::to_string(reached) + "%\n");
  }
}

void Progress::showBar(unsigned percent) const {
  std::string number;
  appendRight(number, std::to_string(percent) + '%', 4);
  if (*width <= number.size()) {
    return;
  }
  // The last column stays free: some terminals begin a new line behind it.
  const std::size_t room = *width - 1;
  const std::size_t taken = mostColumnsOf(title) + number.size() + 4;
  constexpr std::size_t leastCells = 8;
  if (room < taken + leastCells) {
    showInPlace(number, number.size());
    return;
  }
  const std::size_t cells = room - taken;
  const std::size_t full = cells * percent / 100;
  showInPlace(title + ' ' + number + " [" + std::string(full, '#') +
                  std::string(cells - full, '.') + ']',
              room);
}
