// SPDX-License-Identifier: MIT
//
// Exceptions: the exception type of this library, which is a text stream at
// the same time, and a light exception record.

#ifndef QORUTIL_EXCEPTION_H
#define QORUTIL_EXCEPTION_H

#include "qorutil/export.h"

#include <exception>
#include <iosfwd>
#include <sstream>
#include <string>

/// An exception with a text and a list of system errors.
///
/// It is an output string stream: whoever throws it, or catches it by
/// reference, may insert more text, and addError() appends system errors. Like
/// every stream it can be moved and not copied, so a local one can be thrown,
/// inside the function or the `try` block that it is local to.
///
///     void readSettings() {
///       QorException failure(ENOENT, "settings");
///       failure << " while starting";
///       throw failure;
///     }  // what(): "settings: No such file or directory while starting"
class QORUTIL_EXPORT QorException : public std::exception,
                                    public std::ostringstream {
 public:
  /// Makes the message `text`, followed by ": " and the system's description of
  /// `errnum` unless that is 0. `text` must not be null. When memory runs out
  /// the process ends, as it does for a null text.
  QorException(int errnum, const char* text) noexcept;

  /// Takes over message, error number, format and state of `other`, and inserts
  /// at the end of the message as `other` did. `other` keeps what its what()
  /// has returned and has an empty message from then on.
  QorException(QorException&& other) noexcept;

  /// Exceptions are not copied: catch them by reference.
  QorException(const QorException&) = delete;

  /// Exceptions are not assigned.
  QorException& operator=(const QorException&) = delete;

  /// Virtual: an exception may be deleted through either base.
  ~QorException() override;

  /// Appends ": " and the system's description of `errnum`; 0 appends nothing.
  /// getErrorNumber() does not change.
  void addError(int errnum);

  /// Returns the message as it is now. The text is valid until the next call
  /// of what() on this object, or until its end. When memory runs out the
  /// process ends.
  ///
  /// Although const it keeps the text in the object, so two threads may not
  /// call it on one exception at the same time, as with a shared
  /// std::exception_ptr. The printer below keeps nothing.
  const char* what() const noexcept override;

  /// Returns the error number given to the constructor; 0 means none.
  int getErrorNumber() const noexcept;

 private:
  int errorNumber;
  mutable std::string whatText;
};

/// A light exception record: an error number and a text, which is not owned.
///
///     throw QorSimpleException{EIO, "device lost"};
struct QorSimpleException {
  /// The system error number; 0 means none. The library does not read it.
  int errorNumber;
  /// The NUL-terminated message.
  const char* message;
};

/// Writes the message of `exception` as it is now to `os`, the same text that
/// what() returns, and returns `os`.
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const QorException& exception);

/// Writes the message of `exception` to `os` and returns `os`. A null message
/// writes nothing and sets the bad bit of `os`.
QORUTIL_EXPORT std::ostream& operator<<(std::ostream& os,
                                        const QorSimpleException& exception);

#endif  // QORUTIL_EXCEPTION_H
