#pragma once

#include "common/types.h"

namespace Tarq::Common::Debug {

/// One bit for each level. A report normally carries one; masks combine them.
enum LogType : uint32 {
    LOG_DBGMSG = 1,
    LOG_DBGERR = 2,
    LOG_MESSAGE = 4,
    LOG_WARNING = 8,
    LOG_ERROR = 16,
};

inline constexpr uint32 cLogTypeCount = 5;
inline constexpr LogType cAllLogTypes = static_cast<LogType>((1u << cLogTypeCount) - 1);

/// The name of one type; "UNKNOWN" for several at once, and for none.
constexpr const char* getLogTypeName(uint32 type) noexcept {
    switch (type) {
    case LOG_DBGMSG:
        return "DbgMsg";
    case LOG_DBGERR:
        return "DbgErr";
    case LOG_MESSAGE:
        return "Message";
    case LOG_WARNING:
        return "Warning";
    case LOG_ERROR:
        return "Error";
    default:
        return "UNKNOWN";
    }
}

constexpr LogType operator|(LogType a, LogType b) noexcept {
    return static_cast<LogType>(static_cast<uint32>(a) | static_cast<uint32>(b));
}

} // namespace Tarq::Common::Debug
