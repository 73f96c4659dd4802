#pragma once

#include "common/exceptions/exception.h"

namespace Tarq::Common::Exceptions {

/// The system refuses the access: a permission, a directory in the place of a file, a read-only medium.
class TARQ_API UnAuthorizedAccessException : public Exception {
public:
    using Exception::Exception;
    ~UnAuthorizedAccessException() override;
    String getExceptionName() const override;
};

} // namespace Tarq::Common::Exceptions
