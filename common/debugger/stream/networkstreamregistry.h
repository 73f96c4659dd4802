#pragma once

#include "common/container/lookup.h"
#include "common/debugger/stream/networkstream.h"

namespace Tarq::Common::Debugger {

/// The network streams of a server, by the IDs that tools have given them.
///
/// A stream that goes while the host has it is closed, and kept until the host gives it back or the registry goes.
/// Threads: under the server's data mutex.
class TARQ_API NetworkStreamRegistry {
public:
    /// What tools may have registered at the same time.
    static constexpr uint32 cMostStreams = 65536;
    /// Of a name, in bytes: they are kept as long as the streams.
    static constexpr uint32 cLongestName = 4096;

    explicit NetworkStreamRegistry(const Memory::AllocatorPtr& allocator) noexcept;
    /// No thread reads any more.
    ~NetworkStreamRegistry();
    NetworkStreamRegistry(const NetworkStreamRegistry&) = delete;
    NetworkStreamRegistry& operator=(const NetworkStreamRegistry&) = delete;

    bool empty() const noexcept { return mStreams.empty(); }
    /// Null when there is none.
    NetworkStream* find(uint32 id) const;

    /// Makes a stream, whose ID is free, and whose name is not too long. False when there are too many. Throws
    /// `OutOfMemoryException`; nothing has changed then.
    bool add(Server& server, uint32 id, const String& name, uint32 length, uint32 connectionID);
    /// False when there is none.
    bool remove(uint32 id);
    /// Those that this client has registered.
    void removeOf(uint32 connectionID);
    void clear();

    /// Null when there is none. The host has it then, until it gives it back as often.
    NetworkStream* lend(uint32 id);
    /// Asserts that the host has it, and that no thread reads from it; false then.
    bool giveBack(const NetworkStream* stream);

private:
    using Streams = Container::LookUp<uint32, NetworkStream*>;

    void remove(Streams::iterator at);
    NetworkStream** findClosed(const NetworkStream* stream) noexcept;

    Memory::AllocatorPtr mAllocator;
    Streams mStreams;
    NetworkStream* mFirstClosed = nullptr; ///< of those that the host still has
};

} // namespace Tarq::Common::Debugger
