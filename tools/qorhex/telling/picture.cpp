// SPDX-License-Identifier: MIT

#include "telling/picture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "reading/names.h"
#include "reading/number_text.h"
#include "telling/picture_layout.h"
#include "telling/problems.h"
#include "telling/svg_text.h"

namespace {

// Columns, in pixels from the left.
constexpr int margin = 20;
constexpr int mapLeft = 262;
constexpr int mapWidth = 160;
constexpr int mapRight = mapLeft + mapWidth;
constexpr int stripLeft = mapRight + 5;
constexpr int stripWidth = 8;
constexpr int regionTextLeft = stripLeft + 40;
constexpr int plainWidth = mapRight + 38;
constexpr int widthWithRegions = 700;
constexpr int useBarWidth = widthWithRegions - margin - regionTextLeft;

// What fits beside each other.
constexpr std::size_t plainTitleColumns = 44;
constexpr std::size_t titleColumnsWithRegions = 72;
constexpr std::size_t regionNameColumns = 28;

// Heights, in tenths of a pixel.
constexpr tenths_t titleBaseline = 340;
constexpr tenths_t headLine = 180;
constexpr tenths_t noteLine = 150;
constexpr tenths_t spaceAroundMap = 240;
constexpr tenths_t addressLine = 140;
constexpr tenths_t regionText = 480;
constexpr tenths_t roomForTwoAddresses = 300;
constexpr tenths_t roomForText = 150;
constexpr tenths_t waveFromEdge = 110;

// What a line of text is moved down for its middle to be where it shall be.
constexpr tenths_t halfLetter = 38;

constexpr std::array<const char*, 6> regionColours = {
    "#c96f12", "#2b8a66", "#8450a8", "#bd3a50", "#1482a0", "#7d7116"};

constexpr const char* gapColour = "#eceff2";
constexpr const char* emptyColour = "#e2e6ea";
constexpr const char* lineColour = "#8d96a0";
constexpr const char* quietColour = "#5f6872";
constexpr const char* dataColour = "#2f639c";
constexpr const char* joinedColour = "#b5cce6";

constexpr const char* dash = "\xE2\x80\x93";

std::string addressesText(const range_t& range) {
  if (range.size() == 1) {
    return addressText(range.first);
  }
  return addressText(range.first) + dash + addressText(range.last);
}

std::string attribute(const char* name, const std::string& value) {
  return std::string(" ") + name + "=\"" + value + '"';
}

constexpr tenths_t tenths(int pixels) {
  return tenths_t{pixels} * 10;
}

std::string rectangle(int left, tenths_t top, tenths_t width, tenths_t height,
                      const char* fill) {
  return "<rect" + attribute("x", std::to_string(left)) +
         attribute("y", pixels(top)) + attribute("width", pixels(width)) +
         attribute("height", pixels(height)) + attribute("fill", fill) + "/>\n";
}

std::string line(int left, tenths_t from, int right, tenths_t to,
                 const char* colour) {
  return "<path" +
         attribute("d", "M" + std::to_string(left) + ' ' + pixels(from) + 'L' +
                            std::to_string(right) + ' ' + pixels(to)) +
         attribute("stroke", colour) + "/>\n";
}

// A text whose letters have their middle at `middle`, with more `attributes`.
std::string textAt(int left, tenths_t middle, const std::string& attributes,
                   const std::string& text) {
  return "<text" + attribute("x", std::to_string(left)) +
         attribute("y", pixels(middle + halfLetter)) + attributes + '>' +
         xmlText(text) + "</text>\n";
}

class Picture {
 public:
  explicit Picture(const report_t& pictured)
      : report(pictured), layout(layOutPicture(pictured)) {}

  std::string make() {
    addHead();
    addMap();
    addAddresses();
    addRegions();
    addNotes();
    const std::string width = std::to_string(widthOfAll());
    const std::string height = pixels((bottom + 9) / 10 * 10);
    return "<svg" + attribute("xmlns", "http://www.w3.org/2000/svg") +
           attribute("width", width) + attribute("height", height) +
           attribute("viewBox", "0 0 " + width + ' ' + height) +
           attribute("role", "img") + attribute("font-family", "sans-serif") +
           attribute("font-size", "11") + attribute("fill", "#1b1f24") +
           ">\n<title>" + xmlText(title()) + "</title>\n<rect" +
           attribute("width", width) + attribute("height", height) +
           attribute("fill", "#fff") + "/>\n" + body + "</svg>\n";
  }

 private:
  bool hasRegions() const { return layout.regionCount != 0; }

  int widthOfAll() const {
    return hasRegions() ? widthWithRegions : plainWidth;
  }

  std::string title() const {
    std::string names;
    for (const std::string& name : report.names) {
      names += (names.empty() ? "" : " + ") + escapeName(name);
    }
    return shortened(
        names, hasRegions() ? titleColumnsWithRegions : plainTitleColumns);
  }

