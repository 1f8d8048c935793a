// SPDX-License-Identifier: MIT
//
// Intel HEX firmware images: record lines, blocks of memory, whole files. The
// library reads Intel HEX and writes raw bytes; it writes no Intel HEX. The
// format is the one of the Intel "Hexadecimal Object File Format
// Specification", revision A of 1988, record types 00, 01 and 04.

#ifndef QORUTIL_INTELHEX_H
#define QORUTIL_INTELHEX_H

#include "qorutil/export.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <set>
#include <string>
#include <vector>

/// One contiguous run of image memory: a start address and the bytes behind it.
///
/// The start address is `extAddress` * 65536 + `address`. The fields are open
/// to be read and written; whoever changes `data` keeps `size` equal to its
/// length. One thread at a time may use a block.
class QORUTIL_EXPORT IntelHexFileBlock {
 public:
  /// The bytes, lowest address first.
  std::vector<unsigned char> data;
  /// The upper 16 bits of the start address.
  std::uint16_t extAddress{0};
  /// The lower 16 bits of the start address.
  std::uint16_t address{0};
  /// The length in bytes; everything in this library keeps it equal to the
  /// length of `data`.
  std::uint64_t size{0};

  /// Makes an empty block at address 0.
  IntelHexFileBlock();

  /// Makes a deep copy of `other`, which is not const on purpose: a block
  /// cannot be copied from a const one.
  IntelHexFileBlock(IntelHexFileBlock& other);

  /// Blocks are copied by construction alone.
  IntelHexFileBlock& operator=(const IntelHexFileBlock&) = delete;

  /// Clears the block and releases its storage.
  ~IntelHexFileBlock();

  /// Returns a deep copy on the heap, which the caller owns. Throws
  /// std::bad_alloc when memory runs out.
  ///
  ///     const std::unique_ptr<IntelHexFileBlock> copy(image[0]->clone());
  IntelHexFileBlock* clone();

  /// Empties the block and sets its size and both halves of its address to 0.
  /// The storage of `data` is kept.
  void clear();

  /// Reverses the order of all bytes in place, as one sequence; size and
  /// address stay as they are.
  void reverseBuffer();

  /// Writes the bytes to the open descriptor `fd`, from its current position.
  ///
  /// The bytes go out in calls of `write` of at most 512 bytes; a short write
  /// is continued with the rest. An empty block writes nothing and succeeds.
  ///
  /// Failure: when `write` returns -1, for whatever reason, interruption by a
  /// signal included, one line goes to std::cerr, `#ERROR: write() returns an
  /// error.`, and the result is false; what was written stays written. A
  /// descriptor whose `write` keeps returning 0 is tried for ever.
  bool writeBinaryTo(int fd) const;

  /// Creates or truncates the file `path` and writes the bytes into it.
  ///
  /// Failure: returns false. A file that cannot be created gives the line
  /// `#ERROR: failed to create file "<path>"` on std::cerr; a failing `write`
  /// is reported as above and leaves the file with what was written. The
  /// result of closing the file is not looked at. A null path fails in the same
  /// way and leaves std::cerr bad, as inserting a null text does.
  bool writeBinaryTo(const char* path) const;
};

/// A firmware image: an ordered list of blocks, which it owns.
///
/// One thread at a time may use an image; different images are independent.
///
///     IntelHexFile image;
///     if (image.load("firmware.hex", false)) {
///       for (std::size_t i = 0; i < image.getBlockCount(); ++i) {
///         std::printf("%zu bytes\n", image[i]->data.size());
///       }
///     }
class QORUTIL_EXPORT IntelHexFile {
 public:
  /// One record, as parseLine() reads it from a line.
  struct hexfileline_t {
    /// The record type: 0 data, 1 end of file, 4 extended linear address. 0xFF
    /// means that no sound record was read.
    std::uint8_t type{0};
    /// The upper 16 bits of the load address. parseLine() leaves it alone;
    /// parseHexFile() sets it on data records.
    std::uint16_t extAddress{0};
    /// The record's 16-bit load offset.
    std::uint16_t address{0};
    /// The byte count of the record's header.
    std::uint64_t count{0};
    /// The data bytes; `count` of them in a sound record.
    std::vector<unsigned char> data;

    /// Orders records by `extAddress`, then by `address`. Nothing else counts:
    /// two records with the same address are equivalent, whatever they hold.
    bool operator<(const hexfileline_t& other) const;
  };

  /// Makes an empty image.
  IntelHexFile();

  /// Makes a deep copy of `other`, block by block, in order.
  IntelHexFile(const IntelHexFile& other);

  /// Takes the blocks of `other` and leaves it empty.
  IntelHexFile(IntelHexFile&& other) noexcept;

  /// Makes an image of one block at `extAddress` * 65536 + `address` with a
  /// copy of the first `size` bytes at `data`, which is not checked. With
  /// `size` 0 nothing is read. Throws std::length_error for a `size` beyond
  /// what a vector can hold on the target, before it looks at `data`.
  ///
  ///     const unsigned char bytes[] = {1, 2, 3};
  ///     IntelHexFile image(0x0800, 0x4000, 3, bytes);  // from 0x08004000
  IntelHexFile(std::uint16_t extAddress, std::uint16_t address,
               std::uint64_t size, const unsigned char* data);

  /// Makes an empty image and loads `path` into it. The result of load() is
  /// dropped: failure shows in hasData() and in the messages alone.
  IntelHexFile(const char* path, bool singleBlock);

