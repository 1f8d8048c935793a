// SPDX-License-Identifier: MIT

#include "writing/writing.h"

#include <cstdint>
#include <vector>

#include "reading/failure.h"
#include "reading/names.h"
#include "reading/number_text.h"
#include "telling/messages.h"
#include "telling/progress.h"
#include "writing/output.h"
#include "writing/output_set.h"

namespace {

constexpr int addressDigits = 8;
constexpr unsigned char gapFill = 0xFF;

void appendSegment(OutputFile& out, const segment_t& segment,
                   Progress& progress) {
  for (const stretch_t& stretch : segment.stretches) {
    out.append(stretch.data, stretch.size);
    progress.advance(stretch.size);
  }
}

void writeSegment(OutputFile& out, const arguments_t& arguments,
                  const segment_t& segment) {
  Progress progress(arguments.progress, out.target().name, "written",
                    segment.size);
  appendSegment(out, segment, progress);
  progress.finish();
}

void writeImage(OutputFile& out, const arguments_t& arguments,
                const std::vector<segment_t>& segments, std::uint64_t size) {
  Progress progress(arguments.progress, out.target().name, "written", size);
  std::uint64_t end = segments.empty() ? 0 : segments.front().address;
  for (const segment_t& segment : segments) {
    out.appendFill(segment.address - end, gapFill);
    progress.advance(segment.address - end);
    appendSegment(out, segment, progress);
    end = segment.end();
  }
  progress.finish();
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
    throw Failure(REFUSED, nameOf(path),
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

}  // namespace

void writeFiles(const arguments_t& arguments, const std::string& path,
                const std::vector<segment_t>& segments, FilesInUse& inUse) {
  OutputSet outputs;
  if (arguments.outputFolder) {
    for (const segment_t& segment : segments) {
      outputs.add(
          segmentFileName(*arguments.outputFolder, path, segment),
          [&](OutputFile& out) { writeSegment(out, arguments, segment); });
    }
  }
  if (arguments.binaryFile) {
    const std::uint64_t size = checkSpan(arguments, path, segments);
    outputs.add(*arguments.binaryFile, [&, size](OutputFile& out) {
      writeImage(out, arguments, segments, size);
    });
  }
  outputs.write(inUse);
  if (arguments.verbosity > 0) {
    outputs.forEach([](const OutputFile& file) {
      messageAbout(file.target().name) << "written\n";
    });
  }
}
