#pragma once

#include "support/errorreport.h"

#include "common/debug/logmanager.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

/// Counts the nodes that the parser skips, from its making to its end.
class SkippedNodes : public Tarq::Common::Debug::LogListener {
public:
    SkippedNodes() {
        Tarq::Common::Debug::LogManager::getInstance()->addListener(Tarq::Common::Debug::LOG_MESSAGE, this);
    }
    ~SkippedNodes() override { Tarq::Common::Debug::LogManager::getInstance()->removeListener(this); }
    SkippedNodes(const SkippedNodes&) = delete;
    SkippedNodes& operator=(const SkippedNodes&) = delete;

    void onLog(const Tarq::Common::Debug::LogRecord& record) override {
        constexpr std::string_view cMark = "Skipping node '";
        std::string_view text = record.mMessage;
        if (!text.starts_with(cMark))
            return;
        text.remove_prefix(cMark.size());
        ++mCounts[std::string(text.substr(0, text.find('\'')))];
    }

    /// One line, if there were any.
    void tell(std::string_view fileName) const {
        constexpr std::size_t cMostKinds = 12;
        std::string text;
        std::size_t kinds = 0;
        for (const auto& [name, count] : mCounts) {
            if (++kinds <= cMostKinds)
                text += (kinds == 1 ? "skipped " : ", ") + std::to_string(count) + " " + name;
        }
        if (kinds > cMostKinds)
            text += " and nodes of " + std::to_string(kinds - cMostKinds) + " more kinds";
        if (kinds != 0)
            errorreport::note(fileName, text);
    }

private:
    std::map<std::string, std::size_t> mCounts; ///< by the names of classes
};
