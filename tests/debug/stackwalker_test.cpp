#include "common/debug/stackwalker.h"

#include "common/platform/callstack.h"
#include "common/platform/symbols.h"
#include "tests/support/librarytest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::Frame;
using Debug::FrameRecord;
using Debug::StackWalker;

namespace {

/// Writes down what a walk shows, in short words, and lets the defaults write their texts.
class RecordingWalker final : public StackWalker {
public:
    using StackWalker::StackWalker;

    void OnSymInit(const char* path, uint32 symbolOptions, const char* userName) override {
        events.push_back("init " + std::to_string(symbolOptions));
        searchPath = path;
        StackWalker::OnSymInit(path, symbolOptions, userName);
    }
    void OnLoadModule(const char* imageName, const char* moduleName, uint64 baseAddress, uint32 size, uint32 loadResult,
                      const char* symbolTypeText, const char* symbolFileName, uint64 fileVersion) override {
        events.push_back(std::string("module ") + moduleName);
        StackWalker::OnLoadModule(imageName, moduleName, baseAddress, size, loadResult, symbolTypeText, symbolFileName,
                                  fileVersion);
    }
    void OnCallstackEntry(FrameKind kind, const FrameRecord& record) override {
        events.push_back("frame " + std::to_string(kind));
        records.push_back(record);
        StackWalker::OnCallstackEntry(kind, record);
    }
    void OnDbgHelpErr(const char* functionName, uint32 lastError, uint64 address) override {
        events.push_back(std::string(functionName) + " " + std::to_string(lastError));
        StackWalker::OnDbgHelpErr(functionName, lastError, address);
    }
    void OnOutput(const char* text) override { texts += text; }

