#include "common/network/eventhandler.h"

namespace Tarq::Common::Network {

EventHandler::~EventHandler() = default;

bool EventHandler::initialize() {
    return true;
}

} // namespace Tarq::Common::Network
