// SPDX-License-Identifier: MIT

#include "image/differences.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

// The bytes of an image from somewhere on: the rest of a stretch, and the
// stretches behind it.
class Cursor {
 public:
  explicit Cursor(const SegmentWalk& segments) : walk(segments) { fetch(); }

  // Where the next byte is; behind all addresses when there is none.
  std::uint64_t address() const { return rest.address; }

  std::uint64_t end() const { return rest.end(); }

  const unsigned char* data() const { return rest.data; }

  // Goes `count` bytes on, at most to the end of the stretch.
  void skip(std::uint64_t count) {
    rest.address += count;
    rest.data += count;
    rest.size -= count;
    if (rest.size == 0) {
      fetch();
    }
  }

 private:
  void fetch() {
    if (next == segment.stretches.size()) {
      next = 0;
      if (!walk.next(segment)) {
        segment.stretches.clear();
        rest = {lastAddress + 1, nullptr, 0};
        return;
      }
    }
    rest = segment.stretches[next++];
  }

  SegmentWalk walk;
  segment_t segment{};
  std::size_t next{0};
  stretch_t rest{};
};

// Joins what touches to runs.
class Runs {
 public:
  explicit Runs(const differenceSink_t& takesRuns) : sink(takesRuns) {}

  // Adds `count` addresses from `first` on, which is not below any before.
  void add(std::uint64_t first, std::uint64_t count, differenceKind_t kind) {
    if (open && run.kind == kind && run.range.last + 1 == first) {
      run.range.last += count;
      return;
    }
    finish();
    run = {{first, first + count - 1}, kind};
    open = true;
  }

  void finish() {
    if (open) {
      sink(run);
    }
    open = false;
  }

 private:
  const differenceSink_t& sink;
  difference_t run{};
  bool open{false};
};

// Adds where the `count` bytes at `a` and `b` differ. Most are equal: those are
// passed in pieces, the others one by one.
void compareBytes(std::uint64_t address, const unsigned char* a,
                  const unsigned char* b, std::uint64_t count, Runs& runs) {
  constexpr std::uint64_t pieceSize = 256;
  for (std::uint64_t done = 0; done < count;) {
    const std::uint64_t end = std::min(done + pieceSize, count);
    const auto size = static_cast<std::size_t>(end - done);
    if (std::memcmp(a + done, b + done, size) == 0) {
      done = end;
      continue;
    }
    while (done < end) {
      const auto [different, there] =
          std::mismatch(a + done, a + end, b + done);
      const auto first = static_cast<std::uint64_t>(different - a);
      done = first;
      while (done < end && a[done] != b[done]) {
        ++done;
      }
      if (done != first) {
        runs.add(address + first, done - first, differenceKind_t::DIFFERS);
      }
    }
  }
}

// Adds what `cursor` has below `end`, up to the end of its stretch.
void takeAlone(Cursor& cursor, std::uint64_t end, differenceKind_t kind,
               Runs& runs) {
  const std::uint64_t count = std::min(cursor.end(), end) - cursor.address();
  runs.add(cursor.address(), count, kind);
  cursor.skip(count);
}

}  // namespace

void findDifferences(SegmentWalk first, SegmentWalk second,
                     const differenceSink_t& sink) {
  Cursor a(first);
  Cursor b(second);
  Runs runs(sink);
  while (a.address() <= lastAddress || b.address() <= lastAddress) {
    if (a.address() < b.address()) {
      takeAlone(a, b.address(), differenceKind_t::ONLY_A, runs);
    } else if (b.address() < a.address()) {
      takeAlone(b, a.address(), differenceKind_t::ONLY_B, runs);
    } else {
      const std::uint64_t count = std::min(a.end(), b.end()) - a.address();
      compareBytes(a.address(), a.data(), b.data(), count, runs);
      a.skip(count);
      b.skip(count);
    }
  }
  runs.finish();
}

bool startAddressesDiffer(const std::vector<startAddress_t>& first,
                          const std::vector<startAddress_t>& second) {
  return !std::is_permutation(
      first.begin(), first.end(), second.begin(), second.end(),
      [](const startAddress_t& a, const startAddress_t& b) {
        return a.type == b.type && a.value == b.value;
      });
}
