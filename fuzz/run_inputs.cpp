// SPDX-License-Identifier: MIT
//
// Runs a fuzz target with inputs that are stored, as an ordinary test: with the
// files named as arguments and those of the folders named.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "target.h"

namespace {

// The name is the last line of a test that fails.
void runFile(const std::filesystem::path& path) {
  std::printf("%s\n", path.c_str());
  std::fflush(stdout);
  std::ifstream file(path, std::ios_base::binary);
  require(file.is_open(), "there is no such file");
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                         bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i])) {
      runFile(argv[i]);
      ++count;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      if (entry.is_regular_file()) {
        runFile(entry.path());
        ++count;
      }
    }
  }
  std::printf("%d inputs\n", count);
  return count == 0 ? 1 : 0;
}
