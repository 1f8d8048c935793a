// SPDX-License-Identifier: MIT

#include "ihex/generator.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>

#include "support/hexrecord.h"

namespace {

constexpr char endRecord[] = ":00000001FF";

void lower(std::string& text) {
  for (char& character : text) {
    if (character >= 'A' && character <= 'F') {
      character = static_cast<char>(character - 'A' + 'a');
    }
  }
}

}  // namespace

void repairChecksum(std::string& line) {
  if (line.size() < 11 || line.size() % 2 == 0) {
    return;
  }
  long sum = 0;
  for (std::size_t i = 1; i + 2 < line.size(); i += 2) {
    sum += std::strtol(line.substr(i, 2).c_str(), nullptr, 16);
  }
  constexpr char digits[] = "0123456789ABCDEF";
  const auto checksum = static_cast<unsigned>(-sum) & 0xFF;
  line[line.size() - 2] = digits[checksum >> 4];
  line[line.size() - 1] = digits[checksum & 0xF];
}

std::string HexTextGenerator::smallFile() {
  Lines lines = records(below(1200));
  if (chance(50)) {
    for (std::size_t i = 1 + below(3); i > 0; --i) {
      damage(lines);
    }
  }
  std::string text = joined(lines) + ending();
  if (chance(15)) {
    mutate(text);
  }
  return text;
}

std::string HexTextGenerator::largeFile() {
  constexpr std::size_t kibi = 1024;
  Lines lines = records((60 + below(140)) * kibi);
  if (chance(30)) {
    std::string& target = lines[below(lines.size())];
    target = longLine(target);
  }
  if (chance(20)) {
    damage(lines);
  }
  std::string text = joined(lines) + ending();
  if (chance(10)) {
    mutate(text);
  }
  return text;
}

std::string HexTextGenerator::line() {
  std::string text = hexRecord(
      chance(70) ? 0 : static_cast<unsigned>(below(256)),
      static_cast<unsigned>(below(0x10000)), bytes(recordLength(below(3))));
  for (std::size_t i = below(3); i > 0; --i) {
    text = damaged(text);
  }
  if (chance(20)) {
    mutate(text);
  }
  return text;
}

std::vector<unsigned char> HexTextGenerator::bytes(std::size_t count) {
  std::vector<unsigned char> data(count);
  for (unsigned char& byte : data) {
    byte = static_cast<unsigned char>(random());
  }
  return data;
}

std::string HexTextGenerator::upperAddress() {
  constexpr unsigned char uppers[][2] = {
      {0, 0}, {0, 1}, {0, 2}, {1, 0}, {0x7F, 0xFF}, {0x80, 0}, {0xFF, 0xFF}};
  const auto& upper = uppers[below(std::size(uppers))];
  return hexRecord(4, chance(80) ? 0 : static_cast<unsigned>(below(0x10000)),
                   {upper[0], upper[1]});
}

// Mostly right behind the record before; else with a gap, an overlap, at an
// address that was there, or anywhere.
unsigned HexTextGenerator::nextAddress(unsigned expected,
                                       unsigned lastAddress) {
  const auto small = static_cast<unsigned>(1 + below(20));
  const std::size_t kind = below(100);
  if (kind < 80) {
    return expected;
  }
  if (kind < 87) {
    return expected + small;
  }
  if (kind < 92) {
    return expected - small;
  }
  if (kind < 96) {
    return lastAddress;
  }
  return static_cast<unsigned>(random());
}

std::size_t HexTextGenerator::recordLength(std::size_t kind) {
  switch (kind) {
    case 0:
      return 16;
    case 1:
      return below(33);
    default:
      return below(256);
  }
}

HexTextGenerator::Lines HexTextGenerator::records(std::size_t textSize) {
  const unsigned upperChance = chance(50) ? 0 : 8;
  const std::size_t lengthKind = below(3);
  unsigned address = chance(40) ? 0 : static_cast<unsigned>(below(0x10000));
  if (chance(10)) {
    address = 0xFFF0 - static_cast<unsigned>(below(40));
  }
  unsigned lastAddress = address;
  Lines lines;
  for (std::size_t size = 0; size <= textSize; size += lines.back().size()) {
    if (chance(upperChance)) {
      lines.push_back(upperAddress());
      continue;
    }
    const std::vector<unsigned char> data = bytes(recordLength(lengthKind));
    lines.push_back(hexRecord(0, address & 0xFFFF, data));
    const unsigned expected = address + static_cast<unsigned>(data.size());
    address = nextAddress(expected, lastAddress);
    lastAddress = address;
    if (chance(10)) {
      lower(lines.back());
    }
  }
  if (chance(25)) {
    shuffle(lines);
  }
  if (chance(15)) {
    std::for_each(lines.begin(), lines.end(), lower);
  }
  return lines;
}

// Not std::shuffle, which may differ from library to library.
void HexTextGenerator::shuffle(Lines& lines) {
  for (std::size_t i = lines.size(); i > 1; --i) {
    std::swap(lines[i - 1], lines[below(i)]);
  }
}

