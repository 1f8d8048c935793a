// SPDX-License-Identifier: MIT
//
// Every allocation of every public function fails in turn: alone, and with all
// that follow it. What becomes of the call, of what it works on and of the next
// call is a table; scripts/promises.py sees to it that no function is missing.

#include "qorutil/qorutil.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/can.h>
#include <mqueue.h>
#include <regex.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/allocation.h"
#include "support/digit_grouping.h"
#include "support/files.h"
#include "support/hexrecord.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Texts = std::vector<std::string>;
using Clock = std::chrono::steady_clock;
using std::chrono::nanoseconds;

// What becomes of a call when memory runs out.
enum outcome_t {
  // std::bad_alloc; all is as it was, and the call can be repeated.
  UNCHANGED,
  // std::bad_alloc; not all is as it was, and the call can be repeated.
  REPEATABLE,
  // std::bad_alloc; the first part of the result is there.
  BEGUN,
  // A bad stream, as any failed insertion leaves; it has the first part.
  BAD_STREAM,
  // std::bad_alloc with nothing inserted, or a bad stream.
  COMPOSED,
};

// One call, and what it works on.
struct trial_t {
  std::function<void()> act;
  // What it works on, and the result, as text.
  std::function<std::string()> state;
  // Makes that what it was before the call.
  std::function<void()> reset = [] {};
  // Whether a stream in it is bad.
  std::function<bool()> isBad = [] { return false; };
};

struct operation_t {
  const char* name;
  outcome_t outcome;
  std::function<trial_t()> prepare;
};

// ------------------------------------------------------------- Kinds of calls

// More than the text buffers of strings and streams hold without the heap.
const std::string longText(700, '\x1B');

// A call that only returns something, which `call` makes a text. Nothing but
// the call itself is to allocate.
template <class Result>
operation_t returning(const char* name, Result (*call)(),
                      std::string (*text)(const Result&)) {
  return {name, UNCHANGED, [=] {
            auto result = std::make_shared<Result>();
            return trial_t{[=] { *result = call(); },
                           [=] { return text(*result); }};
          }};
}

operation_t returning(const char* name, std::string (*call)()) {
  return returning<std::string>(name, call,
                                [](const std::string& text) { return text; });
}

std::string joined(const Texts& texts) {
  std::string all;
  for (const std::string& text : texts) {
    all += text + '|';
  }
  return all;
}

operation_t returning(const char* name, Texts (*call)()) {
  return returning<Texts>(name, call, joined);
}

template <class Number>
operation_t returningNumber(const char* name, Number (*call)()) {
  return returning<Number>(
      name, call, [](const Number& number) { return std::to_string(number); });
}

// A call whose result is not looked at, the time for instance.
operation_t calling(const char* name, void (*call)()) {
  return {name, UNCHANGED, [=] {
            return trial_t{call, [] { return std::string(); }};
          }};
}

// A call that edits a value of the type, given as it is before.
template <class Value>
operation_t editing(const char* name, outcome_t outcome, const Value& before,
                    void (*edit)(Value&), std::string (*text)(const Value&)) {
  return {name, outcome, [=] {
            auto value = std::make_shared<Value>(before);
            return trial_t{[=] { edit(*value); }, [=] { return text(*value); },
                           [=] { *value = before; }};
          }};
}

std::string textOf(const std::string& text) {
  return text;
}

std::string bytesAsText(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

// An insertion into a string stream whose format is not the usual one.
operation_t printing(const char* name, void (*print)(std::ostream&),
                     outcome_t outcome = BAD_STREAM) {
  return {name, outcome, [=] {
            constexpr auto flags = std::ios_base::dec | std::ios_base::left;
            auto os = std::make_shared<std::ostringstream>();
            os->flags(flags);
            os->fill('*');
            return trial_t{[=] { print(*os); },
                           [=] {
                             EXPECT_EQ(os->flags(), flags);
                             EXPECT_EQ(os->fill(), '*');
                             return os->str();
                           },
                           [=] {
                             os->clear();
                             os->width(0);
                             os->str("");
                           },
                           [=] { return os->bad(); }};
          }};
}

// --------------------------------------------------------------- Intel HEX

struct ImageScene {
  TemporaryFolder folder;
  std::string path{folder.path("fw.hex")};
  std::string smallPath{folder.path("small.hex")};
  IntelHexFile image;
  IntelHexFile other;
  std::set<IntelHexFile::hexfileline_t> lines;
};

std::string imageText(const IntelHexFile& image) {
  std::string text;
  for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
    text += std::to_string(image[i]->extAddress) + ':' +
            std::to_string(image[i]->address) + ' ' +
            bytesAsText(image[i]->data) + '|';
  }
  return text;
}

