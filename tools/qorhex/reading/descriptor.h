// SPDX-License-Identifier: MIT
//
// File descriptors with an owner, and the system calls around them that are
// retried, continued and checked.

#ifndef QORHEX_DESCRIPTOR_H
#define QORHEX_DESCRIPTOR_H

#include <cstddef>
#include <string>

/// The pieces in which files are read and written.
constexpr std::size_t ioPiece = 65536;

/// Owns a file descriptor and closes it.
class Descriptor {
 public:
  /// Owns nothing.
  Descriptor() = default;

  /// Takes over `descriptor`; -1 is nothing.
  explicit Descriptor(int descriptor) : number(descriptor) {}

  Descriptor(Descriptor&& other) noexcept : number(other.release()) {}

  Descriptor& operator=(Descriptor&& other) noexcept;

  ~Descriptor() { reset(); }

  /// Returns the descriptor, -1 for none. It stays owned.
  int get() const { return number; }

  /// Tells whether there is a descriptor.
  bool isOpen() const { return number != -1; }

  /// Hands the descriptor to the caller.
  int release();

  /// Closes the descriptor, if there is one, whatever comes of it.
  void reset();

 private:
  int number{-1};
};

/// Reads at most `size` bytes into `buffer` and returns their number, 0 at the
/// end; failure is reported under `subject`.
std::size_t readSome(int descriptor, char* buffer, std::size_t size,
                     const std::string& subject);

/// Writes all `size` bytes at `data`; failure is reported under `subject`.
void writeAll(int descriptor, const void* data, std::size_t size,
              const std::string& subject);

#endif  // QORHEX_DESCRIPTOR_H
