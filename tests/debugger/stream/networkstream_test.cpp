#include "tests/debugger/simulation.h"
#include "tests/debugger/stream/streamtest.h"

#include <limits>

using namespace Tarq::Test;

namespace {

const std::string cRegisterLayout =
    "registerNetworkStreamMessage: { String:networkStreamName, uint32:networkStreamID, uint32:networkStreamLength }\n";
const std::string cDeregisterLayout = "deregisterNetworkStreamMessage: { uint32:networkStreamID }\n";
const std::string cDataLayout =
    "updateDataNetworkStreamMessage: { uint32:networkStreamID, dataStream:NetworkStream }\n";

std::string registerRequest(const std::string& name, uint32 id, uint32 length) {
    return requestOf(MessageID::REGISTER_NETWORK_STREAM, name.c_str(), id, length);
}
std::string registerReply(const std::string& name, uint32 id, uint32 length, const std::string& reason = "") {
    const std::string text = reason.empty()
                                 ? ""
                                 : "Couldn't register NetworkStream ( id: " + std::to_string(id) + ", name: " + name +
                                       ", length: " + std::to_string(length) + " ) because " + reason;
    return requestOf(replyTo(MessageID::REGISTER_NETWORK_STREAM), name.c_str(), id, length,
                     static_cast<uint8>(text.empty() ? 0 : 1), text.c_str());
}

/// Reads when something is asserted, once.
class ReadingCallback final : public Callback::AssertCallback {
public:
    explicit ReadingCallback(NetworkStream& stream) : mStream(stream) {}

    void showAssert(const char* message, const char*, unsigned int) override {
        mHeard += message + std::string("\n");
        char byte = 0;
        if (!std::exchange(mHasRead, true))
            CHECK(mStream.read(&byte, 1) == 0);
    }

    std::string mHeard;

private:
    NetworkStream& mStream;
    bool mHasRead = false;
};

} // namespace

TEST_CASE_FIXTURE(StreamTest, "messages about streams are these bytes") {
    CHECK(hexOf(ask(bytesOf("07 01 00 00 26  0b 00 00 00 04 66 69 6c 65  07 00 00 00 09  07 00 00 01 00"))) ==
          "07 01 00 00 27 0b 00 00 00 04 66 69 6c 65 07 00 00 00 09 07 00 00 01 00 05 00 0b 00 00 00 00");
    NetworkStream* stream = nullptr;
    REQUIRE(server().getNetworkStream(stream, 9));
    CHECK(stream->getName() == "file");
    CHECK(stream->getLength() == 256);
    stream->seek(3, IO::Stream::SORIGIN_BEGIN);
    Reader reader(*stream, 2);
    std::string request;
    REQUIRE(comesTrue([&] { return !(request = mNetwork.takeReply(mTool)).empty(); }));
    CHECK(hexOf(request) == "07 01 00 00 28 07 00 00 00 09 07 00 00 00 03 07 00 00 00 02");
    CHECK(ask(bytesOf("07 01 00 00 29  07 00 00 00 09  85 00 00 00 02 61 62")).empty());
    CHECK(reader.take() == "ab");
    CHECK(hexOf(ask(bytesOf("07 01 00 00 2a  07 00 00 00 09"))) ==
          "07 01 00 00 2b 07 00 00 00 09 05 00 0b 00 00 00 00");
}

