#include "tool/client/rangeset.h"
#include "tool/client/servedfile.h"

#include "tests/support/temporarydirectory.h"
#include "tests/tool/debugsessiontest.h"

#include <chrono>
#include <filesystem>

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

struct ServeTest : DebugSessionTest {
    ServeTest() {
        hasModule = false;
        directory.write("level.bin", contents);
    }

    std::string path(const char* file) const { return (directory.path() / file).string(); }
    int serve(const std::function<void()>& script, Texts arguments) {
        arguments.insert(arguments.begin(), "serve");
        const auto whole = [&] {
            host.meet();
            host.send(frameOf(identityReply()));
            script();
        };
        const int exitCode = run(whole, arguments);
        const std::string greeting = "connected to " + name + " as john on box, protocol version 2\n";
        if (written.starts_with(greeting))
            written.erase(0, greeting.size());
        return exitCode;
    }
    void accept(const char* streamName, uint32 id, uint32 length) {
        const RegisterStream request{streamName, id, length};
        host.answer(request, RegisterStream::Reply{request, 0, ""});
    }
    /// Asks for bytes, and gets these.
    void read(uint32 id, uint32 position, uint32 amount, std::size_t count) {
        host.say(StreamDataRequest{id, position, amount});
        StreamData data;
        data.streamID = id;
        const std::string bytes = contents.substr(position, count);
        data.data.assign(bytes.begin(), bytes.end());
        host.expect(data);
    }
    void letGo(uint32 id, uint8 code = 0) {
        host.answer(DeregisterStream{id}, DeregisterStream::Reply{{id}, code, code == 0 ? "" : "unknown"});
    }
    std::string announced(const std::string& id, const std::string& file = "level.bin") const {
        return "stream " + id + ", \"level.bin\": " + path(file.c_str()) + ", 100 bytes\n";
    }

    std::pair<int64, int64> changeTime() const {
        System::FileHandle file = System::cNoFile;
        System::FileState state;
        CHECK(System::openFile(path("level.bin"), file) == nullptr);
        CHECK(System::getFileState(file, state));
        System::closeFile(file);
        return {state.changeSeconds, state.changeNanoseconds};
    }

    TemporaryDirectory directory;
    const std::string contents = std::string(50, 'a') + std::string(50, 'b');
};

} // namespace

TEST_CASE_FIXTURE(ServeTest, "a host reads a file, in any order, until it has all of it") {
    const auto readAll = [&] {
        accept("level.bin", 1, 100);
        read(1, 0, 0, 0);
        read(1, 100, 0, 0);
        read(1, 64, 64, 36);
        read(1, 90, 10, 10);
        read(1, 0, 0xFFFFFFFF, 64);
        letGo(1);
        host.seeOff();
    };
    CHECK(serve(readAll, {path("level.bin"), "--progress", "3600"}) == 0);
    CHECK(written.starts_with(announced("1") + "\"level.bin\": all of 100 bytes were read, 110 with those read again"));
    CHECK(told == "");
    CHECK(serve(readAll, {path("level.bin"), "--json", "--progress", "0"}) == 0);
    CHECK(written.find(R"("event":"progress","address":")" + name + R"(","id":1,"name":"level.bin","path":")" +
                       path("level.bin") + R"(","length":100,"read":36,"sent":36,"seconds":)") != written.npos);
    CHECK(written.find(R"("isWhole":true,"numRanges":1,"ranges":[[0,100]]})") != written.npos);
}

TEST_CASE_FIXTURE(ServeTest, "files have the ids and names that are wanted, and a refusal ends it") {
    directory.write("1=2:3", contents);
    directory.write("empty", "");
    const auto script = [&] {
        accept("a b", 9, 100);
        accept("level.bin", 7, 100);
        accept("1=2:3", 8, 100);
        accept("later", 11, 100);
        accept("empty", 10, 0);
        const RegisterStream refused{"x", 4000000000U, 100};
        host.answer(refused, RegisterStream::Reply{refused, 1, "taken\x1b"});
        for (const uint32 id : {7U, 8U, 9U, 10U, 11U})
            letGo(id, id == 8 ? 1 : 0);
        host.seeOff();
    };
    const Texts files = {"9:a b=" + path("level.bin"),
                         path("level.bin"),
                         path("1=2:3"),
                         "later=" + path("level.bin"),
                         "10:" + path("empty"),
                         "4000000000:x=" + path("level.bin"),
                         "--first-id",
                         "7"};
    CHECK(serve(script, files) == 1);
    CHECK(told == "tarq-debug: " + path("level.bin") + ": refused: taken\\x1B\n");
    CHECK(written.find("stream 9, \"a b\": " + path("level.bin") + ", 100 bytes\n") == 0);
    CHECK(written.find("\"empty\": nothing was read\n") != written.npos);
}

