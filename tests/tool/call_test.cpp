#include "tool/client/callbook.h"
#include "tool/client/signature.h"

#include "tests/tool/debugsessiontest.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

Bytes itemsOf(const std::vector<Bytes>& items) {
    Bytes all = noBytes();
    for (const Bytes& item : items) {
        for (const uint8 byte : item)
            all.push_back(byte);
    }
    return all;
}

struct CallTest : DebugSessionTest {
    CallTest() { hasModule = false; }

    /// `tarq-debug call`, with a host that answers with these bytes behind the name.
    int call(const Call& request, const std::string& result, Texts arguments) {
        arguments.insert(arguments.begin(), "call");
        const std::string function(request.name.view());
        const auto script = [&] {
            host.meet();
            host.send(frameOf(identityReply()));
            host.expect(request);
            host.send(frameOf(bytesOf("07 01 00 00 25 0b 00 00 00") + static_cast<char>(function.size()) + function +
                              result));
        };
        return run(script, arguments);
    }
    const Call add{"add", itemsOf({itemOf(STREAM_TYPE_INT32, "3"), itemOf(STREAM_TYPE_INT32, "4")})};
};

} // namespace

TEST_CASE_FIXTURE(CallTest, "a value of any type goes to the host and comes back, by every name of the type") {
    int numTypes = 0;
    forEachBuiltinDatatype([&]<class Type>(const Type& type) {
        using T = typename Type::Native;
        const std::string bytes = messageOf([&](MessageBuilder& builder) { builder.write(sampleOf<T>(allocator())); });
        Bytes item = noBytes();
        item.assign(bytes.begin(), bytes.end());
        const std::string text = textOfValue(item);
        const std::string datatype = type.getName().c_str();
        CAPTURE(datatype);
        CHECK(nameOfDatatype(getStreamID<T>()) == datatype);
        const std::string signature = "echo(" + datatype + " value) -> " + nameOfType(getStreamID<T>());
        CHECK(call(Call{"echo", item}, bytes, {signature, text}) == 0);
        CHECK(written == "echo = " + text + "\n");
        CHECK(told == "");
        ++numTypes;
    });
    CHECK(numTypes == 42);
}

TEST_CASE_FIXTURE(LibraryTest,
                  "a signature is read as hosts, the tool and C++ write it, or told what is wrong with it") {
    struct {
        const char* text;
        const char* written; ///< with the result and the rest; or the problem
    } const cases[] = {
        {"reset", "reset() ?"},
        {"reset() 3", "reset() ? 3"},
        {"add(Integer32, uint64) 3 4", "add(Integer32, UnsignedInteger64) ? 3 4"},
        {"add ( int32 a,float64 ) -> FLOAT x", "add(Integer32, Double) -> Float x"},
        {"\"add(int, int) -> void\" 3", "add(Integer32, Integer32) -> nothing 3"},
        {"\"big name\"(string) 3", "\"big name\"(String) ? 3"},
        {"const float& Game::scale(const std::vector<float>& values, vec3f[] v, array_bool)",
         "\"Game::scale\"(Container[Float], Container[Vec3f], Container[Boolean]) -> Float"},
        {"f(Container[Vec2u32]) -> Container[ Float ]", "f(Container[Vec2u32]) -> Container[Float]"},
        {"void reset()", "reset() -> nothing"},
        {"", "the name of the function is missing"},
        {"(int32)", "the name of the function is missing"},
        {"f(int32", "in the signature, a \")\" is missing"},
        {"f(int32,)", "in the signature, a type is missing"},
        {"f(Integre32)", "there is no type \"Integre32\"; did you mean Integer32?"},
        {"f(Container[Float)", "in the signature, a \"]\" is missing"},
        {"f(Container[Float][])", "in the signature, a \")\" is missing"},
        {"f(float[][])", "in the signature, a \")\" is missing"},
        {"f(Container[array_bool])", "there are no containers of containers"},
        {"f() -> ", "in the signature, a type is missing"},
        {"\"f() x\"", "something follows the signature: \"x\""},
    };
    for (const auto& given : cases) {
        CAPTURE(given.text);
        std::string_view text = given.text;
        Signature signature;
        std::string found = takeSignature(text, signature);
        if (found.empty()) {
            found = textOfSignature(signature) + (signature.hasResult ? " -> " : " ?");
            if (signature.hasResult)
                found += signature.result ? nameOfDatatype(*signature.result) : "nothing";
            while (text.starts_with(' '))
                text.remove_prefix(1);
            found += (text.empty() ? "" : " ") + std::string(text);
        }
        CHECK(found == given.written);
    }
}

