#pragma once

#include "common/string.h"

namespace Tarq::Common::Debug {

/// One report on its way to the listeners; valid during the call only, so listeners copy what they keep.
struct LogRecord {
    uint32 mType; ///< the bits of `LogType` that the report carries
    const String& mMessage;
    const String& mReporter; ///< name of the reporter
    const String& mFunction; ///< qualified name of the function that reports
    const String& mFile;
    uint32 mLine;
};

} // namespace Tarq::Common::Debug
