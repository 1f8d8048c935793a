// SPDX-License-Identifier: MIT
//
// The program qorhex with --format=json.

#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "support/terminal.h"
#include "tools/qorhex_program.h"

namespace {

constexpr unsigned startLinear = 5;

std::string documentOf(const std::string& files) {
  return R"({"version":1,"files":[)" + files + "]}\n";
}

// The entry of a file that has nothing but `problems`.
std::string emptyEntry(const std::string& name, int status,
                       const std::string& problems = {}) {
  return R"({"name":")" + name + R"(","status":)" + std::to_string(status) +
         R"(,"segments":[],"gaps":[],"regions":[],"startAddresses":[],)" +
         R"("problems":[)" + problems + "]}";
}

std::string problemEntry(const std::string& file, int line, int column,
                         const std::string& severity, const std::string& text) {
  return R"({"file":")" + file + R"(","line":)" + std::to_string(line) +
         R"(,"column":)" + std::to_string(column) + R"(,"severity":")" +
         severity + R"(","text":")" + text + R"("})";
}

// The text of the first problem in `err`, which names `place` before it.
std::string textBehind(const std::string& err, const std::string& place) {
  const std::size_t at = err.find(place);
  EXPECT_NE(at, std::string::npos) << err;
  const std::size_t begin = at + place.size();
  return err.substr(begin, err.find('\n', begin) - begin);
}

class QorhexJson : public QorhexProgram {
 protected:
  // Expects that standard error is as without JSON.
  void expectSameErrors(const std::vector<std::string>& arguments) const {
    std::vector<std::string> json = arguments;
    json.emplace_back("--format=json");
    EXPECT_EQ(run(json).err, run(arguments).err);
    EXPECT_EQ(run(json).status, run(arguments).status);
  }
};

const std::string twoSegments =
    upperLine(0x0800) + dataLine(0x100, "Hello, firmware!") +
    dataLine(0x110, "More of it.\n") + upperLine(0x0801) +
    dataLine(0x8000, "\x01\x02\x03\x04") +
    recordLine(startLinear, 0, std::string("\x08\0\1\1", 4)) + endLine;

const std::string twoSegmentsEntry =
    R"({"name":"fw.hex","status":0,"segments":[)"
    R"({"first":134217984,"last":134218011,"size":28,)"
    R"("crc32":85811286,"source":[2,3],"regions":[]},)"
    R"({"first":134316032,"last":134316035,"size":4,)"
    R"("crc32":3057449933,"source":[5,5],"regions":[]}],)"
    R"("gaps":[{"first":134218012,"last":134316031,"size":98020}],)"
    R"("regions":[],"startAddresses":[{"type":5,"value":134217985}],)"
    R"("problems":[]})";

TEST_F(QorhexJson, HasWhatTheLongTableTells) {
  folder.write("fw.hex", twoSegments);
  const std::string document = documentOf(twoSegmentsEntry);
  expectRun({"--format=json", "fw.hex"}, 0, document);
  expectRun({"-l", "--format=json", "fw.hex"}, 0, document);
}

TEST_F(QorhexJson, StrictKnowsNoLines) {
  folder.write("fw.hex", dataLine(0, "123456789") + endLine);
  expectRun({"--strict", "--format=json", "fw.hex"}, 0,
            documentOf(R"({"name":"fw.hex","status":0,"segments":[)"
                       R"({"first":0,"last":8,"size":9,"crc32":3421780262,)"
                       R"("source":null,"regions":[]}],"gaps":[],)"
                       R"("regions":[],"startAddresses":[],"problems":[]})"));
}

TEST_F(QorhexJson, OutputsComeWithItToo) {
  folder.write("fw.hex", twoSegments);
  expectRun(
      {"-b", "fw.bin", "--range=0x08018000+2", "-r", "--format=json", "fw.hex"},
      0,
      documentOf(R"({"name":"fw.hex","status":0,"segments":[)"
                 R"({"first":134316032,"last":134316033,"size":2,)"
                 R"("crc32":3066839698,"source":[5,5],"regions":[]}],)"
                 R"("gaps":[],"regions":[],)"
                 R"("startAddresses":[{"type":5,"value":134217985}],)"
                 R"("problems":[]})"));
  EXPECT_EQ(folder.read("fw.bin"), "\x02\x01");
}

TEST_F(QorhexJson, TextIsTheTable) {
  folder.write("fw.hex", dataLine(0, "ab") + endLine);
  expectRun({"--format=text", "fw.hex"}, 0,
            "   no  first       last        size\n"
            "    0  0x00000000  0x00000001  2  2B\n"
            "total                          2  2B\n");
}