TEST_CASE_FIXTURE(CallTest, "what is returned is printed and checked, and what was typed wrongly is told at once") {
    const std::string seven = bytesOf("03 00 00 00 07");
    const std::string late = R"(,"isLate":false,"isCertain":true})"
                             "\n";
    const std::string head = R"({"event":"result","address":")" + name + R"(","function":"add",)";
    struct {
        Texts options;
        std::string result;
        int exitCode;
        std::string written;
        std::string told;
    } const answers[] = {
        {{}, seven, 0, "add = 7\n", ""},
        {{}, "", 0, "add has returned\n", ""},
        {{"--json"}, seven, 0, head + R"("type":"int32","value":7)" + late, ""},
        {{"--json"}, "", 0, head + R"("type":"void","value":null)" + late, ""},
        {{}, bytesOf("83 00 00 00 01 00 00 00 07"), 0, "add = [7]\n", ""},
        {{},
         bytesOf("03 00 00"),
         4,
         "add = <the field \"value\" is cut off>\n",
         "what add has returned cannot be read: the field \"value\" is cut off"},
        {{},
         bytesOf("4d 00 00"),
         4,
         "add = <the field \"value\" is type 77>\n",
         "what add has returned cannot be read: the field \"value\" is type 77"},
        {{},
         seven + seven,
         4,
         "add = <5 bytes follow the last field>\n",
         "what add has returned cannot be read: 5 bytes follow the last field"},
    };
    for (const auto& given : answers) {
        CAPTURE(given.written);
        Texts arguments = {"add(Integer32, Integer32)", "3", "4"};
        arguments.insert(arguments.end(), given.options.begin(), given.options.end());
        CHECK(call(add, given.result, arguments) == given.exitCode);
        CHECK(written == given.written);
        CHECK(told == (given.told.empty() ? "" : "tarq-debug: " + given.told + "\n"));
    }
    CHECK(call(add, seven, {"add(int32, int32) -> Float", "3", "4"}) == 2);
    CHECK(told == "tarq-debug: add returns Integer32, and not Float\n");
    CHECK(call(add, "", {"add(int32, int32) -> Float", "3", "4"}) == 2);
    CHECK(told == "tarq-debug: add returns nothing, and not Float\n");
    const Call greet{"greet", itemsOf({itemOf(STREAM_TYPE_BSTRING, "\"[a b]\""), itemOf(STREAM_TYPE_WSTRING, "\"\"")})};
    CHECK(call(greet, seven, {"void greet(string, wstring)", "[a b]", ""}) == 2);
    CHECK(told == "tarq-debug: greet returns Integer32, and not nothing\n");
    struct {
        Texts arguments;
        const char* problem;
    } const cases[] = {
        {{"add(int32, int32)", "3"}, "add(Integer32, Integer32) takes 2 values, and not 1"},
        {{"add(int32)", "3", "4"}, "add(Integer32) takes 1 value, and not 2"},
        {{"add", "3"}, "the types of the values are missing: add(TYPE, ...)"},
        {{"add(int32) 3"}, "something follows the signature: \"3\""},
        {{"add(int08)", "300"}, "value 1: this is no int08: \"300\" is not from -128 to 127 (column 1)"},
    };
    for (const auto& given : cases) {
        Texts arguments = {"call"};
        arguments.insert(arguments.end(), given.arguments.begin(), given.arguments.end());
        CHECK(run(nothing, arguments) == 2);
        CHECK(told == std::string("tarq-debug: ") + given.problem + "\n");
    }
}

