// SPDX-License-Identifier: MIT

#include "support/files.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

TemporaryFolder::TemporaryFolder()
    : folder(std::filesystem::temp_directory_path() / "qorutil-XXXXXX") {
  if (mkdtemp(folder.data()) == nullptr) {
    throw std::runtime_error("cannot create " + folder);
  }
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

std::string TemporaryFolder::path(const std::string& name) const {
  return name.empty() ? folder : folder + '/' + name;
}

void TemporaryFolder::write(const std::string& name,
                            const std::string& contents) const {
  writeFile(path(name), contents);
}

std::string TemporaryFolder::read(const std::string& name) const {
  std::error_code ignored;
  return std::filesystem::exists(path(name), ignored)
             ? readFile(path(name))
             : "<no file " + name + ">";
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    found.push_back(entry.path().filename());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot open " + path);
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string writeFile(const std::string& path, const std::string& contents) {
  std::ofstream file(path, std::ios::binary);
  file << contents;
  file.close();
  if (!file) {
    throw std::runtime_error("cannot write " + path);
  }
  return path;
}

std::size_t openDescriptors() {
  std::size_t count = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/self/fd")) {
    static_cast<void>(entry);
    ++count;
  }
  return count - 1;  // the one that the walk itself has open
}
