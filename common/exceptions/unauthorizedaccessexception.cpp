#include "common/exceptions/unauthorizedaccessexception.h"

namespace Tarq::Common::Exceptions {

UnAuthorizedAccessException::~UnAuthorizedAccessException() = default;

String UnAuthorizedAccessException::getExceptionName() const {
    return "UnAuthorizedAccessException";
}

} // namespace Tarq::Common::Exceptions