TEST_CASE_FIXTURE(CallTest, "a host that does not answer is not waited for longer than is wanted") {
    const auto script = [&] {
        host.meet();
        host.send(frameOf(identityReply()));
        host.expect(Call{"add"});
        host.seeOff();
    };
    CHECK(run(script, {"call", "add()", "--timeout", "0.5"}) == 6);
    CHECK(written == "");
    CHECK(told.starts_with("tarq-debug: add has not returned in time: the host has no such function, or several, or"));
    const auto goAway = [&] {
        host.meet();
        host.send(frameOf(identityReply()));
        host.hangUp();
    };
    CHECK(run(goAway, {"call", "add()"}) == 4);
}

TEST_CASE_FIXTURE(DebugSessionTest,
                  "a session calls, goes on when a thread is held, and tells answers that come late") {
    const auto answerOf = [](const char* function, const char* value) {
        return CallReply{function, itemOf(STREAM_TYPE_INT32, value)};
    };
    const Call scale{"scale",
                     itemsOf({itemOf(STREAM_TYPE_ARRAY_FLOAT32, "[1, 2]"), itemOf(STREAM_TYPE_BSTRING, "\"x\"")})};
    const auto script = [&] {
        host.answer(scale, answerOf("scale", "1"));
        host.expect(Call{"hold"});
        host.say(World::hold(7, "2"));
        host.catchUp();
        host.expect(Continue());
        host.catchUp();
        host.say(answerOf("hold", "2"));
        host.expect(Call{"slow"});
        host.answer(Call{"slow"}, answerOf("slow", "3"));
        host.say(answerOf("slow", "4"));
        host.say(answerOf("fly", "5"));
        host.say(ModuleShutdown{World::cModule});
    };
    const std::string commands = "call scale(float[], string) [1, 2], x\ncall hold()\ncontinue\nwait answer\n"
                                 "call --timeout 0 slow()\ncall slow()\nwait shutdown\n";
    CHECK(debug(script, commands, {"--keep-going"}) == 6);
    CHECK(written == "scale = 1\n"
                     "held at agents/walker@step by agents/walker/ann, game time 7, system time 70 ms\n"
                     "  speed = 2\n"
                     "  name = \"Ann\"\n"
                     "hold has not returned, and a thread is held; \"continue\" lets go, and \"wait answer\" waits\n"
                     "continuing\n"
                     "hold = 2\n"
                     "slow = 3, or so has an earlier call of it, which was given up\n"
                     "slow = 4, late\n" +
                         name +
                         ": bad message: remote procedure call reply: nobody has called \"fly\"\n"
                         "world:1 was shut down\n");
    CHECK(told.starts_with("tarq-debug: call --timeout 0 slow(): slow has not returned in time"));
}

TEST_CASE_FIXTURE(LibraryTest, "an answer is for the oldest call that waits, and ends those before it") {
    struct {
        const char* calls;    ///< one letter each; capitals were given up
        const char* answers;  ///< lower case
        const char* expected; ///< per answer: the number, late?, uncertain!, and those that are over
    } const cases[] = {
        {"ab", "ab", "1 2"},    {"aa", "aa", "1 2"},    {"Aa", "aa", "2! 1?"},      {"A", "a", "1?"},
        {"AA", "aa", "1?! 2?"}, {"ab", "ba", "2(a) -"}, {"Aab", "baa", "3(a) - -"}, {"Aba", "ba", "2 3"},
        {"abA", "a", "1"},      {"", "a", "-"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.calls);
        CallBook book;
        for (const char call : std::string(given.calls)) {
            const bool isGivenUp = call < 'a';
            const CallNumber number =
                book.add(Tarq::Common::String(1, isGivenUp ? static_cast<char>(call + 32) : call));
            if (isGivenUp)
                book.giveUp(number);
        }
        std::string found;
        for (const char answer : std::string(given.answers)) {
            const auto match = book.answer(Tarq::Common::String(1, answer));
            found += found.empty() ? "" : " ";
            found +=
                match ? std::to_string(match->call) + (match->isLate ? "?" : "") + (match->isCertain ? "" : "!") : "-";
            for (std::size_t at = 0; match && at < match->unanswered.size(); ++at)
                found += "(" + std::string(match->unanswered[at].view()) + ")";
        }
        CHECK(found == given.expected);
    }
}
