#include "common/network/network.h"

#include "common/debug/report.h"
#include "common/platform/socket.h"

namespace Tarq::Common::Network {

bool InitializeNetwork() {
    constexpr std::array<uint8, 2> cVersion{2, 2};
    Platform::SocketService service;
    if (Platform::startSocketService(cVersion, service) != Platform::SocketError::SOCKET_ERROR_NONE)
        return false;
    if (service.version != cVersion) {
        Platform::stopSocketService();
        return false;
    }
    Debug::report({Debug::LOG_DBGMSG, "Tarq::Common::Network::InitializeNetwork"},
                  "Winsock initialized ! Version: ", service.version[0], ".", service.version[1],
                  " Max Version: ", service.highestVersion[0], ".", service.highestVersion[1]);
    return true;
}

void CloseNetwork() {
    Platform::stopSocketService();
}

} // namespace Tarq::Common::Network
