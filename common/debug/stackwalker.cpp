#include "common/debug/stackwalker.h"

#include "common/debug/callstack.h"
#include "common/debug/internal/symbolsearchpath.h"
#include "common/exceptions/exception.h"
#include "common/platform/callstack.h"
#include "common/platform/debuggeroutput.h"
#include "common/platform/symbols.h"
#include "common/platform/systeminfo.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <new>
#include <string_view>
#include <vector>

namespace Tarq::Common::Debug {

namespace {

/// Lines are loaded, critical errors are silent.
constexpr uint32 cSymbolOptions = 0x210;
/// The longest search path that is shown, without the final NUL.
constexpr std::size_t cMaxShownPathLength = 1023;
/// The deepest stack that is walked. Behind so many frames, a walk goes round in circles.
constexpr uint32 cMaxWalkedFrames = 65536;

void copyText(char (&target)[FrameRecord::cTextSize], std::string_view text) noexcept {
    target[text.copy(target, FrameRecord::cTextSize - 1)] = '\0';
}

uint32 symbolTypeOf(Platform::SymbolSource source) noexcept {
    switch (source) {
    case Platform::SymbolSource::SYMBOLS_NONE:
        return 0;
    case Platform::SymbolSource::SYMBOLS_TABLE:
        return 1;
    case Platform::SymbolSource::SYMBOLS_EXPORTED:
        return 4;
    case Platform::SymbolSource::SYMBOLS_DEFERRED:
        return 5;
    case Platform::SymbolSource::SYMBOLS_DEBUG:
        return 7;
    }
    return 0;
}

uint64 addressOf(const void* pointer) noexcept {
    return reinterpret_cast<uintptr_t>(pointer);
}

const void* pointerOf(uint64 address) noexcept {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(address));
}

/// Leaves those functions that enclose both places, and tells the line of the other one; both are in the code of one
/// function.
void keepCommonFunctions(std::vector<Platform::FunctionInfo>& functions,
                         const std::vector<Platform::FunctionInfo>& others) {
    const auto isSame = [](const Platform::FunctionInfo& a, const Platform::FunctionInfo& b) {
        return a.mName == b.mName;
    };
    const auto ends = std::mismatch(functions.rbegin(), functions.rend(), others.rbegin(), others.rend(), isSame);
    if (ends.first == functions.rbegin())
        return;
    functions.erase(functions.begin(), ends.first.base());
    // Not every compiler tells of each constructor that it put there: the line may still be one inside.
    const Platform::FunctionInfo& other = *ends.second.base();
    functions.front().mFile = other.mFile;
    functions.front().mLine = other.mLine;
    functions.front().mLineOffset = 0;
}

Platform::AddressInfo resolveFrame(const Frame& frame, const void* maker, const std::string& directories) noexcept {
    if (frame.mProgramCounter == 0)
        return {};
    // Behind a call that never returns, another function may begin.
    const uint32 back = frame.mIsBehindCall ? 1 : 0;
    Platform::AddressInfo info = Platform::resolveAddress(frame.mProgramCounter - back, directories);
    if (!info.mFunctions.empty()) {
        info.mFunctions.front().mLineOffset += back;
        info.mFunctions.back().mSymbolOffset += back;
    }
    if (maker)
        keepCommonFunctions(info.mFunctions, Platform::resolveAddress(addressOf(maker) - 1, directories).mFunctions);
    return info;
}

} // namespace

FrameSource::~FrameSource() = default;

/// The frames behind return addresses.
class StackWalker::RecordedFrames final : public FrameSource {
public:
    explicit RecordedFrames(std::span<void* const> addresses) noexcept : mAddresses(addresses) {}

    uint32 next(Frame& frame) override {
        if (mNext == mAddresses.size())
            return Platform::SYMBOL_ERROR_BAD_ADDRESS;
        frame.mProgramCounter = addressOf(mAddresses[mNext]);
        ++mNext;
        frame.mReturnAddress = mNext == mAddresses.size() ? 0 : addressOf(mAddresses[mNext]);
        return 0;
    }

private:
    std::span<void* const> mAddresses;
    std::size_t mNext = 0;
};

StackWalker::StackWalker(uint32 options, const char* searchPath) noexcept : mOptions(options) {
    try {
        mSearchPath.append(searchPath);
    } catch (Exceptions::Exception* exception) {
        delete exception;
    }
}

StackWalker::~StackWalker() = default;

[[gnu::noinline]] bool StackWalker::ShowCallstack(std::thread::id thread) {
    if (thread != std::this_thread::get_id()) {
        OnDbgHelpErr("StackWalk64", Platform::SYMBOL_ERROR_NOT_SUPPORTED, 0);
        return false;
    }
    const void* const ownEnd = Platform::getFrameEnd();
    void* inner[CallStackRecord::cMaxFrames];
    std::vector<void*> all;
    std::span<void*> addresses(inner);
    uint32 count = Platform::captureReturnAddresses(addresses, ownEnd);
    try {
        while (count == addresses.size() && count < cMaxWalkedFrames) {
            all.resize(2 * addresses.size());
            addresses = all;
            count = Platform::captureReturnAddresses(addresses, ownEnd);
        }
    } catch (const std::bad_alloc&) {
        // The innermost functions are shown, those that there was room for.
    }
    loadOnce();
    return showRecorded(addresses.first(count));
}

