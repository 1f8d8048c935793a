// SPDX-License-Identifier: MIT

#include "writing/writing.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/number_text.h"
#include "telling/messages.h"
#include "telling/progress.h"
#include "writing/output.h"

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
    throw Failure(REFUSED, path,
                  "the image spans " + std::to_string(size) + " bytes (" +
                      sizeText(size) + ") from " +
                      hexText(first, addressDigits) + " to " +
                      hexText(first + size - 1, addressDigits) +
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

}  // namespace

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
        throw Failure(REFUSED, name, "--binary names a segment of --output");
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
