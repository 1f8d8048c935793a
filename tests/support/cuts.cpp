// SPDX-License-Identifier: MIT

#include "support/cuts.h"

#include <cstdlib>
#include <filesystem>
#include <set>

#include "support/files.h"

namespace {

constexpr std::size_t largestQuickOne = 6000;
constexpr std::size_t lastBytes = 64;

std::vector<std::size_t> placesIn(const std::string& text) {
  std::set<std::size_t> places;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' || i + lastBytes >= text.size()) {
      places.insert(i + 1);
    }
    if (i + lastBytes >= text.size()) {
      places.insert(i);
    }
  }
  return {places.begin(), places.end()};
}

}  // namespace

std::vector<cutFile_t> filesToCut(const std::string& folder) {
  const bool all = std::getenv("QORUTIL_ALL_CUTS") != nullptr;
  std::set<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string extension = entry.path().extension();
    if (extension == ".hex" || extension == ".ihex" || extension == ".ihx") {
      paths.insert(entry.path());
    }
  }
  std::vector<cutFile_t> files;
  for (const std::filesystem::path& path : paths) {
    const std::string text = readFile(path);
    if (all || text.size() <= largestQuickOne) {
      files.push_back({path.filename(), text, placesIn(text)});
    }
  }
  return files;
}