  std::string summary() const {
    if (report.segments.empty()) {
      return "no data";
    }
    return countText(report.size(), "byte") + " in " +
           countText(report.segments.size(), "segment") + ", " +
           addressesText({report.segments.front().range.first,
                          report.segments.back().range.last});
  }

  void addHead() {
    body +=
        textAt(margin, titleBaseline - halfLetter,
               attribute("font-size", "16") + attribute("font-weight", "bold"),
               title());
    bottom = titleBaseline;
    const auto addLine = [this](const std::string& text) {
      bottom += headLine;
      body += textAt(margin, bottom - halfLetter,
                     attribute("fill", quietColour), text);
    };
    addLine(summary());
    for (const startAddress_t& start : report.startAddresses) {
      addLine(startAddressText(start));
    }
    mapTop = bottom + spaceAroundMap;
    bottom = mapTop + layout.height();
  }

  void addMap() {
    body += "<g" + attribute("text-anchor", "middle") +
            attribute("fill", quietColour) + attribute("font-size", "10") +
            ">\n";
    for (const band_t& band : layout.bands) {
      if (band.isBreak) {
        addBreak(band);
      } else if (!band.hasData) {
        body += rectangle(mapLeft, mapTop + band.top, tenths(mapWidth),
                          band.height, gapColour);
      }
      if (!band.hasData && band.height >= roomForText) {
        body +=
            textAt(mapLeft + mapWidth / 2, mapTop + band.top + band.height / 2,
                   {}, sizeText(band.range.size()));
      }
    }
    for (const run_t& run : layout.runs) {
      addRun(run);
    }
    body += "</g>\n";
  }

  // A long gap: its beginning and its end, torn off, and its size between them.
  void addBreak(const band_t& band) {
    const tenths_t top = mapTop + band.top;
    const tenths_t end = mapTop + band.bottom();
    addTorn(top, top + waveFromEdge);
    addTorn(end, end - waveFromEdge);
  }

  // The gap between the straight edge `edge` and the wave at `wave`.
  void addTorn(tenths_t edge, tenths_t wave) {
    constexpr int waveLength = 20;
    std::string curve = "q5 -5 10 0t10 0";
    for (int x = waveLength; x < mapWidth; x += waveLength) {
      curve += "t10 0t10 0";
    }
    const std::string begin =
        'M' + std::to_string(mapLeft) + ' ' + pixels(wave);
    body += "<path" +
            attribute("d", begin + curve + 'V' + pixels(edge) + 'H' +
                               std::to_string(mapLeft) + 'Z') +
            attribute("fill", gapColour) + "/>\n<path" +
            attribute("d", begin + curve) + attribute("fill", "none") +
            attribute("stroke", lineColour) + "/>\n";
  }

  void addRun(const run_t& run) {
    const tenths_t top = mapTop + layout.firstOf(run.range).top;
    const tenths_t height = mapTop + layout.lastOf(run.range).bottom() - top;
    const bool joined = run.count > 1;
    body += "<g>\n<title>" + xmlText(describe(run)) + "</title>\n" +
            rectangle(mapLeft, top, tenths(mapWidth), height,
                      joined ? joinedColour : dataColour);
    if (height >= roomForText) {
      std::string text = sizeText(run.size);
      if (joined) {
        text.insert(0, countText(run.count, "segment") + ", ");
      }
      body += textAt(mapLeft + mapWidth / 2, top + height / 2,
                     attribute("fill", joined ? "#1b1f24" : "#fff"), text);
    }
    body += "</g>\n";
  }

  std::string describe(const run_t& run) const {
    std::string text =
        addressesText(run.range) + ", " + countText(run.size, "byte");
    if (run.count > 1) {
      return text + " in " + countText(run.count, "segment");
    }
    return text + ", CRC-32 " + hexText(report.segments[run.segment].crc32, 8);
  }

  // The addresses of the runs, left of them, with lines where they belong.
  void addAddresses() {
    std::vector<label_t> labels;
    std::vector<std::string> texts;
    const auto add = [&](tenths_t middle, const std::string& text) {
      labels.push_back({middle - addressLine / 2, addressLine});
      texts.push_back(text);
    };
    for (const run_t& run : layout.runs) {
      const tenths_t top = mapTop + layout.firstOf(run.range).top;
      const tenths_t end = mapTop + layout.lastOf(run.range).bottom();
      if (end - top >= roomForTwoAddresses && run.range.size() > 1) {
        add(top, addressText(run.range.first));
        add(end, addressText(run.range.last));
      } else {
        add((top + end) / 2,
            addressesText(run.range) + (end - top < roomForText
                                            ? " " + sizeText(run.size)
                                            : std::string()));
      }
    }
    const std::vector<tenths_t> tops =
        spreadLabels(labels, mapTop - spaceAroundMap / 2);
    body += "<g" + attribute("text-anchor", "end") +
            attribute("font-family", "monospace") + ">\n";
    for (std::size_t i = 0; i < labels.size(); ++i) {
      const tenths_t middle = tops[i] + addressLine / 2;
      body += textAt(mapLeft - 24, middle, {}, texts[i]) +
              line(mapLeft - 20, middle, mapLeft,
                   labels[i].top + addressLine / 2, lineColour);
      bottom = std::max(bottom, tops[i] + addressLine);
    }
    body += "</g>\n";
  }