TEST_CASE_FIXTURE(StreamTest, "requests are answered with what comes of them") {
    const std::string longName(4096, 'n');
    const std::string whole = registerRequest("file", 8, 1);
    const std::string begin = "Couldn't read the ";
    const struct {
        const char* name;
        std::string request;
        std::string reply;
        std::string error;
    } rows[] = {
        {"new", registerRequest("a", 7, 100), registerReply("a", 7, 100), ""},
        {"taken", registerRequest("b", 7, 5), registerReply("b", 7, 5, "the id is already registered"), ""},
        {"longest name", registerRequest(longName, 1, 5), registerReply(longName, 1, 5), ""},
        {"too long a name", registerRequest(longName + 'n', 2, 5),
         registerReply(longName + 'n', 2, 5, "the name is too long"), ""},
        {"empty, and the last ID", registerRequest("", 0xFFFFFFFF, 0), registerReply("", 0xFFFFFFFF, 0), ""},
        {"unknown", requestOf(MessageID::DEREGISTER_NETWORK_STREAM, uint32{8}),
         requestOf(replyTo(MessageID::DEREGISTER_NETWORK_STREAM), uint32{8}, uint8{1},
                   "Couldn't deregister NetworkStream ( id: 8 ) because it isn't registered"),
         ""},
        {"no name", whole.substr(0, 5), "", begin + "networkStreamName out of the " + cRegisterLayout},
        {"no ID", whole.substr(0, 14), "", begin + "networkStreamID out of the " + cRegisterLayout},
        {"no length", whole.substr(0, 19), "", begin + "networkStreamLength out of the " + cRegisterLayout},
        {"no ID to deregister", requestOf(MessageID::DEREGISTER_NETWORK_STREAM), "",
         begin + "networkStreamID out of the " + cDeregisterLayout},
        {"data without ID", requestOf(MessageID::NETWORK_STREAM_DATA), "",
         begin + "networkStreamID out of the " + cDataLayout},
        {"no data", requestOf(MessageID::NETWORK_STREAM_DATA, uint32{7}), "",
         begin + "mCurStream out of the " + cDataLayout},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        const AssertionRecorder assertions;
        CHECK(hexOf(ask(row.request)) == hexOf(row.reply));
        CHECK(errorsOf(assertions).ends_with(row.error));
        CHECK(errorsOf(assertions).empty() == row.error.empty());
    }
}

TEST_CASE_FIXTURE(StreamTest, "who is no client registers nothing") {
    const AssertionRecorder assertions;
    mNetwork.send(99, registerRequest("file", 7, 1));
    CHECK(errorsOf(assertions) == "Internal Error: ClientInfo missing during: Tried to register a new NetworkStream\n"
                                  "Couldn't send returning message back to client\n");
    NetworkStream* stream = nullptr;
    CHECK_FALSE(server().getNetworkStream(stream, 7));
}

TEST_CASE_FIXTURE(StreamTest, "there are not more streams than the server keeps") {
    {
        const Server::DataLock inside(Server::getDataMutex());
        for (uint32 id = 0; id < Debugger::NetworkStreamRegistry::cMostStreams; ++id)
            REQUIRE(server().getNetworkStreams().add(server(), id, "", 0, mTool));
    }
    CHECK(ask(registerRequest("file", 65536, 1)) == registerReply("file", 65536, 1, "there are too many"));
    ask(requestOf(MessageID::DEREGISTER_NETWORK_STREAM, uint32{7}));
    CHECK(ask(registerRequest("file", 65536, 1)) == registerReply("file", 65536, 1));
}

TEST_CASE_FIXTURE(StreamTest, "a read asks for pieces, and returns with all of them") {
    for (const uint32 count : {0u, 1u, 63u, 64u, 65u, 100u, 1000000u}) {
        CAPTURE(count);
        NetworkStream& stream = announce(count, count + 5);
        stream.seek(5, IO::Stream::SORIGIN_BEGIN);
        std::string requests;
        for (uint32 at = 0; at < count; at += 64)
            requests += std::to_string(at + 5) + '+' + std::to_string(std::min(count - at, 64u)) + ' ';
        Reader reader(stream, count);
        CHECK(serve(reader) == requests);
        CHECK(reader.take() == fileBytes(count, 5, count));
        CHECK(stream.getPosition() == count + 5);
    }
}

TEST_CASE_FIXTURE(StreamTest, "answers of other lengths than asked for") {
    const struct {
        const char* name;
        uint32 wanted;
        std::vector<uint32> answers;
        std::string requests;
        std::string errors;
    } rows[] = {
        {"empty", 10, {0, 0, 10}, "0+10 0+10 0+10 ", ""},
        {"shorter", 100, {10, 64, 1, 25}, "0+64 10+64 74+26 75+25 ", ""},
        {"longer", 200, {80, 100, 20}, "0+64 80+64 180+20 ", ""},
        {"longer than all", 64, {80}, "0+64 ", cTooMuch},
        {"longer than the rest", 100, {64, 37}, "0+64 64+36 ", cTooMuch},
    };
    uint32 id = 0;
    for (const auto& row : rows) {
        CAPTURE(row.name);
        NetworkStream& stream = announce(++id, 1000);
        const AssertionRecorder assertions;
        Reader reader(stream, row.wanted);
        std::string requests;
        for (const uint32 count : row.answers) {
            const Piece piece = waitForRequest();
            requests += piece.toText();
            mNetwork.send(mTool, piece.getData(count));
        }
        CHECK(reader.take() == fileBytes(id, 0, row.wanted));
        CHECK(requests == row.requests);
        CHECK(errorsOf(assertions) == row.errors);
        CHECK(stream.getPosition() == row.wanted);
    }
}

