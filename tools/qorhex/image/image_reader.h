// SPDX-License-Identifier: MIT
//
// From HEX texts to their image.

#ifndef QORHEX_IMAGE_READER_H
#define QORHEX_IMAGE_READER_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "image/image.h"
#include "image/image_builder.h"
#include "image/outside.h"
#include "reading/problem.h"
#include "reading/record_reader.h"
#include "reading/text_input.h"

/// How texts become an image.
struct imageRules_t {
  /// Whether conflicts are accepted: in one text, and between texts, where the
  /// later one counts.
  bool force{false};
  /// The addresses that must have no data.
  forbidden_t forbidden{};
  /// Whether each conflict that is accepted is told, as a warning.
  bool tellsAccepted{false};
};

/// Reads texts, one after the other, to the image that they make together.
///
/// The problems of a text go to a sink: first those of single lines, in the
/// order of the lines; when all texts are read those with bytes, of all texts,
/// by ascending address.
class ImageReader {
 public:
  /// Makes an image of the texts `textNames` by `imageRules`.
  ImageReader(std::vector<std::string> textNames, imageRules_t imageRules);

  ImageReader(const ImageReader&) = delete;
  ImageReader& operator=(const ImageReader&) = delete;

  /// Reads `text`, which is `textNames[index]`. The texts come in their order;
  /// one that cannot be read may be left out. Throws Failure where reading
  /// fails, and what `sink` throws; what was read until then is part of the
  /// image.
  void read(TextInput& text, std::size_t index, const problemSink_t& sink);

  /// Merges all and returns the image; nothing may be called afterwards. Where
  /// `wants` is given, problems of a text for which it returns false may be
  /// left out. Throws what `sink` throws.
  image_t finish(const problemSink_t& sink,
                 std::function<bool(std::size_t index)> wants = {});

 private:
  verdict_t takeStart(const startAddress_t& start);

  imageRules_t rules;
  image_t image;
  ImageBuilder builder;
  Outside outside;
  std::vector<std::string> names;
  std::size_t current{0};
};

/// Reads `text` alone, as an ImageReader does. Conflicts are told unless
/// `force` accepts them.
image_t readImage(TextInput& text, bool force, const problemSink_t& sink);

#endif  // QORHEX_IMAGE_READER_H
