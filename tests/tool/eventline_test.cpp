#include "tool/cli/eventline.h"

#include "tool/client/hostname.h"

#include "tests/tool/scriptedhost.h"

#include <sstream>

using namespace Tarq::Test;
using namespace Tarq::Tool;

TEST_CASE_FIXTURE(LibraryTest, "failures that take turns are told of once, until there is a connection") {
    std::ostringstream out;
    std::ostringstream err;
    SessionOptions options;
    EventPrinter printer({out, err, [] { return false; }}, options, false);
    const Failure gone{FAILURE_UNREACHABLE, "gone"};
    const Failure nonsense{FAILURE_PROTOCOL, "nonsense"};
    for (int count = 0; count < 3; ++count) {
        printer.onFailure(gone);
        printer.onFailure(nonsense);
    }
    CHECK(printer.getExitCode() == 4);
    const std::string host = printer.getHost();
    CHECK(out.str() == host + ": no connection: gone; waiting for the host\n" + host +
                           ": protocol error: nonsense; waiting for the host\n");
    printer.onAccepted(IdentityReply());
    out.str("");
    printer.onFailure(gone);
    CHECK(out.str() == host + ": no connection: gone; waiting for the host\n");
}

TEST_CASE_FIXTURE(LibraryTest, "an address is read as people write it") {
    struct {
        const char* text;
        const char* name; ///< null: it is none
    } const cases[] = {
        {"4711", "127.0.0.1:4711"},
        {"localhost:1", "127.0.0.1:1"},
        {"192.168.0.255:65535", "192.168.0.255:65535"},
        {"", nullptr},
        {":4711", nullptr},
        {"localhost", nullptr},
        {"127.0.0.1", nullptr},
        {"127.0.0.1:", nullptr},
        {"127.0.0.1:0", nullptr},
        {"127.0.0.1:65536", nullptr},
        {"127.0.0.1:99999999999999999999", nullptr},
        {"127.0.0.1:+1", nullptr},
        {"127.0.0.1:-1", nullptr},
        {"127.0.0.1: 1", nullptr},
        {"127.0.0.1:1 ", nullptr},
        {"127.0.0.1:0x1", nullptr},
        {"127.0.0.1:1:2", nullptr},
        {"127.0.0:1", nullptr},
        {"127.0.0.:1", nullptr},
        {"127.0.0.1.1:1", nullptr},
        {"127.0.0.256:1", nullptr},
        {"127.0.0.01:1", nullptr},
        {"127..0.1:1", nullptr},
        {"0.0.0.0:1", nullptr},
        {"[::1]:1", nullptr},
    };
    for (const auto& given : cases) {
        CAPTURE(given.text);
        HostAddress address;
        CHECK((parseHost(given.text, address) == nullptr) == (given.name != nullptr));
        if (given.name)
            CHECK(nameOfHost(address) == given.name);
    }
}

TEST_CASE("a text is shown in a way that no terminal obeys") {
    CHECK(printable("plain \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80") == "plain \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80");
    CHECK(printable("a\\b\n\t\x1b\x7f") == "a\\\\b\\x0A\\x09\\x1B\\x7F");
    CHECK(printable(std::string("\0", 1)) == "\\x00");
    CHECK(printable("\xff \xc3 \xe2\x82") == "\\xFF \\xC3 \\xE2\\x82");
    CHECK(printable("\xc0\x80 \xed\xa0\x80 \xf5\x80\x80\x80") == "\\xC0\\x80 \\xED\\xA0\\x80 \\xF5\\x80\\x80\\x80");
    CHECK(printable("\xc2\x85 \xe2\x80\xae") == "\\xC2\\x85 \\xE2\\x80\\xAE");
}