TEST_CASE_FIXTURE(StreamTest, "data that nobody wants change nothing") {
    NetworkStream& stream = announce(7, 100);
    const uint32 other = mNetwork.connect();
    const std::string unknown = "Tried to update unknown NetworkStream\n";
    const std::string noneAtGate = "A public thread has to be waiting at the gate to allow a secure public pass\n";
    const auto expect = [&](uint32 client, const std::string& message, const std::string& errors) {
        const AssertionRecorder assertions;
        mNetwork.send(client, message);
        CHECK(errorsOf(assertions) == errors);
        CHECK(mNetwork.takeReply(client).empty());
    };
    expect(mTool, dataOf(8, "abc"), unknown);
    expect(mTool, dataOf(7, "abc"), cTooMuch + cUpdateFailed);
    expect(mTool, dataOf(7, ""), noneAtGate + cUpdateFailed);
    CHECK(stream.getPosition() == 0);
    Reader reader(stream, 3);
    const Piece piece = waitForRequest();
    expect(other, dataOf(7, "abc"), unknown);
    mNetwork.send(mTool, piece.getData(3));
    CHECK(reader.take() == fileBytes(7, 0, 3));
}

TEST_CASE_FIXTURE(StreamTest, "data that cannot be read end the read that they are for") {
    NetworkStream& stream = announce(7, 100);
    const AssertionRecorder assertions;
    Reader reader(stream, 100);
    mNetwork.send(mTool, waitForRequest().getData(64));
    waitForRequest();
    mNetwork.send(mTool, bytesOf("07 01 00 00 29  07 00 00 00 07  85 00 00 00 24 61 62"));
    CHECK(reader.take() == fileBytes(7, 0, 64));
    CHECK(errorsOf(assertions).find("Couldn't read the mCurStream out of the " + cDataLayout) != std::string::npos);
    CHECK(errorsOf(assertions).ends_with(incomplete(64, 100)));
    expectWhole(stream, 36);
}

TEST_CASE_FIXTURE(StreamTest, "while a thread reads, the stream is its own") {
    NetworkStream* stream = &announce(7, 100);
    Reader reader(*stream, 100);
    const Piece piece = waitForRequest();
    {
        const AssertionRecorder assertions;
        char bytes[2];
        CHECK(stream->read(bytes, 2) == 0);
        CHECK(stream->seek(50, IO::Stream::SORIGIN_BEGIN) == 0);
        CHECK_FALSE(server().releaseNetworkStream(stream));
        CHECK(errorsOf(assertions) ==
              cOccupied + cOccupied + "Tried to release NetworkStream file while a thread reads from it\n");
    }
    mNetwork.send(mTool, piece.getData(64));
    serve(reader);
    CHECK(reader.take() == fileBytes(7, 0, 100));
    CHECK(server().releaseNetworkStream(stream));
}

TEST_CASE_FIXTURE(StreamTest, "seek goes anywhere in the stream, and nowhere else") {
    constexpr int64 cSmallest = std::numeric_limits<int64>::min();
    constexpr int64 cLargest = std::numeric_limits<int64>::max();
    const std::string outside = "Offset leads out of range of the stream\n";
    const struct {
        int64 offset;
        int origin;
        uint64 result; ///< from position 40 of 100
        std::string error;
    } rows[] = {
        {0, IO::Stream::SORIGIN_BEGIN, 0, ""},
        {100, IO::Stream::SORIGIN_BEGIN, 100, ""},
        {101, IO::Stream::SORIGIN_BEGIN, 40, outside},
        {-1, IO::Stream::SORIGIN_BEGIN, 40, outside},
        {0x100000000, IO::Stream::SORIGIN_BEGIN, 40, outside},
        {-40, IO::Stream::SORIGIN_CURRENT, 0, ""},
        {60, IO::Stream::SORIGIN_CURRENT, 100, ""},
        {-41, IO::Stream::SORIGIN_CURRENT, 40, outside},
        {61, IO::Stream::SORIGIN_CURRENT, 40, outside},
        {cLargest, IO::Stream::SORIGIN_CURRENT, 40, outside},
        {cSmallest, IO::Stream::SORIGIN_CURRENT, 40, outside},
        {0, IO::Stream::SORIGIN_END, 100, ""},
        {-100, IO::Stream::SORIGIN_END, 0, ""},
        {1, IO::Stream::SORIGIN_END, 40, outside},
        {-101, IO::Stream::SORIGIN_END, 40, outside},
        {cLargest, IO::Stream::SORIGIN_END, 40, outside},
        {cSmallest, IO::Stream::SORIGIN_END, 40, outside},
        {1, 77, 0, "Invalid SeekOrigin in origin specified\n"},
    };
    NetworkStream& stream = announce(7, 100);
    for (const auto& row : rows) {
        CAPTURE(row.offset);
        CAPTURE(row.origin);
        stream.seek(40, IO::Stream::SORIGIN_BEGIN);
        const AssertionRecorder assertions;
        CHECK(stream.seek(row.offset, static_cast<IO::Stream::SeekOrigin>(row.origin)) == row.result);
        CHECK(stream.getPosition() == (row.origin == 77 ? 40 : row.result));
        CHECK(errorsOf(assertions) == row.error);
    }
}

