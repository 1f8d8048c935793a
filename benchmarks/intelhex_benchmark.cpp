// SPDX-License-Identifier: MIT

#include "qorutil/intelhex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "ihex/block_builder.h"
#include "ihex/record_decoder.h"
#include "ihex/reference.h"
#include "ihex/text_reader.h"

namespace {

using qorutil_internal::BlockBuilder;
using qorutil_internal::decodeRecord;
using qorutil_internal::decodeRecordByDigits;
using qorutil_internal::longestRecord;
using qorutil_internal::RecordHead;
using qorutil_internal::TextReader;

constexpr std::size_t recordSize = 16;

// One record line, without its line feed.
std::string makeLine(unsigned address, unsigned type,
                     const std::vector<unsigned>& data) {
  std::vector<unsigned> bytes{static_cast<unsigned>(data.size()), address >> 8,
                              address & 0xFF, type};
  bytes.insert(bytes.end(), data.begin(), data.end());
  unsigned sum = 0;
  std::string line = ":";
  std::array<char, 3> digits{};
  for (std::size_t i = 0; i <= bytes.size(); ++i) {
    const unsigned byte = i < bytes.size() ? bytes[i] : (0U - sum) & 0xFF;
    sum += byte;
    std::snprintf(digits.data(), digits.size(), "%02X", byte);
    line += digits.data();
  }
  return line;
}

std::string makeLine(unsigned address) {
  std::vector<unsigned> data(recordSize);
  for (std::size_t i = 0; i < data.size(); ++i) {
    data[i] = (address * 31 + static_cast<unsigned>(i) * 97) & 0xFF;
  }
  return makeLine(address, 0, data);
}

// The text of an image of `size` bytes, in ascending order.
std::string makeText(std::size_t size) {
  std::string text;
  for (std::size_t at = 0; at < size; at += recordSize) {
    if (at % 65536 == 0) {
      const auto upper = static_cast<unsigned>(at / 65536);
      text += makeLine(0, 4, {upper >> 8, upper & 0xFF}) + '\n';
    }
    text += makeLine(static_cast<unsigned>(at % 65536)) + '\n';
  }
  return text + ":00000001FF\n";
}

// The same in an anonymous file, which can be opened by path.
class TextFile {
 public:
  explicit TextFile(std::size_t size)
      : text(makeText(size)), descriptor(::memfd_create("text", 0)) {
    path = "/proc/self/fd/" + std::to_string(descriptor);
    std::ofstream(path) << text;
  }

  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  ~TextFile() { ::close(descriptor); }

  std::string text;
  std::string path;

 private:
  int descriptor;
};

void setBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes) *
                          state.iterations());
}

