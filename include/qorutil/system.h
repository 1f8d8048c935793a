// SPDX-License-Identifier: MIT
//
// The surroundings of the process: user, host, network interfaces, memory; and
// printers for byte sizes and for records of the kernel. None of the queries
// throws for a failed system call. Each is safe to call from several threads;
// the two of interfaces need an `inet_ntoa` with a text per thread, as in
// glibc.

#ifndef QORUTIL_SYSTEM_H
#define QORUTIL_SYSTEM_H

#include "qorutil/export.h"

#include <cstdint>
#include <iosfwd>
#include <string>

#include <sys/select.h>  // the smallest header that declares the signal set

struct can_frame;  // <linux/can.h>
struct mq_attr;    // <mqueue.h>
struct sysinfo;    // <sys/sysinfo.h>

/// Returns the login name of the user on the controlling terminal, or an empty
/// text when there is none or it has more than 255 bytes.
QORUTIL_EXPORT std::string getLoginName();

/// Returns the host name, or an empty text when the system does not tell it or
/// finds it too long for 64 bytes with its NUL.
QORUTIL_EXPORT std::string getHostName();

/// Returns the IPv4 address of the network interface `interfaceName` in
/// dotted-decimal form.
///
/// Failure: an empty text. It comes silently when there is no such interface
/// or it has no address; when no socket can be opened, std::cerr gets
/// "[ERROR] getIpAddress: " with the system's error text.
///
/// A name of more than 15 bytes is an error of the program: it is not cut, and
/// the platform's guard against buffer overflows ends the process.
///
/// Each call opens a socket of its own and closes it; programs started
/// meanwhile do not inherit it, unless another thread starts them in the
/// instant between the two calls that open and mark it.
///
///     getIpAddress("eth0");  // "192.168.1.10"
QORUTIL_EXPORT std::string getIpAddress(const char* interfaceName);

/// Returns the IPv4 netmask of the network interface `interfaceName` in
/// dotted-decimal form.
///
/// Failures and the limit of the name are those of getIpAddress(); the message
/// begins with "[ERROR] getSubNetMask: ".
///
///     getSubNetMask("eth0");  // "255.255.255.0"
QORUTIL_EXPORT std::string getSubNetMask(const char* interfaceName);

/// Returns the name of this machine in its network as `uname` tells it, or an
/// empty text when the call fails.
QORUTIL_EXPORT std::string getNodename();

/// Returns the name of the hardware as `uname` tells it, such as "x86_64", or
/// an empty text when the call fails.
QORUTIL_EXPORT std::string getMachine();

/// Returns the size of the RAM in bytes, or 0 when the system does not tell it.
///
///     std::cout << printSize(getTotalRam());  // 23.5406GiB
QORUTIL_EXPORT std::uint64_t getTotalRam();

/// Returns the size of the unused RAM in bytes, or 0 when the system does not
/// tell it.
QORUTIL_EXPORT std::uint64_t getFreeRam();

/// Returns the part of `path` behind its last "/", or all of it without one.
/// The result points into `path`; behind a "/" at the end it is empty.
///
///     progname("/usr/bin/tool");  // "tool"
///     progname("dir/");           // ""
QORUTIL_EXPORT const char* progname(const char* path);

/// Writes `info` to `os` in one line without a line break, and returns `os`.
///
/// The uptime is in seconds. The three loads are written as the kernel gives
/// them, 65536 for a load of 1. Memory sizes are multiplied by `mem_unit` and
/// written by printSize. Flags and locale of `os` are used as they stand, so a
/// stream in hexadecimal mode gets the plain numbers in hexadecimal, and one
/// whose locale groups digits gets them grouped;
/// `os.imbue(std::locale::classic())` prevents the latter.
///
///     // up=3600 load=65536/0/0 totalram=1GiB freeram=512MiB sharedram=0B
///     // bufferram=0B totalswap=0B freeswap=0B procs=7 totalhigh=0B
///     // freehigh=0B mem_unit=4096
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const struct sysinfo& info);

/// A number of bytes that is written with a binary unit: "B", "KiB", "MiB",
/// "GiB" or "TiB".
///
///     std::cout << printSize(123456789);  // 117.738MiB
struct QORUTIL_EXPORT printSize {
  /// The number of bytes.
  std::uint64_t bytes;

  /// Holds `byteCount` bytes.
  explicit constexpr printSize(std::uint64_t byteCount) : bytes{byteCount} {}

  /// Writes the size to `os` and returns `os`.
  ///
  /// The unit is the largest that is not above the size, and never one above
  /// "TiB", on purpose: 2^50 bytes are "1024TiB". The number is written as the
  /// stream writes a double, so its precision, its notation and its locale
  /// hold, and a number may be rounded up to 1024 of its unit. With the flag
  /// `internal` a space stands between number and unit.
  ///
  /// A pending field width is that of number, space and unit together. One
  /// that does not exceed the length of space and unit applies to the number
  /// alone.
  ///
  ///     std::cout << std::setw(8) << printSize(1536);     // "  1.5KiB"
  ///     std::cout << std::internal << printSize(1536);    // "1.5 KiB"
  ///     std::cout << std::fixed << std::setprecision(2)
  ///               << printSize(1536);                     // "1.50KiB"
  std::ostream& print(std::ostream& os) const;
};

/// Writes `size` to `os` as printSize::print() does, and returns `os`.
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const printSize& size);

/// Writes the attributes of a POSIX message queue to `os` and returns `os`:
/// flags, in hexadecimal, largest number of messages, largest message in
/// bytes, present number of messages. A pending field width applies to the
/// opening parenthesis; flags and fill of `os` come back on return. Nothing is
/// flushed on a stream in `unitbuf` mode.
///
/// A locale that groups digits groups these, as in "(800,10,8,192,0)":
/// `os.imbue(std::locale::classic())` keeps the four numbers apart.
///
///     // O_NONBLOCK, 10 messages of 8192 bytes, none in the queue
///     // (800,10,8192,0)
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os, const mq_attr& attr);

/// Writes the numbers of the signals in `signals`, a `sigset_t`, to `os` and
/// returns `os`: ascending, in brackets, neighbours joined to ranges. A pending
/// field width applies to the opening bracket; flags and fill of `os` come back
/// on return. Nothing is flushed on a stream in `unitbuf` mode, and the numbers
/// follow the locale of `os`, as with `mq_attr`. `errno` may be set.
///
///     // [1..3 9 15..16]
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const __sigset_t& signals);

/// Writes the SocketCAN frame `frame` to `os` and returns `os`.
///
/// The identifier has eight hexadecimal digits; "x" behind it marks the
/// extended format. "RTR" marks a request; any other frame, error frames
/// included, is written as "DATA" with its length and its bytes, all in
/// hexadecimal. A pending field width has no effect; flags and fill of `os`
/// come back on return. Nothing is flushed on a stream in `unitbuf` mode.
///
/// A locale that groups digits groups those of the identifier, as in
/// "18,daf,110x": `os.imbue(std::locale::classic())` prevents that.
///
/// The length is taken as it stands: with one above 8 the printer reads past
/// the frame, so the caller passes frames with a sound `can_dlc`.
///
///     // 00000123  DATA  2  01 ab
///     // 18daf110x RTR
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const can_frame& frame);

#endif  // QORUTIL_SYSTEM_H
