#include "common/exceptions/invalidstateexception.h"

namespace Tarq::Common::Exceptions {

InvalidStateException::~InvalidStateException() = default;

String InvalidStateException::getExceptionName() const {
    return "InvalidStateException";
}

} // namespace Tarq::Common::Exceptions
