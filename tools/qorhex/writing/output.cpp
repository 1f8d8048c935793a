// SPDX-License-Identifier: MIT

#include "writing/output.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "reading/failure.h"

namespace {

constexpr int maxLinks = 40;

constexpr std::array<unsigned char, ioPiece> makeGap() {
  std::array<unsigned char, ioPiece> bytes{};
  for (unsigned char& byte : bytes) {
    byte = 0xFF;
  }
  return bytes;
}

constexpr std::array<unsigned char, ioPiece> gapBytes = makeGap();

// The folder of `path`, with the slash at its end; empty for the current one.
std::string folderOf(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}

// The number of the own descriptor that `path` stands for, -1 for none.
int ownDescriptor(const std::string& path) {
  for (const char* folder : {"/proc/self/fd/", "/dev/fd/"}) {
    const std::size_t length = std::strlen(folder);
    if (path.compare(0, length, folder) == 0 && path.size() > length &&
        path.size() < length + 9 &&
        path.find_first_not_of("0123456789", length) == std::string::npos) {
      return std::stoi(path.substr(length));
    }
  }
  return -1;
}

// Follows symbolic links, also one that leads nowhere yet, but not into the
// list of own descriptors, whose links are none.
std::string resolveLinks(const std::string& path) {
  std::string resolved = path;
  for (int i = 0; i < maxLinks; ++i) {
    char link[PATH_MAX];
    const ssize_t length =
        ownDescriptor(resolved) != -1
            ? -1
            : ::readlink(resolved.c_str(), link, sizeof link);
    if (length == -1) {
      return resolved;
    }
    const std::string next(link, static_cast<std::size_t>(length));
    resolved.erase(next[0] == '/' ? 0 : folderOf(resolved).size());
    resolved += next;
  }
  errno = ELOOP;
  throwSystemError(path);
}

}  // namespace

OutputFile::OutputFile(std::string path) : target(std::move(path)) {
  const std::string resolved = resolveLinks(target);
  const int own = ownDescriptor(resolved);
  if (own != -1) {
    file = Descriptor(::fcntl(own, F_DUPFD_CLOEXEC, 0));
    if (!file.isOpen()) {
      throwSystemError(target);
    }
    return;
  }

  struct stat status {};

  replacing = ::stat(resolved.c_str(), &status) == 0;
  if (replacing && !S_ISREG(status.st_mode)) {
    openDirectly();
    return;
  }
  if (replacing &&
      ::faccessat(AT_FDCWD, resolved.c_str(), W_OK, AT_EACCESS) != 0) {
    throwSystemError(target);
  }
  mode = status.st_mode & 07777U;
  openTemporary(resolved);
}

void OutputFile::openDirectly() {
  file = Descriptor(::open(target.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
  if (!file.isOpen()) {
    throwSystemError(target);
  }
}

void OutputFile::openTemporary(const std::string& resolved) {
  finalPath = resolved;
  temporary = std::make_unique<TemporaryFile>(folderOf(resolved));
  // A replacement is not readable for others before it has its mode.
  file = temporary->create(replacing ? 0600 : 0666);
  if (!file.isOpen()) {
    throwSystemError(target);
  }
}

void OutputFile::append(const unsigned char* data, std::uint64_t size) {
  while (size != 0) {
    if (buffer.empty() && size >= ioPiece) {
      writeAll(file.get(), data, ioPiece, target);
      data += ioPiece;
      size -= ioPiece;
      continue;
    }
    const std::uint64_t taken =
        std::min<std::uint64_t>(size, ioPiece - buffer.size());
    buffer.insert(buffer.end(), data, data + taken);
    data += taken;
    size -= taken;
    if (buffer.size() == ioPiece) {
      flush();
    }
  }
}

void OutputFile::appendGap(std::uint64_t size) {
  while (size != 0) {
    const std::uint64_t taken = std::min<std::uint64_t>(size, gapBytes.size());
    append(gapBytes.data(), taken);
    size -= taken;
  }
}

void OutputFile::flush() {
  writeAll(file.get(), buffer.data(), buffer.size(), target);
  buffer.clear();
}

void OutputFile::complete() {
  flush();
  buffer = std::vector<unsigned char>();
  if (replacing && temporary && ::fchmod(file.get(), mode) != 0) {
    throwSystemError(target);
  }
  // Pipes and devices have nothing to bring to a disk.
  if (::fsync(file.get()) != 0 &&
      (temporary || (errno != EINVAL && errno != EROFS))) {
    throwSystemError(target);
  }
  if (::close(file.release()) != 0 && errno != EINTR) {
    throwSystemError(target);
  }
}

void OutputFile::commit() {
  if (temporary && !temporary->renameTo(finalPath)) {
    throwSystemError(target);
  }
}
