#include "common/debugger/server.h"

#include <utility>

/// What the server knows of the files of its clients.
namespace Tarq::Common::Debugger {

bool Server::getNetworkStream(NetworkStream*& out, uint32 id) {
    const DataLock inside(sDataMutex);
    NetworkStream* const stream = mNetworkStreams.lend(id);
    if (stream)
        out = stream;
    return stream != nullptr;
}

bool Server::releaseNetworkStream(NetworkStream*& stream) {
    const DataLock inside(sDataMutex);
    if (!mNetworkStreams.giveBack(stream))
        return false;
    stream = nullptr;
    return true;
}

} // namespace Tarq::Common::Debugger
