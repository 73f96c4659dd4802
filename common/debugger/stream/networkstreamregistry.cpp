#include "common/debugger/stream/networkstreamregistry.h"

#include "common/debug/assert.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Tarq::Common::Debugger {

NetworkStreamRegistry::NetworkStreamRegistry(const Memory::AllocatorPtr& allocator) noexcept
    : mAllocator(allocator), mStreams(allocator) {}

NetworkStreamRegistry::~NetworkStreamRegistry() {
    clear();
    while (mFirstClosed)
        delete std::exchange(mFirstClosed, mFirstClosed->mNextClosed);
}

NetworkStream* NetworkStreamRegistry::find(uint32 id) const {
    const auto found = mStreams.find(id);
    return found == mStreams.end() ? nullptr : found->second;
}

bool NetworkStreamRegistry::add(Server& server, uint32 id, const String& name, uint32 length, uint32 connectionID) {
    if (mStreams.size() >= cMostStreams)
        return false;
    std::unique_ptr<NetworkStream> stream(new (mAllocator) NetworkStream(&server, id, name, length, connectionID));
    mStreams.insert(id, stream.get());
    static_cast<void>(stream.release()); // it is the map's now
    return true;
}

bool NetworkStreamRegistry::remove(uint32 id) {
    const auto found = mStreams.find(id);
    if (found == mStreams.end())
        return false;
    remove(found);
    return true;
}

void NetworkStreamRegistry::removeOf(uint32 connectionID) {
    // What a stream reports when it closes may lead back here.
    for (auto at = mStreams.begin(); at != mStreams.end();) {
        if (at->second->getConnectionID() != connectionID) {
            ++at;
            continue;
        }
        const uint32 id = at->first;
        remove(at);
        at = mStreams.upper_bound(id);
    }
}

void NetworkStreamRegistry::clear() {
    while (!mStreams.empty())
        remove(mStreams.begin());
}

void NetworkStreamRegistry::remove(Streams::iterator at) {
    NetworkStream* const stream = at->second;
    mStreams.erase(at);
    if (stream->mLent == 0) {
        delete stream;
        return;
    }
    stream->mNextClosed = std::exchange(mFirstClosed, stream);
    stream->close();
}

NetworkStream* NetworkStreamRegistry::lend(uint32 id) {
    NetworkStream* const stream = find(id);
    if (stream)
        ++stream->mLent;
    return stream;
}

bool NetworkStreamRegistry::giveBack(const NetworkStream* stream) {
    const auto isIt = [stream](const auto& entry) { return entry.second == stream; };
    const auto found = std::find_if(mStreams.begin(), mStreams.end(), isIt);
    NetworkStream** const link = found == mStreams.end() ? findClosed(stream) : &found->second;
    if (!TARQ_ASSERT_AS(nullptr, *link && (*link)->mLent > 0, "Tried to release a NetworkStream that wasn't got"))
        return false;
    NetworkStream& lent = **link;
    if (!TARQ_ASSERT_AS(nullptr, lent.mLent > 1 || !lent.mData, "Tried to release NetworkStream ", lent.mName,
                        " while a thread reads from it"))
        return false;
    if (--lent.mLent == 0 && found == mStreams.end()) {
        *link = lent.mNextClosed;
        delete &lent;
    }
    return true;
}

/// The link that leads to it, or to nothing.
NetworkStream** NetworkStreamRegistry::findClosed(const NetworkStream* stream) noexcept {
    NetworkStream** link = &mFirstClosed;
    while (*link && *link != stream)
        link = &(*link)->mNextClosed;
    return link;
}

} // namespace Tarq::Common::Debugger
