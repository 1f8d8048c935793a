// SPDX-License-Identifier: MIT

#include "writing/target.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <tuple>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "reading/failure.h"
#include "reading/names.h"
#include "writing/temporary.h"

namespace {

constexpr int maxLinks = 40;
constexpr const char* nameOfStandardOutput = "standard output";

// The number of the own descriptor that `path` stands for, -1 for none.
int ownDescriptorOf(const std::string& path) {
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
    if (ownDescriptorOf(resolved) != -1) {
      return resolved;
    }
    char link[PATH_MAX];
    const ssize_t length = ::readlink(resolved.c_str(), link, sizeof link);
    if (length == -1) {
      if (errno != EINVAL && errno != ENOENT) {
        throwSystemError(path);
      }
      return resolved;
    }
    const std::string next(link, static_cast<std::size_t>(length));
    resolved.erase(next[0] == '/' ? 0 : folderOf(resolved).size());
    resolved += next;
  }
  errno = ELOOP;
  throwSystemError(path);
}

void takeStatus(target_t& target, const struct stat& status) {
  target.exists = true;
  target.mode = status.st_mode;
  target.owner = status.st_uid;
  target.group = status.st_gid;
  target.identity = {status.st_dev, status.st_ino, {}};
}

void takeFolder(target_t& target) {
  struct stat status {};

  const std::string folder = folderOf(target.path);
  if (target.path.size() == folder.size()) {
    errno = ENOENT;
    throwSystemError(target.name);
  }
  if (::stat(folder.empty() ? "." : folder.c_str(), &status) != 0) {
    throwSystemError(target.name);
  }
  target.identity = {status.st_dev, status.st_ino,
                     target.path.substr(folder.size())};
}

// Terminals and sockets are read and written at once without harm.
bool isSpoiledByWriting(mode_t mode) {
  return S_ISREG(mode) || S_ISBLK(mode) || S_ISFIFO(mode);
}

}  // namespace

bool fileIdentity_t::operator<(const fileIdentity_t& other) const {
  return std::tie(device, inode, newName) <
         std::tie(other.device, other.inode, other.newName);
}

bool target_t::isRegular() const {
  return !exists || S_ISREG(mode);
}

target_t findTarget(const std::string& path) {
  struct stat status {};

  target_t target;
  target.name = path == "-" ? nameOfStandardOutput : path;
  target.path = path == "-" ? "/dev/fd/1" : resolveLinks(path);
  target.ownDescriptor = ownDescriptorOf(target.path);
  if (target.ownDescriptor != -1) {
    if (::fstat(target.ownDescriptor, &status) != 0) {
      throwSystemError(target.name);
    }
    takeStatus(target, status);
    return target;
  }
  // The name itself is asked for, so that links which the system forbids to
  // follow are not followed here.
  if (::stat(path.c_str(), &status) == 0) {
    takeStatus(target, status);
    if (target.isRegular() &&
        ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) {
      throwSystemError(target.name);
    }
    return target;
  }
  if (errno != ENOENT) {
    throwSystemError(target.name);
  }
  takeFolder(target);
  return target;
}

FilesInUse::FilesInUse(const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    struct stat status {};

    // What cannot be asked for cannot be read, as its reader will tell.
    if ((path == "-" ? ::fstat(STDIN_FILENO, &status)
                     : ::stat(path.c_str(), &status)) == 0 &&
        isSpoiledByWriting(status.st_mode)) {
      inputs.insert({{status.st_dev, status.st_ino, {}}, nameOf(path)});
    }
  }
}

void FilesInUse::addStandardOutput() {
  struct stat status {};

  if (::fstat(STDOUT_FILENO, &status) == 0 && S_ISREG(status.st_mode)) {
    addOutput({status.st_dev, status.st_ino, {}}, nameOfStandardOutput);
  }
}

void FilesInUse::refuse(const target_t& target) const {
  const auto input = inputs.find(target.identity);
  if (input != inputs.end()) {
    throw Failure(WRONG_USAGE, target.name,
                  "the output is the input " + escapeName(input->second));
  }
  const auto output = outputs.find(target.identity);
  if (target.isRegular() && output != outputs.end()) {
    refuseSameOutput(target, output->second);
  }
}

void FilesInUse::addOutput(const fileIdentity_t& identity,
                           const std::string& name) {
  outputs.insert_or_assign(identity, name);
}

void refuseSameOutput(const target_t& target, const std::string& other) {
  throw Failure(
      WRONG_USAGE, target.name,
      "the output is the same file as the output " + escapeName(other));
}
