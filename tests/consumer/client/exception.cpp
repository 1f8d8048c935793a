// SPDX-License-Identifier: MIT

#include <cstring>
#include <exception>
#include <sstream>
#include <type_traits>
#include <typeinfo>

#include <qorutil/exception.h>

#include "client.h"

static_assert(std::is_base_of_v<std::exception, QorException> &&
              std::is_base_of_v<std::ostringstream, QorException> &&
              std::has_virtual_destructor_v<QorException> &&
              !std::is_copy_constructible_v<QorException>);
static_assert(std::is_nothrow_constructible_v<QorException, int, const char*>);
static_assert(std::is_nothrow_move_constructible_v<QorException> &&
              !std::is_move_assignable_v<QorException>);
static_assert(has<void (QorException::*)(int)>(&QorException::addError));
static_assert(
    has<const char* (QorException::*)() const noexcept>(&QorException::what));
static_assert(
    has<int (QorException::*)() const noexcept>(&QorException::getErrorNumber));
static_assert(
    has<const char * QorSimpleException::*>(&QorSimpleException::message));
static_assert(
    has<std::ostream& (*)(std::ostream&, const QorException&)>(operator<<));
static_assert(has<std::ostream& (*)(std::ostream&, const QorSimpleException&)>(
    operator<<));

bool usesException() {
  std::ostringstream os;
  try {
    QorException exception(2, "open");
    exception.addError(5);
    os << exception << '|' << std::strlen(exception.what()) << '|'
       << exception.getErrorNumber() << '|' << QorSimpleException{5, "simple"}
       << '|';
    QorException thrown(0, "thr");
    thrown << "own";
    throw thrown;
  } catch (const std::exception& caught) {
    os << caught.what();
    return typeid(caught) == typeid(QorException) &&
           os.str() ==
               "open: No such file or directory: Input/output error|51|2|simple|"
               "thrown";
  }
}
