#include "common/exceptions/argumentexception.h"

namespace Tarq::Common::Exceptions {

ArgumentException::ArgumentException(const String& message, const String& argumentName)
    : Exception(message), mArgumentName(argumentName) {}

ArgumentException::~ArgumentException() = default;

String ArgumentException::getExceptionName() const {
    return "ArgumentException";
}

void ArgumentException::getExceptionParameter(ParameterList& parameters) const {
    parameters.push_back({"ArgumentName", mArgumentName});
}

ArgumentOutOfRangeException::~ArgumentOutOfRangeException() = default;

String ArgumentOutOfRangeException::getExceptionName() const {
    return "ArgumentOutOfRangeException";
}

ArgumentNullException::~ArgumentNullException() = default;

String ArgumentNullException::getExceptionName() const {
    return "ArgumentNullException";
}

} // namespace Tarq::Common::Exceptions
