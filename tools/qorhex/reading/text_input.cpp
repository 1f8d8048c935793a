// SPDX-License-Identifier: MIT

#include "reading/text_input.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "reading/failure.h"
#include "reading/file_kind.h"
#include "reading/names.h"
#include "reading/record.h"

namespace {

int openText(const std::string& path) {
  return path == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                     : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
}

}  // namespace

TextInput::TextInput(const std::string& path)
    : fileName(nameOf(path)),
      file(openText(path)),
      buffer(pieceSize + textRoom) {
  struct stat status {};

  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    throwSystemError(fileName);
  }
  regular = S_ISREG(status.st_mode);
  bytes = regular ? static_cast<std::uint64_t>(status.st_size) : 0;
}

void TextInput::watch(std::function<void(std::size_t)> observer) {
  watcher = std::move(observer);
}

bool TextInput::readMore() {
  char* const front = buffer.data();
  const std::size_t kept = left();
  if (kept != 0) {
    std::memmove(front, text(), kept);
    begin = 0;
    end = kept;
  }
  const std::size_t count =
      readSome(file.get(), front + kept, pieceSize - kept, fileName);
  if (count == 0) {
    return false;
  }
  if (firstBytes.size() < kindRoom) {
    firstBytes.append(front + kept,
                      std::min(count, kindRoom - firstBytes.size()));
  }
  begin = 0;
  end = kept + count;
  if (watcher) {
    watcher(count);
  }
  return true;
}