bool StackWalker::ShowCallstack(FrameSource& source) {
    loadOnce();
    return walk(source, false, nullptr);
}

bool StackWalker::showRecorded(std::span<void* const> returnAddresses, const void* maker) {
    RecordedFrames frames(returnAddresses);
    return returnAddresses.empty() || walk(frames, true, maker);
}

void StackWalker::loadOnce() {
    if (mIsLoaded)
        return;
    mIsLoaded = true;
    if (!Platform::canReadDebugInfo()) {
        // The walk goes on with what the loader knows.
        OnDbgHelpErr("Error while initializing dbghelp.dll", Platform::SYMBOL_ERROR_NO_LIBRARY, 0);
    } else {
        std::string searchPath;
        std::string userName;
        try {
            searchPath =
                mOptions & OPTION_SEARCH_PATH ? buildSymbolSearchPath(mSearchPath.c_str()) : mSearchPath.c_str();
            searchPath.resize(std::min(searchPath.size(), cMaxShownPathLength));
            userName = Platform::getUserName();
        } catch (const std::bad_alloc&) {
            OnDbgHelpErr("SymGetSearchPath", Platform::SYMBOL_ERROR_NO_MEMORY, 0);
        }
        OnSymInit(searchPath.c_str(), cSymbolOptions, userName.c_str());
    }
    for (const Platform::ModuleInfo& module : Platform::listModules()) {
        const uint64 version = mOptions & OPTION_FILE_VERSION ? module.mVersion : 0;
        OnLoadModule(module.mFile.c_str(), module.mName.c_str(), module.mBase,
                     static_cast<uint32>(std::min<uint64>(module.mSize, 0xFFFFFFFFu)), 0,
                     getSymbolTypeText(symbolTypeOf(module.mSource)), module.mFile.c_str(), version);
    }
}

bool StackWalker::walk(FrameSource& source, bool isRecord, const void* maker) {
    std::string directories;
    try {
        directories = mOptions & OPTION_SEARCH_PATH ? listSymbolDirectories(mSearchPath.c_str()) : mSearchPath.c_str();
    } catch (const std::bad_alloc&) {
        OnDbgHelpErr("SymGetSearchPath", Platform::SYMBOL_ERROR_NO_MEMORY, 0);
    }
    FrameRecord record;
    Frame previous;
    for (uint32 index = 0;; ++index) {
        Frame frame;
        if (const uint32 error = source.next(frame)) {
            OnDbgHelpErr("StackWalk64", error, previous.mProgramCounter);
            return false;
        }
        // A function that calls itself looks the same; in a record, which has an end, it may.
        const bool isSame = index != 0 && frame.mProgramCounter == previous.mProgramCounter &&
                            frame.mStackAddress == previous.mStackAddress;
        const bool isEndless = isSame || frame.mProgramCounter == frame.mReturnAddress || index == cMaxWalkedFrames;
        if (isEndless && !isRecord) {
            OnDbgHelpErr("StackWalk64-Endless-Callstack!", 0, frame.mProgramCounter);
            return false;
        }
        const Platform::AddressInfo info = resolveFrame(frame, index == 0 ? maker : nullptr, directories);
        showFrame(index == 0 ? FRAME_FIRST : FRAME_FURTHER, frame.mProgramCounter, info, record);
        if (frame.mReturnAddress == 0) {
            OnCallstackEntry(FRAME_LAST, record);
            return true;
        }
        previous = frame;
    }
}

void StackWalker::showFrame(FrameKind kind, uint64 address, const Platform::AddressInfo& info, FrameRecord& record) {
    record = FrameRecord();
    record.mAddress = address;
    if (address == 0) {
        OnCallstackEntry(kind, record);
    } else if (info.mFunctions.empty() || !(mOptions & (OPTION_SYMBOL | OPTION_LINE))) {
        showFunction(kind, Platform::FunctionInfo(), info.mModule, record);
    } else {
        for (const Platform::FunctionInfo& function : info.mFunctions) {
            showFunction(kind, function, info.mModule, record);
            kind = FRAME_FURTHER;
        }
    }
}

void StackWalker::fillModule(const Platform::ModuleInfo& module, FrameRecord& record) {
    if (module.mName.empty())
        OnDbgHelpErr("SymGetModuleInfo64", Platform::SYMBOL_ERROR_BAD_ADDRESS, record.mAddress);
    copyText(record.mModuleName, module.mName);
    copyText(record.mImageName, module.mFile);
    record.mImageBase = module.mBase;
    record.mSymbolType = symbolTypeOf(module.mSource);
    record.mSymbolTypeText = getSymbolTypeText(record.mSymbolType);
}

