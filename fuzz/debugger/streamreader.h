#pragma once

#include "common/debugger/server.h"
#include "fuzz/debugger/memorylayer.h"
#include "fuzz/require.h"

#include <atomic>
#include <string>
#include <thread>

namespace Tarq::Fuzz {

/// A thread of the host that reads a tool's file. It comes back at the latest when the tool has gone.
class StreamReader {
public:
    explicit StreamReader(MemoryLayer& layer) : mLayer(layer) {}
    ~StreamReader() { join(); }
    StreamReader(const StreamReader&) = delete;
    StreamReader& operator=(const StreamReader&) = delete;

    /// Returns when the thread waits for the tool, or is back. Nothing happens while it waits.
    void read(uint32 id, uint32 offset, uint32 count) {
        Debugger::NetworkStream* stream = nullptr;
        if (mIsReading || !Debugger::Server::getInstance()->getNetworkStream(stream, id))
            return;
        join();
        mIsReading = true;
        const uint32 pieces = mLayer.countPieces();
        mThread = std::thread([this, stream, offset, count] { run(stream, offset, count); });
        while (mIsReading && mLayer.countPieces() == pieces)
            std::this_thread::yield();
    }

private:
    void run(Debugger::NetworkStream* stream, uint32 offset, uint32 count) {
        stream->seek(offset, IO::Stream::SORIGIN_BEGIN);
        std::string bytes(count, '\0');
        require(stream->read(bytes.data(), count) <= count);
        require(Debugger::Server::getInstance()->releaseNetworkStream(stream));
        mIsReading = false;
    }
    void join() {
        if (mThread.joinable())
            mThread.join();
    }

    MemoryLayer& mLayer;
    std::atomic<bool> mIsReading = false;
    std::thread mThread;
};

} // namespace Tarq::Fuzz