std::string sceneText(const ImageScene& scene) {
  std::string text = imageText(scene.image) + '/' + imageText(scene.other);
  for (const auto& line : scene.lines) {
    text += '/' + bytesAsText(line.data);
  }
  return text;
}

// Twenty-four records under three upper addresses, some of them out of order;
// with odd lines, which are sound all the same.
std::string hexText(bool inOrder) {
  const Bytes data(16, 'a');
  std::string text;
  for (unsigned upper = 0; upper < 3; ++upper) {
    text += hexRecord(4, 0, {0, static_cast<unsigned char>(upper)}) + '\n';
    for (unsigned i = 0; i < 8; ++i) {
      const unsigned place = inOrder ? i : i ^ upper;
      text += (i == 5 ? " " : "") + hexRecord(0, place * 16, data) + '\n';
    }
  }
  return text + ":00000001FF\n";
}

// An image of two blocks, another of one, and a file.
std::shared_ptr<ImageScene> imageScene() {
  auto scene = std::make_shared<ImageScene>();
  const Bytes bytes(100, 'x');
  writeFile(scene->path, hexText(false));
  writeFile(scene->smallPath, hexRecord(0, 9, {1}) + '\n' +
                                  hexRecord(0, 0, {2}) + "\n:00000001FF\n");
  for (const std::uint16_t upper : {std::uint16_t{7}, std::uint16_t{8}}) {
    IntelHexFile::hexfileline_t line;
    line.extAddress = upper;
    line.data = bytes;
    line.count = bytes.size();
    scene->lines = {line};
    scene->image.createNewBlock(scene->lines.begin(), scene->lines.end());
  }
  scene->other = IntelHexFile(1, 2, 50, bytes.data());
  return scene;
}

// A call on the scene; its result is to become part of it.
operation_t onImage(const char* name, void (*act)(ImageScene&),
                    outcome_t outcome = UNCHANGED) {
  return {
      name, outcome, [=] {
        auto scene = imageScene();
        return trial_t{[=] { act(*scene); }, [=] { return sceneText(*scene); }};
      }};
}

struct ParsingScene {
  TemporaryFolder folder;
  std::ifstream file{writeFile(folder.path("fw.hex"), hexText(true))};
  std::set<IntelHexFile::hexfileline_t> lines;
};

// A file, and the records that are read from it.
operation_t parsingAFile(const char* name) {
  return {name, BEGUN, [] {
            auto scene = std::make_shared<ParsingScene>();
            return trial_t{
                [=] {
                  if (!IntelHexFile().parseHexFile(scene->file, scene->lines)) {
                    ADD_FAILURE() << "the file is refused";
                  }
                },
                [=] {
                  std::string text;
                  for (const auto& line : scene->lines) {
                    text += std::to_string(line.extAddress) + ':' +
                            std::to_string(line.address) + ' ' +
                            bytesAsText(line.data) + '|';
                  }
                  return text;
                },
                [=] {
                  scene->lines.clear();
                  scene->file.clear();
                  scene->file.seekg(0);
                }};
          }};
}

// A line, and the record that is read from it. It has no type until it is read.
operation_t parsingALine(const char* name) {
  return {name, BEGUN, [] {
            auto line = std::make_shared<std::string>(
                " " + hexRecord(0, 1, Bytes(100, 'x')) + "\r");
            auto record = std::make_shared<IntelHexFile::hexfileline_t>();
            record->type = 0xFF;
            return trial_t{[=] { IntelHexFile().parseLine(*line, *record); },
                           [=] {
                             return record->type == 0xFF
                                        ? std::string()
                                        : bytesAsText(record->data);
                           },
                           [=] { record->data.clear(); }};
          }};
}

// ----------------------------------------------------------------- Options