TEST_CASE_FIXTURE(ServeTest, "a file that changes is withdrawn, and none of its bytes are sent") {
    struct {
        const char* name;
        std::function<void()> change;
    } const cases[] = {
        {"cut", [&] { std::filesystem::resize_file(path("level.bin"), 60); }},
        {"longer", [&] { std::filesystem::resize_file(path("level.bin"), 101); }},
        {"later",
         [&] {
             using namespace std::chrono_literals;
             std::filesystem::last_write_time(path("level.bin"), std::filesystem::file_time_type::clock::now() + 1h);
         }},
        {"other bytes, as if nobody had written",
         [&] {
             const auto time = std::filesystem::last_write_time(path("level.bin"));
             const auto changed = changeTime();
             // The system's clock goes on in steps.
             while (changeTime() == changed) {
                 directory.write("level.bin", std::string(100, 'x'));
                 std::filesystem::last_write_time(path("level.bin"), time);
             }
         }},
    };
    for (const auto& given : cases) {
        CAPTURE(given.name);
        directory.write("level.bin", contents);
        const auto script = [&] {
            accept("level.bin", 1, 100);
            read(1, 0, 40, 40);
            given.change();
            host.say(StreamDataRequest{1, 40, 10});
            letGo(1);
            host.seeOff();
        };
        CHECK(serve(script, {path("level.bin")}) == 5);
        CHECK(told == "tarq-debug: \"level.bin\" was withdrawn: it has changed since it was opened\n");
        CHECK(written.find("\"level.bin\": 40 of 100 bytes (40.0%) were read") != written.npos);
    }
}

TEST_CASE_FIXTURE(ServeTest, "a host that asks for what is not there is told of, and not waited for") {
    const auto script = [&] {
        accept("level.bin", 1, 100);
        for (int count = 0; count < 20; ++count)
            host.say(StreamDataRequest{2, 0, 64});
        const std::string request = frameOfMessage(StreamDataRequest{1, 0, 64});
        host.send(frameOf(request.substr(4, request.size() - 5)));
        host.say(StreamDataRequest{1, 0xFFFFFFFF, 0xFFFFFFFF});
        letGo(1);
        host.seeOff();
    };
    CHECK(serve(script, {path("level.bin")}) == 5);
    const std::string bad = name + ": bad message: network stream data request: stream 2 is not served";
    CHECK(written.find(bad + "; more of this kind are not told\n") != written.npos);
    CHECK(written.ends_with(name +
                            ": bad message: network stream data request: the field \"requested amount\" is cut off\n"
                            "\"level.bin\": nothing was read\n"));
    CHECK(told ==
          "tarq-debug: \"level.bin\" was withdrawn: the host has asked for bytes from 4294967295 on, but it has "
          "100\n");
    const std::string problem = told;
    const auto tooSoon = [&] {
        host.expect(RegisterStream{"level.bin", 1, 100});
        host.say(StreamDataRequest{1, 0xFFFFFFFF, 1});
        host.say(RegisterStream::Reply{{"level.bin", 1, 100}, 0, ""});
        letGo(1);
        host.seeOff();
    };
    CHECK(serve(tooSoon, {path("level.bin")}) == 5);
    CHECK(told == problem + "tarq-debug: " + path("level.bin") + ": it was withdrawn before the host has answered\n");
    const auto flood = [&] {
        accept("level.bin", 1, 100);
        std::string requests;
        for (int count = 0; count < 40000; ++count)
            requests += frameOfMessage(StreamDataRequest{1, 0, 0xFFFFFFFF});
        // The tool goes before it has all.
        host.connection()->send(requests.data(), static_cast<unsigned int>(requests.size()), 0);
    };
    CHECK(serve(flood, {path("level.bin")}) == 4);
    CHECK(told == "tarq-debug: " + name + ": protocol error: the host asks for more and more, and takes nothing\n");
    const auto goAway = [&] {
        accept("level.bin", 1, 100);
        read(1, 0, 64, 64);
        read(1, 64, 64, 36);
        read(1, 0, 64, 64);
        read(1, 64, 20, 20);
        host.hangUp();
    };
    CHECK(serve(goAway, {path("level.bin"), "--keep-serving"}) == 4);
    CHECK(told == "tarq-debug: " + name + ": connection lost: the host has closed the connection\n");
    // Once when all was read, and once when it is over.
    CHECK(written.find(", 164 with") == written.npos);
    CHECK(written.find("all of 100 bytes were read, 184 with those read again") != written.npos);
}

