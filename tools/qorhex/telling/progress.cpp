// SPDX-License-Identifier: MIT

#include "telling/progress.h"

#include <utility>

#include "telling/messages.h"

Progress::Progress(bool shown, std::string subjectName, const char* stepName,
                   std::uint64_t amount)
    : enabled(shown),
      subject(std::move(subjectName)),
      step(stepName),
      total(amount) {}

void Progress::advance(std::uint64_t amount) {
  done += amount;
  if (enabled && total != 0) {
    // The text may have grown since its size was asked for.
    tell(done < total ? static_cast<unsigned>(done * 10 / total) : 10);
  }
}

void Progress::finish() {
  if (enabled) {
    tell(10);
  }
}

void Progress::tell(unsigned reached) {
  if (reached > told) {
    told = reached;
    messageAbout(subject) << step << ' ' << std::to_string(reached * 10)
                          << "%\n";
  }
}
