#pragma once

#include "common/debug/logmanager.h"

#include <cstdio>

/// Writes log reports to the terminal, one line each, from its making to its end:
///
///     Warning Common: the message (common/io/stream:12)
///
/// Make it after the library has come up, and let it go before the library goes down.
class ConsoleListener : public Tarq::Common::Debug::LogListener {
public:
    /// `types` are the reports that are wanted, by default all but the two for debugging.
    explicit ConsoleListener(Tarq::Common::Debug::LogType types = Tarq::Common::Debug::LOG_MESSAGE |
                                                                  Tarq::Common::Debug::LOG_WARNING |
                                                                  Tarq::Common::Debug::LOG_ERROR)
        : mTypes(types) {
        Tarq::Common::Debug::LogManager::getInstance()->addListener(mTypes, this);
    }
    ~ConsoleListener() override { Tarq::Common::Debug::LogManager::getInstance()->removeListener(mTypes, this); }
    ConsoleListener(const ConsoleListener&) = delete;
    ConsoleListener& operator=(const ConsoleListener&) = delete;

    void onLog(const Tarq::Common::Debug::LogRecord& record) override {
        std::fprintf(stderr, "%s %s: %s (%s:%u)\n", nameOf(record.mType), record.mReporter.c_str(),
                     record.mMessage.c_str(), record.mFile.c_str(), record.mLine);
    }

private:
    static const char* nameOf(Tarq::Common::uint32 type) {
        using namespace Tarq::Common::Debug;
        if (type & LOG_ERROR)
            return "Error";
        if (type & LOG_WARNING)
            return "Warning";
        return type & LOG_MESSAGE ? "Message" : "Debug";
    }

    Tarq::Common::Debug::LogType mTypes;
};
