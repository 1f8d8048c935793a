// SPDX-License-Identifier: MIT

#include "outputs.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/numbers.h"
#include "reading/failure.h"
#include "reading/names.h"
#include "reading/number_text.h"
#include "telling/messages.h"
#include "telling/picture.h"
#include "telling/progress.h"
#include "writing/binary.h"
#include "writing/hex_text.h"
#include "writing/output.h"
#include "writing/output_set.h"

namespace {

constexpr unsigned char standardFill = 0xFF;

// Tells the progress of writing `size` bytes to `out`.
class WritingProgress : public Progress {
 public:
  WritingProgress(const arguments_t& arguments, const OutputFile& out,
                  std::uint64_t size)
      : Progress(arguments.progress, out.target().name, "written", size) {}
};

void writeSegmentFile(OutputFile& out, const arguments_t& arguments,
                      const segment_t& segment) {
  WritingProgress progress(arguments, out, segment.size);
  writeSegment(out, segment,
               [&progress](std::uint64_t count) { progress.advance(count); });
  progress.finish();
}

void writeBinary(OutputFile& out, const arguments_t& arguments,
                 const std::vector<segment_t>& segments, const span_t& span) {
  WritingProgress progress(arguments, out, span.size());
  writeSpan(out, segments, span, arguments.fill.value_or(standardFill),
            [&progress](std::uint64_t count) { progress.advance(count); });
  progress.finish();
}

void writeHex(OutputFile& out, const arguments_t& arguments,
              const std::vector<segment_t>& segments,
              const std::vector<startAddress_t>& starts) {
  WritingProgress progress(arguments, out, 0);
  std::vector<startRecord_t> records;
  records.reserve(starts.size());
  for (const startAddress_t& start : starts) {
    records.push_back({start.type, start.value});
  }
  writeHexText(segments, records, [&out](const char* text, std::size_t size) {
    out.append(reinterpret_cast<const unsigned char*>(text), size);
  });
  progress.finish();
}

void writePicture(OutputFile& out, const arguments_t& arguments,
                  const report_t& report) {
  WritingProgress progress(arguments, out, 0);
  const std::string text = pictureOf(report);
  out.append(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  progress.finish();
}

// What --binary covers; refused beyond --max-size.
span_t checkSpan(const arguments_t& arguments, const std::string& path,
                 const std::vector<segment_t>& segments) {
  span_t span{0, 0};
  if (arguments.pad) {
    span = {arguments.ranges.front().first, arguments.ranges.back().last + 1};
  } else if (!segments.empty()) {
    span = {segments.front().address, segments.back().end()};
  }
  const std::uint64_t first = span.first;
  const std::uint64_t size = span.size();
  if (size > arguments.maxSize) {
    throw Failure(REFUSED, nameOf(path),
                  "the image spans " + std::to_string(size) + " bytes (" +
                      sizeText(size) + ") from " + addressText(first) + " to " +
                      addressText(first + size - 1) + ", more than the " +
                      std::to_string(arguments.maxSize) + " (" +
                      sizeText(arguments.maxSize) +
                      ") that --max-size allows for --binary");
  }
  return span;
}

std::string segmentFileName(const std::string& folder, const std::string& path,
                            const segment_t& segment) {
  const std::string address = addressText(segment.address).substr(2);
  return folder + '/' + stemOf(path) + '-' + address + ".bin";
}

}  // namespace

void writeFiles(const arguments_t& arguments, const std::string& path,
                const std::vector<segment_t>& segments,
                const std::vector<startAddress_t>& starts,
                const report_t& report, FilesInUse& inUse) {
  OutputSet outputs;
  if (arguments.outputFolder) {
    for (const segment_t& segment : segments) {
      outputs.add(
          segmentFileName(*arguments.outputFolder, path, segment),
          [&](OutputFile& out) { writeSegmentFile(out, arguments, segment); });
    }
  }
  if (arguments.binaryFile) {
    const span_t span = checkSpan(arguments, path, segments);
    outputs.add(*arguments.binaryFile, [&, span](OutputFile& out) {
      writeBinary(out, arguments, segments, span);
    });
  }
  if (arguments.hexFile) {
    outputs.add(*arguments.hexFile, [&](OutputFile& out) {
      writeHex(out, arguments, segments, starts);
    });
  }
  if (arguments.pictureFile) {
    outputs.add(*arguments.pictureFile,
                [&](OutputFile& out) { writePicture(out, arguments, report); });
  }
  outputs.write(inUse);
  if (arguments.verbosity > 0) {
    outputs.forEach([](const OutputFile& file) {
      messageAbout(file.target().name) << "written\n";
    });
  }
}
