// SPDX-License-Identifier: MIT

#include "telling/messages.h"

#include <unistd.h>

#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/names.h"

Message::Message(const std::string& subject)
    : text("qorhex: " + escapeName(subject) + ": ") {}

Message::~Message() {
  writeError(text);
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
  try {
    writeAll(STDERR_FILENO, text.data(), text.size(), {});
  } catch (const Failure&) {
    // There is nobody left to be told.
  }
}

void writeOutput(std::string_view text) {
  writeAll(STDOUT_FILENO, text.data(), text.size(), "standard output");
}
