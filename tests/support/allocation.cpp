// SPDX-License-Identifier: MIT

#include "support/allocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

constexpr long never = -1;

thread_local long remaining = never;
thread_local bool failingForEver = false;
thread_local bool failed = false;
thread_local bool* failureNote = nullptr;
thread_local long made = 0;
thread_local long live = 0;

void release(void* memory) {
  if (memory != nullptr) {
    --live;
    std::free(memory);
  }
}

}  // namespace

FailingAllocation::FailingAllocation(long successes, bool forEver, bool* note) {
  failureNote = note;
  failed = false;
  failingForEver = forEver;
  remaining = successes;
}

FailingAllocation::~FailingAllocation() {
  remaining = never;
}

bool FailingAllocation::happened() const {
  return failed;
}

AllocationCount::AllocationCount() : madeBefore(::made), liveBefore(::live) {}

long AllocationCount::made() const {
  return ::made - madeBefore;
}

long AllocationCount::live() const {
  return ::live - liveBefore;
}

long failEveryAllocation(const std::function<void()>& action,
                         const std::function<void(long leaked)>& check) {
  for (long successes = 0;; ++successes) {
    const AllocationCount count;
    try {
      const FailingAllocation failing(successes);
      action();
      if (!failing.happened()) {
        return successes;
      }
      continue;  // it did without
    } catch (const std::bad_alloc&) {
    }
    check(count.live());
  }
}

void* operator new(std::size_t size) {
  if (remaining >= 0 && remaining-- == 0) {
    remaining = failingForEver ? 0 : never;
    failed = true;
    if (failureNote != nullptr) {
      *failureNote = true;
    }
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  ++made;
  ++live;
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void operator delete(void* memory) noexcept {
  release(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  release(memory);
}
