#pragma once

#include "common/container/vector.h"
#include "common/memory/memorymanaged.h"
#include "common/platform/socket.h"
#include "common/string.h"

namespace Tarq::Common::Network::Sockets {

/// A socket of the system, closed with the object.
///
/// Failures: an operation returns that it has failed, and `getLastError` tells why. Nothing is thrown but what says so.
/// Threads: one at a time.
class TARQ_API Socket : public Memory::MemoryManaged {
public:
    /// How a `select` ended.
    enum SelectError : int32 {
        SELECT_OK = 0, ///< at least one socket is ready
        SELECT_TIMEOUT = 1,
        SELECT_ERROR = 2,
    };
    using SocketList = Container::Vector<Socket*>;
    /// The handle of a `Platform::WakeHandle`, for a `select` to end with.
    struct Wake {
        Platform::SocketHandle handle = Platform::cNoSocket; ///< or none
        bool isReady = false;                                ///< stored: it was signalled, or nobody can wait for it
    };

    ~Socket() override;

    /// False when the system refused to make it.
    bool isValid() const noexcept { return mSocket != Platform::cNoSocket; }
    Platform::SocketHandle getHandle() const noexcept { return mSocket; }
    /// Whether bytes can be received that the system has handed over already: for it, there may be nothing to read.
    bool hasBytesAhead() const noexcept { return mNumAhead != 0; }

    /// Waits until a socket of a list is ready for what the list is for, at most `timeoutMicroseconds`; negative:
    /// without limit. A signal does not end the wait.
    ///
    /// After `SELECT_OK`, each list keeps the sockets that are ready, in their order; otherwise it is left alone. Ready
    /// to read means also: a connection waits, there are bytes ahead, the peer has closed, the socket has failed; ready
    /// to write also: the socket has failed. The error list keeps those that have failed, whose two directions have
    /// both ended, that never were connected, and those where urgent data waits, which is received like any other.
    ///
    /// No pointer is null. Of each list, 64 different sockets are looked at. A socket that is not valid is never ready.
    /// Lists without a valid one wait for the time-out; without limit, they are `SELECT_ERROR` with the error 10022.
    /// Takes no memory.
    static SelectError select(SocketList& readList, SocketList& writeList, SocketList& errorList,
                              int32 timeoutMicroseconds) noexcept;
    /// The same, but the wait ends with the handle, too, as if its time were over. The handle counts for none of the
    /// lists.
    static SelectError select(SocketList& readList, SocketList& writeList, SocketList& errorList,
                              int32 timeoutMicroseconds, Wake& wake) noexcept;

    /// Why an operation of the calling thread has failed last. The numbers are those of Windows Sockets, on every
    /// system; 0 when none has failed yet.
    static int32 getLastError() noexcept;
    /// Throws `OutOfMemoryException`; `getSocketErrorText` does not.
    static String getErrorText(int32 code);

protected:
    explicit Socket(Platform::SocketHandle socket) noexcept : mSocket(socket) {}

    /// Keeps a failure for `getLastError`. Returns whether there is none.
    static bool succeeded(Platform::SocketError error) noexcept;

    Platform::SocketHandle mSocket;
    uint32 mNumAhead = 0; ///< bytes that the system has handed over and nobody has received yet
};

} // namespace Tarq::Common::Network::Sockets
