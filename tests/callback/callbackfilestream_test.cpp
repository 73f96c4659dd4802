#include "common/callback/callbackfilestream.h"

#include "common/memory/memoryexception.h"

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include <limits>
#include <optional>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Callback::CallbackFileStream;
using Callback::FileIOCallback;
using enum IO::FileStream::FileAccess;
using enum IO::Stream::SeekOrigin;

namespace {

constexpr uint32 cNoHandle = 77;
const std::string cUnknownError = "IOException: CallbackFileStream: Unknown file open error";

/// A host with one file, that answers as it is told, and keeps a record of what it is asked to do.
class ScriptedHost : public FileIOCallback {
public:
    ~ScriptedHost() override {
        if (mLastCalls)
            *mLastCalls = takeCalls();
    }
    bool isValidHandle(FileHandle handle) override { return handle != cNoHandle && mKnowsHandle; }
    FileHandle getInvalidHandle() override { return cNoHandle; }
    int32 openFile(FileHandle& handle, const String& fileName, FileAccess access) override {
        CHECK(handle == cNoHandle);
        mCalls.push_back("open " + std::string(fileName) + " " + std::to_string(access));
        handle = 5;
        return static_cast<int32>(mAnswer.value_or(0));
    }
    void closeFile(FileHandle handle) override { mCalls.push_back("close " + std::to_string(handle)); }
    uint64 getFileLength(FileHandle handle) override { return (uint64{1} << 40) + handle; }
    int32 readFile(void* dst, uint32 numBytes, FileHandle handle) override {
        *static_cast<char*>(dst) = 'r';
        return transfer("read ", numBytes, handle);
    }
    int32 writeFile(const void* src, uint32 numBytes, FileHandle handle) override {
        CHECK(*static_cast<const char*>(src) == 'w');
        return transfer("write ", numBytes, handle);
    }
    uint64 getFilePosition(FileHandle handle) override { return (uint64{1} << 33) + handle; }
    int64 seekFile(int64 offset, IO::Stream::SeekOrigin origin, FileHandle handle) override {
        mCalls.push_back("seek " + std::to_string(offset) + " " + std::to_string(origin) + " " +
                         std::to_string(handle));
        return mAnswer.value_or(offset);
    }
    String getFullPath(const String& fileName) override { return "host:/" + fileName; }

    Texts takeCalls() { return std::exchange(mCalls, {}); }

    std::optional<int64> mAnswer; ///< what the next calls return; without one they do what they are asked
    bool mKnowsHandle = true;
    Texts* mLastCalls = nullptr; ///< gets the record when the host goes

private:
    int32 transfer(const std::string& call, uint32 numBytes, FileHandle handle) {
        mCalls.push_back(call + std::to_string(numBytes) + " " + std::to_string(handle));
        return static_cast<int32>(mAnswer.value_or(numBytes));
    }

