// SPDX-License-Identifier: MIT

#include "support/allocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr long never = -1;

thread_local long remaining = never;
thread_local bool failed = false;

}  // namespace

FailingAllocation::FailingAllocation(long successes) {
  failed = false;
  remaining = successes;
}

FailingAllocation::~FailingAllocation() {
  remaining = never;
}

bool FailingAllocation::happened() const {
  return failed;
}

void* operator new(std::size_t size) {
  if (remaining != never && remaining-- == 0) {
    failed = true;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
