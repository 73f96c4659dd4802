#pragma once

#include "tool/cli/face.h"
#include "tool/client/modulelistener.h"
#include "tool/client/session.h"

#include <nlohmann/json.hpp>

#include <deque>
#include <string>

namespace Tarq::Tool {

using Json = nlohmann::ordered_json;

/// One object in one line. What is no UTF-8 is replaced.
inline std::string dumpLine(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// A text of the library as one of the standard library.
inline std::string toStd(const Common::String& text) {
    return std::string(text.view());
}

/// Prints what happens in a session: for each event one line, for a person or as a JSON object. For a person, what ends
/// the session is no event but the reason of the end, which `getReason` tells.
class EventPrinter : public ModuleListener {
public:
    EventPrinter(const Face& face, const SessionOptions& options, bool isJson);

    void onAccepted(const IdentityReply& reply) override;
    void onRefused(const IdentityReply& reply) override;
    /// Attempts that fail for the same reason are one event, until there is a connection.
    void onFailure(const Failure& failure) override;
    void onBadMessage(const Common::String& problem) override;
    void onUnanswered(Common::uint32 replyID, Ticket ticket) override;
    void onOtherMessage(Common::uint32 id, Common::uint64 numBytes) override;

    /// "127.0.0.1:4711"
    const std::string& getHost() const noexcept { return mHost; }
    /// What the last event that concerned the connection means for the program's end.
    int getExitCode() const noexcept { return mExitCode; }
    /// The reason for that, for a person; empty when there is none.
    const std::string& getReason() const noexcept { return mReason; }

protected:
    const Face& getFace() const noexcept { return mFace; }
    bool isJson() const noexcept { return mIsJson; }
    /// `text` is for a person; empty: nothing.
    virtual void print(const char* event, const Json& details, const std::string& text);

private:
    Face mFace;
    SessionOptions mOptions;
    std::string mHost;
    bool mIsJson;
    int mExitCode;
    std::string mReason;
    std::deque<std::string> mTold; ///< of the failures since there was a connection, the last few reasons
};

} // namespace Tarq::Tool
