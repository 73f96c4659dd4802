#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::Exceptions {

/// The object is not in a state in which it can do this, a closed stream for example.
class TARQ_API InvalidStateException : public Exception {
public:
    using Exception::Exception;
    ~InvalidStateException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::Exceptions
