// SPDX-License-Identifier: MIT

#include "reading/reading.h"

#include <cstdint>
#include <iostream>
#include <new>
#include <optional>

#include "reading/descriptor.h"
#include "reading/failure.h"
#include "reading/normal_text.h"
#include "reading/record_index.h"
#include "reading/record_reader.h"
#include "reading/text_input.h"
#include "telling/messages.h"

namespace {

// What the first reading of a text finds out.
struct survey_t {
  std::uint64_t pieces{0};
  bool ascending{true};
  bool plain{false};
  std::string entryAddress;
  std::uint64_t linesLeftOut{0};
};

survey_t survey(const TextInput& input, bool showProgress) {
  survey_t found;
  Progress progress(showProgress, input.name(), "read", input.size());
  LineReader lines(input.source(), input.spool(), input.name(), progress);
  RecordReader records(input, lines);
  std::uint64_t end = 0;
  for (piece_t piece{}; records.next(piece);) {
    ++found.pieces;
    found.ascending = found.ascending && piece.address >= end;
    end = piece.end();
  }
  found.plain = records.isPlain();
  found.entryAddress = records.entryAddress();
  found.linesLeftOut = lines.countRest();
  progress.finish();
  return found;
}

// The text is in order already: one more reading suffices.
void copyPieces(const TextInput& input, NormalText& out) {
  Progress silent(false, input.name(), "", 0);
  LineReader lines(input.rewind(), -1, input.name(), silent);
  RecordReader records(input, lines);
  for (piece_t piece{}; records.next(piece);) {
    unsigned char bytes[maxRecordData];
    decodeBytes(piece.digits, piece.size, bytes);
    out.add(piece.address, bytes, piece.size);
  }
}

void mergePieces(const arguments_t& arguments, const std::string& path,
                 const RecordIndex& index, NormalText& out) {
  const mergeCount_t counts = index.merge(out, arguments.force);
  if (counts.conflicting != 0) {
    messageAbout(path) << countText(counts.conflicting, "conflicting byte")
                       << " accepted (--force)\n";
  }
  if (counts.repeated != 0 && arguments.verbosity > 0) {
    messageAbout(path) << countText(counts.repeated, "repeated byte")
                       << " merged\n";
  }
}

void tellAbout(const survey_t& found, const arguments_t& arguments,
               const std::string& path) {
  if (found.linesLeftOut != 0) {
    messageAbout(path) << "warning: " << countText(found.linesLeftOut, "line")
                       << " after the end record left out\n";
  }
  if (arguments.verbosity > 0 && !found.entryAddress.empty()) {
    messageAbout(path) << "entry address " << found.entryAddress << '\n';
  }
}

// Loads `path`; failure is reported under `subject`, behind the messages of
// the library.
IntelHexFile load(const std::string& path, const std::string& subject) {
  constexpr char reason[] = "the library cannot load this file";
  try {
    IntelHexFile image;
    if (image.load(path.c_str(), false)) {
      return image;
    }
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& exception) {
    throw Failure(REFUSED, subject,
                  std::string(reason) + ": " + exception.what());
  } catch (const char* text) {
    throw Failure(REFUSED, subject, std::string(reason) + ": " + text);
  }
  throw Failure(REFUSED, subject, reason);
}

// Returns normalised text in an anonymous file, or none when the library reads
// the text right as it stands.
Descriptor normalise(const arguments_t& arguments, const TextInput& input) {
  const survey_t found = survey(input, arguments.progress);
  tellAbout(found, arguments, input.name());
  std::optional<RecordIndex> index;
  if (!found.ascending) {
    index.emplace(input, found.pieces);
  }
  if (found.plain && (!index || !index->overlaps())) {
    return {};
  }
  Descriptor file = makeAnonymousFile(input.name());
  NormalText out(file.get(), input.name());
  if (index) {
    mergePieces(arguments, input.name(), *index, out);
  } else {
    copyPieces(input, out);
  }
  out.finish();
  return file;
}

}  // namespace

IntelHexFile readImage(const arguments_t& arguments, const std::string& path) {
  if (arguments.strict) {
    return load(path, path);
  }
  std::optional<TextInput> input(path);
  const Descriptor normalised = normalise(arguments, *input);
  if (!normalised.isOpen()) {
    return load(input->pathForLibrary(), path);
  }
  input.reset();  // and with it the memory of a spooled text
  if (arguments.verbosity > 1) {
    messageAbout(path) << "normalised for the library\n";
  }
  return load(pathOf(normalised), path);
}