void HexTextGenerator::damage(Lines& lines) {
  const std::size_t position = below(lines.size() + 1);
  const std::string inserted[] = {
      "",
      " ",
      "\r",
      "\t",
      ":0000000000",
      ":00001000F0",
      "garbage",
      ":00000001ff",
      " :00000001FF",
      ":00000001FFFF",
      ":00FF0F01F1",
      hexRecord(4, 0, {}),
      hexRecord(4, 0, {1}),
      hexRecord(4, 0, {0, 1, 2}),
      hexRecord(static_cast<unsigned>(below(256)), 0, bytes(below(8)))};
  if (position == lines.size() || chance(25)) {
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(position),
                 inserted[below(std::size(inserted))]);
  } else {
    lines[position] = damaged(lines[position]);
  }
}

std::string HexTextGenerator::damaged(std::string text) {
  const std::size_t position = below(text.size() + 1);
  constexpr char odd[] = "GZgz:;.-+xX \t\r\v@`/\\\"%\x7F\x80\xE4\xFF";
  // The last "character" of the array is a NUL, which is wanted too.
  const std::string character(1, odd[below(sizeof odd)]);
  switch (below(12)) {
    case 0:
      return std::string(1 + below(3), ' ') + text;
    case 1:
      return text + std::string(1 + below(3), ' ');
    case 2:
      return text + " \r";
    case 3:
      return text.insert(position, 1, '\r');
    case 4:
      return text.insert(position, character);
    case 5:
      return text.substr(0, position);
    case 6:
      return text + (chance(50) ? "00" : "0");
    case 7:
      return text + std::string(1 + below(5), "0F \t5"[below(5)]);
    case 8:
    case 9:
      return oddField(std::move(text));
    case 10:
      if (position < text.size()) {
        text[position] = character[0];
        if (chance(50)) {
          repairChecksum(text);
        }
      }
      return text;
    default:
      return longLine(text).substr(0, text.size() + below(600));
  }
}

// Puts what strtol takes, or half takes, over a field.
std::string HexTextGenerator::oddField(std::string text) {
  constexpr const char* fields[] = {"-1", "+5", " 7",  "0x", "-0", "-F",
                                    "+F", "1 ", "\t1", "0X", "x1", "5G",
                                    "--", "01", "FF",  "00", "10", "7F"};
  constexpr const char* addresses[] = {"0x1F", "-001", "+012", "  1F",
                                       "0xGG", "-0x1", "1G23", "+0XF"};
  const bool address = chance(20);
  const std::size_t position =
      address ? 3 : 1 + 2 * below(std::max<std::size_t>(text.size() / 2, 1));
  const std::string field = address ? addresses[below(std::size(addresses))]
                                    : fields[below(std::size(fields))];
  if (position + field.size() <= text.size()) {
    text.replace(position, field.size(), field);
    if (chance(70)) {
      repairChecksum(text);
    }
  }
  return text;
}

// A line beyond 64 KiB; those with blanks around and with carriage returns are
// still sound.
std::string HexTextGenerator::longLine(const std::string& text) {
  const std::size_t length = 65400 + below(6000);
  switch (below(5)) {
    case 0:
      return std::string(length, ' ') + text;
    case 1:
      return text + std::string(length, ' ');
    case 2:
      return text + std::string(length / 8, '\r') + std::string(length, ' ');
    case 3:
      return text + std::string(length, '0');
    default:
      return ":" + std::string(length, chance(50) ? '0' : 'F');
  }
}

std::string HexTextGenerator::joined(const Lines& lines) {
  const std::size_t kind = below(100);
  std::string text;
  for (const std::string& each : lines) {
    text += each;
    if (kind < 30 || (kind < 40 && chance(50))) {
      text += '\r';
    }
    text += '\n';
  }
  return text;
}

std::string HexTextGenerator::ending() {
  const std::size_t kind = below(100);
  const std::string end = endRecord;
  if (kind < 65) {
    return end + '\n';
  }
  if (kind < 72) {
    return end;
  }
  if (kind < 78) {
    return end + "\r\n";
  }
  if (kind < 83) {
    return "";
  }
  if (kind < 89) {
    return hexRecord(0, 0x8000, bytes(below(20)));
  }
  if (kind < 93) {
    return end + std::string(below(9), 'x') + "\nnot read\n" + end + '\n';
  }
  if (kind < 95) {
    return end + std::string(70000, 'x') + '\n';
  }
  return end.substr(0, below(end.size()));
}

// Changes single bytes without regard to lines.
void HexTextGenerator::mutate(std::string& text) {
  for (std::size_t i = 1 + below(4); i > 0 && !text.empty(); --i) {
    const std::size_t position = below(text.size());
    const char byte = static_cast<char>(static_cast<unsigned char>(random()));
    switch (below(6)) {
      case 0:
        text[position] = byte;
        break;
      case 1:
        text.insert(position, 1, byte);
        break;
      case 2:
        text.erase(position, 1 + below(3));
        break;
      case 3:
        text[position] = "0123456789ABCDEFabcdef:\n\r -"[below(27)];
        break;
      case 4:
        text.insert(position, text.substr(below(text.size()), below(60)));
        break;
      default:
        text.resize(chance(20) ? position : text.size());
    }
  }
}