TEST_F(QorhexJson, NamesAreEscapedOrReplaced) {
  const std::string name = "a\"\\\n\x1b\xC2\x9B\xC3\xA4\xFF.hex";
  folder.write(name, endLine);
  expectRun({"--format=json", name}, 0,
            documentOf(emptyEntry(
                "a\\\"\\\\\\n\\u001b\\u009b\xC3\xA4\xEF\xBF\xBD.hex", 0)));
}

TEST_F(QorhexJson, StandardInputHasItsName) {
  folder.write("fw.hex", endLine);
  expectRun({"--format=json", "-"}, 0, documentOf(emptyEntry("<stdin>", 0)), {},
            [] { dup2(open("fw.hex", O_RDONLY), STDIN_FILENO); });
}

TEST_F(QorhexJson, FilesThatFailStandInIt) {
  folder.write("good.hex", endLine);
  folder.write("bad.hex", dataLine(0, "ab") + ":00000001FE\n");
  folder.write("odd.hex", endLine + "x\n");
  const std::vector<std::string> files{"bad.hex", "none.hex", "odd.hex",
                                       "good.hex"};
  expectSameErrors(files);
  std::vector<std::string> arguments = files;
  arguments.emplace_back("--format=json");
  const processResult_t result = run(arguments);
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(
      result.out,
      documentOf(
          emptyEntry(
              "bad.hex", 3,
              problemEntry("bad.hex", 2, 10, "error",
                           textBehind(result.err, "bad.hex:2:10: error: "))) +
          ',' +
          emptyEntry("none.hex", 4,
                     problemEntry("none.hex", 0, 0, "error",
                                  "No such file or directory")) +
          ',' +
          emptyEntry(
              "odd.hex", 0,
              problemEntry("odd.hex", 2, 1, "warning",
                           textBehind(result.err, "odd.hex:2:1: warning: "))) +
          ',' + emptyEntry("good.hex", 0)));
}

TEST_F(QorhexJson, AWarningWithoutALineHasNone) {
  folder.write("fw.hex", endLine);
  expectRun({"--format=json", "--range=1-2", "fw.hex"}, 0,
            documentOf(emptyEntry("fw.hex", 0,
                                  problemEntry("fw.hex", 0, 0, "warning",
                                               "no data in the ranges"))),
            "qorhex: fw.hex: warning: no data in the ranges\n");
}

TEST_F(QorhexJson, AnOutputThatFailsIsAProblemOfItsFile) {
  folder.write("fw.hex", endLine);
  expectRun({"--format=json", "-b", "none/out.bin", "fw.hex"}, 4,
            documentOf(emptyEntry(
                "fw.hex", 4,
                problemEntry("fw.hex", 0, 0, "error",
                             "none/out.bin: No such file or directory"))),
            "qorhex: none/out.bin: No such file or directory\n");
}

// An entry would say that a FILE was read.
TEST_F(QorhexJson, ThereIsNoneWhenNoFileIsRead) {
  folder.write("fw.hex", endLine);
  folder.write("bad.map", "a 0\n");
  for (const auto& [option, status] :
       {std::pair("--map=bad.map", 3), std::pair("--map=none.map", 4),
        std::pair("--output=none", 4), std::pair("--fill=1", 2)}) {
    const processResult_t result = run({"--format=json", option, "fw.hex"});
    EXPECT_EQ(result.out, "") << option;
    EXPECT_NE(result.err, "") << option;
    EXPECT_EQ(result.status, status) << option;
  }
}

