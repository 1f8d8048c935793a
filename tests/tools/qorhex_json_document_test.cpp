// SPDX-License-Identifier: MIT
//
// JSON documents of what is told.

#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "telling/json.h"

namespace {

constexpr char replacement[] = "\xEF\xBF\xBD";

// `text`, every '?' in it U+FFFD, in quotes.
std::string replaced(const std::string& text) {
  std::string quoted;
  for (const char character : text) {
    quoted += character == '?' ? replacement : std::string(1, character);
  }
  return '"' + quoted + '"';
}

struct stringCase_t {
  const char* name;
  std::string_view bytes;
  const char* text;
};

constexpr stringCase_t stringCases[] = {
    {"Nothing", "", ""},
    {"PlainText", "a/b <c> 'd'", "a/b <c> 'd'"},
    {"Quotes", R"(a"b\c)", R"(a\"b\\c)"},
    {"ControlsWithAName", "\b\t\n\f\r", R"(\b\t\n\f\r)"},
    {"OtherControls", std::string_view("\0\x1B\x1F\x7F", 4),
     R"(\u0000\u001b\u001f\u007f)"},
    {"UpperControls", "\xC2\x80\xC2\x9B\xC2\x9F\xC2\xA0",
     "\\u0080\\u009b\\u009f\xC2\xA0"},
    {"Characters", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF",
     "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
    {"AroundTheSurrogates", "\xED\x9F\xBF\xEE\x80\x80",
     "\xED\x9F\xBF\xEE\x80\x80"},
    {"BytesThatBeginNothing", "a\x80z\xBF\xC0\xC1\xF5\xFF", "a?z?????"},
    {"BrokenOff", "\xC3", "?"},
    {"BrokenOffLater", "\xE2\x82", "?"},
    {"BrokenOffByAnother", "\xE2\x82z\xF0\x9F\x98\xC3\xA4", "?z?\xC3\xA4"},
    {"TooLongForTheirValue", "\xE0\x9F\xBF\xF0\x8F\xBF\xBF", "???????"},
    {"Surrogates", "\xED\xA0\x80", "???"},
    {"BeyondTheLastCharacter", "\xF4\x90\x80\x80", "????"},
};

class JsonString : public testing::TestWithParam<stringCase_t> {};

TEST_P(JsonString, IsValid) {
  EXPECT_EQ(jsonString(GetParam().bytes), replaced(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Table, JsonString, testing::ValuesIn(stringCases),
                         [](const auto& tested) { return tested.param.name; });

class Document : public testing::Test {
 protected:
  std::string text;
  JsonDocument document{[this](std::string_view piece) { text += piece; }};
};

report_t emptyReport(const std::string& name) {
  report_t report;
  report.names = {name};
  return report;
}

constexpr char noContents[] =
    R"("segments":[],"gaps":[],"regions":[],"startAddresses":[],"problems":[]})";

TEST_F(Document, WithoutFiles) {
  document.finish();
  EXPECT_EQ(text, "{\"version\":1,\"files\":[]}\n");
}

TEST_F(Document, NothingIsGivenBeforeTheEnd) {
  EXPECT_EQ(text, "");
}

TEST_F(Document, FilesAreInOrder) {
  document.add(emptyReport("b.hex"));
  document.add(emptyReport("<stdin>"));
  document.finish();
  EXPECT_EQ(text, std::string(R"({"version":1,"files":[)") +
                      R"({"name":"b.hex","status":0,)" + noContents +
                      R"(,{"name":"<stdin>","status":0,)" + noContents +
                      "]}\n");
}

TEST_F(Document, HasAllOfAnImage) {
  report_t report = emptyReport("a\"b");
  report.status = REFUSED;
  report.segments = {{{0, 3}, 0xFFFFFFFF, {{{{0, 2}, {0, 3}}}}, {0, 1}},
                     {{0xFFFFFFFF, 0xFFFFFFFF}, 0, {}, {}}};
  report.regions = {{{"r-1", {0, 1}}, 2}, {{"r.2", {2, 0xFFFFFFFF}}, 0}};
  report.startAddresses = {{3, 0x10002, 9}, {5, 0xFFFFFFFF, 9}};
  report.problems = {{severity_t::ERROR, "a\"b", 7, 12, "bad\xFF", {}},
                     {severity_t::WARNING, "all", 0, 0, "odd", {}}};
  document.add(report);
  document.finish();
  EXPECT_EQ(
      text,
      std::string(R"({"version":1,"files":[{"name":"a\"b","status":3,)") +
          R"("segments":[{"first":0,"last":3,"size":4,"crc32":4294967295,)"
          R"("source":[2,3],"regions":["r-1","r.2"]},)"
          R"({"first":4294967295,"last":4294967295,"size":1,"crc32":0,)"
          R"("source":null,"regions":[]}],)"
          R"("gaps":[{"first":4,"last":4294967294,"size":4294967291}],)"
          R"("regions":[{"name":"r-1","first":0,"last":1,"used":2},)"
          R"({"name":"r.2","first":2,"last":4294967295,"used":0}],)"
          R"("startAddresses":[{"type":3,"value":65538},)"
          R"({"type":5,"value":4294967295}],)"
          R"("problems":[{"file":"a\"b","line":7,"column":12,)"
          R"("severity":"error","text":"bad)" +
          replacement +
          R"("},{"file":"a\"b","line":0,"column":0,"severity":"warning",)"
          R"("text":"odd"}]}]})"
          "\n");
}

TEST_F(Document, MergedFilesAreOneEntry) {
  report_t report;
  report.names = {"a", "b"};
  report.isMerged = true;
  report.segments = {{{1, 2}, 3, {{{{0, 20}, {1, 10}}}}, {}}};
  document.add(report);
  document.finish();
  EXPECT_EQ(text,
            R"({"version":1,"files":[{"name":["a","b"],"status":0,)"
            R"("segments":[{"first":1,"last":2,"size":2,"crc32":3,)"
            R"("source":[20,10],"sourceFiles":[0,1],"regions":[]}],"gaps":[],)"
            R"("regions":[],"startAddresses":[],"problems":[]}]})"
            "\n");
}

TEST_F(Document, OneMergedFileIsAListToo) {
  report_t report = emptyReport("a");
  report.isMerged = true;
  document.add(report);
  document.finish();
  EXPECT_EQ(text,
            std::string(R"({"version":1,"files":[{"name":["a"],"status":0,)") +
                noContents + "]}\n");
}

TEST_F(Document, DifferencesFollowTheFiles) {
  document.add(emptyReport("a"));
  document.beginDifferences();
  document.add({{0, 0}, differenceKind_t::ONLY_A});
  document.add({{1, 0xFFFFFFFE}, differenceKind_t::ONLY_B});
  document.add({{0xFFFFFFFF, 0xFFFFFFFF}, differenceKind_t::DIFFERS});
  document.endDifferences(true);
  document.finish();
  EXPECT_EQ(text,
            std::string(R"({"version":1,"files":[{"name":"a","status":0,)") +
                noContents +
                R"(],"differences":[)"
                R"({"first":0,"last":0,"size":1,"kind":"onlyA"},)"
                R"({"first":1,"last":4294967294,"size":4294967294,)"
                R"("kind":"onlyB"},{"first":4294967295,"last":4294967295,)"
                R"("size":1,"kind":"differs"}],"startAddressesDiffer":true})"
                "\n");
}

TEST_F(Document, EqualImagesHaveNoDifferences) {
  document.beginDifferences();
  document.endDifferences(false);
  document.finish();
  EXPECT_EQ(text,
            "{\"version\":1,\"files\":[],\"differences\":[],"
            "\"startAddressesDiffer\":false}\n");
}

// The pieces that a long document is given in leave no seam.
TEST_F(Document, PiecesMakeOneText) {
  constexpr std::size_t count = 20000;
  report_t report = emptyReport("a");
  std::string segments;
  std::string gaps;
  std::string problems;
  const auto separated = [](std::string& list, const std::string& element) {
    list += (list.empty() ? "" : ",") + element;
  };
  for (std::size_t i = 0; i < count; ++i) {
    const std::string at = std::to_string(2 * i);
    report.segments.push_back({{2 * i, 2 * i}, 5, {}, {}});
    separated(segments, R"({"first":)" + at + R"(,"last":)" + at +
                            R"(,"size":1,"crc32":5,"source":null,)" +
                            R"("regions":[]})");
    if (i != 0) {
      const std::string before = std::to_string(2 * i - 1);
      separated(gaps, R"({"first":)" + before + R"(,"last":)" + before +
                          R"(,"size":1})");
    }
    report.problems.push_back({severity_t::ERROR, "a", i + 1, 1, "b", {}});
    separated(problems, R"({"file":"a","line":)" + std::to_string(i + 1) +
                            R"(,"column":1,"severity":"error","text":"b"})");
  }
  document.add(report);
  document.finish();
  EXPECT_EQ(text, R"({"version":1,"files":[{"name":"a","status":0,)"
                  R"("segments":[)" +
                      segments + R"(],"gaps":[)" + gaps +
                      R"(],"regions":[],"startAddresses":[],"problems":[)" +
                      problems + "]}]}\n");
}

}  // namespace