    std::vector<std::string> events;
    std::vector<FrameRecord> records;
    std::string texts;
    std::string searchPath;
};

/// Hands out frames, and the error at the end of them.
class ScriptedFrames final : public Debug::FrameSource {
public:
    explicit ScriptedFrames(std::vector<Frame> frames) : mFrames(std::move(frames)) {}
    uint32 next(Frame& frame) override {
        if (mNext == mFrames.size())
            return 299;
        frame = mFrames[mNext++];
        return 0;
    }

private:
    std::vector<Frame> mFrames;
    std::size_t mNext = 0;
};

/// What the walk of a frame reports when nothing at all is known about the address.
const std::vector<std::string> cUnknown = {"SymGetModuleInfo64 487", "SymGetSymFromAddr64 487",
                                           "SymGetLineFromAddr64 487"};

/// Sets a variable of the environment, or takes it out of there, while it is in scope.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : mName(name) {
        if (const char* const before = std::getenv(name))
            mBefore = before;
        set(value);
    }
    ~ScopedVariable() { set(mBefore ? mBefore->c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void set(const char* value) const {
        if (value)
            setenv(mName, value, 1);
        else
            unsetenv(mName);
    }

    const char* mName;
    std::optional<std::string> mBefore;
};

std::string pointerText(uint64 address) {
    char text[32];
    std::snprintf(text, sizeof(text), "%p", reinterpret_cast<const void*>(static_cast<std::uintptr_t>(address)));
    return text;
}

void setText(char (&target)[FrameRecord::cTextSize], const char* text) {
    std::snprintf(target, sizeof(target), "%s", text);
}

[[gnu::noinline]] uint32 showHere(RecordingWalker& walker) {
    const uint32 line = __LINE__ + 1;
    CHECK(walker.ShowCallstack());
    return line;
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a walk ends at the last frame, at a failure, or where it stands still") {
    const std::string failure = "StackWalk64 299";
    const std::string endless = "StackWalk64-Endless-Callstack! 0";
    struct Case {
        const char* name;
        std::vector<Frame> frames;
        std::vector<std::string> events; ///< "?": what an unknown address brings
        bool isWhole;
    };
    const Case cases[] = {
        {"no frame", {}, {failure}, false},
        {"one frame", {{1, 0, 10}}, {"?", "frame 0", "frame 2"}, true},
        {"three frames",
         {{1, 2, 10}, {2, 3, 20}, {3, 0, 30}},
         {"?", "frame 0", "?", "frame 1", "?", "frame 1", "frame 2"},
         true},
        {"a failure in between", {{1, 2, 10}}, {"?", "frame 0", failure}, false},
        {"an address that is not known", {{0, 2, 10}, {2, 0, 20}}, {"frame 0", "?", "frame 1", "frame 2"}, true},
        {"a function that calls itself",
         {{1, 2, 10}, {2, 2, 20}, {2, 2, 30}, {2, 0, 40}},
         {"?", "frame 0", "?", "frame 1", "?", "frame 1", "?", "frame 1", "frame 2"},
         true},
        {"the same frame again", {{1, 2, 10}, {1, 2, 10}}, {"?", "frame 0", endless}, false},
        {"a first frame that returns to itself", {{2, 2, 0}}, {endless}, false},
        {"a frame that returns to itself", {{1, 2, 0}, {2, 2, 0}}, {"?", "frame 0", endless}, false},
    };
    for (const Case& tested : cases) {
        CAPTURE(tested.name);
        RecordingWalker walker;
        ScriptedFrames none({{1, 0, 10}});
        walker.ShowCallstack(none); // What belongs to the first walk only is over now.
        walker.events.clear();

        ScriptedFrames frames(tested.frames);
        CHECK(walker.ShowCallstack(frames) == tested.isWhole);
        std::vector<std::string> expected;
        for (const std::string& event : tested.events) {
            if (event == "?")
                expected.insert(expected.end(), cUnknown.begin(), cUnknown.end());
            else
                expected.push_back(event);
        }
        CHECK(walker.events == expected);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "only what the options ask for is looked up") {
    const auto address = reinterpret_cast<std::uintptr_t>(&showHere);
    for (const uint32 option : {0u, 1u, 2u, 4u, 0x3Fu}) {
        CAPTURE(option);
        RecordingWalker walker(option);
        ScriptedFrames frames({{address, 0, 10, false}});
        walker.ShowCallstack(frames);
        REQUIRE(!walker.records.empty());
        const FrameRecord& record = walker.records.back();
        const bool isKnown = Platform::canReadDebugInfo();
        CHECK(record.mAddress == address);
        CHECK((record.mSymbolName[0] != '\0') == (isKnown && (option & 1)));
        CHECK((record.mUndecoratedFullName[0] != '\0') == (isKnown && (option & 1)));
        CHECK((record.mFile[0] != '\0') == (isKnown && (option & 2)));
        CHECK((record.mLine != 0) == (isKnown && (option & 2)));
        CHECK((record.mModuleName[0] != '\0') == ((option & 4) != 0));
        CHECK((record.mImageBase != 0) == ((option & 4) != 0));
        CHECK((walker.searchPath != "") == (isKnown && (option & 0x10)));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "the stack of the calling thread begins with the caller, and tells functions whole") {
    RecordingWalker walker;
    const uint32 line = showHere(walker);
    REQUIRE(walker.records.size() > 2);
    const FrameRecord& first = walker.records.front();
    CHECK(std::string(first.mModuleName) == "tarq-tests");
    CHECK(std::string(first.mImageName).ends_with("/tarq-tests"));
    CHECK(walker.events.back() == "frame 2");
    CHECK(walker.records.back().mAddress == (walker.records.end() - 2)->mAddress);
    if (!Platform::canReadDebugInfo())
        return;
    CHECK(std::string(first.mSymbolName) == "(anonymous namespace)::showHere");
    CHECK(std::string(first.mUndecoratedFullName) ==
          "(anonymous namespace)::showHere((anonymous namespace)::RecordingWalker&)");
    CHECK(first.mLine == line);
    CHECK(std::string(first.mSymbolTypeText) == "DIA");
    CHECK(first.mOffsetFromSymbol > 0);
    const std::string text =
        std::string(first.mFile) + " (" + std::to_string(line) + "): " + first.mUndecoratedFullName + "\n";
    CHECK(walker.texts.find(text) != std::string::npos);
}

TEST_CASE_FIXTURE(LibraryTest, "only the first walk of a walker shows the search path and the modules") {
    RecordingWalker walker;
    showHere(walker);
    const auto count = [&](const std::string& event) {
        return std::count(walker.events.begin(), walker.events.end(), event);
    };
    CHECK(count("init 528") == (Platform::canReadDebugInfo() ? 1 : 0));
    CHECK(count("module tarq-tests") == 1);
    CHECK(walker.events[Platform::canReadDebugInfo() ? 1 : 2] == "module tarq-tests");
    CHECK(count("SymInitialize 126") == (Platform::canReadDebugInfo() ? 0 : 1));
    showHere(walker);
    CHECK(count("module tarq-tests") == 1);
}

TEST_CASE_FIXTURE(LibraryTest, "without debug information a walk says so, and goes on") {
    Platform::enableDebugInfo(false);
    RecordingWalker walker;
    showHere(walker);
    Platform::enableDebugInfo(true);
    REQUIRE(walker.events.size() > 3);
    CHECK(walker.events[0] == "SymInitialize 126");
    CHECK(walker.events[1] == "Error while initializing dbghelp.dll 126");
    CHECK(walker.events[2] == "module tarq-tests");
    CHECK(walker.events.back() == "frame 2");
}

TEST_CASE_FIXTURE(LibraryTest, "another thread's stack is refused") {
    RecordingWalker walker;
    CHECK(!walker.ShowCallstack(std::thread::id()));
    CHECK(walker.events ==
          std::vector<std::string>{"ShowCallstack: the stack of another thread is walked from a frame source only 50"});
}

TEST_CASE_FIXTURE(LibraryTest, "a frame is written with the best name and the place that are known") {
    const std::string address = pointerText(0x1234);
    struct Case {
        StackWalker::FrameKind kind;
        uint64 address;
        const char* symbol;
        const char* undecorated;
        const char* full;
        const char* file;
        const char* module;
        std::string text;
    };
    const Case cases[] = {
        {StackWalker::FRAME_FIRST, 0x1234, "f", "g", "g(int)", "a.cpp", "m", "a.cpp (7): g(int)\n"},
        {StackWalker::FRAME_FURTHER, 0x1234, "f", "g", "", "a.cpp", "", "a.cpp (7): g\n"},
        {StackWalker::FRAME_FURTHER, 0x1234, "f", "", "", "a.cpp", "", "a.cpp (7): f\n"},
        {StackWalker::FRAME_FURTHER, 0x1234, "", "", "", "a.cpp", "", "a.cpp (7): (function-name not available)\n"},
        {StackWalker::FRAME_FURTHER, 0x1234, "f", "", "", "", "m", address + " (m): (filename not available): f\n"},
        {StackWalker::FRAME_FURTHER, 0x1234, "", "", "", "", "",
         address + " ((module-name not available)): (filename not available): (function-name not available)\n"},
        {StackWalker::FRAME_FURTHER, 0, "f", "", "", "a.cpp", "m", ""},
        {StackWalker::FRAME_LAST, 0x1234, "f", "", "", "a.cpp", "m", ""},
    };
    for (const Case& tested : cases) {
        FrameRecord record;
        record.mAddress = tested.address;
        record.mLine = 7;
        setText(record.mSymbolName, tested.symbol);
        setText(record.mUndecoratedName, tested.undecorated);
        setText(record.mUndecoratedFullName, tested.full);
        setText(record.mFile, tested.file);
        setText(record.mModuleName, tested.module);
        RecordingWalker walker;
        walker.OnCallstackEntry(tested.kind, record);
        CHECK(walker.texts == tested.text);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "failures and modules are written in their fixed forms") {
    RecordingWalker walker;
    walker.OnDbgHelpErr("StackWalk64", 487, 0x1234);
    CHECK(walker.texts == "ERROR: StackWalk64, GetLastError: 487 (Address: " + pointerText(0x1234) + ")\n");

    const std::string common = "/a/b:b (" + pointerText(0x1000) + "), size: 99 (result: 3), SymType: 'PDB', PDB: 'p'";
    walker.texts.clear();
    walker.OnLoadModule("/a/b", "b", 0x1000, 99, 3, "PDB", "p", 0);
    CHECK(walker.texts == common + "\n");
    walker.texts.clear();
    walker.OnLoadModule("/a/b", "b", 0x1000, 99, 3, "PDB", "p", 0x0001'0002'0003'FFFF);
    CHECK(walker.texts == common + ", fileVersion: 1.2.3.65535\n");
}

TEST_CASE_FIXTURE(LibraryTest, "symbol types have their fixed texts") {
    const char* const texts[] = {"-nosymbols-", "COFF", "CV",  "PDB",    "-exported-",
                                 "-deferred-",  "SYM",  "DIA", "Virtual"};
    for (uint32 type = 0; type < std::size(texts); ++type)
        CHECK(std::string(StackWalker::getSymbolTypeText(type)) == texts[type]);
    CHECK(StackWalker::getSymbolTypeText(9) == nullptr);
}

TEST_CASE_FIXTURE(LibraryTest,
                  "the search path lists its places in order, and leaves out what is missing or too long") {
    if (!Platform::canReadDebugInfo())
        return;
    const std::string places = ".;" + std::filesystem::current_path().string() + ";" +
                               std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + ";";
    const std::string server = std::string("\\websymbols*https://debuginfod.elfutils.org;");
    const std::string longPlace(5000, 'x');
    struct Case {
        const char* user;
        const char* path;
        const char* alternatePath;
        const char* root;
        const char* drive;
        std::string expected;
    };
    const Case cases[] = {
        {nullptr, nullptr, nullptr, nullptr, nullptr, places + "SRV*c:" + server},
        {"/mine", "/p", "/q", "/root", "D:", "/mine;" + places + "/p;/q;/root;/root\\system32;SRV*D:" + server},
        {"/mine;/yours", "", "/q", nullptr, "", "/mine;/yours;" + places + "/q;SRV*c:" + server},
        {longPlace.c_str(), longPlace.c_str(), longPlace.c_str(), longPlace.c_str(), longPlace.c_str(), places},
    };
    for (const Case& tested : cases) {
        const ScopedVariable path("_NT_SYMBOL_PATH", tested.path);
        const ScopedVariable alternatePath("_NT_ALTERNATE_SYMBOL_PATH", tested.alternatePath);
        const ScopedVariable root("SYSTEMROOT", tested.root);
        const ScopedVariable drive("SYSTEMDRIVE", tested.drive);
        RecordingWalker walker(StackWalker::OPTION_SEARCH_PATH, tested.user);
        showHere(walker);
        CHECK(walker.searchPath == tested.expected);
        CHECK(walker.texts.starts_with("SymInit: Symbol-SearchPath: '" + tested.expected + "', symOptions: 528, "));
    }

    const std::string shown(2000, 'x');
    const ScopedVariable path("_NT_SYMBOL_PATH", shown.c_str());
    RecordingWalker walker;
    showHere(walker);
    CHECK(walker.searchPath == (places + shown).substr(0, 1023));
}
