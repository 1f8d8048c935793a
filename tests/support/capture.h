// SPDX-License-Identifier: MIT
//
// Catches what a test writes to std::cout and std::cerr, with the flushes and
// in the order of writing across both.

#ifndef QORUTIL_TESTS_SUPPORT_CAPTURE_H
#define QORUTIL_TESTS_SUPPORT_CAPTURE_H

#include <ios>
#include <streambuf>
#include <string>

/// Redirects std::cout and std::cerr for as long as it lives. Flags, states and
/// buffers of both come back at the end.
class Capture {
 public:
  Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;
  ~Capture();

  /// What went to std::cout.
  const std::string& out() const { return outBuffer.text; }

  /// What went to std::cerr.
  const std::string& err() const { return errBuffer.text; }

  /// Everything in the order of writing. Each stretch of one stream begins with
  /// "<out>" or "<err>", and every flush of text is marked "<flush>". So a line
  /// written with std::endl reads "<err>#ERROR: checksum error.\n<flush>".
  const std::string& transcript() const { return text; }

 private:
  class Recorder : public std::streambuf {
   public:
    Recorder(Capture& capture, const char* streamMark)
        : owner(capture), mark(streamMark) {}

    std::string text;

   protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* from, std::streamsize count) override;
    int sync() override;

   private:
    Capture& owner;
    const char* mark;
    bool flushed{true};
  };

  std::string text;
  const Recorder* last{nullptr};
  Recorder outBuffer{*this, "<out>"};
  Recorder errBuffer{*this, "<err>"};
  std::streambuf* savedOut;
  std::streambuf* savedErr;
  std::ios_base::fmtflags savedOutFlags;
  std::ios_base::fmtflags savedErrFlags;
};

#endif  // QORUTIL_TESTS_SUPPORT_CAPTURE_H
