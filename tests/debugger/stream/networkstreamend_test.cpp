#include "tests/debugger/stream/streamtest.h"

using namespace Tarq::Test;

namespace {

std::string deregister(uint32 id) {
    return requestOf(MessageID::DEREGISTER_NETWORK_STREAM, id);
}

} // namespace

TEST_CASE("whatever ends a stream, who reads comes back with what has arrived") {
    const struct {
        const char* name;
        std::function<void(StreamTest&, NetworkStream&)> end;
    } rows[] = {
        {"deregistered", [](StreamTest& test, NetworkStream&) { test.ask(deregister(7)); }},
        {"the tool has gone", [](StreamTest& test, NetworkStream&) { test.mNetwork.lose(test.mTool); }},
        {"the server has stopped", [](StreamTest&, NetworkStream&) { CHECK(Server::exitAsync()); }},
        {"closed by the host", [](StreamTest&, NetworkStream& stream) { stream.close(); }},
    };
    for (const auto& row : rows) {
        for (const bool isGivenBack : {true, false}) {
            CAPTURE(row.name);
            CAPTURE(isGivenBack);
            StreamTest test;
            NetworkStream* stream = &test.announce(7, 100);
            const AssertionRecorder assertions;
            Reader reader(*stream, 90);
            test.mNetwork.send(test.mTool, test.waitForRequest().getData(64));
            test.waitForRequest();
            row.end(test, *stream);
            CHECK(reader.take() == fileBytes(7, 0, 64));
            CHECK(errorsOf(assertions) == cClosedWhileReading + incomplete(64, 90));
            CHECK(stream->isClosed());
            CHECK(stream->getPosition() == 0);
            CHECK(stream->getLength() == 0);
            if (isGivenBack)
                CHECK(StreamTest::server().releaseNetworkStream(stream));
        }
    }
}

TEST_CASE_FIXTURE(StreamTest, "a server stops although threads go on reading nothing from what is closed") {
    NetworkStream& stream = announce(7, 100);
    std::atomic<bool> isOver{false};
    const auto readOn = [&] {
        while (!isOver)
            stream.read(nullptr, 0);
    };
    HostThread threads[] = {HostThread(readOn), HostThread(readOn), HostThread(readOn), HostThread(readOn)};
    HostThread stopping([] { CHECK(Server::exitAsync()); });
    CHECK(stopping.waitFor());
    isOver = true;
}

TEST_CASE_FIXTURE(StreamTest, "a read ends when the tool cannot be asked, and the next one begins anew") {
    NetworkStream& stream = announce(7, 300);
    for (bool* const fault : {&mNetwork.mCanSend, &mNetwork.mMustThrow}) {
        const auto position = static_cast<uint32>(stream.getPosition());
        CAPTURE(position);
        const AssertionRecorder assertions;
        *fault = !*fault;
        CHECK(Reader(stream, 100).take() == "");
        CHECK(stream.getPosition() == position);
        *fault = !*fault;
        Reader reader(stream, 100);
        const Piece piece = waitForRequest();
        *fault = !*fault;
        mNetwork.send(mTool, piece.getData(64));
        CHECK(reader.take() == fileBytes(7, position, 64));
        *fault = !*fault;
        CHECK(errorsOf(assertions) == cNotAsked + incomplete(0, 100) + cNotAsked + cUpdateFailed + incomplete(64, 100));
        expectWhole(stream, 86);
    }
}

TEST_CASE_FIXTURE(StreamTest, "the host gives back what it has got, as often") {
    NetworkStream* stream = &announce(7, 100);
    NetworkStream* again = nullptr;
    NetworkStream* unknown = nullptr;
    const AssertionRecorder assertions;
    const std::string notGot = "Tried to release a NetworkStream that wasn't got\n";
    CHECK_FALSE(server().getNetworkStream(unknown, 8));
    CHECK_FALSE(server().releaseNetworkStream(unknown));
    CHECK(server().getNetworkStream(again, 7));
    CHECK(again == stream);
    CHECK(server().releaseNetworkStream(again));
    CHECK(again == nullptr);
    CHECK_FALSE(stream->isClosed());

    // What the host has stays, although its ID is that of another stream.
    ask(deregister(7));
    CHECK(stream->isClosed());
    CHECK(stream->getName() == "file");
    NetworkStream* next = &announce(7, 50);
    CHECK(next != stream);
    expectWhole(*next, 50);
    again = stream;
    CHECK(server().releaseNetworkStream(stream));
    CHECK_FALSE(server().releaseNetworkStream(again));
    again = next;
    CHECK(server().releaseNetworkStream(next));
    CHECK_FALSE(server().releaseNetworkStream(again));
    CHECK(errorsOf(assertions) == notGot + notGot + notGot);
    CHECK(server().getNetworkStream(next, 7));
    CHECK(next->getLength() == 50);
}

