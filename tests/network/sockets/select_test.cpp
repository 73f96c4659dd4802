#include "common/network/sockets/socket.h"

#include "tests/network/sockets/connectedpair.h"

#include "common/platform/wakehandle.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <deque>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

using Clock = std::chrono::steady_clock;

/// The lists of a select, and what is left of them.
struct Lists {
    explicit Lists(std::initializer_list<Socket*> forReading = {}, std::initializer_list<Socket*> forWriting = {},
                   std::initializer_list<Socket*> forErrors = {})
        : read(globalHeap(), forReading), write(globalHeap(), forWriting), error(globalHeap(), forErrors) {}

    Socket::SelectError select(int32 timeoutMicroseconds = 0) {
        return Socket::select(read, write, error, timeoutMicroseconds);
    }
    bool holds(std::initializer_list<Socket*> forReading, std::initializer_list<Socket*> forWriting,
               std::initializer_list<Socket*> forErrors) const {
        return std::equal(read.begin(), read.end(), forReading.begin(), forReading.end()) &&
               std::equal(write.begin(), write.end(), forWriting.begin(), forWriting.end()) &&
               std::equal(error.begin(), error.end(), forErrors.begin(), forErrors.end());
    }

    Socket::SocketList read;
    Socket::SocketList write;
    Socket::SocketList error;
};

std::chrono::microseconds timeOf(Lists& lists, int32 timeoutMicroseconds, Socket::SelectError result) {
    const auto start = Clock::now();
    CHECK(lists.select(timeoutMicroseconds) == result);
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
}

/// A socket around a handle of somebody else.
class Borrowed : public Socket {
public:
    explicit Borrowed(Platform::SocketHandle handle) : Socket(handle) {}
    ~Borrowed() override { mSocket = Platform::cNoSocket; }
};

/// Occupies descriptors until the next one would have at least the given number.
class Descriptors {
public:
    explicit Descriptors(int upTo) {
        getrlimit(RLIMIT_NOFILE, &mLimit);
        rlimit raised = mLimit;
        raised.rlim_cur = std::max<rlim_t>(mLimit.rlim_cur, std::min<rlim_t>(mLimit.rlim_max, 4096));
        REQUIRE(setrlimit(RLIMIT_NOFILE, &raised) == 0);
        while (mOpen.empty() || mOpen.back() < upTo) {
            mOpen.push_back(open("/dev/null", O_RDONLY));
            REQUIRE(mOpen.back() >= 0);
        }
    }
    ~Descriptors() {
        for (const int descriptor : mOpen)
            close(descriptor);
        setrlimit(RLIMIT_NOFILE, &mLimit);
    }

private:
    rlimit mLimit{};
    std::vector<int> mOpen;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a select keeps the sockets that are ready, in their order, and drops the rest") {
    ConnectedPair first;
    ConnectedPair second;
    ConnectedPair third;
    sendText(*first.far, "x");
    sendText(*third.far, "x");
    TCPSocket* const a = first.near.get();
    TCPSocket* const b = second.near.get();
    TCPSocket* const c = third.near.get();
    waitReadable(*a);
    waitReadable(*c);

    Lists lists({c, b, a, c}, {b}, {a, b, c});
    CHECK(lists.select() == Socket::SELECT_OK);
    CHECK(lists.holds({c, a, c}, {b}, {}));

    Lists none({b}, {}, {a, b, c});
    CHECK(none.select() == Socket::SELECT_TIMEOUT);
    CHECK(none.holds({b}, {}, {a, b, c}));
}

TEST_CASE_FIXTURE(LibraryTest, "a socket whose peer has closed, and one that has failed, are ready") {
    ConnectedPair closed;
    closed.far.reset();
    Lists toRead({closed.near.get()});
    CHECK(toRead.select(-1) == Socket::SELECT_OK);

    // What the peer has not read turns its end into a reset.
    ConnectedPair reset;
    sendText(*reset.near, "unread");
    waitReadable(*reset.far);
    reset.far.reset();
    waitReadable(*reset.near);
    TCPSocket* const near = reset.near.get();
    Lists failed({near}, {near}, {near});
    CHECK(failed.select(-1) == Socket::SELECT_OK);
    CHECK(failed.holds({near}, {near}, {near}));
    char byte = 0;
    CHECK(near->receive(&byte, 1, 0) == -1);
    CHECK(Socket::getLastError() == 10054);
}

