#include "common/network/sockets/tcpsocket.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/network/sockets/connectedpair.h"
#include "tests/support/streams.h"

#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Tarq::Common;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "two ends of a connection exchange bytes, and know each other") {
    Listener listener;
    const SocketOwner client = listener.connect();
    HostAddress peer;
    const SocketOwner accepted(listener.mSocket.accept(&peer));
    REQUIRE(accepted);
    HostAddress local;
    REQUIRE(client->getLocalAddress(&local));
    CHECK(peer.toString() == "127.0.0.1");
    CHECK(peer.getPort() == local.getPort());

    const std::string bytes = patternOf(3000000);
    std::thread sender([&] { sendText(*client, bytes); });
    CHECK(receiveText(*accepted, bytes.size()) == bytes);
    sender.join();
    sendText(*accepted, "and back");
    CHECK(receiveText(*client, 8) == "and back");
    char text[] = "12345678";
    sendText(*accepted, "ab");
    CHECK(client->receive(text, 6, 4) > 0);
    CHECK(std::string(text, 4) == "1234");
    CHECK(std::string(text + 6, 2) == "78");
}

TEST_CASE_FIXTURE(LibraryTest, "a receive on a connection that the peer has closed returns 0") {
    ConnectedPair closed;
    sendText(*closed.far, "rest");
    closed.far.reset();
    CHECK(receiveText(*closed.near, 100) == "rest");
    CHECK(closed.near->receive(nullptr, 0, 0) == 0);

    ConnectedPair ended;
    CHECK(ended.far->disconnect());
    CHECK(receiveText(*ended.near, 100) == "");
    CHECK(receiveText(*ended.far, 100) == "");
    // No signal ends the process.
    CHECK(ended.far->send("x", 1, 0) == -1);
    CHECK(Socket::getLastError() == 10058);
}

TEST_CASE_FIXTURE(LibraryTest, "what does not wait says that it is not yet time") {
    Listener listener;
    CHECK(listener.mSocket.tryAccept(nullptr) == nullptr);
    CHECK(Socket::getLastError() == 10035);
    const SocketOwner client = listener.connect();
    waitReadable(listener.mSocket);
    const SocketOwner accepted(listener.mSocket.tryAccept(nullptr));
    REQUIRE(accepted);
    char byte = 0;
    CHECK(accepted->tryReceive(&byte, 1, 0) == TCPSocket::NOT_YET);
    sendText(*client, "x");
    waitReadable(*accepted);
    CHECK(accepted->tryReceive(&byte, 1, 0) == 1);

    const std::string bytes = patternOf(100000);
    std::size_t sent = 0;
    int count = 0;
    while ((count = client->trySend(bytes.data(), 100000, 0, TCPSocket::CONTINUATION_FOLLOWS)) > 0)
        sent += static_cast<std::size_t>(count);
    CHECK(count == TCPSocket::NOT_YET);
    // A send that waits goes on when there is room.
    std::thread sender([&] { sendText(*client, bytes); });
    CHECK(receiveText(*accepted, sent + bytes.size()).size() == sent + bytes.size());
    sender.join();
}

TEST_CASE_FIXTURE(LibraryTest, "an accept and a receive wait for the other side") {
    Listener listener;
    SocketOwner client;
    std::thread other([&] {
        client = listener.connect();
        sendText(*client, "late");
    });
    const SocketOwner accepted = listener.accept();
    CHECK(receiveText(*accepted, 4) == "late");
    other.join();
}

TEST_CASE_FIXTURE(LibraryTest, "an offset behind the end of the buffer is reported, and nothing moves") {
    constexpr char cFile[] = "common/network/sockets/tcpsocket";
    ConnectedPair pair;
    const ExpectedAssertion received("bufferOffset <= maxLength\nError Message: Buffer offset out of range", cFile);
    const ExpectedAssertion sent("bufferOffset <= length\nError Message: Buffer offset out of range", cFile);
    char buffer[4] = {};
    CHECK(pair.near->receive(buffer, 4, 5) == -1);
    CHECK(pair.near->send(buffer, 4, 5) == -1);
    CHECK(pair.far->tryReceive(buffer, 4, 0) == TCPSocket::NOT_YET);
}