TEST_F(QorhexJson, TheLibrarysLinesLeaveItAlone) {
  folder.write("fw.hex", "no record\n" + endLine);
  const processResult_t result = run({"--strict", "--format=json", "fw.hex"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out.substr(0, 12), "{\"version\":1") << result.out;
  EXPECT_EQ(result.out.find('\n'), result.out.size() - 1) << result.out;
}

TEST_F(QorhexJson, NobodyTakesIt) {
  folder.write("fw.hex", endLine);
  expectRun({"--format=json", "fw.hex"}, 4, {},
            "qorhex: standard output: No space left on device\n",
            [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
}

TEST_F(QorhexJson, ATerminalGetsTheSame) {
  folder.write("fw.hex", twoSegments);
  PseudoTerminal terminal(40);
  run({"--format=json", "fw.hex"},
      [&terminal] { terminal.become(STDOUT_FILENO); });
  std::string document = documentOf(twoSegmentsEntry);
  document.insert(document.size() - 1, "\r");
  EXPECT_EQ(terminal.text(), document);
}

TEST_F(QorhexJson, RegionsHaveTheirUse) {
  folder.write("fw.hex", dataLine(0, "123456789") + endLine);
  folder.write("board.map", "b 4+16\na 0-3\n");
  expectRun({"--format=json", "--map=board.map", "fw.hex"}, 0,
            documentOf(R"({"name":"fw.hex","status":0,"segments":[)"
                       R"({"first":0,"last":8,"size":9,"crc32":3421780262,)"
                       R"("source":[1,1],"regions":["a","b"]}],"gaps":[],)"
                       R"("regions":[{"name":"a","first":0,"last":3,"used":4},)"
                       R"({"name":"b","first":4,"last":19,"used":5}],)"
                       R"("startAddresses":[],"problems":[]})"));
}

TEST_F(QorhexJson, MergedFilesAreOneEntry) {
  folder.write("a.hex", dataLine(0, "1234") + endLine);
  folder.write("b.hex", upperLine(0) + dataLine(4, "56789") + endLine);
  expectRun({"--format=json", "--merge", "a.hex", "b.hex"}, 0,
            documentOf(R"({"name":["a.hex","b.hex"],"status":0,"segments":[)"
                       R"({"first":0,"last":8,"size":9,"crc32":3421780262,)"
                       R"("source":[1,2],"sourceFiles":[0,1],"regions":[]}],)"
                       R"("gaps":[],"regions":[],"startAddresses":[],)"
                       R"("problems":[]})"),
            {});
}

TEST_F(QorhexJson, EachFaultOfMergedFilesHasItsFile) {
  folder.write("a.hex", endLine);
  folder.write("b.hex", ":00000001FE\n");
  const processResult_t result =
      run({"--format=json", "--merge", "none.hex", "a.hex", "b.hex"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(
      result.out,
      documentOf(
          R"({"name":["none.hex","a.hex","b.hex"],"status":4,"segments":[],)"
          R"("gaps":[],"regions":[],"startAddresses":[],"problems":[)" +
          problemEntry("none.hex", 0, 0, "error", "No such file or directory") +
          ',' +
          problemEntry("b.hex", 1, 10, "error",
                       textBehind(result.err, "b.hex:1:10: error: ")) +
          "]}"));
  expectSameErrors({"--merge", "none.hex", "a.hex", "b.hex"});
}

TEST_F(QorhexJson, AWarningAboutMergedFilesIsThatOfTheLast) {
  folder.write("a.hex", abcdLine + endLine);
  folder.write("b.hex", endLine);
  const std::string document = documentOf(
      R"({"name":["a.hex","b.hex"],"status":0,"segments":[],"gaps":[],)"
      R"("regions":[],"startAddresses":[],"problems":[)" +
      problemEntry("b.hex", 0, 0, "warning", "no data in the ranges") + "]}");
  const std::vector<std::string> arguments{"--merge", "--range=8-9", "a.hex",
                                           "b.hex", "--format=json"};
  expectRun(arguments, 0, document,
            "qorhex: a.hex, b.hex: warning: no data in the ranges\n");
  std::vector<std::string> check = arguments;
  check.emplace_back("--check");
  expectRun(check, 0, document);
}

TEST_F(QorhexJson, CheckOfASoundFileTellsItsImage) {
  folder.write("fw.hex", twoSegments);
  expectRun({"--check", "--format=json", "fw.hex"}, 0,
            documentOf(twoSegmentsEntry));
}

TEST_F(QorhexJson, CheckTellsEveryProblem) {
  folder.write("bad.hex", "x\n:00000001FE\n");
  folder.write("good.hex", endLine);
  const std::string plain = run({"--check", "bad.hex"}).out;
  expectRun(
      {"--check", "--format=json", "bad.hex", "good.hex"}, 3,
      documentOf(
          emptyEntry(
              "bad.hex", 3,
              problemEntry("bad.hex", 1, 1, "error",
                           textBehind(plain, "bad.hex:1:1: error: ")) +
                  ',' +
                  problemEntry("bad.hex", 2, 10, "error",
                               textBehind(plain, "bad.hex:2:10: error: ")) +
                  ',' +
                  problemEntry("bad.hex", 2, 12, "error",
                               textBehind(plain, "bad.hex:2:12: error: "))) +
          ',' + emptyEntry("good.hex", 0)));
}

}  // namespace