  void addRegions() {
    std::vector<label_t> labels;
    for (std::size_t i = 0; i < layout.regionCount; ++i) {
      labels.push_back({addStrip(i) - regionText / 2, regionLabel});
    }
    const std::vector<tenths_t> tops =
        spreadLabels(labels, mapTop - spaceAroundMap / 2);
    for (std::size_t i = 0; i < layout.regionCount; ++i) {
      body += line(stripLeft + stripWidth, labels[i].top + regionText / 2,
                   regionTextLeft - 8, tops[i] + regionText / 2, lineColour);
      addRegionText(i, tops[i]);
      bottom = std::max(bottom, tops[i] + regionLabel);
    }
    const std::size_t more = report.regions.size() - layout.regionCount;
    if (more != 0) {
      bottom += noteLine;
      body += textAt(regionTextLeft, bottom - noteLine / 2,
                     attribute("fill", quietColour),
                     "and " + countText(more, "more region"));
    }
  }

  const char* colourOf(std::size_t region) const {
    return regionColours[region % regionColours.size()];
  }

  // Adds the strip that shows where a region is; returns the middle of it.
  tenths_t addStrip(std::size_t region) {
    const range_t& range = report.regions[region].region.range;
    const tenths_t top = mapTop + layout.firstOf(range).top;
    const tenths_t end = mapTop + layout.lastOf(range).bottom();
    body += rectangle(stripLeft, top, tenths(stripWidth), end - top,
                      colourOf(region));
    for (const band_t& band : layout.bands) {
      if (band.isBreak && band.range.first >= range.first &&
          band.range.last <= range.last) {
        body += rectangle(stripLeft, mapTop + band.top + waveFromEdge,
                          tenths(stripWidth), band.height - 2 * waveFromEdge,
                          "#fff");
      }
    }
    return (top + end) / 2;
  }

  // The name of a region, its use as a bar and in numbers, its addresses.
  void addRegionText(std::size_t index, tenths_t top) {
    const auto& [region, used] = report.regions[index];
    const std::uint64_t size = region.range.size();
    const auto filled =
        static_cast<tenths_t>(used * tenths(useBarWidth) / size);
    body += rectangle(regionTextLeft - 8, top, 20, regionText, colourOf(index));
    body += textAt(regionTextLeft, top + 60, attribute("font-weight", "bold"),
                   shortened(region.name, regionNameColumns)) +
            textAt(widthWithRegions - margin, top + 60,
                   attribute("text-anchor", "end") +
                       attribute("font-weight", "bold"),
                   percentText(used, size));
    body += rectangle(regionTextLeft, top + 140, tenths(useBarWidth), 60,
                      emptyColour) +
            rectangle(regionTextLeft, top + 140,
                      std::max<tenths_t>(filled, used != 0 ? 10 : 0), 60,
                      colourOf(index));
    body += textAt(regionTextLeft, top + 285, {},
                   std::to_string(used) + " of " + countText(size, "byte")) +
            textAt(regionTextLeft, top + 425,
                   attribute("font-family", "monospace") +
                       attribute("fill", quietColour),
                   addressesText(region.range));
  }

  void addNotes() {
    std::string text = "Drawn to scale";
    if (layout.hasBreaks()) {
      text += ", with breaks in long gaps";
    }
    if (layout.hasEnlarged) {
      text += ", the smallest parts enlarged";
    }
    bottom += spaceAroundMap;
    body += "<g" + attribute("fill", quietColour) +
            attribute("font-size", "10") + ">\n";
    const auto addNote = [this](const std::string& note) {
      body += textAt(margin, bottom, {}, note);
      bottom += noteLine;
    };
    if (!layout.bands.empty()) {
      addNote(text + '.');
    }
    if (report.segments.size() > layout.runs.size()) {
      addNote("Pale: several segments, the gaps between them not drawn.");
    }
    body += "</g>\n";
    bottom += noteLine / 2;
  }

  const report_t& report;
  const pictureLayout_t layout;
  std::string body;
  tenths_t mapTop{0};
  tenths_t bottom{0};
};

}  // namespace

std::string pictureOf(const report_t& report) {
  return Picture(report).make();
}
