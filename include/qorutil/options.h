// SPDX-License-Identifier: MIT
//
// Command-line options: a program declares each of its options once; the
// tables for getopt_long and an aligned help screen come from that list.

#ifndef QORUTIL_OPTIONS_H
#define QORUTIL_OPTIONS_H

#include "qorutil/export.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

#include <getopt.h>

/// The options of a program.
///
/// The texts that option_t points to belong to the caller and must outlive the
/// options; help texts are copied. `getopt_long` keeps its state per process,
/// so one thread at a time may use get() and update().
///
///     Options options{optionHelp, optionVerbose, optionLoops};
///     for (int c = 0; (c = options.get(argc, argv)) != -1;) {
///       if (c == optionHelp.shortName) {
///         options.print(std::cout);
///       }
///     }
class QORUTIL_EXPORT Options {
 public:
  /// One option, as a program declares it.
  struct option_t {
    /// The short-option character, and what get() returns for both forms. A
    /// value above 255 or one that is not printable means no short form; from
    /// 128 to 255 the C locale decides, so nothing is promised there.
    ///
    /// Some values mean something to `getopt_long`: ':' and ';' are never
    /// accepted, and '?' and -1 cannot be told from an error and the end. In
    /// the first option '+' and '-' change how arguments are scanned, and ':'
    /// keeps it from printing and makes it report a missing argument as ':'.
    /// Further on ':' gives the letter before it an argument. A 'W' without
    /// one, in front of ';', makes "-W name" mean "--name".
    int shortName;
    /// The long name without the leading dashes; null means no long form.
    const char* longName;
    /// The name of the argument on the help screen; may be null. It is measured
    /// in characters of the C locale, see update().
    const char* argName;
    /// Whether the argument must be given.
    bool argRequired;
    /// The help text; may hold line breaks.
    std::string help;
  };

  /// What Options keeps of an option.
  struct entry_t : option_t {
    /// 0 for no argument, 1 for a required one, 2 for an optional one.
    int argType;
    /// The width of the argument's name in characters; with the brackets when
    /// the argument is optional.
    std::size_t argWidth;
    /// The width of the short form on the help screen; 0 without one.
    std::size_t shortWidth;
    /// The width of the long form on the help screen; 0 without one.
    std::size_t longWidth;
  };

  /// The has-argument values of `getopt_long`, by argument type: 0, 1, 2.
  static const std::int32_t argumentVals[3];

  /// The name shown for an argument that has none: "?".
  static const char defaultArgHelp[2];

  /// Makes an empty list.
  Options();

  /// Makes a list of `options`, as add(const option_t&) takes them.
  Options(std::initializer_list<option_t> options);

  /// Appends `option` and returns this list. Its argument is required with
  /// `argRequired`, else optional with an `argName`; without either it takes
  /// none. The next get() restarts the scan of the command line.
  Options& add(const option_t& option);

  /// Appends `option` and returns this list; `argType` is 0 for no argument, 1
  /// for a required one and 2 for an optional one.
  ///
  /// Failure: another `argType` throws `QorException(EINVAL, "argType must be
  /// 0, 1 or 2")`, and nothing is appended.
  Options& add(const option_t& option, int argType);

  /// Returns the next option of the command line, as `getopt_long` does: the
  /// `shortName` for both forms, -1 at the end of the options, '?' after a
  /// message of its own for an unknown option or a missing argument. The
  /// argument is in `optarg`. Calls update() first when options were added.
  int get(int argc, char** argv);

  /// Builds the tables for `getopt_long` and the columns of the help screen,
  /// and sets `optind` to 0, so that the next get() starts a new scan.
  ///
  /// Names of arguments are measured by `mbstowcs`: a program that shows others
  /// than ASCII ones calls `setlocale(LC_CTYPE, "")` first, else the columns
  /// are out of line. Long names are measured in bytes.
  void update();

  /// Writes the help screen to `os`, one line per option, and returns `os`.
  ///
  /// The columns are those of the last update(), which is not called here. A
  /// line break in a help text continues it below its beginning. Each option
  /// ends with a flush. Flags and fill of `os` come back on return; the flags
  /// of std::cerr are changed and restored as well, whatever `os` is.
  std::ostream& print(std::ostream& os) const;

 private:
  std::vector<entry_t> entries;
  bool changed{true};
  std::size_t shortColumn{0};
  std::size_t longColumn{0};
  std::string shortOptions;
  std::vector<option> longOptions;
};

// The options that most tools share. They are not const: a program may change
// a letter or a text before it adds one. `optionDebug` and `optionDevice` share
// the letter 'd', on purpose; a program that needs both changes one.

/// -h, --help: "This screen."
extern QORUTIL_EXPORT Options::option_t optionHelp;
/// -v, --verbose: "Increase verbosity. Can be specified more than once."
extern QORUTIL_EXPORT Options::option_t optionVerbose;
/// -d, --debug, with an optional level: "Set debug level."
extern QORUTIL_EXPORT Options::option_t optionDebug;
/// -p, --progress: "Show progress of operation in standard format."
extern QORUTIL_EXPORT Options::option_t optionProgress;
/// -d, --device, with a required argument: "Device to use."
extern QORUTIL_EXPORT Options::option_t optionDevice;
/// -l, --loops, with a required argument: "Loop count (0..max),
/// default=0=forever."
extern QORUTIL_EXPORT Options::option_t optionLoops;
/// -n, --no-daemon: "Run in foreground."
extern QORUTIL_EXPORT Options::option_t optionNoDaemon;

#endif  // QORUTIL_OPTIONS_H
