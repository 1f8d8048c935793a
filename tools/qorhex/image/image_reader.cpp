// SPDX-License-Identifier: MIT

#include "image/image_reader.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "reading/names.h"
#include "reading/number_text.h"

ImageReader::ImageReader(std::vector<std::string> textNames,
                         imageRules_t imageRules)
    : rules(std::move(imageRules)),
      builder(image),
      outside(rules.forbidden),
      names(std::move(textNames)) {}

void ImageReader::read(TextInput& text, std::size_t index,
                       const problemSink_t& sink) {
  for (; current < index; ++current) {
    builder.beginFile();
    outside.beginFile();
  }
  builder.expect(text.size());
  const problemSink_t numbered = [&](problem_t problem) {
    problem.fileIndex = index;
    sink(problem);
  };
  RecordReader reader(text, numbered, [this](const startAddress_t& start) {
    return takeStart(start);
  });
  piece_t piece{};
  if (rules.forbidden.empty()) {
    while (reader.next(builder.room(), piece)) {
      builder.add(piece);
    }
    return;
  }
  while (reader.next(builder.room(), piece)) {
    builder.add(piece);
    outside.look(piece, reader);
  }
}

image_t ImageReader::finish(const problemSink_t& sink,
                            std::function<bool(std::size_t)> wants) {
  const std::vector<outside_t> strays = outside.sorted();
  auto stray = strays.begin();
  const auto tellUpTo = [&](std::uint64_t address) {
    for (; stray != strays.end() && stray->first <= address; ++stray) {
      sink(outsideProblem(*stray, rules.forbidden, names[stray->file]));
    }
  };
  if (!wants) {
    wants = [](std::size_t) { return true; };
  }
  const auto take = [&](std::uint64_t address, const problem_t& problem) {
    tellUpTo(address);
    sink(problem);
  };
  std::optional<severity_t> severity;
  if (!rules.force) {
    severity = severity_t::ERROR;
  } else if (rules.tellsAccepted) {
    severity = severity_t::WARNING;
  }
  builder.finish(severity, names, {take, std::move(wants)});
  tellUpTo(lastAddress);
  return std::move(image);
}

// Takes `start` of the text that is read to those of the texts before it.
verdict_t ImageReader::takeStart(const startAddress_t& start) {
  startAddress_t taken = start;
  taken.file = current;
  const auto known = std::find_if(
      image.startAddresses.begin(), image.startAddresses.end(),
      [&](const startAddress_t& other) { return other.type == start.type; });
  if (known == image.startAddresses.end()) {
    image.startAddresses.push_back(taken);
  } else if (known->value != start.value) {
    const std::string text = "start address " + hexText(start.value, 8) +
                             " conflicts with " + hexText(known->value, 8) +
                             " of " + escapeName(names[known->file]) + ':' +
                             std::to_string(known->line);
    if (!rules.force) {
      return {severity_t::ERROR, text + "; --force accepts that"};
    }
    image.replacedStarts.push_back(*known);
    *known = taken;
    if (rules.tellsAccepted) {
      return {severity_t::WARNING, text + ", which gives way (--force)"};
    }
  }
  return {};
}

image_t readImage(TextInput& text, bool force, const problemSink_t& sink) {
  ImageReader reader({text.name()}, {force, {}});
  reader.read(text, 0, sink);
  return reader.finish(sink);
}
