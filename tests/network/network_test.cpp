#include "common/network/network.h"

#include "common/library.h"

#include "tests/support/librarytest.h"
#include "tests/support/recordinglistener.h"

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "the start of the network tells its versions, if anybody wants to know") {
    const RecordingListener listener;
    REQUIRE(Network::InitializeNetwork());
    Library::getLogReporter()->enableLogType(Debug::LOG_DBGMSG, false);
    REQUIRE(Network::InitializeNetwork());
    Network::CloseNetwork();
    Network::CloseNetwork();
    REQUIRE(listener.mHeard.size() == 1);
    const RecordingListener::Heard& heard = listener.mHeard[0];
    CHECK(heard.type == Debug::LOG_DBGMSG);
    CHECK(heard.message == "Winsock initialized ! Version: 2.2 Max Version: 2.2");
    CHECK(heard.function == "Tarq::Common::Network::InitializeNetwork");
    CHECK(heard.file == "common/network/network");
}
