#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::Exceptions {

/// The object cannot do this at all, writing to a stream that was opened for reading for example.
class TARQ_API NotSupportedException : public Exception {
public:
    using Exception::Exception;
    ~NotSupportedException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::Exceptions
