#pragma once

#include "tool/client/rangeset.h"
#include "tool/client/streammessages.h"
#include "tool/platform/file.h"

#include <optional>
#include <string>

namespace Tarq::Tool {

/// A file that a host reads: what it is called there, and what was sent of it.
///
/// What is sent is what the file was when it was opened: from the first change on, nothing is sent any more.
class ServedFile {
public:
    /// A host asks for no more, and for what is missing again.
    static constexpr Common::uint32 cMostSent = 64;

    ServedFile() = default;
    ServedFile(ServedFile&& other) noexcept;
    ServedFile& operator=(ServedFile&&) = delete;
    ~ServedFile();

    /// Reads "[ID:][NAME=]PATH", where no "/" is in front of the mark, and opens the file. Without a name, it has the
    /// file's own. Returns what is wrong; empty when nothing is.
    std::string open(const std::string& text);
    /// For one that was given none.
    void setID(Common::uint32 id) noexcept { mID = id; }

    const std::string& getPath() const noexcept { return mPath; }
    const std::string& getName() const noexcept { return mName; }
    bool hasID() const noexcept { return mID.has_value(); }
    Common::uint32 getID() const noexcept { return mID.value_or(0); }
    Common::uint32 getLength() const noexcept { return static_cast<Common::uint32>(mState.length); }

    /// Fills what is to be answered. Returns what is wrong, empty when nothing is; the file is to be withdrawn then, as
    /// the host would wait for ever.
    std::string read(const StreamDataRequest& request, StreamData& data);

    /// Bytes that were sent, each counted once.
    Common::uint64 countRead() const noexcept { return mRead.count(); }
    /// Bytes that were sent, again and again.
    Common::uint64 countSent() const noexcept { return mNumSent; }
    const RangeSet& getRead() const noexcept { return mRead; }
    bool isRead() const noexcept { return mRead.count() == mState.length; }
    /// From the first request to the last answer.
    double getSeconds() const noexcept { return static_cast<double>(mLast - mFirst) / 1e6; }

private:
    bool isChanged() const noexcept;

    std::string mPath;
    std::string mName;
    std::optional<Common::uint32> mID;
    System::FileHandle mFile = System::cNoFile;
    System::FileState mState;
    RangeSet mRead;
    Common::uint64 mNumSent = 0;
    Common::uint64 mFirst = 0; ///< in microseconds
    Common::uint64 mLast = 0;
};

} // namespace Tarq::Tool
