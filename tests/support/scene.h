// SPDX-License-Identifier: MIT
//
// Random values on random streams, to hold a fast way against the plain one.

#ifndef QORUTIL_TESTS_SUPPORT_SCENE_H
#define QORUTIL_TESTS_SUPPORT_SCENE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <random>
#include <string>

using Random = std::mt19937_64;
using Printer = std::function<void(std::ostream& os)>;

/// A number below `limit`.
std::size_t below(Random& random, std::size_t limit);

/// True once in six times.
bool rarely(Random& random);

/// Any number of bits, so that small numbers are no exception.
std::uint64_t anyNumber(Random& random);

template <class T>
T anySigned(Random& random) {
  const auto number = static_cast<T>(anyNumber(random));
  return below(random, 4) == 0 ? static_cast<T>(~number) : number;
}

/// Up to `longest` bytes: readable ones, or any.
std::string anyText(Random& random, std::size_t longest);

/// Lets both print to string streams, to files now and then, and to a random
/// stream: of any format, locale, state and exceptions, tied or not, with a
/// buffer of any step that may fail. Returns nothing where a caller sees the
/// same of both, and otherwise what is seen.
std::string difference(Random& random, const Printer& plain,
                       const Printer& fast);

/// Lets both print to buffers of the standard library that fail, at every place
/// of what is printed: a file buffer, the one of std::cout with and without a
/// buffer of its own, and those that take nothing. Returns nothing where the
/// characters that are held and handed on and the state of the stream are the
/// same of both, and otherwise what they are.
std::string differenceWhereBuffersFail(const Printer& plain,
                                       const Printer& fast);

/// Whether a failure of a buffer that takes whole texts shows in the stream,
/// and nothing else of it changes.
bool noticesFailure(const Printer& print);

#endif  // QORUTIL_TESTS_SUPPORT_SCENE_H
