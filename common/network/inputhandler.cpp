#include "common/network/inputhandler.h"

namespace Tarq::Common::Network {

InputHandler::~InputHandler() = default;

} // namespace Tarq::Common::Network
