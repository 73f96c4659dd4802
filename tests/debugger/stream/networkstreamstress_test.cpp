#include "tests/debugger/scriptedtool.h"
#include "tests/debugger/simulation.h"
#include "tests/debugger/stream/streamtest.h"

#include <set>

using namespace Tarq::Test;

namespace {

constexpr uint32 cFiles = 4; ///< of a tool
constexpr uint32 cLength = 3000;

/// Offers files, takes them back, goes and comes again, as its numbers say; and answers what it is asked.
class FileTool {
public:
    explicit FileTool(uint32 number) : mRandom(number), mFirst(number * cFiles) {}

    void run(int rounds) {
        for (int round = 0; round < rounds; ++round) {
            const uint32 id = mFirst + mRandom.below(cFiles);
            if (!mTool || mRandom.oneIn(100))
                come();
            else if (mFiles.size() < 2 || mRandom.oneIn(15))
                mFiles.contains(id) ? withdraw(id) : offer(id);
            else
                answer(mTool->receive());
        }
        mTool.reset();
    }

private:
    /// What has not been read makes the end of the connection before a reset.
    void come() {
        mTool.reset();
        mFiles.clear();
        mTool.emplace(TCPServerTest::connect());
    }
    /// Those that the connection before has offered may still be there.
    void offer(uint32 id) {
        mTool->send(requestOf(MessageID::REGISTER_NETWORK_STREAM, "file", id, cLength));
        if (waitFor(requestOf(replyTo(MessageID::REGISTER_NETWORK_STREAM), "file", id, cLength)))
            mFiles.insert(id);
    }
    void withdraw(uint32 id) {
        mFiles.erase(id);
        mTool->send(requestOf(MessageID::DEREGISTER_NETWORK_STREAM, id));
        waitFor(requestOf(replyTo(MessageID::DEREGISTER_NETWORK_STREAM), id));
    }
    /// Answers what comes before the reply. Whether that is without an error.
    bool waitFor(const std::string& begin) {
        for (;;) {
            const std::string message = mTool->receive();
            if (message.starts_with(begin))
                return message[begin.size() + 1] == 0;
            answer(message);
        }
    }
    /// What was asked of a file that is withdrawn is not for one that is offered later.
    void answer(const std::string& message) {
        const Piece piece(message);
        REQUIRE(piece.isPiece);
        if (mFiles.contains(piece.id))
            mTool->send(piece.getData(mRandom.oneIn(4) ? mRandom.below(piece.amount + 1) : piece.amount));
    }

    Random mRandom;
    uint32 mFirst;
    std::set<uint32> mFiles;
    std::optional<ScriptedTool> mTool;
};

/// Reads pieces of files, whatever becomes of them, and says how many bytes.
uint64 readPieces(uint32 number, uint32 files, const std::atomic<bool>& isOver, Fault& fault) {
    Random random(number + 1000);
    uint64 all = 0;
    while (!isOver) {
        const uint32 id = random.below(files);
        NetworkStream* stream = nullptr;
        if (!Server::getInstance()->getNetworkStream(stream, id)) {
            std::this_thread::yield();
            continue;
        }
        for (uint32 times = random.below(5); times > 0; --times) {
            std::string bytes(random.below(300), '?');
            uint64 position = 0;
            uint64 read = 0;
            {
                // Nobody else moves it in between.
                const Server::DataLock inside(Server::getDataMutex());
                position = stream->seek(random.below(cLength - 300), IO::Stream::SORIGIN_BEGIN);
                read = stream->read(bytes.data(), bytes.size());
            }
            const std::string rest(bytes.size() - static_cast<std::size_t>(read), '?');
            fault.check(bytes == fileBytes(id, static_cast<uint32>(position), static_cast<std::size_t>(read)) + rest,
                        "a read returns other bytes than there are");
            all += read;
        }
        fault.check(Server::getInstance()->releaseNetworkStream(stream), "a stream cannot be given back");
    }
    return all;
}

} // namespace

TEST_CASE_FIXTURE(TCPServerTest, "a tool that is killed in the middle of a read lets the thread go on") {
    REQUIRE(run());
    ScriptedTool tool = connect();
    tool.send(requestOf(MessageID::REGISTER_NETWORK_STREAM, "file", uint32{7}, uint32{100}));
    REQUIRE(tool.receive() != "");
    NetworkStream* stream = nullptr;
    REQUIRE(server().getNetworkStream(stream, 7));
    const AssertionRecorder assertions;
    Reader reader(*stream, 100);
    tool.send(Piece(tool.receive()).getData(64));
    // What it has not read turns its end into a reset.
    std::string request(1, '?');
    REQUIRE(tool.socket().receive(request.data(), 1, 0) == 1);
    tool.close();
    CHECK(reader.take() == fileBytes(7, 0, 64));
    CHECK(errorsOf(assertions) == cClosedWhileReading + incomplete(64, 100));
    CHECK(stream->isClosed());
}

TEST_CASE_FIXTURE(TCPServerTest, "whatever tools do with their files, every byte that is read is theirs") {
    constexpr uint32 cTools = 2;
    constexpr uint32 cReaders = 4;
    REQUIRE(run());
    const AssertionRecorder assertions;
    Fault fault;
    std::atomic<bool> isOver = false;
    std::atomic<uint64> all = 0;
    {
        std::vector<std::unique_ptr<HostThread>> readers;
        for (uint32 number = 0; number < cReaders; ++number)
            readers.push_back(std::make_unique<HostThread>(
                [&, number] { all += readPieces(number, cTools * cFiles + 1, isOver, fault); }));
        {
            HostThread another([] { FileTool(1).run(3000); });
            FileTool(0).run(3000);
        }
        // Some are in the middle of a read.
        ScriptedTool silent = connect();
        silent.send(requestOf(MessageID::REGISTER_NETWORK_STREAM, "file", cTools * cFiles, cLength));
        while (!Piece(silent.receive()).isPiece) {
        }
        CHECK(Server::exitAsync());
        isOver = true;
    }
    CHECK(fault.get() == "");
    CHECK(all > 50000);
    const std::string known[] = {cOccupied,
                                 cClosedWhileReading,
                                 "NetworkStream didn't receive complete length: (",
                                 "Tried to read (",
                                 "Error during send: ",
                                 "Offset leads out of range of the stream",
                                 "Couldn't send returning message back to client",
                                 "Failed to ask for more data within NetworkStream",
                                 "Update of NetworkStream resulted in Error"};
    for (const SeenAssertion& seen : assertions.getSeen()) {
        const bool isKnown = std::any_of(std::begin(known), std::end(known), [&](const std::string& text) {
            return (seen.text + '\n').find("\nError Message: " + text) != std::string::npos;
        });
        CHECK_MESSAGE(isKnown, seen.text);
    }
}
