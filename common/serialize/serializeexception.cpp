#include "common/serialize/serializeexception.h"

namespace Tarq::Common::Serialize {

SerializeException::~SerializeException() = default;

String SerializeException::getExceptionName() const {
    return "SerializeException";
}

TypeMismatchException::TypeMismatchException(const String& message, const String& foundType, const String& expectedType)
    : SerializeException(message), mFoundType(foundType), mExpectedType(expectedType) {}

TypeMismatchException::~TypeMismatchException() = default;

String TypeMismatchException::getExceptionName() const {
    return "TypeMismatchException";
}

void TypeMismatchException::getExceptionParameter(Exceptions::ParameterList& parameters) const {
    parameters.push_back({"FoundType", mFoundType});
    parameters.push_back({"ExpectedType", mExpectedType});
}

} // namespace Tarq::Common::Serialize