std::size_t imageSize(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

void BM_parseLine(benchmark::State& state) {
  const std::string sound = makeLine(0x1230);
  IntelHexFile image;
  IntelHexFile::hexfileline_t record{};
  std::string line;
  for (auto _ : state) {
    line = sound;
    record.data.clear();
    image.parseLine(line, record);
    benchmark::DoNotOptimize(record.type);
  }
  setBytes(state, sound.size());
}

BENCHMARK(BM_parseLine);

void BM_parseLine_plain(benchmark::State& state) {
  const std::string sound = makeLine(0x1230);
  std::ostringstream os;
  ReferenceReader reader(os, os);
  ReferenceRecord record;
  std::string line;
  for (auto _ : state) {
    line = sound;
    record.data.clear();
    reader.parseLine(line, record);
    benchmark::DoNotOptimize(record.type);
  }
  setBytes(state, sound.size());
}

BENCHMARK(BM_parseLine_plain);

void BM_parseHexFile(benchmark::State& state) {
  const TextFile input(imageSize(state));
  IntelHexFile image;
  for (auto _ : state) {
    std::ifstream file(input.path);
    std::set<IntelHexFile::hexfileline_t> lines;
    if (!image.parseHexFile(file, lines)) {
      state.SkipWithError("the text was not read");
    }
  }
  setBytes(state, input.text.size());
}

BENCHMARK(BM_parseHexFile)->Arg(64 << 10)->Arg(1 << 20);

void BM_parseHexFile_plain(benchmark::State& state) {
  const TextFile input(imageSize(state));
  std::ostringstream os;
  ReferenceReader reader(os, os);
  for (auto _ : state) {
    std::ifstream file(input.path);
    ReferenceReader::Records lines;
    if (!reader.parseHexFile(file, lines)) {
      state.SkipWithError("the text was not read");
    }
  }
  setBytes(state, input.text.size());
}

BENCHMARK(BM_parseHexFile_plain)->Arg(64 << 10)->Arg(1 << 20);

void BM_load(benchmark::State& state) {
  const TextFile input(imageSize(state));
  for (auto _ : state) {
    IntelHexFile image;
    if (!image.load(input.path.c_str(), false)) {
      state.SkipWithError("the text was not read");
    }
  }
  setBytes(state, input.text.size());
}

BENCHMARK(BM_load)->Arg(64 << 10)->Arg(1 << 20)->Arg(16 << 20);

void BM_load_plain(benchmark::State& state) {
  const TextFile input(imageSize(state));
  std::ostringstream os;
  for (auto _ : state) {
    std::ifstream file(input.path);
    ReferenceReader::Blocks blocks;
    if (!ReferenceReader(os, os).load(file, false, blocks)) {
      state.SkipWithError("the text was not read");
    }
  }
  setBytes(state, input.text.size());
}

BENCHMARK(BM_load_plain)->Arg(64 << 10)->Arg(1 << 20);

// The stages of load() and of writing, each alone. The bytes per second are
// those of the text in all of them, so that the times can be added.

void BM_stage_read(benchmark::State& state) {
  const TextFile input(imageSize(state));
  for (auto _ : state) {
    TextReader reader(input.path.c_str());
    std::size_t left = input.text.size();
    while (left != 0) {
      benchmark::DoNotOptimize(*reader.text());
      const std::size_t step = std::min(left, TextReader::lookAhead / 2);
      reader.skip(step);
      left -= step;
    }
  }
  setBytes(state, input.text.size());
}

BENCHMARK(BM_stage_read)->Arg(1 << 20)->Arg(16 << 20);

template <std::size_t (*decode)(const char*, RecordHead&, unsigned char*)>
void BM_stage_decode(benchmark::State& state) {
  std::string text = makeText(imageSize(state));
  const std::size_t size = text.size();
  text.append(longestRecord, '\0');
  std::array<unsigned char, 255> data{};
  RecordHead head{};
  for (auto _ : state) {
    std::size_t at = 0;
    std::size_t length = 1;
    while (at < size && length != 0) {
      length = decode(text.data() + at, head, data.data());
      at += length + 1;
    }
    benchmark::DoNotOptimize(data);
    if (at != size) {
      state.SkipWithError("the text was not decoded");
    }
  }
  setBytes(state, size);
}

BENCHMARK_TEMPLATE(BM_stage_decode, decodeRecord)->Arg(1 << 20)->Arg(16 << 20);
BENCHMARK_TEMPLATE(BM_stage_decode, decodeRecordByDigits)
    ->Arg(1 << 20)
    ->Arg(16 << 20);

void BM_stage_blocks(benchmark::State& state) {
  const std::size_t size = imageSize(state);
  for (auto _ : state) {
    BlockBuilder builder(false);
    for (std::size_t at = 0; at < size; at += recordSize) {
      builder.next()[0] = static_cast<unsigned char>(at);
      builder.add(static_cast<std::uint16_t>(at >> 16),
                  static_cast<std::uint16_t>(at), recordSize);
    }
    builder.finish();
    benchmark::DoNotOptimize(builder.blocks().size());
  }
  setBytes(state, makeText(size).size());
}

BENCHMARK(BM_stage_blocks)->Arg(1 << 20)->Arg(16 << 20);

// Into an anonymous file, in other words to tmpfs, over what is there.
void BM_stage_write(benchmark::State& state) {
  const TextFile input(imageSize(state));
  const IntelHexFile image(input.path.c_str(), false);
  const int file = ::memfd_create("blocks", 0);
  for (auto _ : state) {
    ::lseek(file, 0, SEEK_SET);
    for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
      if (!image[i]->writeBinaryTo(file)) {
        state.SkipWithError("the blocks were not written");
      }
    }
  }
  ::close(file);
  setBytes(state, input.text.size());
}

BENCHMARK(BM_stage_write)->Arg(1 << 20)->Arg(16 << 20);

}  // namespace