TEST_CASE_FIXTURE(StreamTest, "what a stream cannot do is asserted") {
    NetworkStream& stream = announce(7, 100);
    CHECK(stream.canRead());
    CHECK_FALSE(stream.canWrite());
    CHECK(stream.canSeek());
    stream.seek(-3, IO::Stream::SORIGIN_END);
    const AssertionRecorder assertions;
    char bytes[4] = {};
    CHECK(stream.read(bytes, 4) == 0);
    CHECK(stream.read(bytes, 0xFFFFFFFF) == 0);
    CHECK(stream.read(bytes, 0xFFFFFFFFFFFFFFFF) == 0);
    CHECK(stream.read(bytes, 0xFFFFFFFE) == 0);
    stream.write(bytes, 4);
    stream.flush();
    CHECK(stream.getPosition() == 97);
    stream.close();
    stream.close();
    CHECK(stream.read(bytes, 0) == 0);
    CHECK(stream.read(bytes, 1) == 0);
    const auto beyond = [](const std::string& count, const std::string& rest) {
        return "Tried to read (" + count + ") bytes but from pos (" + rest + ") bytes left\n";
    };
    const std::string tooLong = "NetworkStream doesn't support reading more bytes than TARQ_MAX_UINT32\n";
    CHECK(errorsOf(assertions) == beyond("4", "97) to end (100) are only (3") + tooLong + tooLong +
                                      beyond("4294967294", "97) to end (100) are only (3") +
                                      "Write not supported in NetworkStream\n" +
                                      beyond("1", "0) to end (0) are only (0"));
    CHECK(mNetwork.takeReply(mTool).empty());
}

TEST_CASE_FIXTURE(StreamTest, "a read is refused where it would keep its data from coming") {
    NetworkStream& stream = announce(7, 100);
    CHECK(registerTextHandler(REMARK, [](uint32, const std::string&) { TARQ_FAIL("on the server's thread"); }));
    SteppedWorld world("world");
    const struct {
        const char* name;
        std::function<void()> act; ///< asserts
    } rows[] = {
        {"on the server's thread", [&] { mNetwork.send(mTool, textMessageOf(REMARK, "")); }},
        {"in the middle of an operation on the model", [&] { world.agents->getSubGroup(77); }},
        {"in a breakpoint", [&] { world.stepped->enterBreakpoint(nullptr); }},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        const Callback::AssertCallbackPtr before = Interface::getAssertCallback();
        auto* const callback = new ReadingCallback(stream);
        const Callback::AssertCallbackPtr keeper(callback);
        Interface::setAssertCallback(keeper);
        row.act();
        Interface::setAssertCallback(before);
        CHECK(callback->mHeard.find("NetworkStream (file) can't be read by who would keep its data from coming") !=
              std::string::npos);
    }
    expectWhole(stream, 100);
}

TEST_CASE_FIXTURE(StreamTest, "a read lets go of the data mutex, and has it again as before") {
    NetworkStream& stream = announce(7, 100);
    std::string bytes(100, '?');
    bool isHeld[2] = {};
    HostThread host([&] {
        Threading::FairMutex& mutex = Server::getDataMutex();
        mutex.lock();
        mutex.lock();
        stream.read(bytes.data(), 100);
        mutex.unlock();
        isHeld[0] = mutex.isHeld();
        mutex.unlock();
        isHeld[1] = mutex.isHeld();
    });
    mNetwork.send(mTool, waitForRequest().getData(64));
    mNetwork.send(mTool, waitForRequest().getData(36));
    host.join();
    CHECK(bytes == fileBytes(7, 0, 100));
    CHECK(isHeld[0]);
    CHECK_FALSE(isHeld[1]);
}
