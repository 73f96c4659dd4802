#pragma once

#include "tests/debugger/holdingtest.h"

#include "common/debugger/stream/networkstream.h"

#include <algorithm>
#include <string>

/// Files of tools, and threads of the host that read them.
namespace Tarq::Test {

using Debugger::NetworkStream;

/// What stands in the file of this ID at this place.
inline char fileByte(uint32 id, uint32 position) {
    return static_cast<char>((position * 31) ^ ((position >> 8) * 17) ^ (id * 101));
}
inline std::string fileBytes(uint32 id, uint32 position, std::size_t count) {
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return fileByte(id, position++); });
    return bytes;
}

inline std::string dataOf(uint32 id, const std::string& bytes) {
    return requestOf(MessageID::NETWORK_STREAM_DATA, id,
                     Container::Vector<uint8>(Memory::AllocatorPtr(), bytes.begin(), bytes.end()));
}

/// What the server wants of a file.
struct Piece {
    /// Nothing of it is set, when the message is another one.
    explicit Piece(const std::string& message) {
        RecordingStream stream(message);
        MessageReader reader(&stream, true);
        uint32 type = 0;
        isPiece = !message.empty() && reader.read(type) &&
                  type == static_cast<uint32>(MessageID::NETWORK_STREAM_REQUEST) && reader.read(id) &&
                  reader.read(position) && reader.read(amount) && reader.isFinished();
    }
    std::string toText() const { return std::to_string(position) + '+' + std::to_string(amount) + ' '; }
    std::string getData(std::size_t count) const { return dataOf(id, fileBytes(id, position, count)); }

    bool isPiece = false;
    uint32 id = 0;
    uint32 position = 0;
    uint32 amount = 0;
};

/// A thread of the host that reads so many bytes.
class Reader {
public:
    Reader(NetworkStream& stream, uint32 count)
        : mBytes(count, '?'), mThread([this, &stream, count] { mRead = stream.read(mBytes.data(), count); }) {}

    bool hasReturned() { return mThread.hasReturned(); }
    /// What it has got when it comes back; nothing is written behind that.
    std::string take() {
        mThread.join();
        REQUIRE(mRead <= mBytes.size());
        const auto read = static_cast<std::size_t>(mRead);
        CHECK(mBytes.substr(read) == std::string(mBytes.size() - read, '?'));
        return mBytes.substr(0, read);
    }

private:
    std::string mBytes;
    uint64 mRead = 0;
    HostThread mThread;
};

/// A tool that is connected over a network in memory.
struct StreamTest : ServerTest {
    StreamTest() {
        mNetwork.mLongestRead = 65536;
        REQUIRE(run());
        mTool = mNetwork.connect();
    }

    std::string ask(const std::string& request) {
        mNetwork.send(mTool, request);
        return mNetwork.takeReply(mTool);
    }
    /// The host has the new stream.
    NetworkStream& announce(uint32 id, uint32 length) {
        const std::string reply = ask(requestOf(MessageID::REGISTER_NETWORK_STREAM, "file", id, length));
        REQUIRE(reply == requestOf(replyTo(MessageID::REGISTER_NETWORK_STREAM), "file", id, length, uint8{0}, ""));
        NetworkStream* stream = nullptr;
        REQUIRE(server().getNetworkStream(stream, id));
        return *stream;
    }
    /// What the server wants next; it comes.
    Piece waitForRequest() {
        std::string message;
        REQUIRE(comesTrue([&] { return !(message = mNetwork.takeReply(mTool)).empty(); }));
        const Piece piece(message);
        REQUIRE(piece.isPiece);
        return piece;
    }
    /// The tool does what it is asked for, until the reader is back.
    std::string serve(Reader& reader) {
        std::string requests;
        for (;;) {
            std::string message;
            REQUIRE(comesTrue([&] { return !(message = mNetwork.takeReply(mTool)).empty() || reader.hasReturned(); }));
            if (message.empty())
                return requests;
            const Piece piece(message);
            REQUIRE(piece.isPiece);
            requests += piece.toText();
            mNetwork.send(mTool, piece.getData(piece.amount));
        }
    }
    /// The thread reads all of it, as soon as the tool has sent it.
    void expectWhole(NetworkStream& stream, uint32 count) {
        const auto position = static_cast<uint32>(stream.getPosition());
        Reader reader(stream, count);
        serve(reader);
        CHECK(reader.take() == fileBytes(stream.getID(), position, count));
        CHECK(stream.getPosition() == position + count);
    }

    uint32 mTool = 0;
};

inline const std::string cOccupied =
    "NetworkStream supports only one thread asking for data via network: file is already occupied\n";
inline const std::string cClosedWhileReading = "BAD ERROR: NetworkStream file has a job waiting but should be closed "
                                               "-> waitng Program may be locked permanently\n";
inline const std::string cNotAsked = "Couldn't send returning message back to client\n"
                                     "Failed to ask for more data within NetworkStream\n";
inline const std::string cTooMuch = "NetworkStream received more data than needed\n";
inline const std::string cUpdateFailed = "Update of NetworkStream resulted in Error\n";

inline std::string incomplete(uint32 received, uint32 wanted) {
    return "NetworkStream didn't receive complete length: (" + std::to_string(received) + ") wanted (" +
           std::to_string(wanted) + ")\n";
}

} // namespace Tarq::Test
