// SPDX-License-Identifier: MIT
//
// Any bytes as HEX texts of one image: qorhex finds the bytes, their places and
// the problems that the plain reader of the tests does. A first byte below 16
// is a set of options; the character 0x1E stands between two texts.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "image/image_reader.h"
#include "support/memory_file.h"
#include "target.h"
#include "tools/qorhex_plain_reader.h"

namespace {

constexpr std::size_t mostTexts = 3;

struct work_t {
  bool force;
  bool tells;
  arrival_t arrival;
  std::vector<std::string_view> texts;
};

work_t workOf(std::string_view input) {
  unsigned options = 0;
  if (!input.empty() && static_cast<unsigned char>(input[0]) < 16) {
    options = static_cast<unsigned>(input[0]);
    input.remove_prefix(1);
  }
  work_t work{(options & 1U) != 0, (options & 2U) != 0, {}, {}};
  work.arrival.regular = (options & 4U) == 0;
  work.arrival.interrupted = (options & 8U) != 0;
  // A pipe in pieces could be taken for ended behind an end record that is cut
  // in two; line by line it cannot.
  work.arrival.byLine = !work.arrival.regular;
  if (work.arrival.interrupted && work.arrival.regular) {
    work.arrival.piece = 1 + input.size() % 50;
  }
  while (work.texts.size() + 1 < mostTexts) {
    const std::size_t end = input.find('\x1E');
    if (end == std::string_view::npos) {
      break;
    }
    work.texts.push_back(input.substr(0, end));
    input.remove_prefix(end + 1);
  }
  work.texts.push_back(input);
  return work;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const work_t work = workOf({reinterpret_cast<const char*>(data), size});
  const std::vector<std::string> names{"a", "b", "c"};

  PlainReader plain(work.force, work.tells);
  std::vector<problem_t> problems;
  const problemSink_t sink = [&problems](const problem_t& problem) {
    problems.push_back(problem);
  };
  ImageReader reader(names, {work.force, {}, work.tells});
  for (std::size_t i = 0; i < work.texts.size(); ++i) {
    plain.read(names[i], work.texts[i], work.arrival.regular);
    const MemoryFile file(work.texts[i], work.arrival);
    TextInput text(file.path());
    reader.read(text, i, sink);
  }
  const image_t image = reader.finish(sink);

  std::string difference = differenceOfProblems(problems, plain);
  require(difference.empty(), difference.c_str());
  difference = differenceOfImages(image, plain);
  require(difference.empty(), difference.c_str());
  return 0;
}
