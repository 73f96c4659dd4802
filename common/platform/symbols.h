#pragma once

#include "common/export.h"
#include "common/types.h"

#include <string>
#include <vector>

/// What addresses in code mean: functions, source lines, modules.
///
/// What is known is read from the files of the loaded modules; what has been read is kept for the next question, and
/// dropped when its module is unloaded. No server is ever asked.
///
/// Threads: any. Nothing throws; when memory runs out, less is told.
namespace Tarq::Common::Platform {

/// Where the names of a module's functions come from.
enum class SymbolSource : uint8 {
    SYMBOLS_NONE,
    SYMBOLS_EXPORTED, ///< from the names that the module exports
    SYMBOLS_TABLE,    ///< from the linker's table of all functions
    SYMBOLS_DEBUG,    ///< from debug information, with lines and inlined functions
    SYMBOLS_DEFERRED, ///< nobody has asked yet
};

/// A program or shared library in this process. What is unknown is empty or 0.
struct ModuleInfo {
    std::string mName;   ///< the name of its file, without directories
    std::string mFile;   ///< the path of its file, as it was loaded
    uint64 mBase = 0;    ///< the first address
    uint64 mSize = 0;    ///< from the first address to the last
    uint64 mVersion = 0; ///< of its file: four numbers of 16 bits, the first one in the highest
    SymbolSource mSource = SymbolSource::SYMBOLS_NONE;
};

/// A function, and the place in it. What is unknown is empty or 0.
struct FunctionInfo {
    std::string mName;     ///< qualified, without parameters
    std::string mFullName; ///< with parameters, where it is known
    std::string mFile;
    uint32 mLine = 0;
    uint32 mLineOffset = 0;   ///< bytes from the begin of the line's code
    uint64 mSymbolOffset = 0; ///< bytes from the begin of the function's code
};

struct AddressInfo {
    ModuleInfo mModule;
    /// The function at the address; before it the functions that the compiler put into it there, the innermost first.
    std::vector<FunctionInfo> mFunctions;
};

/// The numbers under which failures are reported.
enum SymbolError : uint32 {
    SYMBOL_ERROR_NONE = 0,
    SYMBOL_ERROR_NO_MEMORY = 8,
    SYMBOL_ERROR_NOT_SUPPORTED = 50,
    SYMBOL_ERROR_NO_LIBRARY = 126,  ///< what reads debug information is not installed
    SYMBOL_ERROR_BAD_ADDRESS = 487, ///< nothing is known about this address
};

/// Tells what is known about the code at `address`. Debug information that was installed apart from the modules is
/// looked for in `directories` too, which ";" separates.
AddressInfo resolveAddress(uint64 address, const std::string& directories) noexcept;

/// The loaded modules, in the order in which they were loaded; the program is the first.
std::vector<ModuleInfo> listModules() noexcept;

/// The public symbol server of this platform, for display.
const char* getSymbolServer() noexcept;

/// Whether debug information can be read now: without the library that does it, only exported functions have names.
TARQ_API bool canReadDebugInfo() noexcept;
/// Switches the reading of debug information off, and on again. Off, what was read is dropped.
TARQ_API void enableDebugInfo(bool enable) noexcept;
/// Drops what was read, with the memory that it takes. The next question reads anew.
TARQ_API void closeSymbols() noexcept;

} // namespace Tarq::Common::Platform