const Options::option_t sampleOptions[] = {
    {'a', "a-long-name-without-an-argument", nullptr, false, longText},
    {'b', "second", "argument", true, "The second\noption."},
    {300, "third", "level", false, "No short form."},
};

// What getopt_long makes of a command line that has every form.
std::string scanned(Options& options) {
  std::array<std::string, 5> words{"prog", "-bx", "--third=3", "-a", "rest"};
  std::array<char*, 6> argv{};
  for (std::size_t i = 0; i < words.size(); ++i) {
    argv[i] = words[i].data();
  }
  opterr = 0;  // no messages
  std::string text;
  for (int c = 0; (c = options.get(5, argv.data())) != -1;) {
    text += std::to_string(c) + (optarg != nullptr ? optarg : "") + ' ';
  }
  opterr = 1;
  return text;
}

struct OptionsScene {
  Options options{sampleOptions[0], sampleOptions[1]};
  Options other;
  std::string result;
};

std::string screenOf(const Options& options) {
  std::ostringstream os;
  options.print(os);
  return os.str();
}

operation_t onOptions(const char* name, outcome_t outcome,
                      void (*act)(OptionsScene&)) {
  return {name, outcome, [=] {
            auto scene = std::make_shared<OptionsScene>();
            return trial_t{[=] { act(*scene); },
                           [=] {
                             return screenOf(scene->options) + '/' +
                                    screenOf(scene->other) + '/' +
                                    scene->result;
                           }};
          }};
}

// What is scanned already is scanned in the same way afterwards. A copy has no
// room but for what it holds.
operation_t updatingACopy(const char* name) {
  return {
      name, UNCHANGED, [] {
        Options original;
        for (int letter = 'a'; letter < 'a' + 20; ++letter) {
          original.add({letter, nullptr, nullptr, false, ""});
        }
        original.update();
        auto copy = std::make_shared<Options>(original);
        return trial_t{[=] { copy->update(); }, [=] { return scanned(*copy); }};
      }};
}

// --------------------------------------------------------------- Scheduler

constexpr std::chrono::hours hour(1);

struct SchedulerScene {
  JobScheduler scheduler;
  std::string ran;
  Clock::time_point end;
};

// A call on a scheduler with 40 jobs, due in pairs, which note that they ran.
// The last one ends the run. A run that fails keeps the memory that it got.
operation_t onScheduler(const char* name, void (*act)(SchedulerScene&),
                        outcome_t outcome = UNCHANGED) {
  return {name, outcome, [=] {
            auto scene = std::make_shared<SchedulerScene>();
            scene->ran.reserve(1000);
            SchedulerScene* const raw = scene.get();
            for (int i = 0; i < 40; ++i) {
              scene->scheduler.add(hour, nanoseconds(i / 2), [raw, i] {
                raw->ran += static_cast<char>('A' + i);
                if (i == 39) {
                  raw->end = Clock::time_point(nanoseconds(1));
                }
              });
            }
            return trial_t{[=] { act(*scene); },
                           [=] {
                             const auto count =
                                 scene->scheduler.getJobs().size();
                             return std::to_string(count) + ' ' + scene->ran;
                           }};
          }};
}

void runAll(SchedulerScene& scene) {
  scene.end = Clock::now() + hour;
  scene.scheduler.run(scene.end);
}

void runAllByHand(SchedulerScene& scene) {
  scene.scheduler.run(Clock::time_point(nanoseconds(1)));
  for (int batch = 0; batch < 20; ++batch) {
    scene.scheduler.runNext(Clock::now());
  }
}

void addOne(SchedulerScene& scene) {
  scene.scheduler.add(hour, hour, [text = longText] { ADD_FAILURE() << text; });
}

// --------------------------------------------------------------- The table

