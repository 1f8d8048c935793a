// SPDX-License-Identifier: MIT

#include "writing/output_set.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

#include "reading/failure.h"
#include "reading/names.h"
#include "writing/signals.h"

namespace {

// So few files are synced one by one: syncfs() also waits for the bytes of
// others.
constexpr std::size_t fewFiles = 16;

// The files that are held open until they are synced together.
std::size_t mostOpenFiles() {
  constexpr rlim_t most = 256;
  rlimit limit{};
  return static_cast<std::size_t>(
      ::getrlimit(RLIMIT_NOFILE, &limit) == 0
          ? std::clamp<rlim_t>(limit.rlim_cur / 4, 1, most)
          : 1);
}

}  // namespace

void OutputSet::add(const std::string& path, writer_t writer) {
  outputs.emplace_back(path, std::move(writer));
}

void OutputSet::write(FilesInUse& inUse) {
  for (const output_t& output : outputs) {
    inUse.refuse(output.file.target());
  }
  refuseDoubles();
  const std::size_t most = mostOpenFiles();
  for (output_t& output : outputs) {
    if (!output.file.target().isDirect()) {
      writeOne(output);
      open.push_back(&output.file);
      if (open.size() == most) {
        bringToDisk();
      }
    }
  }
  bringToDisk();
  for (output_t& output : outputs) {
    if (output.file.target().isDirect()) {
      writeOne(output);
      output.file.close(false);
    }
  }
  placeAll();
  for (const output_t& output : outputs) {
    if (output.file.target().isRegular()) {
      inUse.addOutput(output.file.identity(), output.file.target().name);
    }
  }
}

void OutputSet::forEach(
    const std::function<void(const OutputFile& file)>& visit) const {
  for (const output_t& output : outputs) {
    visit(output.file);
  }
}

void OutputSet::refuseDoubles() const {
  std::vector<const target_t*> targets;
  for (const output_t& output : outputs) {
    if (output.file.target().isRegular()) {
      targets.push_back(&output.file.target());
    }
  }
  // Equal ones stay in order, so that the later one is refused.
  std::stable_sort(targets.begin(), targets.end(),
                   [](const target_t* one, const target_t* two) {
                     return one->identity < two->identity;
                   });
  for (std::size_t i = 1; i < targets.size(); ++i) {
    if (!(targets[i - 1]->identity < targets[i]->identity)) {
      refuseSameOutput(*targets[i], targets[i - 1]->name);
    }
  }
}

void OutputSet::writeOne(output_t& output) {
  output.file.open();
  output.writer(output.file);
  output.file.complete();
}

// One fsync() for each of many files makes the disk flush its cache as often.
void OutputSet::bringToDisk() {
  const bool flushed = open.size() > fewFiles && flushFileSystems();
  for (OutputFile* file : open) {
    file->close(flushed);
  }
  open.clear();
}

// Where that fails it may be for the files of others.
bool OutputSet::flushFileSystems() const {
  std::set<dev_t> devices;
  return std::all_of(open.begin(), open.end(), [&](const OutputFile* file) {
    return !devices.insert(file->identity().device).second ||
           ::syncfs(file->descriptor()) == 0;
  });
}

void OutputSet::placeAll() {
  const SignalsHeldBack heldBack;
  const target_t* refused = nullptr;
  try {
    refused = placeEach();
  } catch (...) {
    takeAllBack();
    throw;
  }
  if (refused != nullptr) {
    const int error = errno;
    throw Failure(SYSTEM_FAILED, refused->name,
                  std::strerror(error) + takeAllBack());
  }
  removeOldOnes();
}

// Returns the target that could not be placed, with the reason in `errno`.
const target_t* OutputSet::placeEach() {
  const auto files = std::count_if(
      outputs.begin(), outputs.end(),
      [](const output_t& output) { return !output.file.target().isDirect(); });
  if (files > 1) {
    for (output_t& output : outputs) {
      if (!output.file.target().isDirect()) {
        output.file.placement().placeKeeping();
      }
    }
  }
  // What cannot be taken back comes last.
  for (output_t& output : outputs) {
    if (!output.file.target().isDirect() && !output.file.placement().place()) {
      return &output.file.target();
    }
  }
  return nullptr;
}

// Returns what has to be said about those for which that fails.
std::string OutputSet::takeAllBack() {
  std::string text;
  for (output_t& output : outputs) {
    Placement& placement = output.file.placement();
    if (placement.isPlaced() && !placement.takeBack()) {
      const std::string kept = placement.keepOld();
      text += "; " + escapeName(output.file.target().name) + " is new already" +
              (kept.empty() ? "" : ", and was " + escapeName(kept));
    }
  }
  return text;
}

// All is in place when that fails; nothing is taken back any more.
void OutputSet::removeOldOnes() {
  std::string kept;
  int error = 0;
  for (output_t& output : outputs) {
    Placement& placement = output.file.placement();
    if (!placement.removeOld() && error == 0) {
      error = errno;
      kept = placement.keepOld();
    }
  }
  if (error != 0) {
    throw Failure(error, kept);
  }
}
