// SPDX-License-Identifier: MIT
//
// Where the names of outputs lead, and which files must not be written.

#ifndef QORHEX_TARGET_H
#define QORHEX_TARGET_H

#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

/// What makes a file one, whatever it is called: device and inode; for a file
/// that does not exist yet those of its folder, and its name there.
struct fileIdentity_t {
  /// The device.
  dev_t device{};
  /// The inode on it.
  ino_t inode{};
  /// The name in that folder, empty for a file that exists.
  std::string newName;

  bool operator<(const fileIdentity_t& other) const;
};

/// Where the name of an output leads.
struct target_t {
  /// How messages call it.
  std::string name;
  /// The path behind all symbolic links.
  std::string path;
  /// The descriptor of this process for which the path stands, -1 for none.
  int ownDescriptor{-1};
  /// Whether the file is there already.
  bool exists{false};
  /// Of a file that exists: type and permissions, owner, group.
  mode_t mode{};
  uid_t owner{};
  gid_t group{};
  /// Which file it is.
  fileIdentity_t identity;

  /// Whether it is, or becomes, a regular file.
  bool isRegular() const;

  /// Whether it is written to directly, as nothing can take its place.
  bool isDirect() const { return ownDescriptor != -1 || !isRegular(); }
};

/// Finds out where the output `path` leads; "-" is standard output. Throws
/// Failure when that fails, and for a file that must not be written to.
target_t findTarget(const std::string& path);

/// The files that this run reads, shows something in, and has written, which no
/// output may be.
class FilesInUse {
 public:
  /// Takes down the inputs `paths`, "-" for standard input.
  explicit FilesInUse(const std::vector<std::string>& paths);

  /// Takes down standard output where it is a regular file: an output that took
  /// its place would take away what is shown there.
  void addStandardOutput();

  /// Throws Failure, of status WRONG_USAGE, when `target` is one of the files.
  void refuse(const target_t& target) const;

  /// Takes down the regular file `identity`, which was written under `name`.
  void addOutput(const fileIdentity_t& identity, const std::string& name);

 private:
  std::map<fileIdentity_t, std::string> inputs;
  std::map<fileIdentity_t, std::string> outputs;
};

/// Throws Failure, of status WRONG_USAGE, saying that the outputs `target` and
/// `other` are one file.
[[noreturn]] void refuseSameOutput(const target_t& target,
                                   const std::string& other);

#endif  // QORHEX_TARGET_H
