#pragma once

#include "common/debug/loglistener.h"
#include "common/debug/logmanager.h"

#include <functional>
#include <string>
#include <vector>

namespace Tarq::Test {

/// Keeps what it hears; `onEach`, where it is set, runs after that. Leaves the log manager when it goes.
class RecordingListener : public Common::Debug::LogListener {
public:
    struct Heard {
        Common::uint32 type;
        std::string message;
        std::string reporter;
        std::string function;
        std::string file;
        Common::uint32 line;
    };
    static constexpr auto cAll = Common::Debug::cAllLogTypes;

    explicit RecordingListener(Common::Debug::LogType types = cAll) {
        Common::Debug::LogManager::getInstance()->addListener(types, this);
    }
    ~RecordingListener() override { leave(); }

    void leave() { Common::Debug::LogManager::getInstance()->removeListener(cAll, this); }

    void onLog(const Common::Debug::LogRecord& record) override {
        mHeard.push_back({record.mType, record.mMessage.c_str(), record.mReporter.c_str(), record.mFunction.c_str(),
                          record.mFile.c_str(), record.mLine});
        if (onEach)
            onEach();
    }

    /// The messages, one after the other, each with a blank behind it.
    std::string messages() const {
        std::string all;
        for (const Heard& heard : mHeard)
            all += heard.message + ' ';
        return all;
    }

    std::function<void()> onEach;
    std::vector<Heard> mHeard;
};

} // namespace Tarq::Test
