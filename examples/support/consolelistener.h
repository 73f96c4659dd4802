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
                                                                  Tarq::Common::Debug::LOG_ERROR) {
        if (auto* const manager = Tarq::Common::Debug::LogManager::getInstance())
            manager->addListener(types, this);
    }
    ~ConsoleListener() override {
        if (auto* const manager = Tarq::Common::Debug::LogManager::getInstance())
            manager->removeListener(this);
    }
    ConsoleListener(const ConsoleListener&) = delete;
    ConsoleListener& operator=(const ConsoleListener&) = delete;

    void onLog(const Tarq::Common::Debug::LogRecord& record) override {
        std::fprintf(stderr, "%s %s: %s (%s:%u)\n", Tarq::Common::Debug::getLogTypeName(record.mType),
                     record.mReporter.c_str(), record.mMessage.c_str(), record.mFile.c_str(), record.mLine);
    }
};
