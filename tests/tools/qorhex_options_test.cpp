// SPDX-License-Identifier: MIT
//
// The program qorhex with options that do not go together.

#include <string>
#include <vector>

#include <sys/stat.h>

#include <gmock/gmock.h>

#include "tools/qorhex_program.h"

namespace {

using testing::ElementsAre;

struct refusedCase_t {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;
};

class QorhexOptions : public QorhexProgram {};

class QorhexRefusedOptions : public QorhexProgram,
                             public testing::WithParamInterface<refusedCase_t> {
};

// FILEs that are there would do no harm, and none is written.
TEST_P(QorhexRefusedOptions, EndWithStatusTwoAndSayWhy) {
  folder.write("a", endLine);
  folder.write("b", endLine);
  expectUsage(GetParam().arguments, GetParam().message);
  EXPECT_THAT(folder.names(), ElementsAre("a", "b"));
}

const refusedCase_t refusedCases[] = {
    {"BinaryTwice", {"-bx", "-bx", "a"}, "--binary is given twice"},
    {"OutputTwice", {"-o.", "-o.", "a"}, "--output is given twice"},
    {"HexTwice", {"--ihex=x", "--ihex=y", "a"}, "--ihex is given twice"},
    {"PictureTwice", {"--svg=x", "--svg=y", "a"}, "--svg is given twice"},
    {"MapTwice", {"--map=a", "--map=a", "a"}, "--map is given twice"},
    {"FormatTwice",
     {"--format=json", "--format=json", "a"},
     "--format is given twice"},
    {"FillTwice",
     {"--fill=0", "--fill=0", "-bx", "a"},
     "--fill is given twice"},
    {"MaxSizeTwice",
     {"--max-size=1", "--max-size=1", "a"},
     "--max-size is given twice"},
    {"UnknownFormat",
     {"--format=\x1bxml", "a"},
     "--format: neither text nor json: '\\x1bxml'"},
    {"FormatInUpperCase",
     {"--format=JSON", "a"},
     "--format: neither text nor json: 'JSON'"},
    {"LongDump", {"-l", "-x", "a"}, "--long and --hexdump exclude each other"},
    {"LongCheck", {"-lc", "a"}, "--long and --check exclude each other"},
    {"LongDifferences",
     {"-l", "--diff", "a", "b"},
     "--long and --diff exclude each other"},
    {"DumpedCheck",
     {"--check", "-x8", "a"},
     "--hexdump and --check exclude each other"},
    {"DumpedDifferences",
     {"--diff", "-x", "a", "b"},
     "--hexdump and --diff exclude each other"},
    {"CheckedDifferences",
     {"--diff", "--check", "a", "b"},
     "--check and --diff exclude each other"},
    {"CheckWithBinary",
     {"-c", "-bx", "a"},
     "--check and --binary exclude each other"},
    {"CheckWithOutput",
     {"-c", "-o.", "a"},
     "--check and --output exclude each other"},
    {"CheckWithHex",
     {"-c", "--ihex=x", "a"},
     "--check and --ihex exclude each other"},
    {"CheckWithPicture",
     {"-c", "--svg=x", "a"},
     "--check and --svg exclude each other"},
    {"DifferencesWithBinary",
     {"--diff", "-b-", "a", "b"},
     "--diff and --binary exclude each other"},
    {"DifferencesWithOutput",
     {"--diff", "-o.", "a", "b"},
     "--diff and --output exclude each other"},
    {"DifferencesWithHex",
     {"--diff", "--ihex=x", "a", "b"},
     "--diff and --ihex exclude each other"},
    {"DifferencesWithPicture",
     {"--diff", "--svg=x", "a", "b"},
     "--diff and --svg exclude each other"},
    {"DumpBesideBinary",
     {"-b-", "-x", "a"},
     "--binary=- and --hexdump both want standard output"},
    {"LongTableBesideBinary",
     {"-b-", "-l", "a"},
     "--binary=- and --long both want standard output"},
    {"TableBesideHex",
     {"--ihex=-", "--format=text", "a"},
     "--ihex=- and --format both want standard output"},
    {"JsonBesidePicture",
     {"--svg=-", "--format=json", "a"},
     "--svg=- and --format both want standard output"},
    {"HexBesideBinary",
     {"-b-", "--ihex=-", "a"},
     "--binary=- and --ihex=- both want standard output"},
    {"PictureBesideHex",
     {"--svg=-", "--ihex=-", "a"},
     "--ihex=- and --svg=- both want standard output"},
    {"FormatOfADump",
     {"--format=text", "-x", "a"},
     "--hexdump and --format exclude each other"},
    {"DifferencesOfOne", {"--diff", "a"}, "--diff takes two FILEs"},
    {"DifferencesOfThree", {"--diff", "a", "b", "a"}, "--diff takes two FILEs"},
    {"MergedDifferences",
     {"--diff", "-m", "a", "b"},
     "--diff and --merge exclude each other"},
    {"ReversedDifferences",
     {"--diff", "-r", "a", "b"},
     "--diff and --reverse exclude each other"},
    {"FillWithoutBinary", {"--fill=0", "a"}, "--fill needs --binary"},
    {"PadWithoutBinary",
     {"--pad", "--range=0-1", "--ihex=x", "a"},
     "--pad needs --binary"},
    {"PadWithoutRange", {"--pad", "-bx", "a"}, "--pad needs --range"},
    {"BinaryOfTwo",
     {"-bx", "a", "b"},
     "--binary takes one FILE only, unless --merge makes one image of several"},
    {"HexOfTwo",
     {"--ihex=x", "a", "b"},
     "--ihex takes one FILE only, unless --merge makes one image of several"},
    {"PictureOfTwo",
     {"--svg=x", "a", "b"},
     "--svg takes one FILE only, unless --merge makes one image of several"},
    {"StrictCheck",
     {"--strict", "-c", "a"},
     "--strict and --check exclude each other"},
    {"StrictMerge",
     {"--strict", "-m", "a"},
     "--strict and --merge exclude each other"},
    {"StrictMap",
     {"--strict", "--map=b", "a"},
     "--strict and --map exclude each other"},
    {"StrictStandardInput",
     {"--strict", "a", "-"},
     "--strict cannot read standard input"},
    {"OutputToStandardOutput",
     {"-o-", "a"},
     "--output takes a folder, not standard output"},
    {"StandardInputTwice", {"-", "a", "-"}, "the FILE - is given twice"},
    {"StandardInputForTheMapToo",
     {"--map=-", "a", "-"},
     "--map=- and the FILE - both want standard input"},
    {"MergedStandardInputTwice", {"-m", "-", "-"}, "the FILE - is given twice"},
    {"OneStemTwice",
     {"-o.", "x/a.hex", "y/a.hex"},
     "--output: two FILEs have the stem 'a'"},
    {"NoFile", {"--merge"}, "no FILE given"},
};

INSTANTIATE_TEST_SUITE_P(Table, QorhexRefusedOptions,
                         testing::ValuesIn(refusedCases),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(QorhexOptions, APipeCanBeGivenOnce) {
  ASSERT_EQ(::mkfifo(folder.path("fifo").c_str(), 0600), 0);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"fifo", "./fifo"},
        {"-m", "fifo", "./fifo"},
        {"--diff", "fifo", "./fifo"},
        {"--map=./fifo", "fifo"}}) {
    expectUsage(arguments, "the pipe ./fifo is given twice");
  }
}

// What the sets of options that are refused have beside them.
TEST_F(QorhexOptions, WhatGoesTogetherIsTaken) {
  folder.write("a", dataLine(0, "abcd") + endLine);
  const std::vector<std::string> taken[] = {
      {"-l", "-l", "a"},
      {"-x", "-x8", "a"},
      {"-c", "-m", "--format=json", "a", "a"},
      {"-bx", "--ihex=y", "-o.", "-m", "a", "a"},
      {"-bx", "-l", "a"},
      {"-b-", "a"},
      {"--strict", "--force", "-bx", "a"},
  };
  for (const std::vector<std::string>& arguments : taken) {
    const processResult_t result = run(arguments);
    EXPECT_EQ(result.err, "") << arguments[0];
    EXPECT_EQ(result.status, 0) << arguments[0];
  }
}

}  // namespace