TEST_CASE_FIXTURE(ServeTest, "what cannot be served is told before the host hears of anything") {
    directory.write("large", "");
    std::filesystem::resize_file(path("large"), 0x100000000);
    const std::string level = path("level.bin");
    struct {
        Texts files;
        std::string problem;
    } const cases[] = {
        {{path("none")}, path("none") + ": there is no such file"},
        {{directory.path().string()}, directory.path().string() + ": it is no file"},
        {{"/dev/null"}, "/dev/null: it is no file"},
        {{path("large")}, path("large") + ": it is 4294967296 bytes long, and a stream at most 4294967295"},
        {{"4294967296:" + level}, "4294967296:" + level + ": an id is from 0 to 4294967295"},
        {{"2:" + level, "2:" + level}, "2:" + level + ": another file has the id 2"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.problem);
        Texts arguments = {"serve"};
        arguments.insert(arguments.end(), given.files.begin(), given.files.end());
        CHECK(run(nothing, arguments) == 2);
        CHECK(told == "tarq-debug: " + given.problem + "\n");
    }
}

TEST_CASE_FIXTURE(ServeTest, "a session serves while it goes on") {
    hasModule = true;
    const auto script = [&] {
        accept("level.bin", 1, 100);
        accept("other", 2, 100);
        host.answer(getSpeed, speed);
        read(1, 0, 64, 64);
        read(2, 0, 64, 64);
        read(2, 64, 36, 36);
        read(1, 64, 36, 36);
        letGo(2, 1);
    };
    const std::string file = path("level.bin");
    CHECK(debug(script, "serve " + file + "\nserve \"other=" + file + "\"\nget agents/walker/ann.speed\nwait read\n" +
                            "unserve 2\nunserve 2\n") == 2);
    const std::string head = announced("1") + "stream 2, \"other\": " + file +
                             ", 100 bytes\nagents/walker/ann.speed = 0.1\n\"other\": all of 100 bytes were read";
    CHECK(written.starts_with(head));
    CHECK(written.ends_with("\nstream 2 is not served any more\n"));
    CHECK(told == "tarq-debug: unserve 2: stream 2 is not served\n");
    CHECK(debug(nothing, "wait read") == 2);
    directory.write("empty", "");
    const auto withdrawn = [&] {
        accept("level.bin", 1, 100);
        const RegisterStream request{"empty", 2, 0};
        host.expect(request);
        host.say(StreamDataRequest{1, 100, 1});
        host.say(RegisterStream::Reply{request, 0, ""});
        letGo(1);
        host.answer(getSpeed, speed);
    };
    const std::string commands = "serve " + file + "\nserve " + path("empty") + "\n";
    const std::string get = "get agents/walker/ann.speed\n";
    CHECK(debug(withdrawn, commands + get + "wait read\n") == 5);
    CHECK(told.ends_with("tarq-debug: wait read: a file was withdrawn\n"));
    CHECK(debug(withdrawn, commands + get) == 5);
    const auto empty = [&] { accept("empty", 1, 0); };
    CHECK(debug(empty, "serve " + path("empty") + "\nwait read\n") == 0);
}

TEST_CASE_FIXTURE(LibraryTest, "ranges that meet or overlap are one") {
    RangeSet set;
    const auto add = [&](uint64 begin, uint64 end, uint64 count, std::size_t numRanges) {
        set.add(begin, end);
        CHECK(set.count() == count);
        CHECK(set.getRanges(1).number == numRanges);
    };
    add(10, 20, 10, 1);
    add(30, 40, 20, 2);
    add(15, 15, 20, 2);
    add(20, 25, 25, 2);
    add(5, 10, 30, 2);
    add(0, 100, 100, 1);
    add(0, 50, 100, 1);
    add(200, 200, 100, 1);
    for (uint64 at = 0; at < 70000; ++at)
        set.add(0x20000 + 2 * at, 0x20001 + 2 * at);
    add(200, 201, 70101, 70002);
    const RangeSet::Ranges ranges = set.getRanges(3);
    CHECK(ranges.number == 70002);
    CHECK(ranges.first == std::vector<std::pair<uint64, uint64>>{{0, 100}, {200, 201}, {0x20000, 0x20001}});
    add(0, 0xFFFFFFFF, 0xFFFFFFFF, 1);
    add(0xFFFFFFFE, 0xFFFFFFFF, 0xFFFFFFFF, 1);
}
