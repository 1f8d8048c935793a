// SPDX-License-Identifier: MIT

#include "writing/writing.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "reading/failure.h"
#include "reading/names.h"
#include "reading/number_text.h"
#include "telling/messages.h"
#include "telling/progress.h"
#include "writing/hex_text.h"
#include "writing/output.h"
#include "writing/output_set.h"

namespace {

constexpr int addressDigits = 8;
constexpr unsigned char standardFill = 0xFF;

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

// Addresses up to, not including, `end`.
struct span_t {
  std::uint64_t first;
  std::uint64_t end;
};

void writeImage(OutputFile& out, const arguments_t& arguments,
                const std::vector<segment_t>& segments, const span_t& span) {
  Progress progress(arguments.progress, out.target().name, "written",
                    span.end - span.first);
  const unsigned char fill = arguments.fill.value_or(standardFill);
  std::uint64_t end = span.first;
  const auto fillUpTo = [&](std::uint64_t address) {
    out.appendFill(address - end, fill);
    progress.advance(address - end);
  };
  for (const segment_t& segment : segments) {
    fillUpTo(segment.address);
    appendSegment(out, segment, progress);
    end = segment.end();
  }
  fillUpTo(span.end);
  progress.finish();
}

void writeHex(OutputFile& out, const arguments_t& arguments,
              const std::vector<segment_t>& segments,
              const std::vector<startAddress_t>& starts) {
  Progress progress(arguments.progress, out.target().name, "written", 0);
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
  const std::uint64_t size = span.end - first;
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
  return span;
}

std::string segmentFileName(const std::string& folder, const std::string& path,
                            const segment_t& segment) {
  const std::string address = hexText(segment.address, addressDigits).substr(2);
  return folder + '/' + stemOf(path) + '-' + address + ".bin";
}

}  // namespace

void writeFiles(const arguments_t& arguments, const std::string& path,
                const std::vector<segment_t>& segments,
                const std::vector<startAddress_t>& starts, FilesInUse& inUse) {
  OutputSet outputs;
  if (arguments.outputFolder) {
    for (const segment_t& segment : segments) {
      outputs.add(
          segmentFileName(*arguments.outputFolder, path, segment),
          [&](OutputFile& out) { writeSegment(out, arguments, segment); });
    }
  }
  if (arguments.binaryFile) {
    const span_t span = checkSpan(arguments, path, segments);
    outputs.add(*arguments.binaryFile, [&, span](OutputFile& out) {
      writeImage(out, arguments, segments, span);
    });
  }
  if (arguments.hexFile) {
    outputs.add(*arguments.hexFile, [&](OutputFile& out) {
      writeHex(out, arguments, segments, starts);
    });
  }
  outputs.write(inUse);
  if (arguments.verbosity > 0) {
    outputs.forEach([](const OutputFile& file) {
      messageAbout(file.target().name) << "written\n";
    });
  }
}
