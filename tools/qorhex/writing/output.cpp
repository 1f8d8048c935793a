// SPDX-License-Identifier: MIT

#include "writing/output.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "reading/failure.h"

namespace {

constexpr mode_t permissionBits = 07777;
constexpr mode_t setIdBits = S_ISUID | S_ISGID;

// Makes the system call `call` until no signal interrupts it.
template <class Call>
int uninterrupted(const Call& call) {
  int result = -1;
  do {
    result = call();
  } while (result == -1 && errno == EINTR);
  return result;
}

}  // namespace

OutputFile::OutputFile(target_t leadsTo)
    : destination(std::move(leadsTo)), place(temporary, destination) {}

void OutputFile::open() {
  if (destination.isDirect()) {
    openDirectly();
  } else {
    // A replacement is not readable for others before it has its mode.
    file = temporary.create(folderOf(destination.path),
                            destination.exists ? 0600 : 0666);
  }
  if (!file.isOpen()) {
    throwSystemError(destination.name);
  }
}

void OutputFile::openDirectly() {
  file = Descriptor(uninterrupted([this] {
    return destination.ownDescriptor != -1
               ? ::fcntl(destination.ownDescriptor, F_DUPFD_CLOEXEC, 0)
               : ::open(destination.path.c_str(),
                        O_WRONLY | O_CLOEXEC | O_NOCTTY);
  }));
}

void OutputFile::append(const unsigned char* data, std::uint64_t size) {
  while (size != 0) {
    if (buffer.empty() && size >= ioPiece) {
      writeAll(file.get(), data, ioPiece, destination.name);
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

void OutputFile::flush() {
  writeAll(file.get(), buffer.data(), buffer.size(), destination.name);
  buffer.clear();
}

void OutputFile::complete() {
  flush();
  buffer = std::vector<unsigned char>();

  struct stat status {};

  if (::fstat(file.get(), &status) != 0) {
    throwSystemError(destination.name);
  }
  written = {status.st_dev, status.st_ino, {}};
  if (destination.exists && !destination.isDirect()) {
    takeOverFrom(status);
  }
}

// A change of the owner takes the set-id bits away, so the mode comes last.
void OutputFile::takeOverFrom(const struct stat& status) {
  const auto give = [this](uid_t owner, gid_t group) {
    return uninterrupted([&] { return ::fchown(file.get(), owner, group); }) ==
           0;
  };
  mode_t mode = destination.mode & permissionBits;
  const bool own =
      status.st_uid == destination.owner && status.st_gid == destination.group;
  if (!own && !give(destination.owner, destination.group)) {
    mode &= ~setIdBits;
    static_cast<void>(give(static_cast<uid_t>(-1), destination.group));
  }
  if (uninterrupted([&] { return ::fchmod(file.get(), mode); }) != 0) {
    throwSystemError(destination.name);
  }
}

// What could not be written back is told to each file.
bool OutputFile::reachedDisk() const {
  if (::sync_file_range(file.get(), 0, 0,
                        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE |
                            SYNC_FILE_RANGE_WAIT_AFTER) == 0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS && errno != ESPIPE) {
    throwSystemError(destination.name);
  }
  return false;
}

void OutputFile::close(bool flushed) {
  if (!(flushed && reachedDisk()) &&
      uninterrupted([this] { return ::fsync(file.get()); }) != 0 &&
      // Pipes and devices have nothing to bring to a disk.
      !(destination.isDirect() && (errno == EINVAL || errno == EROFS))) {
    throwSystemError(destination.name);
  }
  if (::close(file.release()) != 0 && errno != EINTR) {
    throwSystemError(destination.name);
  }
}