TEST_CASE_FIXTURE(StreamTest, "one of two who have got a stream gives it back while the other reads") {
    NetworkStream* stream = &announce(7, 100);
    NetworkStream* again = nullptr;
    CHECK(server().getNetworkStream(again, 7));
    Reader reader(*stream, 100);
    const Piece piece = waitForRequest();
    CHECK(server().releaseNetworkStream(again));
    const AssertionRecorder assertions;
    ask(deregister(7));
    CHECK(reader.take() == "");
    CHECK(server().releaseNetworkStream(stream));
    mNetwork.send(mTool, piece.getData(64));
    CHECK(errorsOf(assertions) == cClosedWhileReading + incomplete(0, 100) + "Tried to update unknown NetworkStream\n");
}

TEST_CASE_FIXTURE(StreamTest, "other clients keep their streams when one goes") {
    NetworkStream& mine = announce(7, 10);
    NetworkStream& mineToo = announce(9, 10);
    const uint32 first = mTool;
    mTool = mNetwork.connect();
    NetworkStream& other = announce(8, 10);
    mNetwork.lose(first);
    CHECK(mine.isClosed());
    CHECK(mineToo.isClosed());
    expectWhole(other, 10);
}

TEST_CASE_FIXTURE(StreamTest, "the server keeps streams in order when memory runs out") {
    bool isRefused = true;
    for (int64 count = 0; isRefused; ++count) {
        CAPTURE(count);
        const AssertionRecorder assertions;
        const int64 refusedBefore = getMemory().getRefused();
        getMemory().failAfter(count);
        mNetwork.send(
            mTool, requestOf(MessageID::REGISTER_NETWORK_STREAM, "a name that is not short", uint32{7}, uint32{100}));
        getMemory().failNever();
        isRefused = getMemory().getRefused() != refusedBefore;
        mNetwork.takeReply(mTool);
        NetworkStream* stream = nullptr;
        if (server().getNetworkStream(stream, 7))
            CHECK(server().releaseNetworkStream(stream));
        ask(deregister(7));
    }
}

TEST_CASE_FIXTURE(StreamTest, "a thread comes back when memory runs out") {
    NetworkStream& stream = announce(7, 10000);
    bool isRefused = true;
    for (int64 blocks = 0; isRefused; ++blocks) {
        CAPTURE(blocks);
        const AssertionRecorder assertions;
        stream.seek(0, IO::Stream::SORIGIN_BEGIN);
        std::string bytes(150, '?');
        uint64 read = 0;
        bool hasThrown = false;
        const int64 refusedBefore = getMemory().getRefused();
        getMemory().failAfter(blocks);
        HostThread host([&] {
            try {
                read = stream.read(bytes.data(), bytes.size());
            } catch (Exceptions::Exception* exception) {
                delete exception;
                hasThrown = true;
            }
        });
        std::string message;
        while (comesTrue([&] { return host.hasReturned() || !(message = mNetwork.takeReply(mTool)).empty(); }) &&
               !host.hasReturned()) {
            const Piece piece(message);
            mNetwork.send(mTool, piece.getData(piece.amount));
        }
        host.join();
        getMemory().failNever();
        isRefused = getMemory().getRefused() != refusedBefore;
        const auto count = static_cast<std::size_t>(read);
        CHECK(bytes.substr(0, count) == fileBytes(7, 0, count));
        CHECK((read == 150 || hasThrown || !errorsOf(assertions).empty()));
        CHECK(stream.getPosition() == read);
    }
    expectWhole(stream, 100);
}