    Texts mCalls;
};

using ScriptedHostPtr = Callback::CallbackPtr<ScriptedHost>;

ScriptedHostPtr makeHost() {
    return ScriptedHostPtr(new ScriptedHost);
}

/// What each operation ends in on a closed stream.
void checkClosed(CallbackFileStream& stream) {
    char byte = 0;
    const std::string state = "InvalidStateException: CallbackFileStream: ";
    CHECK((stream.isClosed() && !stream.canRead() && !stream.canWrite() && !stream.canSeek()));
    CHECK(outcomeOf([&] { stream.getLength(); }) == state + "Try to get length of closed stream");
    CHECK(outcomeOf([&] { stream.getPosition(); }) == state + "Try to get position of closed stream.");
    CHECK(outcomeOf([&] { stream.getName(); }) == state + "Try to get filename from a closed stream");
    CHECK(outcomeOf([&] { stream.read(&byte, 1); }) == state + "Cannot read on closed streams.");
    CHECK(outcomeOf([&] { stream.write(&byte, 1); }) == state + "Cannot write on closed streams.");
    CHECK(outcomeOf([&] { stream.seek(0, SORIGIN_BEGIN); }) == state + "Cannot seek on closed streams.");
    stream.flush();
    stream.close();
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a stream of the host is open from a successful open to its close") {
    const ScriptedHostPtr host = makeHost();
    {
        CallbackFileStream stream(host);
        checkClosed(stream);
        CHECK(host->takeCalls().empty());
        for (const auto access : {FACCESS_READ, FACCESS_READWRITE, FACCESS_WRITE}) {
            CAPTURE(access);
            stream.open("a.bin", access);
            CHECK(stream.getName() == "a.bin");
            CHECK(stream.canRead() == (access != FACCESS_WRITE));
            CHECK(stream.canWrite() == (access != FACCESS_READ));
            CHECK((stream.canSeek() && !stream.isClosed()));
            CHECK(stream.getLength() == (uint64{1} << 40) + 5);
            CHECK(stream.getPosition() == (uint64{1} << 33) + 5);
            stream.flush();
            CHECK(host->takeCalls() == Texts{"open a.bin " + std::to_string(access)});
            stream.close();
            CHECK(host->takeCalls() == Texts{"close 5"});
            checkClosed(stream);
            CHECK(host->takeCalls().empty());
        }
        stream.open("first", FACCESS_READ);
        stream.open("a name of its own, long enough for a block", static_cast<IO::FileStream::FileAccess>(9));
        CHECK((!stream.canRead() && !stream.canWrite() && stream.canSeek()));
        stream.open(stream.getName(), FACCESS_READ);
        CHECK(stream.getName() == "a name of its own, long enough for a block");
        const std::string again = "open a name of its own, long enough for a block ";
        CHECK(host->takeCalls() == Texts{"open first 1", "close 5", again + "9", "close 5", again + "1"});
    }
    CHECK(host->takeCalls() == Texts{"close 5"});
    CallbackFileStream forgotten(host);
    forgotten.open("a.bin", FACCESS_READWRITE);
    host->mKnowsHandle = false;
    checkClosed(forgotten);
    host->mKnowsHandle = true;
    checkClosed(forgotten);
    CHECK(host->takeCalls() == Texts{"open a.bin 2"});
}

TEST_CASE_FIXTURE(LibraryTest, "the last stream closes its file, then deletes the host") {
    Texts calls;
    {
        auto* const host = new ScriptedHost;
        host->mLastCalls = &calls;
        CallbackFileStream stream{ScriptedHostPtr(host)};
        stream.open("file", FACCESS_READ);
        CHECK(calls.empty());
    }
    CHECK(calls == Texts{"open file 1", "close 5"});
}

TEST_CASE_FIXTURE(LibraryTest, "a failed open leaves the stream closed, whatever the host did to the handle") {
    struct Case {
        int64 status;
        std::string outcome;
    };
    const Case cases[] = {
        {-1, "FileNotFoundException: CallbackFileStream: File or path not found"},
        {-2, "UnAuthorizedAccessException: CallbackFileStream: Given path is a directory, or file is read-only, but an "
             "open-for-writing operation was attempted"},
        {-3, cUnknownError},
        {-4, cUnknownError},
        {std::numeric_limits<int32>::min(), cUnknownError},
        {7, ""},
    };
    const ScriptedHostPtr host = makeHost();
    for (const Case& each : cases) {
        CAPTURE(each.status);
        CallbackFileStream stream(host);
        stream.open("old", FACCESS_READ);
        host->mAnswer = each.status;
        CHECK(outcomeOf([&] { stream.open("new", FACCESS_READ); }) == each.outcome);
        CHECK(host->takeCalls() == Texts{"open old 1", "close 5", "open new 1"});
        if (!each.outcome.empty())
            checkClosed(stream);
        host->mAnswer.reset();
        stream.close();
        CHECK(host->takeCalls() == (each.outcome.empty() ? Texts{"close 5"} : Texts{}));
    }
    CallbackFileStream stream(host);
    host->mAnswer = -1;
    const auto missing = catchThrown<IO::FileNotFoundException>([&] { stream.open("a.bin", FACCESS_READ); });
    CHECK((missing->getFileName() == "a.bin" && missing->getFullFileName() == "host:/a.bin"));
    host->mAnswer.reset();
    stream.open("old", FACCESS_READ);
    host->mKnowsHandle = false;
    CHECK(outcomeOf([&] { stream.open("a.bin", FACCESS_READ); }) == cUnknownError);
    host->mKnowsHandle = true; // of the old file, or of the new one: neither is the stream's any more
    checkClosed(stream);
    stream.open("old", FACCESS_READ);
    host->takeCalls();
    const String name(300, 'x'); // so long that a copy is a block of the host's
    getMemory().failAfter(0);
    catchThrown<Memory::OutOfMemoryException>([&] { stream.open(name, FACCESS_READ); });
    getMemory().failNever();
    checkClosed(stream);
    CHECK(host->takeCalls() == Texts{"close 5"});
}

TEST_CASE_FIXTURE(LibraryTest, "what a stream's access forbids is refused before the buffer is looked at") {
    const ScriptedHostPtr host = makeHost();
    CallbackFileStream reading(host), writing(host);
    reading.open("r", FACCESS_READ);
    writing.open("w", FACCESS_WRITE);
    host->takeCalls();
    CHECK(outcomeOf([&] { writing.read(nullptr, 1); }) ==
          "NotSupportedException: CallbackFileStream: Cannot read from the file. Not opened for reading.");
    CHECK(outcomeOf([&] { reading.write(nullptr, 1); }) ==
          "NotSupportedException: CallbackFileStream: Cannot write to the file. Not opened for writing.");
    CHECK(outcomeOf([&] { reading.read(nullptr, 0); }) ==
          "ArgumentNullException: CallbackFileStream: The destination buffer in a read cannot be NULL. [dstBuffer]");
    CHECK(outcomeOf([&] { writing.write(nullptr, 0); }) ==
          "ArgumentNullException: CallbackFileStream: The source buffer in a write cannot be NULL. [srcBuffer]");
    CHECK(host->takeCalls().empty());
}

TEST_CASE_FIXTURE(LibraryTest, "what the host answers to a read, a write or a seek is never taken at its word") {
    constexpr uint64 cGiB = uint64{1} << 30;
    const std::string file = "common/callback/callbackfilestream: \nError Message: ";
    const std::string writeError = file + "Internal error: Unhandeled error condition during write.";
    const std::string diskFull = "OutOfSpaceException: CallbackFileStream: Cannot write to file, disk full.";
    const std::string seekError = file + "Unhandled error condition from seekFile callback.";
    struct Case {
        const char* operation;
        uint64 asked;
        std::optional<int64> answer;
        uint64 result; ///< of a read or a seek
        std::string outcome, call;
    };
    const Case cases[] = {
        {"read", 4, {}, 4, "", "read 4 5"},
        {"read", 4, 3, 3, "", "read 4 5"},
        {"read", 4, 5, 4, "", "read 4 5"},
        {"read", 4, -1, 0, "", "read 4 5"},
        {"read", 0, 1, 0, "", "read 0 5"},
        {"read", 4 * cGiB + 6, {}, 6, "", "read 6 5"},
        {"read", 3 * cGiB, {}, 0, "", "read 3221225472 5"},
        {"write", 4, {}, 0, "", "write 4 5"},
        {"write", 4, 3, 0, writeError, "write 4 5"},
        {"write", 4, -1, 0, writeError, "write 4 5"},
        {"write", 4, 0, 0, writeError, "write 4 5"},
        {"write", 4, -5, 0, diskFull, "write 4 5"},
        {"write", 0xFFFFFFFB, -5, 0, diskFull, "write 4294967291 5"},
        {"write", 4 * cGiB + 6, {}, 0, "", "write 6 5"},
        {"write", 3 * cGiB, {}, 0, "", "write 3221225472 5"},
        {"seek", 4, 5 * cGiB, 5 * cGiB, "", "seek 4 7 5"},
        {"seek", 4, -4, 0, "ArgumentOutOfRangeException: FileStream: Offset seeks out of file range. [offset]",
         "seek 4 7 5"},
        {"seek", 4, -7, 0, seekError, "seek 4 7 5"},
        {"seek", 4, std::numeric_limits<int64>::min(), 0, seekError, "seek 4 7 5"},
    };
    const ScriptedHostPtr host = makeHost();
    CallbackFileStream stream(host);
    stream.open("file", FACCESS_READWRITE);
    host->takeCalls();
    for (const Case& each : cases) {
        CAPTURE(each.call);
        CAPTURE(each.answer.value_or(0));
        char byte = 'w';
        uint64 result = 0;
        host->mAnswer = each.answer;
        const std::string operation = each.operation;
        CHECK(outcomeOf([&] {
                  if (operation == "read")
                      result = stream.read(&byte, each.asked);
                  else if (operation == "write")
                      stream.write(&byte, each.asked);
                  else
                      result = stream.seek(static_cast<int64>(each.asked), static_cast<IO::Stream::SeekOrigin>(7));
              }) == each.outcome);
        CHECK(result == each.result);
        CHECK((byte == 'r') == (operation == "read"));
        CHECK(host->takeCalls() == Texts{each.call});
    }
    for (const auto origin : {SORIGIN_CURRENT, SORIGIN_END, SORIGIN_BEGIN}) {
        host->mAnswer = origin;
        CHECK(stream.seek(-5 * static_cast<int64>(cGiB), origin) == static_cast<uint64>(origin));
        CHECK(host->takeCalls() == Texts{"seek -5368709120 " + std::to_string(origin) + " 5"});
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a stream without a host is reported, and stays closed") {
    std::optional<CallbackFileStream> stream;
    CHECK(outcomeOf([&] { stream.emplace(nullptr); }) ==
          "common/callback/callbackfilestream: mFileIO != NULL\nError Message: File callback cannot be a NULL pointer");
    checkClosed(*stream);
    CHECK(outcomeOf([&] { stream->open("a.bin", FACCESS_READ); }) == cUnknownError);
    checkClosed(*stream);
}
