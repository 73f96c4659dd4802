#include "common/exceptions/notsupportedexception.h"

namespace Tarq::Common::Exceptions {

NotSupportedException::~NotSupportedException() = default;

String NotSupportedException::getExceptionName() const {
    return "NotSupportedException";
}

} // namespace Tarq::Common::Exceptions
