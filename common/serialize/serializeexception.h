#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::Serialize {

/// Stored data cannot be read or written.
class TARQ_API SerializeException : public Exceptions::Exception {
public:
    using Exception::Exception;
    ~SerializeException() override;
    String getExceptionName() const override;
};

/// Stored data is of another type than the reader expects. Parameters: "FoundType", "ExpectedType".
class TARQ_API TypeMismatchException : public SerializeException {
public:
    TypeMismatchException(const String& message, const String& foundType, const String& expectedType);
    ~TypeMismatchException() override;
    String getExceptionName() const override;

    const String& getFoundType() const noexcept { return mFoundType; }
    const String& getExpectedType() const noexcept { return mExpectedType; }

protected:
    void getExceptionParameter(Exceptions::ParameterList& parameters) const override;

private:
    String mFoundType;
    String mExpectedType;
};

} // namespace Tarq::Common::Serialize
