// SPDX-License-Identifier: MIT

#include "image/regions.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "image/numbers.h"

namespace {

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view nameCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.";

// A word of a line.
struct word_t {
  std::string_view text;
  std::size_t at;  // in the line
};

// The words from `skipped` to the comment.
std::vector<word_t> wordsOf(std::string_view line, std::size_t skipped) {
  const std::string_view text = line.substr(0, line.find('#'));
  std::vector<word_t> words;
  std::size_t at = skipped;
  while ((at = text.find_first_not_of(blanks, at)) != std::string_view::npos) {
    const std::size_t end =
        std::min(text.find_first_of(blanks, at), text.size());
    words.push_back({text.substr(at, end - at), at});
    at = end;
  }
  return words;
}

// What to do about a range that was refused for `reason`, where that does not
// say it.
const char* hintBehind(const std::string& reason) {
  return reason.find(';') == std::string::npos
             ? "; a range is <first>-<last> or <first>+<size>, up to 0xffffffff"
             : "";
}

class MapReader {
 public:
  MapReader(TextInput& text, const problemSink_t& problemSink)
      : input(text), sink(problemSink) {}

  std::vector<region_t> read() {
    while (findLine()) {
      readLine();
    }
    if (byName.empty() && !failed) {
      number = std::max<std::uint64_t>(number, 1);
      refuse(line.size(),
             "the map ends without a region; write <name> <range> on a line");
    }
    std::vector<region_t> regions;
    regions.reserve(byFirst.size());
    for (auto& [first, region] : byFirst) {
      regions.push_back(std::move(region));
    }
    return regions;
  }

 private:
  // Takes the next line, reading more of it where it is not complete; false at
  // the end of the text.
  bool findLine() {
    std::size_t searched = 0;
    const char* feed = nullptr;
    do {
      feed = static_cast<const char*>(
          std::memchr(input.text() + searched, '\n', input.left() - searched));
      searched = input.left();
    } while (feed == nullptr && !input.isFull() && input.readMore());
    if (input.left() == 0) {
      return false;
    }
    const auto size = feed == nullptr
                          ? input.left()
                          : static_cast<std::size_t>(feed - input.text());
    ++number;
    line = {input.text(), size};
    if (!line.empty() && line.back() == '\r') {
      line.remove_suffix(1);
    }
    if (feed == nullptr && input.isFull()) {
      refuse(
          size,
          "longer than the " + std::to_string(size) +
              " characters that a line may have; a map has a region on each");
      return false;
    }
    input.take(size + (feed == nullptr ? 0 : 1));
    return true;
  }

  void readLine() {
    const bool marked =
        number == 1 && line.substr(0, byteOrderMark.size()) == byteOrderMark;
    const std::vector<word_t> words =
        wordsOf(line, marked ? byteOrderMark.size() : 0);
    if (words.empty()) {
      return;
    }
    if (checkName(words.front()) && checkCount(words)) {
      takeRegion(words[0], words[1]);
    }
  }

  bool checkName(const word_t& word) {
    const std::size_t strange = word.text.find_first_not_of(nameCharacters);
    if (strange != std::string_view::npos) {
      refuse(word.at + strange,
             "a name has letters, digits, '_', '-' and '.' alone; "
             "comments begin with #");
      return false;
    }
    const auto known = byName.find(word.text);
    if (known != byName.end()) {
      refuse(word.at, "the name is that of line " +
                          std::to_string(known->second) +
                          " already; choose another");
      return false;
    }
    return true;
  }

  bool checkCount(const std::vector<word_t>& words) {
    if (words.size() == 2) {
      return true;
    }
    const std::size_t at =
        words.size() == 1 ? words[0].at + words[0].text.size() : words[2].at;
    refuse(at, "a region is two words, <name> <range>, not " +
                   std::to_string(words.size()) +
                   (words.size() == 1 ? "; write the range behind the name"
                                      : "; comments begin with #"));
    return false;
  }

  void takeRegion(const word_t& name, const word_t& text) {
    std::string reason;
    const std::optional<range_t> range = parseRange(text.text, reason);
    if (!range) {
      refuse(text.at, reason + hintBehind(reason));
      return;
    }
    // Of the regions before it that of the highest address alone can reach into
    // this one.
    auto other = byFirst.upper_bound(range->last);
    if (other != byFirst.begin() &&
        (--other)->second.range.last >= range->first) {
      refuse(text.at,
             "overlaps the region of line " +
                 std::to_string(byName.find(other->second.name)->second) +
                 ", " + other->second.name + ' ' +
                 addressText(other->second.range.first) + '-' +
                 addressText(other->second.range.last) +
                 "; let one end before the other begins");
      return;
    }
    byName.emplace(name.text, number);
    byFirst.emplace(range->first, region_t{std::string(name.text), *range});
  }

  // Reports what is wrong at the position `at` of the line.
  void refuse(std::size_t at, const std::string& text) {
    failed = true;
    const std::uint64_t column = at + 1;
    sink({severity_t::ERROR, input.name(), number, column, text,
          excerptOf(line, column)});
  }

  TextInput& input;
  const problemSink_t& sink;
  std::string_view line;
  std::uint64_t number{0};
  bool failed{false};
  std::map<std::string, std::uint64_t, std::less<>> byName;  // the lines
  std::map<std::uint64_t, region_t> byFirst;
};

}  // namespace

std::vector<region_t> readRegions(TextInput& text, const problemSink_t& sink) {
  return MapReader(text, sink).read();
}