TEST_CASE_FIXTURE(LibraryTest, "what the system refuses is false, and the error tells why") {
    Listener listener;
    TCPSocket second;
    CHECK_FALSE(second.listen(listener.mAddress, 1));
    CHECK(Socket::getLastError() == 10048);
    CHECK_FALSE(listener.mSocket.listen(HostAddress(IPV4::LOOPBACK, 0), 1));
    CHECK(Socket::getLastError() == 10022);
    CHECK_FALSE(second.disconnect());
    CHECK(Socket::getLastError() == 10057);
    CHECK_FALSE(second.listen(listener.mAddress, 1));
    CHECK(TCPSocket().send("x", 1, 0) == -1);
    CHECK(Socket::getLastError() == 10057);
    CHECK_FALSE(listener.mSocket.disconnect());
    CHECK(Socket::getLastError() == 10057);

    HostAddress nobody;
    {
        Listener gone;
        nobody = gone.mAddress;
    }
    TCPSocket client;
    CHECK_FALSE(client.connect(nobody));
    CHECK(Socket::getLastError() == 10061);
    // A socket can try again.
    REQUIRE(second.listen(nobody, 1));
    CHECK(client.connect(nobody));
    TCPSocket notListening;
    CHECK(notListening.accept(nullptr) == nullptr);
    CHECK(Socket::getLastError() == 10022);

    TCPSocket unknown(static_cast<Network::Sockets::AddressFamily>(1));
    CHECK_FALSE(unknown.isValid());
    CHECK(unknown.getHandle() == -1);
    CHECK(Socket::getLastError() == 10047);
    CHECK_FALSE(unknown.connect(nobody));
    CHECK(unknown.accept(nullptr) == nullptr);
    CHECK(unknown.send("x", 1, 0) == -1);
    CHECK_FALSE(unknown.getLocalAddress(&nobody));
    CHECK(Socket::getLastError() == 10038);
}

TEST_CASE_FIXTURE(LibraryTest, "a connect that can lead nowhere is refused, and the error tells why") {
    const ExpectedAssertion expected("\nError Message: Unknown address family: 10",
                                     "common/network/sockets/hostaddress");
    // The system's own number for a family is not the one that counts.
    const HostAddress unknownFamily(Platform::SocketAddress{10, {0x12, 0x67}, {127, 0, 0, 1}});
    Listener listener;
    ConnectedPair pair(listener);
    TCPSocket fresh;
    struct Case {
        TCPSocket& socket;
        HostAddress address;
        int32 error;
    };
    const Case cases[] = {
        {listener.mSocket, listener.mAddress, 10022},
        {*pair.near, listener.mAddress, 10056},
        {*pair.near, unknownFamily, 10047},
        {fresh, unknownFamily, 10047},
        {fresh, HostAddress(IPV4::ANY, listener.mAddress.getPort()), 10049},
        {fresh, HostAddress(IPV4::LOOPBACK, 0), 10049},
    };
    for (const Case& refused : cases) {
        CHECK_FALSE(refused.socket.connect(refused.address));
        CHECK(Socket::getLastError() == refused.error);
    }
    CHECK_FALSE(fresh.listen(unknownFamily, 1));
    CHECK(Socket::getLastError() == 10047);
    CHECK(fresh.connect(listener.mAddress));
    sendText(*pair.near, "still connected");
    CHECK(receiveText(*pair.far, 15) == "still connected");
}

TEST_CASE_FIXTURE(LibraryTest, "an IPv6 address goes to the system and comes back") {
    Platform::SocketAddress loopback;
    loopback.family = 23;
    loopback.rest[19] = 1;
    TCPSocket listener(Network::Sockets::ADDRFAMILY_INET6);
    if (!listener.listen(HostAddress(loopback), 1)) {
        const int32 error = Socket::getLastError();
        MESSAGE("This machine has no IPv6.");
        // A socket that could not be made cannot listen either.
        CHECK((error == 10049 || (error == 10038 && !listener.isValid())));
        return;
    }
    HostAddress address;
    REQUIRE(listener.getLocalAddress(&address));
    CHECK(address.getSocketAddress().family == 23);
    CHECK(address.getSocketAddress().rest == loopback.rest);
    TCPSocket client(Network::Sockets::ADDRFAMILY_INET6);
    REQUIRE(client.connect(address));
    HostAddress peer;
    const SocketOwner accepted(listener.accept(&peer));
    REQUIRE(accepted);
    HostAddress local;
    REQUIRE(client.getLocalAddress(&local));
    CHECK(peer.getPort() == local.getPort());
    CHECK(peer.getAddressIPV6() == HostAddress(loopback).getAddressIPV6());
}

