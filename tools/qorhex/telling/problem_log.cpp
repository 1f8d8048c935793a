// SPDX-License-Identifier: MIT

#include "telling/problem_log.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

#include "reading/names.h"
#include "reading/number_text.h"
#include "telling/messages.h"
#include "telling/problems.h"
#include "telling/terminal.h"

ProblemLog::ProblemLog(problemStyle_t problemStyle,
                       std::vector<std::string> fileNames)
    : style(problemStyle), names(std::move(fileNames)), counts(names.size()) {}

// With several FILEs the problems of each are told together, when all are read.
void ProblemLog::take(const problem_t& problem) {
  count_t& count = counts[problem.fileIndex];
  if (!wants(problem.fileIndex)) {
    return;
  }
  const bool isError = problem.severity == severity_t::ERROR;
  ++(isError ? count.errors : count.warnings);
  if (style.kept || (style.all && names.size() > 1)) {
    problems.push_back(problem);
  }
  if (!style.all) {
    if (!problem.isSummed) {
      writeError(problemText(problem, hasColours(STDERR_FILENO)));
    }
    if (isError && (inLines || isAllOver())) {
      throw Refusal();
    }
  } else if (!style.silent && names.size() == 1) {
    writeOutput(problemText(problem, hasColours(STDOUT_FILENO)));
  }
}

void ProblemLog::leaveOut(std::size_t index, const Failure& failure) {
  counts[index].leftOut = failure.status;
  if (style.kept) {
    problems.push_back(failureProblem(names[index], failure.what(), index));
  }
}

void ProblemLog::finish() {
  if (!style.all) {
    return;
  }
  std::stable_sort(problems.begin(), problems.end(),
                   [](const problem_t& a, const problem_t& b) {
                     return a.fileIndex < b.fileIndex;
                   });
  if (!style.silent) {
    tellSorted();
  }
}

bool ProblemLog::isAllOver() const {
  return std::all_of(counts.begin(), counts.end(), [](const count_t& count) {
    return count.errors != 0 || count.leftOut != ALL_WELL;
  });
}

exitStatus_t ProblemLog::status() const {
  exitStatus_t highest = ALL_WELL;
  for (const count_t& count : counts) {
    highest = std::max(
        {highest, count.leftOut, count.errors == 0 ? ALL_WELL : REFUSED});
  }
  return highest;
}

std::vector<problem_t> ProblemLog::release() {
  return std::move(problems);
}

void ProblemLog::tellSorted() const {
  auto problem = problems.begin();
  for (std::size_t i = 0; i < names.size(); ++i) {
    for (; names.size() > 1 && problem != problems.end() &&
           problem->fileIndex == i;
         ++problem) {
      writeOutput(problemText(*problem, hasColours(STDOUT_FILENO)));
    }
    if (counts[i].leftOut == ALL_WELL) {
      writeOutput(escapeName(names[i]) + ": " +
                  countText(counts[i].errors, "error") + ", " +
                  countText(counts[i].warnings, "warning") + '\n');
    }
  }
}