const operation_t operations[] = {
    // conversion.h
    returning("IsoToUtf8Converter",
              [] { return IsoToUtf8Converter(std::string(100, '\xE9')); }),
    returning("IsoToUtf8Converter of a C string",
              [] { return IsoToUtf8Converter("twenty characters \xE9\xE9"); }),
    returning("Utf8ToIsoConverter",
              [] { return Utf8ToIsoConverter(std::string(100, 'x')); }),
    returning("Utf8ToIsoConverter of a C string",
              [] { return Utf8ToIsoConverter("twenty characters \xC3\xA9"); }),
    // exception.h
    printing(
        "operator<<, QorException",
        [](std::ostream& os) {
          static const QorException exception(0, longText.c_str());
          os << exception;
        },
        COMPOSED),
    {"QorException::addError", BAD_STREAM,
     [] {
       auto exception = std::make_shared<QorException>(0, "open");
       return trial_t{[=] { exception->addError(ENOENT); },
                      [=] { return exception->str(); },
                      [=] {
                        exception->clear();
                        exception->str("open");
                        exception->seekp(0, std::ios_base::end);
                      },
                      [=] { return exception->bad(); }};
     }},
    calling("QorException::getErrorNumber",
            [] { QorException(0, "").getErrorNumber(); }),
    {"QorException, moved", UNCHANGED,
     [] {
       auto exception = std::make_shared<QorException>(0, longText.c_str());
       return trial_t{[=] { QorException moved(std::move(*exception)); },
                      [=] { return exception->str(); }};
     }},
    printing("operator<<, QorSimpleException",
             [](std::ostream& os) {
               os << QorSimpleException{5, longText.c_str()};
             }),
    // formatting.h
    printing("hexdump",
             [](std::ostream& os) {
               static Bytes bytes(300, 0xA5);
               hexdump(os, bytes.data(), bytes.data() + 300, "rx", 16,
                       hexdumpPrefix_t::HEXDUMP_OFFSET, true);
             }),
    printing("BinaryBase::print",
             [](std::ostream& os) {
               for (int i = 0; i < 10; ++i) {
                 os << std::internal;
                 BinaryBase::print(os, 0xA5, 64);
                 os << std::left;
               }
             }),
    printing("operator<<, Binary",
             [](std::ostream& os) { os << Binary{std::uint32_t{0xA5}}; }),
    printing("printEscaped",
             [](std::ostream& os) { printEscaped(os, longText); }),
    returning("getEscaped", [] { return getEscaped(longText); }),
    printing("printPrintable",
             [](std::ostream& os) { printPrintable(os, longText); }),
    returning("makeString of int",
              [] { return makeString(-2147483647, std::ios_base::oct); }),
    returning("makeString of unsigned",
              [] {
                return makeString(4294967295U,
                                  std::ios_base::oct | std::ios_base::showbase);
              }),
    returning("makeString of unsigned short",
              [] {
                const unsigned short number = 65535;
                return makeString(number, std::ios_base::dec);
              }),
    returning("setBits2list",
              [] { return setBits2list(~std::uint64_t{0}, longText.c_str()); }),
    returning("setBits2list of unsigned long",
              [] { return setBits2list(0xFFFFFUL, ", "); }),
    printing(
        "printSeparatedList",
        [](std::ostream& os) {
          static const std::vector<std::pair<bool, const char*>> list{
              {true, longText.c_str()}, {false, "b"}, {true, longText.c_str()}};
          printSeparatedList(os, list, "|", "none");
        }),
    printing("printSeparatedList of nothing",
             [](std::ostream& os) {
               printSeparatedList(os, {}, "|", "a text of twenty characters");
             }),
    printing("printUnknownEnum",
             [](std::ostream& os) { printUnknownEnum(os, 255); }),
    printing("operator<<, fmtflags",
             [](std::ostream& os) {
               const auto flags = static_cast<std::ios_base::fmtflags>(~0);
               os << flags;
             }),
    // intelhex.h
    returning<Bytes>(
        "IntelHexFileBlock::clone",
        [] {
          IntelHexFileBlock block;
          block.data.assign(longText.begin(), longText.end());
          return std::unique_ptr<IntelHexFileBlock>(block.clone())->data;
        },
        bytesAsText),
    onImage("IntelHexFileBlock, copied",
            [](ImageScene& scene) {
              IntelHexFileBlock copy(*scene.image[0]);
              scene.image[0]->data.swap(copy.data);
            }),
    onImage("IntelHexFileBlock::clear",
            [](ImageScene& scene) { scene.image[0]->clear(); }),
    onImage("IntelHexFileBlock::reverseBuffer",
            [](ImageScene& scene) { scene.image[0]->reverseBuffer(); }),
    onImage("IntelHexFileBlock::writeBinaryTo",
            [](ImageScene& scene) {
              EXPECT_TRUE(scene.image[0]->writeBinaryTo(scene.path.c_str()));
            }),
    onImage("IntelHexFileBlock::writeBinaryTo a descriptor",
            [](ImageScene& scene) {
              const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
              EXPECT_TRUE(scene.image[0]->writeBinaryTo(null));
              close(null);
            }),
    onImage("IntelHexFile, copied",
            [](ImageScene& scene) {
              IntelHexFile copy(scene.image);
              scene.other = std::move(copy);
            }),
    onImage("IntelHexFile, of bytes",
            [](ImageScene& scene) {
              scene.other = IntelHexFile(
                  1, 2, longText.size(),
                  reinterpret_cast<const unsigned char*>(longText.data()));
            }),
    onImage("IntelHexFile, loaded",
            [](ImageScene& scene) {
              scene.other = IntelHexFile(scene.path.c_str(), false);
            }),
    onImage("IntelHexFile, assigned",
            [](ImageScene& scene) { scene.image = scene.other; }),
    onImage("IntelHexFile, assigned to itself",
            [](ImageScene& scene) {
              const IntelHexFile& same = scene.image;
              scene.image = same;
            }),
    onImage("IntelHexFile, moved",
            [](ImageScene& scene) {
              IntelHexFile moved(std::move(scene.image));
              scene.image = std::move(moved);
            }),
    onImage("IntelHexFile::load",
            [](ImageScene& scene) {
              EXPECT_TRUE(scene.image.load(scene.path.c_str(), false));
            }),
    onImage("IntelHexFile::load into one block",
            [](ImageScene& scene) {
              EXPECT_TRUE(scene.image.load(scene.smallPath.c_str(), true));
            }),
    onImage("IntelHexFile::operator[]",
            [](ImageScene& scene) {
              EXPECT_THROW(static_cast<void>(scene.image[2]), const char*);
            }),
    onImage("IntelHexFile::reverseBuffers",
            [](ImageScene& scene) { scene.image.reverseBuffers(); }),
    onImage("IntelHexFile::clear",
            [](ImageScene& scene) { scene.image.clear(); }),
    onImage("IntelHexFile::hasData",
            [](ImageScene& scene) { EXPECT_TRUE(scene.image.hasData()); }),
    onImage(
        "IntelHexFile::getBlockCount",
        [](ImageScene& scene) { EXPECT_EQ(scene.image.getBlockCount(), 2U); }),
    onImage("IntelHexFile::createNewBlock",
            [](ImageScene& scene) {
              scene.image.createNewBlock(scene.lines.begin(),
                                         scene.lines.end());
            }),
    parsingALine("IntelHexFile::parseLine"),
    parsingAFile("IntelHexFile::parseHexFile"),
    // options.h
    onOptions("Options, of a list", UNCHANGED,
              [](OptionsScene& scene) {
                scene.other = Options{
                    optionHelp,   optionVerbose, optionDebug,   optionProgress,
                    optionDevice, optionLoops,   optionNoDaemon};
              }),
    onOptions("Options, copied", UNCHANGED,
              [](OptionsScene& scene) {
                Options copy(scene.options);
                std::swap(scene.other, copy);
              }),
    onOptions("Options, assigned", REPEATABLE,
              [](OptionsScene& scene) { scene.other = scene.options; }),
    onOptions("Options::add", UNCHANGED,
              [](OptionsScene& scene) { scene.options.add(sampleOptions[2]); }),
    onOptions("Options::add with an argument's type", UNCHANGED,
              [](OptionsScene& scene) {
                const Options::option_t& option = sampleOptions[2];
                scene.options.add(option, 1);
              }),
    onOptions("Options::entry_t, copied", UNCHANGED,
              [](OptionsScene& scene) {
                const Options::entry_t entry{sampleOptions[0], 1, 0, 0, 0};
                std::string help = entry.help;
                scene.result.swap(help);
              }),
    onOptions(
        "Options::get", UNCHANGED,
        [](OptionsScene& scene) { scene.result = scanned(scene.options); }),
    onOptions("Options::update", UNCHANGED,
              [](OptionsScene& scene) { scene.options.update(); }),
    updatingACopy("Options::update of a copy"),
    printing("Options::print",
             [](std::ostream& os) {
               static const Options options{sampleOptions[0], sampleOptions[1]};
               options.print(os);
             }),
    // scheduler.h
    onScheduler("JobScheduler, made",
                [](SchedulerScene& scene) {
                  const JobScheduler scheduler;
                  const JobScheduler slow(2.0);
                  EXPECT_EQ(slow.getTimeScale(), 2.0);
                  scene.scheduler.setTimeScale(1.0);
                }),
    onScheduler("JobScheduler::add", addOne),
    onScheduler(
        "JobScheduler::add after a run",
        [](SchedulerScene& scene) {
          if (scene.ran.empty()) {
            runAll(scene);
            scene.ran.clear();
          }
          addOne(scene);
        },
        REPEATABLE),
    onScheduler("JobScheduler::Job, copied",
                [](SchedulerScene& scene) {
                  const JobScheduler::Job job(scene.scheduler.getJobs()[0]);
                }),
    onScheduler("JobScheduler::getMaxRunQueue",
                [](SchedulerScene& scene) {
                  EXPECT_EQ(scene.scheduler.getMaxRunQueue(), 0U);
                  EXPECT_EQ(scene.scheduler.getStart(), Clock::time_point());
                }),
    onScheduler("JobScheduler::run", runAll, REPEATABLE),
    onScheduler("JobScheduler::runNext", runAllByHand, REPEATABLE),
    printing("operator<<, Job",
             [](std::ostream& os) { os << JobScheduler::Job(); }),
    // strings.h
    returning(
        "lcstring",
        []() -> std::string { return lcstring("TWENTY CHARACTERS OR SO"); }),
    returning("lcstring of a string",
              []() -> std::string { return lcstring(longText); }),
    editing<Texts>(
        "split", BEGUN, {},
        [](Texts& texts) {
          split("a,twenty characters or so,b," + longText, ',', texts);
        },
        joined),
    returning("split into a new vector", [] { return split(longText, ','); }),
    editing<Texts>(
        "tokenize", BEGUN, {},
        [](Texts& texts) {
          tokenize("a twenty_characters_or_so b " + longText, texts);
        },
        joined),
    returning("tokenize into a new vector", [] { return tokenize(longText); }),
    editing<std::string>(
        "strReplace", REPEATABLE, std::string(20, 'a'),
        [](std::string& text) {
          strReplace(text, "a", "bb");
          strReplace(text, "a", longText);
        },
        textOf),
    editing<std::string>(
        "rightTrim", UNCHANGED, std::string(20, 'a'),
        [](std::string& text) { rightTrim(text, "a"); }, textOf),
    editing<Bytes>(
        "push1", BEGUN, {}, [](Bytes& bytes) { push1(bytes, longText); },
        bytesAsText),
    editing<Bytes>(
        "push1 of a C string", BEGUN, {},
        [](Bytes& bytes) { push1(bytes, "abc"); }, bytesAsText),
    editing<Bytes>(
        "push1 of a vector", BEGUN, Bytes(8, 'x'),
        [](Bytes& bytes) { push1(bytes, bytes); }, bytesAsText),
    editing<Bytes>(
        "push2", BEGUN, {}, [](Bytes& bytes) { push2(bytes, longText); },
        bytesAsText),
    editing<Bytes>(
        "push2 of a C string", BEGUN, {},
        [](Bytes& bytes) { push2(bytes, "abc"); }, bytesAsText),
    editing<Bytes>(
        "push2 of a vector", BEGUN, Bytes(8, 'x'),
        [](Bytes& bytes) { push2(bytes, bytes); }, bytesAsText),
    // system.h
    returning("getLoginName", getLoginName),
    returning("getHostName", getHostName),
    returning("getIpAddress", [] { return getIpAddress("lo"); }),
    returning("getSubNetMask", [] { return getSubNetMask("lo"); }),
    returning("getNodename", getNodename),
    returning("getMachine", getMachine),
    returningNumber("getTotalRam", getTotalRam),
    calling("getFreeRam", [] { getFreeRam(); }),
    calling("progname", [] { progname("/usr/bin/tool"); }),
    printing("operator<<, sysinfo",
             [](std::ostream& os) {
               struct sysinfo info {};

               os << info;
             }),
    printing("printSize::print",
             [](std::ostream& os) { printSize(1536).print(os) << longText; }),
    printing("operator<<, printSize",
             [](std::ostream& os) { os << longText << printSize(1536); }),
    printing("operator<<, mq_attr",
             [](std::ostream& os) { os << longText << mq_attr{}; }),
    printing("operator<<, sigset_t",
             [](std::ostream& os) {
               sigset_t signals;
               sigfillset(&signals);
               sigdelset(&signals, 9);
               os << signals << signals;
             }),
    printing("operator<<, can_frame",
             [](std::ostream& os) { os << can_frame{}; }),
    // time.h
    calling("microsleep", [] { microsleep(1, true); }),
    calling("millisleep", [] { millisleep(1); }),
    calling("getMilliSecondsOfDay", [] { getMilliSecondsOfDay(); }),
    calling("getMicroSecondsOfDay", [] { getMicroSecondsOfDay(); }),
    calling("getMonotonicSeconds", [] { getMonotonicSeconds(); }),
    calling("getMonotonicMilliSeconds", [] { getMonotonicMilliSeconds(); }),
    calling("getMonotonicMicroSeconds", [] { getMonotonicMicroSeconds(); }),
    calling("getMonotonicError",
            [] {
              std::cerr.setstate(std::ios_base::failbit);  // say nothing
              getMonotonicError();
              std::cerr.clear();
            }),
    returningNumber<std::uint64_t>("sqrtiter", [] { return sqrtiter(50, 0); }),
    calling("getAscTime", [] { getAscTime(); }),
    returning("printTime", [] { return printTime(1700000000123456); }),
    calling("getPosixTime", [] { getPosixTime(); }),
    printing("operator<<, tm",
             [](std::ostream& os) {
               tm time{};
               time.tm_mday = 1;
               os << time;
             }),
    printing("operator<<, timeval",
             [](std::ostream& os) { os << longText << timeval{}; }),
    printing("operator<<, timespec",
             [](std::ostream& os) { os << timespec{}; }),
    // version.h
    calling("Version::getVersion",
            [] { Version::getVersion("1.2.3.4" + longText); }),
    calling("operator<, Version",
            [] { EXPECT_TRUE(Version(1, 9, 0) < Version(1, 10, 0)); }),
    printing("operator<<, Version",
             [](std::ostream& os) { os << Version(10000, 10000, 10000); }),
    returningNumber<int>("compareVersions",
                         [] { return compareVersions(longText, "1.2", -1); }),
    returning("getRegError", [] { return getRegError(regex_t{}, REG_BADPAT); }),
};

