#include "common/debugger/tcpincommingconnectionhandler.h"

#include "common/debug/report.h"
#include "common/exceptions/internal/guarded.h"
#include "common/network/sockets/socketerrortext.h"

#include <utility>

namespace Tarq::Common::Debugger {

using Network::Sockets::HostAddress;
using Network::Sockets::TCPSocket;

namespace {

constexpr char cFunction[] = "Tarq::Common::Debugger::TCPIncommingConnectionHandler::handle";
constexpr int32 cWouldBlock = 10035;
/// In the place of the number of a socket error, for what was thrown.
constexpr int32 cThrown = -1;

} // namespace

TCPIncommingConnectionHandler::~TCPIncommingConnectionHandler() = default;

bool TCPIncommingConnectionHandler::handle() {
    Exceptions::CaughtText caught;
    const bool isServed = Exceptions::runGuarded(caught, [this] {
        HostAddress peer;
        std::unique_ptr<TCPSocket> socket(getSocket()->tryAccept(&peer));
        const int32 error = socket ? 0 : TCPSocket::getLastError();
        if (socket) {
            mLastError = 0;
            return mLayer->newConnection(std::move(socket), peer);
        }
        if (error == cWouldBlock)
            return true;
        if (error != std::exchange(mLastError, error))
            Debug::report({Debug::LOG_ERROR, cFunction},
                          "A connection could not be accepted: ", Network::Sockets::getSocketErrorText(error));
        mLayer->acceptFailed();
        return true;
    });
    if (caught.isCaught()) {
        if (cThrown != std::exchange(mLastError, cThrown))
            Debug::report({Debug::LOG_ERROR, cFunction}, "A connection could not be accepted: ", caught.getText());
        mLayer->acceptFailed();
        return true;
    }
    return isServed;
}

} // namespace Tarq::Common::Debugger
