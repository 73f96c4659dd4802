#pragma once

#include "common/string.h"

namespace Tarq::Common::Debug {

/// One report on its way to the listeners. It refers to the reporter's texts and is valid during the call only:
/// listeners copy the texts that they keep.
struct LogRecord {
    LogRecord(uint32 type, const String& message, const String& reporter, const String& function, const String& file,
              uint32 line) noexcept
        : mType(type), mMessage(message), mReporter(reporter), mFunction(function), mFile(file), mLine(line) {}
    LogRecord(const LogRecord&) = delete;
    LogRecord& operator=(const LogRecord&) = delete;

    uint32 mType; ///< the bits of `LogType` that the report carries
    const String& mMessage;
    const String& mReporter; ///< name of the reporter
    const String& mFunction; ///< qualified name of the function that reports
    const String& mFile;
    uint32 mLine;
};

} // namespace Tarq::Common::Debug
