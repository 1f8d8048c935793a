// SPDX-License-Identifier: MIT
//
// How the tool speaks: messages on standard error, text on standard output.

#ifndef QORHEX_MESSAGES_H
#define QORHEX_MESSAGES_H

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

/// A message on standard error, which it reaches in one write when its life
/// ends, unless an exception ends it. The caller ends the line.
class Message {
 public:
  /// Begins with the name of the tool and `subject`, a name.
  explicit Message(const std::string& subject);

  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  /// Writes the message.
  ~Message();

  /// Appends `part`.
  Message& operator<<(std::string_view part);
  Message& operator<<(char part);

 private:
  std::string text;
  int exceptions{std::uncaught_exceptions()};
};

/// Begins a message about `subject`, a name.
Message messageAbout(const std::string& subject);

/// Writes `text`, whole lines, to standard error at once.
void writeError(const std::string& text);

/// Says on standard error that memory ran out, and takes none for it.
void writeOutOfMemory() noexcept;

/// Writes `text` to standard output. Throws Failure when it does not arrive.
void writeOutput(std::string_view text);

/// Shows `text`, of `columns` columns and without a line end, where the cursor
/// of standard error, a terminal, stands: in place of what was shown so before.
/// Whatever is written next removes it; so does an empty `text`.
void showInPlace(const std::string& text, std::size_t columns);

#endif  // QORHEX_MESSAGES_H
