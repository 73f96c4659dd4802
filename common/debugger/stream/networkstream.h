#pragma once

#include "common/debugger/mutexgate.h"
#include "common/io/stream.h"
#include "common/memory/memorystream.h"
#include "common/string.h"

#include <memory>

namespace Tarq::Common::Exceptions {
class CaughtText;
} // namespace Tarq::Common::Exceptions

namespace Tarq::Common::Debugger {

class Server;

/// A file of a tool's machine, which the host reads like one of its own.
///
///     NetworkStream* stream = nullptr;
///     if (server.getNetworkStream(stream, 7)) {
///         stream->read(buffer, stream->getLength()); // waits until the tool has sent it all
///         server.releaseNetworkStream(stream);
///     }
///
/// A read asks the tool for a piece of at most 64 bytes at a time, and waits for the answer: this is for configurations
/// and scripts, not for a film.
///
/// It closes when the tool deregisters it or goes, and when the server stops. Then the position and the length are 0,
/// and it stays like that until whoever has got it gives it back, or the server is deleted.
///
/// Ownership: the server's. Threads: any, one reads at a time. Takes the server's data mutex, and lets go of it while
/// it waits. Failures are assertions, and what could be read, or 0; `OutOfMemoryException` is thrown where a read
/// begins.
class TARQ_API NetworkStream : public IO::Stream {
public:
    /// The most that is asked for at a time, in bytes.
    static constexpr uint32 cPieceSize = 64;

    /// For the server, on the thread that hands out what arrives; `length` is in bytes.
    NetworkStream(Server* server, uint32 id, const String& name, uint32 length, uint32 connectionID);
    ~NetworkStream() override;

    bool canRead() const override;
    bool canWrite() const override;
    bool canSeek() const override;
    bool isClosed() const override;
    uint64 getLength() const override;
    uint64 getPosition() const override;
    const String& getName() const override;

    /// Waits without limit for bytes from the tool. Returns how many have come: fewer than wanted, which is asserted,
    /// when the stream is closed meanwhile, or the tool cannot be asked any more.
    ///
    /// Asserts that there are as many up to the end, and that no other thread reads; returns 0 then. Refused likewise
    /// on the server's own thread, which brings the bytes, and in what a breakpoint, a read or an operation on the
    /// model calls, like a function of a condition: they hold what that thread may wait for.
    uint64 read(void* dst, uint64 numBytes) override;
    /// Asserts "Write not supported in NetworkStream"; writes nothing.
    void write(const void* src, uint64 numBytes) override;
    /// Asserts that the origin is known, and returns 0 otherwise; that the target is in the stream, whose end belongs
    /// to it, and that no thread reads, and returns the position, which has not moved, otherwise.
    uint64 seek(int64 offset, SeekOrigin origin) override;
    /// Does nothing.
    void flush() override;
    /// Asserts that no thread reads; one that does comes back with what has arrived.
    void close() override;

    uint32 getID() const noexcept { return mID; }
    uint32 getConnectionID() const noexcept { return mConnectionID; }

    /// Bytes have come, which are all of `data`. Asserts that as many are wanted, and takes no more than that. False
    /// when nobody reads, and when the next ones cannot be asked for; the reader then gets those that have come. Server
    /// thread, under the data mutex.
    bool receive(IO::Stream& data);
    /// Nothing more comes: who reads gets what has. Server thread, under the data mutex.
    bool giveUp();

private:
    friend class NetworkStreamRegistry;

    // Under the data mutex.

    bool mayRead(uint64 numBytes) const;
    bool checkUnoccupied() const;
    bool beginRead(uint32 numBytes);
    void waitForData();
    bool sendRequest();
    bool take(IO::Stream& data, uint32 numBytes, Exceptions::CaughtText& caught);

    static bool reportNotAsked();
    static uint64 finishRead(void* dst, uint32 numBytes, Memory::MemoryStream* data);

    Server* mServer;
    uint32 mID;
    String mName;
    uint32 mConnectionID;
    MutexGate mGate; ///< of the thread that brings the bytes

    // Guarded by the data mutex.

    uint32 mLength;
    uint32 mPosition = 0;
    uint32 mPending = 0; ///< bytes that are still to come for the read in progress
    bool mIsClosed = false;
    std::unique_ptr<Memory::MemoryStream> mData; ///< what has come for the read in progress; null when there is none

    // The registry's.

    uint32 mLent = 0; ///< how often the host has got it
    NetworkStream* mNextClosed = nullptr;
};

} // namespace Tarq::Common::Debugger