  /// Replaces the blocks by deep copies of those of `other`, also where that is
  /// the image itself. When memory runs out, std::bad_alloc is thrown and the
  /// image is as it was.
  IntelHexFile& operator=(const IntelHexFile& other);

  /// Deletes the blocks and takes those of `other`, which becomes empty.
  IntelHexFile& operator=(IntelHexFile&& other) noexcept;

  /// Deletes all blocks.
  ~IntelHexFile();

  /// Reads the Intel HEX file `path` and appends its blocks to this image, in
  /// ascending order of address.
  ///
  /// With `singleBlock` the whole file becomes one block, its holes filled with
  /// 0xFF; all records must then share one upper address, and none may end
  /// beyond the end of the one with the highest address. Without it each
  /// longest run of exactly adjacent records under one upper address becomes a
  /// block of its own, so data that crosses a multiple of 64 KiB becomes two
  /// blocks. Where two records have the same address, the first in the file is
  /// taken and the other dropped without a message. A file with an end record
  /// and no data adds no block and loads well.
  ///
  /// Failure: returns false and leaves the image unchanged. The first bad line
  /// ends the load, and the reason is on std::cerr, in a line that begins with
  /// `#ERROR: `. What precedes it on std::cout is told by parseLine() and, for
  /// a record of a type that is not supported or a missing end record,
  /// parseHexFile(). A line throws std::out_of_range when one of its data bytes
  /// begins beyond its end, as parseLine() tells; that exception, like
  /// std::bad_alloc, also leaves the image unchanged.
  ///
  /// Ownership: the image owns the new blocks; pointers from operator[] stay
  /// valid until clear(), an assignment to the image or its destruction. A move
  /// takes the blocks, and with them their pointers, to the other image.
  bool load(const char* path, bool singleBlock);

  /// Returns the block at position `id`, which the image goes on owning: until
  /// clear(), an assignment to the image or its destruction.
  ///
  /// Failure: throws the text `IntelHexFile::operator[](size_t id): id outside
  /// of range!` as a `const char*` when there is no such block.
  IntelHexFileBlock* operator[](std::size_t id) const;

  /// Reverses the bytes of every block, each for itself; the order of the
  /// blocks stays. Const on the image, although the blocks' bytes change.
  void reverseBuffers() const;

  /// Deletes all blocks.
  void clear();

  /// Tells whether there is a block, be it one of no bytes.
  bool hasData() const;

  /// Returns the number of blocks.
  std::size_t getBlockCount() const;

  /// Parses one line of text into `line`.
  ///
  /// First `hexline` is cleaned up in place: blanks at the front and at the
  /// end go, then all carriage returns. Then the fields are converted as
  /// `strtol` to base 16 does it, so that only the checksum notices characters
  /// that are no hex digits. Afterwards `line.type` is the record type, or
  /// 0xFF where the line was rejected, which leaves the other fields without
  /// meaning. `line.data` must be empty before the call, and `line.extAddress`
  /// is left alone.
  ///
  /// Failure: type 0xFF, with a line on std::cout (`…: hexline to short`,
  /// `…: second unexpected end of line` and a line with the expected and the
  /// actual length) or on std::cerr (`#ERROR: checksum error.`). A line without
  /// a start code is told as too short as well, however long it is. A line
  /// whose text ends with a data byte, one that begins with
  /// `:00000000`, and one with a negative byte count are rejected without a
  /// message. A record without data gets the warning `#ERROR:
  /// line.data.size() is zero` on std::cerr and is read all the same. Where a
  /// data byte begins beyond the end of the line, std::out_of_range is thrown:
  /// the length, after the clean-up, is even and below 7 + 2 * the byte count.
  ///
  ///     std::string text = " :0400100001020304E2\r";
  ///     IntelHexFile::hexfileline_t line;
  ///     image.parseLine(text, line);  // type 0, address 0x10, 01 02 03 04
  void parseLine(std::string& hexline, hexfileline_t& line);

  /// Reads records from `file` into `lines`, up to the end record.
  ///
  /// The end record is a line that begins with exactly `:00000001FF`; what
  /// follows it in the file is not read. Data records get the upper address of
  /// the last extended linear address record before them, 0 without one. A
  /// record whose address is there already is dropped. The image itself is not
  /// used.
  ///
  /// Failure: returns false, with a line on std::cerr; `lines` then holds the
  /// records read so far. For a record of an unsupported type the cleaned-up
  /// line goes to std::cout as well; the message has the type in decimal. A
  /// missing end record is told as such where the last line has no newline;
  /// behind a newline it is an empty line, which is too short and corrupt, and
  /// so is what a read error leaves. Throws what parseLine() throws; when
  /// memory runs out, `lines` holds the records read so far as well.
  bool parseHexFile(std::ifstream& file, std::set<hexfileline_t>& lines);

  /// Builds one block from the records in [`first`, `last`) and appends it.
  ///
  /// The block begins at the first record and ends with the last one; holes
  /// are filled with 0xFF, and where records overlap, the later one in the
  /// order of the set lies on top. An empty range appends nothing.
  ///
  /// Failure: records under different upper addresses, or one that ends beyond
  /// the end of the last, give the line `#ERROR: records do not fit into a
  /// single block` on std::cerr, and no block is appended. When memory runs
  /// out, std::bad_alloc is thrown and the image is as it was.
  void createNewBlock(const std::set<hexfileline_t>::const_iterator& first,
                      const std::set<hexfileline_t>::const_iterator& last);

 private:
  std::vector<IntelHexFileBlock*> blocks;
};

#endif  // QORUTIL_INTELHEX_H
