#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::Exceptions {

/// An argument is wrong. Parameter: "ArgumentName".
class TARQ_API ArgumentException : public Exception {
public:
    ArgumentException(const String& message, const String& argumentName);
    ~ArgumentException() override;
    String getExceptionName() const override;

    const String& getArgumentName() const noexcept { return mArgumentName; }

protected:
    void getExceptionParameter(ParameterList& parameters) const override;

private:
    String mArgumentName;
};

/// An argument is outside of what it may be. Parameter: "ArgumentName".
class TARQ_API ArgumentOutOfRangeException : public ArgumentException {
public:
    using ArgumentException::ArgumentException;
    ~ArgumentOutOfRangeException() override;
    String getExceptionName() const override;
};

/// An argument is null that must not be. Parameter: "ArgumentName".
class TARQ_API ArgumentNullException : public ArgumentException {
public:
    using ArgumentException::ArgumentException;
    ~ArgumentNullException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::Exceptions