// ---------------------------------------------------------------- The test

// With "," between the thousands numbers are printed in other ways.
class AllocationFaults
    : public testing::TestWithParam<std::tuple<operation_t, const char*>> {
 protected:
  static void SetUpTestSuite() { all = 0; }

  static void TearDownTestSuite() {
    std::cout << all << " failed allocations\n";
  }

  static void note(long failures) {
    all += failures;
    RecordProperty("failedAllocations", std::to_string(failures));
  }

  const operation_t& tested() const { return std::get<0>(GetParam()); }

  // Makes the allocation behind `successes` fail, and all others if that is
  // `forEver`. Returns whether there was one.
  bool failOne(long successes, bool forEver,
               const std::string& expected) const {
    const trial_t trial = tested().prepare();
    const std::string before = trial.state();
    bool happened = false;
    bool isThrown = false;
    const AllocationCount count;
    try {
      const FailingAllocation failing(successes, forEver);
      try {
        trial.act();
      } catch (const std::bad_alloc&) {
        isThrown = true;
      }
      happened = failing.happened();
    } catch (...) {
      ADD_FAILURE() << "something else is thrown";
    }
    if (happened) {
      if (tested().outcome == UNCHANGED) {
        EXPECT_EQ(count.live(), 0);
      }
      expectOutcome(tested().outcome, isThrown, trial.isBad(), before,
                    trial.state(), expected);
      trial.reset();
      trial.act();
    }
    EXPECT_EQ(trial.state(), expected);
    EXPECT_FALSE(trial.isBad());
    return happened;
  }

  static void expectOutcome(outcome_t outcome, bool isThrown, bool isBad,
                            const std::string& before, const std::string& state,
                            const std::string& expected) {
    EXPECT_NE(isThrown, isBad);
    if (outcome != COMPOSED) {
      EXPECT_EQ(isBad, outcome == BAD_STREAM);
    }
    if (outcome == UNCHANGED || (outcome == COMPOSED && isThrown)) {
      EXPECT_EQ(state, before);
    } else if (outcome != REPEATABLE) {
      EXPECT_EQ(state, expected.substr(0, state.size()));
    }
  }

 private:
  static long all;
};