void StackWalker::showFunction(FrameKind kind, const Platform::FunctionInfo& function,
                               const Platform::ModuleInfo& module, FrameRecord& record) {
    if (mOptions & OPTION_SYMBOL) {
        if (function.mName.empty())
            OnDbgHelpErr("SymGetSymFromAddr64", Platform::SYMBOL_ERROR_BAD_ADDRESS, record.mAddress);
        copyText(record.mSymbolName, function.mName);
        copyText(record.mUndecoratedName, function.mName);
        copyText(record.mUndecoratedFullName, function.mFullName);
        record.mOffsetFromSymbol = function.mSymbolOffset;
    }
    if (mOptions & OPTION_LINE) {
        if (function.mFile.empty())
            OnDbgHelpErr("SymGetLineFromAddr64", Platform::SYMBOL_ERROR_BAD_ADDRESS, record.mAddress);
        copyText(record.mFile, function.mFile);
        record.mLine = function.mLine;
        record.mOffsetFromLine = function.mLineOffset;
    }
    if (mOptions & OPTION_MODULE)
        fillModule(module, record);
    OnCallstackEntry(kind, record);
}

const char* StackWalker::getSymbolTypeText(uint32 symbolType) noexcept {
    static constexpr const char* cTexts[] = {"-nosymbols-", "COFF", "CV",  "PDB",    "-exported-",
                                             "-deferred-",  "SYM",  "DIA", "Virtual"};
    return symbolType < std::size(cTexts) ? cTexts[symbolType] : nullptr;
}

void StackWalker::OnSymInit(const char* searchPath, uint32 symbolOptions, const char* userName) {
    print("SymInit: Symbol-SearchPath: '%s', symOptions: %d, UserName: '%s'\n", searchPath,
          static_cast<int>(symbolOptions), userName);
    try {
        const Platform::SystemVersion version = Platform::getSystemVersion();
        print("OS-Version: %d.%d.%d (%s) 0x%x-0x%x\n", static_cast<int>(version.mMajor),
              static_cast<int>(version.mMinor), static_cast<int>(version.mBuild), version.mText.c_str(), version.mSuite,
              version.mProduct);
    } catch (const std::bad_alloc&) {
        // Without memory, there is one line less.
    }
}

void StackWalker::OnLoadModule(const char* imageName, const char* moduleName, uint64 baseAddress, uint32 size,
                               uint32 loadResult, const char* symbolTypeText, const char* symbolFileName,
                               uint64 fileVersion) {
    const auto part = [fileVersion](int shift) { return static_cast<int>((fileVersion >> shift) & 0xFFFF); };
    if (fileVersion == 0)
        print("%s:%s (%p), size: %d (result: %d), SymType: '%s', PDB: '%s'\n", imageName, moduleName,
              pointerOf(baseAddress), static_cast<int>(size), static_cast<int>(loadResult), symbolTypeText,
              symbolFileName);
    else
        print("%s:%s (%p), size: %d (result: %d), SymType: '%s', PDB: '%s', fileVersion: %d.%d.%d.%d\n", imageName,
              moduleName, pointerOf(baseAddress), static_cast<int>(size), static_cast<int>(loadResult), symbolTypeText,
              symbolFileName, part(48), part(32), part(16), part(0));
}

void StackWalker::OnCallstackEntry(FrameKind kind, const FrameRecord& record) {
    if (kind == FRAME_LAST || record.mAddress == 0)
        return;
    const char* name = "(function-name not available)";
    for (const char* known : {record.mSymbolName, record.mUndecoratedName, record.mUndecoratedFullName}) {
        if (*known != '\0')
            name = known;
    }
    if (record.mFile[0] != '\0')
        print("%s (%d): %s\n", record.mFile, static_cast<int>(record.mLine), name);
    else
        print("%p (%s): %s: %s\n", pointerOf(record.mAddress),
              record.mModuleName[0] != '\0' ? record.mModuleName : "(module-name not available)",
              "(filename not available)", name);
}

void StackWalker::OnDbgHelpErr(const char* functionName, uint32 lastError, uint64 address) {
    print("ERROR: %s, GetLastError: %d (Address: %p)\n", functionName, static_cast<int>(lastError), pointerOf(address));
}

void StackWalker::OnOutput(const char* text) {
    Platform::writeDebuggerOutput(text);
}

void StackWalker::print(const char* format, ...) {
    // Room for three texts of a frame record; what is longer is cut, and ends a line as all texts do.
    char text[4 * FrameRecord::cTextSize];
    std::va_list arguments;
    va_start(arguments, format);
    if (std::vsnprintf(text, sizeof(text), format, arguments) >= static_cast<int>(sizeof(text)))
        text[sizeof(text) - 2] = '\n';
    va_end(arguments);
    OnOutput(text);
}

} // namespace Tarq::Common::Debug
