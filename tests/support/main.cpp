#define DOCTEST_CONFIG_IMPLEMENT_WITH_MAIN
#include "tests/support/doctest.h"

#include "common/exceptions/exception.h"

using namespace Tarq::Common;

/// An exception that no test expected is named, and deleted so that it does not count as a leak as well.
REGISTER_EXCEPTION_TRANSLATOR(Exceptions::Exception* exception) {
    const Exceptions::Holder holder(exception);
    const String text =
        exception->getExceptionName() + ": " + exception->composeText(Exceptions::Exception::CALLSTACK_ALL);
    return text.c_str();
}
