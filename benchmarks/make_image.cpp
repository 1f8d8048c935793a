// SPDX-License-Identifier: MIT

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t recordSize = 16;

using Random = std::mt19937;

void putRecord(unsigned address, unsigned type,
               const std::vector<unsigned>& data) {
  std::vector<unsigned> bytes{static_cast<unsigned>(data.size()), address >> 8,
                              address & 0xFF, type};
  bytes.insert(bytes.end(), data.begin(), data.end());
  bytes.push_back((0U - std::accumulate(bytes.begin(), bytes.end(), 0U)) &
                  0xFF);
  std::array<char, 2 * (5 + 255) + 2> line{':'};
  std::size_t length = 1;
  for (const unsigned byte : bytes) {
    line[length++] = "0123456789ABCDEF"[byte >> 4];
    line[length++] = "0123456789ABCDEF"[byte & 0xF];
  }
  line[length++] = '\n';
  std::fwrite(line.data(), 1, length, stdout);
}

std::vector<unsigned> someBytes(Random& random, std::size_t size) {
  std::vector<unsigned> bytes(size);
  for (unsigned& byte : bytes) {
    byte = random() & 0xFF;
  }
  return bytes;
}

}  // namespace

// make_image BYTES ORDER: writes an Intel HEX file of so many bytes from
// address 0, in records of 16. The same arguments always give the same file.
// ORDER is
//   ordered   the records ascend
//   random    they do not
//   start     ascending, with start address records (03, 05) before the end
//   segment   ascending, with segment addresses (02); up to 1 MiB, then as
//   above blank     ascending, with a blank line behind each bytes ascending,
//   of one byte each, at every other address
int main(int argc, char** argv) {
  const std::string order = argc == 3 ? argv[2] : "";
  const char* const orders[] = {"ordered", "random", "start",
                                "segment", "blank",  "bytes"};
  if (std::find(std::begin(orders), std::end(orders), order) ==
      std::end(orders)) {
    std::fputs(
        "usage: make_image BYTES "
        "ordered|random|start|segment|blank|bytes\n",
        stderr);
    return 2;
  }
  const std::size_t size = order == "bytes" ? 1 : recordSize;
  const std::size_t step = order == "bytes" ? 2 : recordSize;
  std::vector<std::uint32_t> records(std::strtoul(argv[1], nullptr, 10) / size);
  std::iota(records.begin(), records.end(), 0U);
  Random random(1);
  if (order == "random") {
    std::shuffle(records.begin(), records.end(), random);
  }
  std::uint32_t upper = 0;
  for (const std::uint32_t record : records) {
    const auto address = static_cast<std::uint32_t>(record * step);
    if (address >> 16 != upper) {
      upper = address >> 16;
      if (order == "segment" && upper < 0x10) {
        putRecord(0, 2, {upper << 4, 0});
      } else {
        putRecord(0, 4, {upper >> 8, upper & 0xFF});
      }
    }
    putRecord(address & 0xFFFF, 0, someBytes(random, size));
    if (order == "blank") {
      std::fputc('\n', stdout);
    }
  }
  if (order == "start") {
    putRecord(0, 3, {0, 0, 1, 0});
    putRecord(0, 5, {0, 0, 1, 0});
  }
  putRecord(0, 1, {});
  return std::fflush(stdout) == 0 ? 0 : 1;
}
