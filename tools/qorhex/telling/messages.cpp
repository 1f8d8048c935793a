// SPDX-License-Identifier: MIT

#include "telling/messages.h"

#include <unistd.h>

#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/names.h"

namespace {

// Of what showInPlace() has shown last.
std::size_t shownColumns = 0;

// Returns what removes that, for any terminal that there is.
std::string takeRemoval() {
  if (shownColumns == 0) {
    return {};
  }
  const std::string spaces(shownColumns, ' ');
  shownColumns = 0;
  return '\r' + spaces + '\r';
}

void writeToError(const std::string& text) {
  try {
    writeAll(STDERR_FILENO, text.data(), text.size(), {});
  } catch (const Failure&) {
    // There is nobody left to be told.
  }
}

}  // namespace

Message::Message(const std::string& subject)
    : text("qorhex: " + escapeName(subject) + ": ") {}

Message::~Message() {
  if (std::uncaught_exceptions() == exceptions) {
    writeError(text);
  }
}

Message& Message::operator<<(std::string_view part) {
  text += part;
  return *this;
}

Message& Message::operator<<(char part) {
  text += part;
  return *this;
}

Message messageAbout(const std::string& subject) {
  return Message(subject);
}

void writeError(const std::string& text) {
  const std::string removal = takeRemoval();
  writeToError(removal.empty() ? text : removal + text);
}

void writeOutOfMemory() noexcept {
  constexpr std::string_view text = "qorhex: out of memory\n";
  [[maybe_unused]] const ssize_t written =
      ::write(STDERR_FILENO, text.data(), text.size());
}

void writeOutput(std::string_view text) {
  if (shownColumns != 0) {
    writeToError(takeRemoval());
  }
  writeAll(STDOUT_FILENO, text.data(), text.size(), "standard output");
}

void showInPlace(const std::string& text, std::size_t columns) {
  std::string shown = text;
  if (columns < shownColumns) {
    shown.insert(0, takeRemoval());
  } else if (!text.empty()) {
    shown.insert(0, 1, '\r');  // nothing to remove, nothing that flickers
  }
  if (!shown.empty()) {
    writeToError(shown);
  }
  shownColumns = columns;
}
