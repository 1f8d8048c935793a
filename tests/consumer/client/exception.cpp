// SPDX-License-Identifier: MIT

#include <exception>
#include <sstream>
#include <typeinfo>

#include <qorutil/exception.h>

#include "client.h"

bool usesException() {
  std::ostringstream os;
  try {
    QorException exception(2, "open");
    exception.addError(5);
    os << exception << '|' << exception.getErrorNumber() << '|'
       << QorSimpleException{5, "simple"} << '|';
    throw QorException(0, "thrown");
  } catch (const std::exception& caught) {
    os << caught.what();
    return typeid(caught) == typeid(QorException) &&
           os.str() ==
               "open: No such file or directory: Input/output error|2|simple|"
               "thrown";
  }
}
