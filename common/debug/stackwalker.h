#pragma once

#include "common/export.h"
#include "common/string.h"

#include <span>
#include <thread>

namespace Tarq::Common::Platform {
struct AddressInfo;
struct FunctionInfo;
struct ModuleInfo;
} // namespace Tarq::Common::Platform

namespace Tarq::Common::Debug {

/// What a walker tells about one function of a stack. Texts that are unknown are empty; longer ones are cut.
struct FrameRecord {
    static constexpr uint32 cTextSize = 1024;

    uint64 mAddress = 0;                       ///< where the function goes on when it is returned to
    char mSymbolName[cTextSize] = {};          ///< qualified, without parameters
    char mUndecoratedName[cTextSize] = {};     ///< the same; the linker's decorated names are not shown
    char mUndecoratedFullName[cTextSize] = {}; ///< with parameters
    uint64 mOffsetFromSymbol = 0;
    uint32 mOffsetFromLine = 0;
    uint32 mLine = 0;
    char mFile[cTextSize] = {};
    uint32 mSymbolType = 0; ///< see `StackWalker::getSymbolTypeText`
    const char* mSymbolTypeText = nullptr;
    char mModuleName[cTextSize] = {}; ///< the file name, without directories
    uint64 mImageBase = 0;
    char mImageName[cTextSize] = {}; ///< the path of the module's file
};

/// One step of a walk, before anything is looked up.
struct Frame {
    uint64 mProgramCounter = 0; ///< 0 when unknown
    uint64 mReturnAddress = 0;  ///< 0 in the last frame
    uint64 mStackAddress = 0;   ///< where on the stack the frame lies; 0 when unknown
    /// Whether the program counter stands behind a call, and not at an instruction that is yet to run.
    bool mIsBehindCall = true;
};

/// Where a walk takes its frames from, when that is not the calling thread: a record, or a thread whose registers and
/// memory the host knows how to read. The innermost frame comes first.
class TARQ_API FrameSource {
public:
    virtual ~FrameSource();
    /// Fills the next frame and returns 0, or returns an error number when the walk cannot go on.
    virtual uint32 next(Frame& frame) = 0;
};

/// Walks a stack frame by frame, finds function, source line and module of each, and shows them to virtual functions,
/// which write them as text. Derive from it to take them differently.
///
/// The names of failed operations, and the texts of symbol types, are those that tools for this library know; they do
/// not change with the platform. The addresses of this process only can be resolved: a walker takes no process.
///
/// Threads: a walker is made, used and destroyed by one thread; several may walk at once. The walk throws nothing; what
/// an override throws passes through it.
class TARQ_API StackWalker {
public:
    /// What is looked up; combine them with `|`.
    enum Option : uint32 {
        OPTION_SYMBOL = 0x01,
        OPTION_LINE = 0x02,
        OPTION_MODULE = 0x04,
        OPTION_FILE_VERSION = 0x08,
        OPTION_SEARCH_PATH = 0x10,   ///< looks beside the program and where the environment names places, too
        OPTION_SYMBOL_SERVER = 0x20, ///< reserved; no server is ever asked
        OPTION_ALL = 0x3F,
    };

    enum FrameKind : uint32 {
        FRAME_FIRST = 0,
        FRAME_FURTHER = 1,
        FRAME_LAST = 2, ///< comes after the last frame, with its record once more
    };

    /// `searchPath` lists directories, each but the last followed by ";": debug information that was installed apart
    /// from its module is looked for there too, by build id and by name. It begins the path that `OnSymInit` shows, and
    /// may be null.
    explicit StackWalker(uint32 options = OPTION_ALL, const char* searchPath = nullptr) noexcept;
    virtual ~StackWalker();
    StackWalker(const StackWalker&) = delete;
    StackWalker& operator=(const StackWalker&) = delete;

    // The names of the following functions, and that they begin with capitals, are a contract.
    // NOLINTBEGIN(readability-identifier-naming)

    /// Walks the stack of the calling thread, from the caller of this function outwards; at most 65536 frames.
    ///
    /// Another thread is refused (returns false, and reports to `OnDbgHelpErr`): stopping a thread anywhere and reading
    /// its stack is not safe on every platform. A host that has a way uses a `FrameSource`.
    bool ShowCallstack(std::thread::id thread = std::this_thread::get_id());
    /// Walks the frames of `source`. Returns whether all of them were shown.
    ///
    /// A frame that returns to itself, one that comes twice in a row, and more than 65536 frames are taken for a source
    /// that has no end: the walk reports it to `OnDbgHelpErr` and stops.
    bool ShowCallstack(FrameSource& source);

    /// Returns null for a number that has no text.
    static const char* getSymbolTypeText(uint32 symbolType) noexcept;

protected:
    /// Walks return addresses that were recorded earlier, the innermost first. Unlike the first `ShowCallstack` of a
    /// walker, it tells neither `OnSymInit` nor `OnLoadModule`.
    ///
    /// `maker` is null, or another address in the first function: what the compiler put into it at the first return
    /// address only is left out.
    bool showRecorded(std::span<void* const> returnAddresses, const void* maker = nullptr);

    /// Before the first walk: where symbols are looked for, how, and for whom. The working directory and the symbol
    /// server are shown only; neither is asked.
    virtual void OnSymInit(const char* searchPath, uint32 symbolOptions, const char* userName);
    /// Before the first walk, for each loaded module. Its symbols are read when somebody asks; until then their type is
    /// "-deferred-". A `fileVersion` has 16 bits for each of its four numbers, the first one in the highest; 0 is none.
    virtual void OnLoadModule(const char* imageName, const char* moduleName, uint64 baseAddress, uint32 size,
                              uint32 loadResult, const char* symbolTypeText, const char* symbolFileName,
                              uint64 fileVersion);
    /// A function that the compiler put into its caller is a frame of its own, at the same address.
    virtual void OnCallstackEntry(FrameKind kind, const FrameRecord& record);
    virtual void OnDbgHelpErr(const char* functionName, uint32 lastError, uint64 address);
    /// Every text of the functions above. Goes to the platform's debugger, if there is one.
    virtual void OnOutput(const char* text);

    // NOLINTEND(readability-identifier-naming)

private:
    class RecordedFrames;

    void loadOnce();
    bool walk(FrameSource& source, bool isRecord, const void* maker);
    void showFrame(FrameKind kind, uint64 address, const Platform::AddressInfo& info, FrameRecord& record);
    void showFunction(FrameKind kind, const Platform::FunctionInfo& function, const Platform::ModuleInfo& module,
                      FrameRecord& record);
    void fillModule(const Platform::ModuleInfo& module, FrameRecord& record);
    [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);

    uint32 mOptions;
    bool mIsLoaded = false;
    String mSearchPath;
};

} // namespace Tarq::Common::Debug
