// SPDX-License-Identifier: MIT

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
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

std::vector<unsigned> someBytes(Random& random) {
  std::vector<unsigned> bytes(recordSize);
  for (unsigned& byte : bytes) {
    byte = random() & 0xFF;
  }
  return bytes;
}

}  // namespace

// make_image BYTES ordered|random|start: writes an Intel HEX file of so many
// bytes from address 0, in records of 16. The records ascend or come in random
// order; `start` is ascending with a start address record (05) before the end.
// The same arguments always give the same file.
int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: make_image BYTES ordered|random|start\n", stderr);
    return 2;
  }
  const std::string order = argv[2];
  std::vector<std::uint32_t> records(std::strtoul(argv[1], nullptr, 10) /
                                     recordSize);
  std::iota(records.begin(), records.end(), 0U);
  Random random(1);
  if (order == "random") {
    std::shuffle(records.begin(), records.end(), random);
  }
  std::uint32_t upper = 0;
  for (const std::uint32_t record : records) {
    const auto address = static_cast<std::uint32_t>(record * recordSize);
    if (address >> 16 != upper) {
      upper = address >> 16;
      putRecord(0, 4, {upper >> 8, upper & 0xFF});
    }
    putRecord(address & 0xFFFF, 0, someBytes(random));
  }
  if (order == "start") {
    putRecord(0, 5, {0, 0, 1, 0});
  }
  putRecord(0, 1, {});
  return std::fflush(stdout) == 0 ? 0 : 1;
}
