// SPDX-License-Identifier: MIT
//
// The program qorhex with files that are no Intel HEX.

#include <cstddef>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tools/qorhex_program.h"

namespace {

using namespace std::string_literals;

// A file of another kind: its bytes, and what is said of it.
struct kind_t {
  const char* name;
  std::string bytes;
  std::string text;
};

const kind_t kinds[] = {
    {"Elf",
     "\x7F"
     "ELF\1\1\1\0\0\0\0\0\0\0\0\0\2\0\x28\0\1\0\0\0\n:\n"s,
     "this is an ELF file; objcopy -O ihex makes Intel HEX of it\n"
     ".ELF..............(.....\n^\n"},
    {"Uf2", "UF2\n\x57\x51\x5D\x9E\0\0\0\0"s,
     "this is a UF2 file; uf2conv.py makes a binary file of it\nUF2\n^\n"},
    {"Gzip", "\x1F\x8B\x08\0\0\0\0\0\0\x03rest"s,
     "this is a gzip file; gunzip unpacks it\n..........rest\n^\n"},
    {"Zip", "PK\3\4\x14\0\0\0\x08\0fw.hex\nmore"s,
     "this is a zip file; unzip unpacks it\nPK........fw.hex\n^\n"},
    {"DfuSe", "DfuSe\1\x20\0\0\0\1Target"s,
     "this is a DfuSe file; dfuse-pack.py -d makes binary files of its images\n"
     "DfuSe. ....Target\n^\n"},
    {"SRecords", "S00600004844521B\r\nS9030000FC\r\n",
     "these are S-records; objcopy -I srec -O ihex makes Intel HEX of them\n"
     "S00600004844521B\n^\n"},
    {"Html", "<!DOCTYPE html>\n<title>404</title>\n",
     "this is HTML or XML; a web page may have been saved in place of the "
     "file\n<!DOCTYPE html>\n^\n"},
    {"HtmlBehindBlanks", "\n  <?xml version=\"1.0\"?>\n",
     "this is HTML or XML; a web page may have been saved in place of the "
     "file\n"},
    {"Utf16",
     "\xFF\xFE:\0"
     "0\0"
     "0\0\r\0\n\0"s,
     "this is UTF-16 text; iconv -f UTF-16 -t UTF-8 makes plain text of it\n"
     "..:.0.0...\n^\n"},
    {"Utf16WithoutAMark",
     ":\0"
     "0\0"
     "0\0\n\0"s,
     "this is UTF-16 text; iconv -f UTF-16LE -t UTF-8 makes plain text of it\n"
     ":.0.0.\n^\n"},
    {"RawBytes", "\x80\x04\0\x20\x0A\xC1\0\0"s,
     "these are raw bytes; objcopy -I binary -O ihex "
     "--change-addresses=<address> makes Intel HEX of them\n... \n^\n"},
};

class QorhexKinds : public QorhexProgram,
                    public testing::WithParamInterface<kind_t> {};

TEST_P(QorhexKinds, IsNamedForWhatItIs) {
  folder.write("fw.hex", GetParam().bytes);
  expectRun({"fw.hex"}, 3, {}, "fw.hex:1:1: error: " + GetParam().text);
}

// Under --check each of the lines that follow would have one of its own. Text
// in UTF-16 is only known by all of its characters.
TEST_P(QorhexKinds, HasNoOtherProblem) {
  const kind_t& kind = GetParam();
  const bool wide = kind.name == std::string("Utf16WithoutAMark");
  folder.write("fw.hex", kind.bytes + (wide ? kind.bytes : "\nrubbish\n:zz\n"));
  folder.write("good.hex", endLine);
  expectRun({"--check", "fw.hex", "good.hex"}, 3,
            "fw.hex:1:1: error: " + kind.text +
                "fw.hex: 1 error, 0 warnings\n"
                "good.hex: 0 errors, 0 warnings\n");
}

TEST_P(QorhexKinds, IsNamedInAPipeToo) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const std::string& bytes = GetParam().bytes;
  ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()),
            static_cast<ssize_t>(bytes.size()));
  close(ends[1]);
  expectRun({"-"}, 3, {}, "<stdin>:1:1: error: " + GetParam().text,
            [&ends] { dup2(ends[0], STDIN_FILENO); });
  close(ends[0]);
}

INSTANTIATE_TEST_SUITE_P(Table, QorhexKinds, testing::ValuesIn(kinds),
                         [](const auto& tested) { return tested.param.name; });

class QorhexNoKind : public QorhexProgram {};

TEST_F(QorhexNoKind, ASoundRecordBeforeItKeepsALineWhatItIs) {
  folder.write("fw.hex", "\n" + dataLine(0, "a") + "<html>\0\n"s + endLine);
  expectRun({"fw.hex"}, 3, {},
            "fw.hex:3:1: error: no start code ':' at the beginning; every line "
            "is a record, comments are not understood\n"
            "<html>.\n^\n");
}

TEST_F(QorhexNoKind, AnythingElseIsADamagedLine) {
  folder.write("fw.hex", "\nHello\n");
  expectRun({"fw.hex"}, 3, {},
            "fw.hex:2:1: error: no start code ':' at the beginning; every line "
            "is a record, comments are not understood\n"
            "Hello\n^\n");
}

TEST_F(QorhexNoKind, OfALongFirstLineTheBeginningIsShown) {
  const std::size_t size = 300000;
  folder.write("fw.hex", '<' + std::string(size, 'x'));
  expectRun({"fw.hex"}, 3, {},
            "fw.hex:1:1: error: this is HTML or XML; a web page may have been "
            "saved in place of the file\n<" +
                std::string(79, 'x') + "\n^\n");
}

}  // namespace
