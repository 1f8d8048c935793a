// SPDX-License-Identifier: MIT
//
// What becomes of images and outputs when memory runs out, at every allocation.

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "image/image.h"
#include "support/allocation.h"
#include "support/files.h"
#include "writing/output_set.h"

namespace {

// Whether the file system can exchange two files.
bool exchanges = true;

}  // namespace

// These stand before libc's own. The disk is spared.
extern "C" int renameat2(int fromFolder, const char* from, int toFolder,
                         const char* to, unsigned flags) noexcept {
  if (!exchanges) {
    errno = EINVAL;
    return -1;
  }
  return static_cast<int>(
      syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

extern "C" int fsync(int descriptor) {
  static_cast<void>(descriptor);
  return 0;
}

namespace {

const std::string sound =
    ":0401000041424344F1\n"
    ":00000001FF\n";

// No failure of the file.
TEST(Memory, LoadingAnImageLetsItsEndPass) {
  const TemporaryFolder folder;
  folder.write("fw.hex", sound);
  const std::string path = folder.path("fw.hex");
  bool loaded = false;
  const long failures = failEveryAllocation(
      [&] {
        loaded = false;
        const image_t image = loadImage(path);
        loaded = image.blocks.getBlockCount() == 1;
      },
      [&](long leaked) {
        EXPECT_FALSE(loaded);
        EXPECT_EQ(leaked, 0);
      });
  EXPECT_GT(failures, 0);
  EXPECT_TRUE(loaded);
}

// Two targets that are replaced and a new one.
class MemoryOfOutputs : public testing::TestWithParam<bool> {
 protected:
  MemoryOfOutputs() {
    exchanges = GetParam();
    prepare();
  }

  void prepare() const {
    folder.write("a", "old");
    folder.write("c", "old");
    std::filesystem::remove(folder.path("b"));
  }

  bool areOld() const {
    return folder.read("a") == "old" && folder.read("c") == "old" &&
           folder.names() == std::vector<std::string>{"a", "c"};
  }

  bool areNew() const {
    return folder.read("a") == "new" && folder.read("b") == "new" &&
           folder.read("c") == "new" &&
           folder.names() == std::vector<std::string>{"a", "b", "c"};
  }

  const TemporaryFolder folder;
};

TEST_P(MemoryOfOutputs, AllAreOldOrAllAreNew) {
  const std::vector<std::string> paths{folder.path("a"), folder.path("b"),
                                       folder.path("c")};
  long oldOnes = 0;
  bool lost = false;
  const long failures = failEveryAllocation(
      [&] {
        FilesInUse inUse({});
        OutputSet outputs;
        for (const std::string& path : paths) {
          outputs.add(path, [](OutputFile& file) {
            file.append(reinterpret_cast<const unsigned char*>("new"), 3);
          });
        }
        outputs.write(inUse);
        // Asked without memory: it may be about to fail.
        lost = lost || ::access(paths[1].c_str(), F_OK) != 0;
      },
      [&](long leaked) {
        oldOnes += areOld() ? 1 : 0;
        EXPECT_TRUE(areOld() || areNew());
        EXPECT_EQ(leaked, 0);
        prepare();
      });
  EXPECT_TRUE(areNew());
  EXPECT_FALSE(lost);
  // What is in use is noted when all are in place.
  EXPECT_GT(oldOnes, 0);
  EXPECT_GT(failures, oldOnes);
}

INSTANTIATE_TEST_SUITE_P(All, MemoryOfOutputs, testing::Values(true, false),
                         [](const auto& tested) {
                           return tested.param ? "Exchanged" : "Linked";
                         });

}  // namespace
