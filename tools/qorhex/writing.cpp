// SPDX-License-Identifier: MIT

#include "writing.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iomanip>
#include <ostream>
#include <system_error>
#include <utility>

#include <qorutil/system.h>

#include "descriptor.h"
#include "messages.h"
#include "output.h"

namespace {

constexpr int addressDigits = 8;

void appendSegment(OutputFile& out, const segment_t& segment,
                   Progress& progress) {
  for (const stretch_t& stretch : segment.stretches) {
    out.append(stretch.data, stretch.size);
    progress.advance(stretch.size);
  }
}

OutputFile makeSegmentFile(const arguments_t& arguments,
                           const std::string& name, const segment_t& segment) {
  OutputFile out(name);
  Progress progress(arguments.progress, name, "written", segment.size);
  appendSegment(out, segment, progress);
  out.complete();
  progress.finish();
  return out;
}

OutputFile makeImageFile(const arguments_t& arguments, const std::string& name,
                         const std::vector<segment_t>& segments,
                         std::uint64_t size) {
  OutputFile out(name);
  Progress progress(arguments.progress, name, "written", size);
  std::uint64_t end = segments.empty() ? 0 : segments.front().address;
  for (const segment_t& segment : segments) {
    out.appendGap(segment.address - end);
    progress.advance(segment.address - end);
    appendSegment(out, segment, progress);
    end = segment.end();
  }
  out.complete();
  progress.finish();
  return out;
}

// The bytes from the first address to the last; refused beyond --max-size.
std::uint64_t checkSpan(const arguments_t& arguments, const std::string& path,
                        const std::vector<segment_t>& segments) {
  if (segments.empty()) {
    return 0;
  }
  const std::uint64_t first = segments.front().address;
  const std::uint64_t size = segments.back().end() - first;
  if (size > arguments.maxSize) {
    throwError(path,
               "the image spans " + std::to_string(size) + " bytes (" +
                   sizeText(size) + ") from " + hexText(first, addressDigits) +
                   " to " + hexText(first + size - 1, addressDigits) +
                   ", more than the " + std::to_string(arguments.maxSize) +
                   " (" + sizeText(arguments.maxSize) +
                   ") that --max-size allows for --binary");
  }
  return size;
}

std::string segmentFileName(const std::string& folder, const std::string& path,
                            const segment_t& segment) {
  const std::string address = hexText(segment.address, addressDigits).substr(2);
  return folder + '/' + stemOf(path) + '-' + address + ".bin";
}

// Tells whether two paths lead to the same file, which need not exist.
bool sameFile(const std::filesystem::path& one,
              const std::filesystem::path& two) {
  std::error_code ignored;
  return one.filename() == two.filename() &&
         weakly_canonical(absolute(one, ignored), ignored) ==
             weakly_canonical(absolute(two, ignored), ignored);
}

// The most characters of a readable size in the list.
std::size_t widestSize(const std::vector<segment_t>& segments,
                       std::uint64_t total) {
  std::size_t widest = sizeText(total).size();
  for (const segment_t& segment : segments) {
    widest = std::max(widest, sizeText(segment.size).size());
  }
  return widest;
}

}  // namespace

void listSegments(std::ostream& os, const std::vector<segment_t>& segments) {
  std::uint64_t total = 0;
  for (const segment_t& segment : segments) {
    total += segment.size;
  }
  const std::string totalText = std::to_string(total);
  if (segments.empty()) {
    os << "total  " << totalText << '\n';
    return;
  }
  const auto width = static_cast<int>(totalText.size());
  const auto readableWidth = static_cast<int>(widestSize(segments, total));
  os << "   no  first       last        size\n";
  for (std::size_t i = 0; i < segments.size(); ++i) {
    const segment_t& segment = segments[i];
    os << std::setw(5) << i << "  " << hexText(segment.address, addressDigits)
       << "  " << hexText(segment.end() - 1, addressDigits) << "  "
       << std::setw(width) << segment.size << "  " << std::setw(readableWidth)
       << printSize(segment.size) << '\n';
  }
  os << "total" << std::string(26, ' ') << totalText << "  "
     << std::setw(readableWidth) << printSize(total) << '\n';
}

void writeFiles(const arguments_t& arguments, const std::string& path,
                const std::vector<segment_t>& segments) {
  std::vector<std::pair<std::string, OutputFile>> files;
  const std::uint64_t span =
      arguments.binaryFile ? checkSpan(arguments, path, segments) : 0;
  if (arguments.outputFolder) {
    for (const segment_t& segment : segments) {
      const std::string name =
          segmentFileName(*arguments.outputFolder, path, segment);
      if (arguments.binaryFile && sameFile(*arguments.binaryFile, name)) {
        throwError(name, "--binary names a segment of --output");
      }
      files.emplace_back(name, makeSegmentFile(arguments, name, segment));
    }
  }
  if (arguments.binaryFile) {
    files.emplace_back(
        *arguments.binaryFile,
        makeImageFile(arguments, *arguments.binaryFile, segments, span));
  }
  for (auto& [name, file] : files) {
    file.commit();
    if (arguments.verbosity > 0) {
      messageAbout(name) << "written\n";
    }
  }
}
