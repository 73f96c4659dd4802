#include "common/debug/stackwalker.h"

#include "common/platform/symbols.h"
#include "tests/support/librarytest.h"
#include "tests/support/temporarydirectory.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::Frame;
using Debug::FrameRecord;
using Debug::StackWalker;

namespace {

/// Writes down what a walk shows, frames by their kinds, and lets the defaults write their texts.
class RecordingWalker final : public StackWalker {
public:
    using StackWalker::OnLoadModule;
    using StackWalker::StackWalker;

    void OnCallstackEntry(FrameKind kind, const FrameRecord& record) override {
        events += std::to_string(kind);
        first = kind == FRAME_FIRST ? record : first;
        StackWalker::OnCallstackEntry(kind, record);
    }
    void OnDbgHelpErr(const char* functionName, uint32 lastError, uint64 address) override {
        events += std::string(functionName) + " " + std::to_string(lastError) + "; ";
        StackWalker::OnDbgHelpErr(functionName, lastError, address);
    }
    void OnOutput(const char* text) override { texts += text; }

    std::string events;
    std::string texts;
    FrameRecord first;
};

/// Hands out frames, and the error at the end of them.
class ScriptedFrames final : public Debug::FrameSource {
public:
    explicit ScriptedFrames(std::vector<Frame> frames) : mFrames(std::move(frames)) {}
    uint32 next(Frame& frame) override {
        frame = mNext < mFrames.size() ? mFrames[mNext] : Frame();
        return mNext++ < mFrames.size() ? 0 : 299;
    }

private:
    std::vector<Frame> mFrames;
    std::size_t mNext = 0;
};

template <class Function>
FrameRecord resolve(Function* function, uint32 options = StackWalker::OPTION_ALL, const char* searchPath = nullptr) {
    RecordingWalker walker(options, searchPath);
    ScriptedFrames frames({{reinterpret_cast<std::uintptr_t>(function), 0, 0, false}});
    walker.ShowCallstack(frames);
    return walker.first;
}

[[gnu::noinline]] uint32 showHere(RecordingWalker& walker) {
    const uint32 line = __LINE__ + 1;
    CHECK(walker.ShowCallstack());
    return line;
}

// Functions whose names are hard to find among results and parameters.

extern "C" int f() {
    return 1;
}

template <class T>
decltype(auto) deduce(T value) {
    return value + 2;
}

template <class T>
auto compute(T value) -> decltype((value + 3)) {
    return value + 3;
}

template <class T>
int (*(*returnFunction(T))(int))(char) {
    return nullptr;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a walk ends at the last frame, at a failure, or where it stands still") {
    const std::string u = "SymGetSymFromAddr64 487; SymGetLineFromAddr64 487; SymGetModuleInfo64 487; ";
    const std::string failure = "StackWalk64 299; ";
    const std::string endless = "StackWalk64-Endless-Callstack! 0; ";
    std::vector<Frame> many;
    for (uint32 at = 0; at < 70000; ++at)
        many.push_back({0, 2, at});
    struct Case {
        const char* name;
        std::vector<Frame> frames;
        std::string events; ///< `u`: what an unknown address brings
    };
    const Case cases[] = {
        {"no frame", {}, failure},
        {"one frame", {{1, 0, 10}}, u + "02"},
        {"three frames", {{1, 2, 10}, {2, 3, 20}, {3, 0, 30}}, u + "0" + u + "1" + u + "12"},
        {"a failure in between", {{1, 2, 10}}, u + "0" + failure},
        {"an address that is not known", {{0, 2, 10}, {2, 0, 20}}, "0" + u + "12"},
        {"a frame that returns to itself", {{1, 2, 10}, {2, 2, 20}, {2, 0, 30}}, u + "0" + endless},
        {"the same frame again", {{1, 2, 10}, {1, 2, 10}}, u + "0" + endless},
        {"the same place in another frame", {{1, 2, 10}, {1, 0, 20}}, u + "0" + u + "12"},
        {"no end", many, "0" + std::string(65535, '1') + endless},
    };
    for (const Case& tested : cases) {
        CAPTURE(tested.name);
        RecordingWalker walker;
        CHECK(!walker.ShowCallstack(std::thread::id())); // another thread's stack
        CHECK(walker.events == "StackWalk64 50; ");
        ScriptedFrames none({});
        walker.ShowCallstack(none); // What belongs to the first walk only is over now.
        walker.events.clear();
        ScriptedFrames frames(tested.frames);
        CHECK(walker.ShowCallstack(frames) == tested.events.ends_with('2'));
        CHECK((walker.events == tested.events));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "names come without result and parameters, and only if the options ask for them") {
    const std::pair<FrameRecord, std::string> cases[] = {
        {resolve(&::f), "f"},
        {resolve(&deduce<int>), "(anonymous namespace)::deduce<int>"},
        {resolve(&compute<int>), "(anonymous namespace)::compute<int>"},
        {resolve(&returnFunction<void (*)(int)>), "(anonymous namespace)::returnFunction<void (*)(int)>"},
        {resolve(&showHere, StackWalker::OPTION_SYMBOL), "(anonymous namespace)::showHere"},
        {resolve(&showHere, StackWalker::OPTION_LINE | StackWalker::OPTION_MODULE), ""},
    };
    for (const auto& [record, name] : cases)
        CHECK(record.mSymbolName == (Platform::canReadDebugInfo() ? name : std::string()));
    CHECK(resolve(&showHere, StackWalker::OPTION_SYMBOL).mFile[0] == '\0');
    CHECK(resolve(&showHere, StackWalker::OPTION_SYMBOL).mModuleName[0] == '\0');
}

TEST_CASE_FIXTURE(LibraryTest, "the stack of the calling thread begins with the caller, and tells functions whole") {
    const bool canRead = Platform::canReadDebugInfo();
    for (const bool isKnown : {canRead, false}) {
        Platform::enableDebugInfo(isKnown);
        CAPTURE(isKnown);
        RecordingWalker walker;
        const uint32 line = showHere(walker);
        const FrameRecord first = walker.first;
        const auto shows = [&](const std::string& text) { return walker.texts.find(text) != std::string::npos; };
        CHECK(std::string(first.mImageName).ends_with("/tarq-tests"));
        CHECK(walker.events.starts_with(isKnown ? "0" : "Error while initializing dbghelp.dll 126; SymGet"));
        CHECK(walker.events.ends_with("12"));
        CHECK(shows("symOptions: 528") == isKnown);
        CHECK(shows(isKnown ? "SymType: '-deferred-'" : "SymType: '-exported-'"));
        CHECK(shows(std::string(first.mFile) + " (" + std::to_string(line) +
                    "): (anonymous namespace)::showHere((anonymous namespace)::RecordingWalker&)\n") == isKnown);
        if (isKnown)
            CHECK(first.mAddress - first.mOffsetFromSymbol == reinterpret_cast<std::uintptr_t>(&showHere));

        const FrameRecord exported = resolve(&StackWalker::getSymbolTypeText);
        CHECK(String(exported.mSymbolName) == "Tarq::Common::Debug::StackWalker::getSymbolTypeText");
        CHECK(String(exported.mSymbolTypeText) == (isKnown ? "DIA" : "-exported-"));

        walker.texts.clear();
        showHere(walker); // Search path and modules are shown by the first walk only.
        CHECK(!shows("symOptions"));
        CHECK(!shows("SymType"));
    }
    Platform::enableDebugInfo(true);
}

TEST_CASE_FIXTURE(LibraryTest, "debug information that is installed apart is found through the search path") {
    if (!Platform::canReadDebugInfo())
        return;
    const TemporaryDirectory directory;
    const std::string module = TARQ_TEST_MODULE_DIR "/throwing" TARQ_TEST_MODULE_SUFFIX;
    const std::string stripped = (directory / "stripped").c_str();
    const std::string apart = (directory / "apart").c_str();
    std::filesystem::create_directory(apart);
    const std::string command = "objcopy --only-keep-debug " + module + " " + apart + "/names && objcopy -S " +
                                "--add-gnu-debuglink=" + apart + "/names " + module + " " + stripped;
    REQUIRE(std::system(command.c_str()) == 0);
    void* const handle = dlopen(stripped.c_str(), RTLD_NOW | RTLD_LOCAL);
    REQUIRE(handle);
    void* const function = dlsym(handle, "throwInModule");
    CHECK(String(resolve(function).mFile) == "");
    for (const char* const searchPath : {apart.c_str(), ""}) // Once found, it is kept.
        CHECK(std::string(resolve(function, StackWalker::OPTION_ALL, searchPath).mFile).ends_with("throwing.cpp"));
    dlclose(handle);
}

TEST_CASE_FIXTURE(LibraryTest, "a frame is written with the best name and the place that are known") {
    FrameRecord record{.mAddress = 0x1234,
                       .mSymbolName = "f",
                       .mUndecoratedName = "g",
                       .mUndecoratedFullName = "g(int)",
                       .mLine = 7,
                       .mFile = "a.cpp",
                       .mModuleName = "m"};
    const auto write = [&](StackWalker::FrameKind kind) {
        RecordingWalker walker;
        walker.OnCallstackEntry(kind, record);
        return walker.texts;
    };
    CHECK(write(StackWalker::FRAME_FIRST) == "a.cpp (7): g(int)\n");
    record.mUndecoratedFullName[0] = '\0';
    CHECK(write(StackWalker::FRAME_FURTHER) == "a.cpp (7): g\n");
    record.mUndecoratedName[0] = '\0';
    CHECK(write(StackWalker::FRAME_FURTHER) == "a.cpp (7): f\n");
    CHECK(write(StackWalker::FRAME_LAST) == "");
    record.mFile[0] = '\0';
    CHECK(write(StackWalker::FRAME_FURTHER) == "0x1234 (m): (filename not available): f\n");
    record.mSymbolName[0] = record.mModuleName[0] = '\0';
    CHECK(write(StackWalker::FRAME_FURTHER) ==
          "0x1234 ((module-name not available)): (filename not available): (function-name not available)\n");
    record.mAddress = 0;
    CHECK(write(StackWalker::FRAME_FURTHER) == "");
}

TEST_CASE_FIXTURE(LibraryTest, "failures and modules are written in their fixed forms") {
    RecordingWalker walker;
    walker.OnDbgHelpErr("StackWalk64", 487, 0x1234);
    walker.OnLoadModule("/a/b", "b", 0x1000, 99, 3, StackWalker::getSymbolTypeText(3), "p", 0);
    walker.OnLoadModule("/a/b", "b", 0x1000, 99, 3, StackWalker::getSymbolTypeText(8), "p", 0x0001'0002'0003'FFFF);
    CHECK(walker.texts ==
          "ERROR: StackWalk64, GetLastError: 487 (Address: 0x1234)\n"
          "/a/b:b (0x1000), size: 99 (result: 3), SymType: 'PDB', PDB: 'p'\n"
          "/a/b:b (0x1000), size: 99 (result: 3), SymType: 'Virtual', PDB: 'p', fileVersion: 1.2.3.65535\n");
    CHECK(StackWalker::getSymbolTypeText(9) == nullptr);
    walker.OnDbgHelpErr(std::string(9000, 'x').c_str(), 487, 0x1234);
    CHECK(walker.texts.ends_with("xx\n"));
}

TEST_CASE_FIXTURE(LibraryTest,
                  "the search path lists its places in order, and leaves out what is missing or too long") {
    if (!Platform::canReadDebugInfo())
        return;
    const std::string places = ".;" + std::filesystem::current_path().string() + ";" +
                               std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + ";";
    const std::string server = "\\websymbols*https://debuginfod.elfutils.org;";
    const std::string tooLong(5000, 'x');
    const std::string longPlace(2000, 'x');
    struct Case {
        uint32 options;
        const char* user;
        std::array<const char*, 4> variables;
        std::string expected;
    };
    const Case cases[] = {
        {0x10, nullptr, {}, places + "SRV*c:" + server},
        {0x10, "/mine", {"/p", "/q", "/r", "D:"}, "/mine;" + places + "/p;/q;/r;/r\\system32;SRV*D:" + server},
        {0x10, "/mine;/yours", {"", "/q"}, "/mine;/yours;" + places + "/q;SRV*c:" + server},
        {0x10, tooLong.c_str(), {tooLong.c_str(), nullptr, tooLong.c_str(), tooLong.c_str()}, places},
        {0x3F, nullptr, {longPlace.c_str()}, (places + longPlace).substr(0, 1023)},
        {0x2F, "/mine", {"/p", "/q", "/r", "D:"}, "/mine"},
    };
    const char* const names[] = {"_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH", "SYSTEMROOT", "SYSTEMDRIVE"};
    for (const Case& tested : cases) {
        for (std::size_t at = 0; at < std::size(names); ++at)
            tested.variables[at] ? setenv(names[at], tested.variables[at], 1) : unsetenv(names[at]);
        RecordingWalker walker(tested.options, tested.user);
        showHere(walker);
        CHECK(walker.texts.starts_with("SymInit: Symbol-SearchPath: '" + tested.expected + "', symOptions: 528, "));
    }
    for (const char* const name : names)
        unsetenv(name);
}
