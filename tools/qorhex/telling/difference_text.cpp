// SPDX-License-Identifier: MIT

#include "telling/difference_text.h"

#include <algorithm>
#include <cstddef>

#include "image/differences.h"
#include "image/numbers.h"
#include "reading/descriptor.h"
#include "reading/names.h"
#include "reading/number_text.h"
#include "telling/columns.h"
#include "telling/messages.h"
#include "telling/problems.h"

namespace {

// The widths of the columns whose texts are of different lengths.
struct widths_t {
  std::size_t size{0};
  std::size_t readable{0};
};

// Makes the lines, and writes them in pieces.
class DifferenceLines {
 public:
  DifferenceLines(const compared_t& first, const compared_t& second,
                  const widths_t& columnWidths)
      : onlyIn{"only in " + escapeName(first.name) + '\n',
               "only in " + escapeName(second.name) + '\n'},
        widths(columnWidths) {}

  void add(const difference_t& difference) {
    const range_t& range = difference.range;
    text += addressText(range.first) + "  " + addressText(range.last) + "  ";
    appendRight(text, std::to_string(range.size()), widths.size);
    text += "  ";
    appendRight(text, sizeText(range.size()), widths.readable);
    text += "  ";
    switch (difference.kind) {
      case differenceKind_t::ONLY_A:
        text += onlyIn[0];
        break;
      case differenceKind_t::ONLY_B:
        text += onlyIn[1];
        break;
      default:
        text += "differs\n";
    }
    if (text.size() >= ioPiece) {
      flush();
    }
  }

  // Adds what `starts`, those of the image `which`, has and `others` has not.
  void addStarts(const std::vector<startAddress_t>& starts,
                 const std::vector<startAddress_t>& others, std::size_t which) {
    for (const startAddress_t& start : starts) {
      const bool shared = std::any_of(
          others.begin(), others.end(), [&start](const startAddress_t& other) {
            return other.type == start.type && other.value == start.value;
          });
      if (!shared) {
        text += startAddressText(start) + "  " + onlyIn[which];
      }
    }
  }

  void flush() {
    writeOutput(text);
    text.clear();
  }

 private:
  const std::string onlyIn[2];
  const widths_t widths;
  std::string text;
};

}  // namespace

bool writeDifferences(const compared_t& first, const compared_t& second) {
  widths_t widths;
  bool different =
      startAddressesDiffer(first.startAddresses, second.startAddresses);
  // Comparing twice is cheap; all differences can be too many to be held.
  findDifferences(
      first.segments, second.segments, [&](const difference_t& difference) {
        const std::uint64_t size = difference.range.size();
        widths.size = std::max(widths.size, std::to_string(size).size());
        widths.readable = std::max(widths.readable, sizeText(size).size());
        different = true;
      });
  if (!different) {
    return false;
  }
  DifferenceLines lines(first, second, widths);
  findDifferences(
      first.segments, second.segments,
      [&lines](const difference_t& difference) { lines.add(difference); });
  lines.addStarts(first.startAddresses, second.startAddresses, 0);
  lines.addStarts(second.startAddresses, first.startAddresses, 1);
  lines.flush();
  return true;
}

bool tellDifferences(const compared_t& first, const compared_t& second,
                     JsonDocument* document) {
  if (document == nullptr) {
    return writeDifferences(first, second);
  }
  const bool startsDiffer =
      startAddressesDiffer(first.startAddresses, second.startAddresses);
  bool different = startsDiffer;
  document->beginDifferences();
  findDifferences(first.segments, second.segments,
                  [&](const difference_t& difference) {
                    document->add(difference);
                    different = true;
                  });
  document->endDifferences(startsDiffer);
  return different;
}