long AllocationFaults::all = 0;

TEST_P(AllocationFaults, LeaveWhatTheTableSays) {
  long failures = 0;
  const GlobalDigitGrouping grouping(std::get<1>(GetParam()));
  std::string expected;
  {
    const trial_t trial = tested().prepare();
    trial.act();
    expected = trial.state();
  }
  for (const bool forEver : {false, true}) {
    bool happened = true;
    for (long successes = 0; happened && !HasFailure(); ++successes) {
      SCOPED_TRACE((forEver ? "all behind " : "the one behind ") +
                   std::to_string(successes));
      const AllocationCount count;
      happened = failOne(successes, forEver, expected);
      EXPECT_TRUE(HasFailure() || count.live() == 0) << count.live();
      failures += happened ? 1 : 0;
    }
  }
  note(failures);
}

std::string nameOf(
    const testing::TestParamInfo<AllocationFaults::ParamType>& info) {
  std::string name;
  for (const char* c = std::get<0>(info.param).name; *c != '\0'; ++c) {
    name += std::isalnum(*c) != 0 ? *c : '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Table, AllocationFaults,
                         testing::Combine(testing::ValuesIn(operations),
                                          testing::Values("")),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(TableWithGroupedDigits, AllocationFaults,
                         testing::Combine(testing::ValuesIn(operations),
                                          testing::Values("\3")),
                         nameOf);

// What the interface ends the process for. The first failing allocations are
// the text's, the last one that of the description behind it, which the stream
// keeps to itself. In optimised code what ends the process can come before what
// catches the exception in order to name it.
constexpr char thrown[] =
    "^terminate called (after throwing an instance of 'std::bad_alloc'\n"
    "  what\\(\\):  std::bad_alloc|without an active exception)\n$";
constexpr char insertionFailed[] =
    "^terminate called without an active exception\n$";

void expectEnd(const std::vector<const char*>& messages,
               const std::function<void()>& act) {
  for (const bool forEver : {false, true}) {
    for (std::size_t i = 0; i < messages.size(); ++i) {
      EXPECT_EXIT(
          {
            const FailingAllocation failing(static_cast<long>(i), forEver);
            act();
          },
          testing::KilledBySignal(SIGABRT), messages[i])
          << i;
    }
  }
  const AllocationCount count;
  try {
    act();
  } catch (const QorException&) {
  }
  EXPECT_EQ(count.made(), static_cast<long>(messages.size()));
}

TEST(AllocationFaultsDeathTest, ExceptionsEndTheProcess) {
  expectEnd({thrown, thrown, insertionFailed},
            [] { QorException(ENOENT, longText.c_str()); });
  expectEnd({insertionFailed}, [] { QorException(ENOENT, "open"); });
  const QorException exception(0, longText.c_str());
  expectEnd({thrown}, [&] { exception.what(); });
}

TEST(AllocationFaultsDeathTest, ThrowingAnExceptionOfTheLibraryDoesSoToo) {
  Options options;
  const Options::option_t option{};
  expectEnd({thrown, thrown, insertionFailed}, [&] { options.add(option, 3); });
  JobScheduler scheduler;
  expectEnd({thrown, thrown, insertionFailed},
            [&] { scheduler.runNext(Clock::time_point()); });
}

TEST(AllocationFaultsDeathTest, SoDoesAJobThatChangesItsScheduler) {
  JobScheduler scheduler;
  const auto inAJob = [&](const std::function<void()>& act) {
    scheduler.add(hour, nanoseconds(0), [act] {
      expectEnd({thrown, thrown, insertionFailed}, act);
    });
  };
  inAJob([&] { scheduler.setTimeScale(2.0); });
  inAJob([&] { scheduler.add(hour, hour, {}); });
  inAJob([&] { scheduler.run({}); });
  inAJob([&] { scheduler.runNext({}); });
  scheduler.run(Clock::time_point(nanoseconds(1)));
  scheduler.runNext(Clock::now());
}

}  // namespace