TEST_CASE_FIXTURE(LibraryTest, "an urgent byte is received like any other, and does not keep the socket ready") {
    ConnectedPair accepted;
    ConnectedPair connected;
    for (const auto& [from, to] :
         {std::pair(accepted.near.get(), accepted.far.get()), std::pair(connected.far.get(), connected.near.get())}) {
        REQUIRE(::send(static_cast<int>(from->getHandle()), "!", 1, MSG_OOB) == 1);
        Lists lists({to}, {}, {to});
        CHECK(lists.select(-1) == Socket::SELECT_OK);
        REQUIRE(lists.read.size() == 1);
        CHECK(receiveText(*to, 1) == "!");
        Lists drained({to}, {}, {to});
        CHECK(drained.select() == Socket::SELECT_TIMEOUT);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a select waits for its time-out, not shorter, also when signals interrupt it") {
    ConnectedPair pair;
    Lists lists({pair.near.get()});
    const auto shortest = timeOf(lists, 999, Socket::SELECT_TIMEOUT);
    CHECK(shortest.count() >= 999);
    CHECK(shortest.count() < 500000);
    CHECK(timeOf(lists, 0, Socket::SELECT_TIMEOUT).count() < 1000000);

    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    std::atomic<bool> isDone = false;
    const pthread_t waiting = pthread_self();
    std::thread disturber([&] {
        while (!isDone) {
            pthread_kill(waiting, SIGUSR1);
            std::this_thread::yield();
        }
    });
    const auto waited = timeOf(lists, 100000, Socket::SELECT_TIMEOUT);
    isDone = true;
    disturber.join();
    sigaction(SIGUSR1, &before, nullptr);
    CHECK(waited.count() >= 100000);
    CHECK(waited.count() < 10000000);
}

TEST_CASE_FIXTURE(LibraryTest, "a select without limit ends when something is ready") {
    ConnectedPair pair;
    Lists lists({pair.near.get()});
    std::thread sender([&] { sendText(*pair.far, "x"); });
    CHECK(lists.select(-1) == Socket::SELECT_OK);
    sender.join();
}

TEST_CASE_FIXTURE(LibraryTest, "sockets without a handle are skipped; with nothing to wait for, the time passes") {
    ConnectedPair pair;
    Borrowed invalid(Platform::cNoSocket);
    Lists lists({&invalid}, {&invalid, pair.near.get()}, {&invalid});
    CHECK(lists.select() == Socket::SELECT_OK);
    CHECK(lists.holds({}, {pair.near.get()}, {}));

    Lists nothing;
    CHECK(timeOf(nothing, 2000, Socket::SELECT_TIMEOUT).count() >= 2000);
    Lists nobody({&invalid}, {}, {});
    CHECK(nobody.select(-1) == Socket::SELECT_ERROR);
    CHECK(Socket::getLastError() == 10022);
    CHECK(nobody.holds({&invalid}, {}, {}));
}

TEST_CASE_FIXTURE(LibraryTest, "a select over a handle that is closed already fails") {
    const int descriptor = dup(0);
    close(descriptor);
    Borrowed closed(descriptor);
    Lists lists({&closed});
    CHECK(lists.select(-1) == Socket::SELECT_ERROR);
    CHECK(Socket::getLastError() == 10038);
}

TEST_CASE_FIXTURE(LibraryTest, "each list looks at 64 different sockets, and what is left out is not ready") {
    ConnectedPair pair;
    std::vector<int> handles;
    std::deque<Borrowed> sockets;
    Lists lists;
    for (int each = 0; each < 70; ++each) {
        handles.push_back(dup(static_cast<int>(pair.near->getHandle())));
        sockets.emplace_back(handles.back());
        // A handle counts once, however often it is listed.
        lists.write.push_back(&sockets.back());
        lists.write.push_back(&sockets.back());
        lists.read.insert(lists.read.begin(), &sockets.back());
    }
    CHECK(lists.select() == Socket::SELECT_OK);
    CHECK(lists.read.empty());
    REQUIRE(lists.write.size() == 128);
    CHECK(lists.write[0] == &sockets[0]);
    CHECK(lists.write[127] == &sockets[63]);
    for (const int handle : handles)
        close(handle);
}

TEST_CASE_FIXTURE(LibraryTest, "a handle that wakes ends a select beside 64 sockets of each list") {
    ConnectedPair pair;
    TCPSocket& near = *pair.near;
    const std::string text(1000000, 'x');
    while (near.trySend(text.data(), 1000000, 0) != TCPSocket::NOT_YET) {
    }
    std::vector<int> handles;
    std::deque<Borrowed> sockets;
    Lists lists;
    for (Socket::SocketList* const list : {&lists.read, &lists.write, &lists.error}) {
        for (int each = 0; each < 64; ++each) {
            handles.push_back(dup(static_cast<int>(near.getHandle())));
            sockets.emplace_back(handles.back());
            list->push_back(&sockets.back());
        }
    }
    Platform::WakeHandle handle;
    REQUIRE(handle);
    Socket::Wake wake{handle.getHandle()};
    const auto select = [&](int32 timeoutMicroseconds) {
        return Socket::select(lists.read, lists.write, lists.error, timeoutMicroseconds, wake);
    };
    CHECK(select(0) == Socket::SELECT_TIMEOUT);
    CHECK_FALSE(wake.isReady);
    CHECK(handle.signal());
    CHECK(handle.signal());
    CHECK(select(-1) == Socket::SELECT_TIMEOUT);
    CHECK(wake.isReady);
    CHECK(handle.clear());
    CHECK_FALSE(handle.clear());
    CHECK(select(0) == Socket::SELECT_TIMEOUT);
    CHECK_FALSE(wake.isReady);
    CHECK((lists.read.size() == 64 && lists.write.size() == 64 && lists.error.size() == 64));

    // Both at once: the handle counts for no socket.
    CHECK(handle.signal());
    sendText(*pair.far, "x");
    waitReadable(near);
    CHECK(select(-1) == Socket::SELECT_OK);
    CHECK(wake.isReady);
    CHECK((lists.read.size() == 64 && lists.write.empty() && lists.error.empty()));
    for (const int each : handles)
        close(each);
}

TEST_CASE_FIXTURE(LibraryTest, "a socket whose descriptor has a large number is waited for like any other") {
    const Descriptors many(1100);
    ConnectedPair pair;
    REQUIRE(pair.near->getHandle() > 1100);
    sendText(*pair.far, "x");
    Lists lists({pair.near.get()}, {pair.near.get()});
    CHECK(lists.select(-1) == Socket::SELECT_OK);
    waitReadable(*pair.near);
}