TEST_CASE_FIXTURE(LibraryTest, "an address can be listened on again, though connections to it are still winding up") {
    HostAddress address;
    for (int round = 0; round < 3; ++round) {
        Listener listener;
        if (round > 0)
            REQUIRE(TCPSocket().listen(address, 1));
        address = listener.mAddress;
        ConnectedPair pair(listener);
        // The side that closes first is the one that winds up.
        pair.far.reset();
        CHECK(receiveText(*pair.near, 1) == "");
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a listener turns connections away while there is no descriptor for them") {
    Listener listener;
    const SocketOwner first = listener.connect();
    const SocketOwner second = listener.connect();
    std::vector<int> taken;
    rlimit limit{};
    REQUIRE(getrlimit(RLIMIT_NOFILE, &limit) == 0);
    rlimit few = limit;
    few.rlim_cur = static_cast<rlim_t>(second->getHandle()) + 20;
    REQUIRE(setrlimit(RLIMIT_NOFILE, &few) == 0);
    for (int descriptor = 0; (descriptor = dup(0)) >= 0;)
        taken.push_back(descriptor);
    for (const SocketOwner* const refused : {&first, &second}) {
        CHECK(listener.mSocket.accept(nullptr) == nullptr);
        CHECK(Socket::getLastError() == 10024);
        CHECK(receiveText(**refused, 1) == "");
    }
    CHECK(listener.mSocket.tryAccept(nullptr) == nullptr);
    CHECK(Socket::getLastError() == 10035);
    for (const int descriptor : taken)
        close(descriptor);
    REQUIRE(setrlimit(RLIMIT_NOFILE, &limit) == 0);
    const SocketOwner third = listener.connect();
    const SocketOwner accepted = listener.accept();
    sendText(*third, "x");
    CHECK(receiveText(*accepted, 1) == "x");
}

TEST_CASE_FIXTURE(LibraryTest, "an accept that finds no memory closes the connection") {
    auto& ledger = *new LedgerAllocator;
    const SocketOwner listener(new (Memory::AllocatorPtr(&ledger)) TCPSocket);
    HostAddress address(IPV4::LOOPBACK, 0);
    REQUIRE(listener->listen(address, 4));
    REQUIRE(listener->getLocalAddress(&address));
    {
        TCPSocket client;
        REQUIRE(client.connect(address));
        const SocketOwner accepted(listener->accept(nullptr));
        REQUIRE(accepted);
        CHECK(accepted->getAllocator() == listener->getAllocator());
    }
    std::vector<void*> blocks;
    for (const bool hasSocket : {false, true}) {
        CAPTURE(hasSocket);
        TCPSocket client;
        REQUIRE(client.connect(address));
        waitReadable(*listener);
        CHECK_FALSE(TCPSocket().disconnect());
        CHECK(Socket::getLastError() == 10057);
        HostAddress peer;
        ledger.mLeft = hasSocket ? -1 : 0;
        // Then there is none for the text of the peer's address: every block that is free is taken.
        getMemory().failAfter(0);
        for (uint32 size = 8; size < 252; size += 4) {
            while (void* const block = allocator()->tryAlloc(size))
                blocks.push_back(block);
        }
        {
            const AssertionRecorder whatFreeListsReport;
            CHECK(listener->accept(&peer) == nullptr);
        }
        CHECK(Socket::getLastError() == 10055);
        getMemory().failNever();
        CHECK(receiveText(client, 1) == "");
    }
    for (void* const block : blocks)
        allocator()->free(block);
}
