#include "common/debug/internal/symbolsearchpath.h"

#include "common/platform/path.h"
#include "common/platform/symbols.h"
#include "common/platform/systeminfo.h"

#include <cstdlib>
#include <string_view>

namespace Tarq::Common::Debug {

namespace {

void appendPlace(std::string& path, std::string_view place) {
    if (place.empty() || place.size() >= cMaxSearchPathLength - path.size())
        return;
    path += place;
    path += ';';
}

std::string getWorkingDirectory() {
    char buffer[Platform::cMaxWorkingDirectoryLength + 1];
    return std::string(buffer, Platform::getWorkingDirectory(buffer));
}

std::string getProgramDirectory() {
    const std::string program = Platform::getProgramFile();
    const std::size_t end = program.find_last_of("\\/:");
    return end == std::string::npos ? std::string() : program.substr(0, end);
}

/// Empty when the variable is missing.
std::string getVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

void appendKnownDirectories(std::string& path) {
    appendPlace(path, getProgramDirectory());
    appendPlace(path, getVariable("_NT_SYMBOL_PATH"));
    appendPlace(path, getVariable("_NT_ALTERNATE_SYMBOL_PATH"));
    const std::string systemRoot = getVariable("SYSTEMROOT");
    if (!systemRoot.empty()) {
        appendPlace(path, systemRoot);
        appendPlace(path, systemRoot + "\\system32");
    }
}

} // namespace

std::string buildSymbolSearchPath(const char* first) {
    std::string path;
    appendPlace(path, first);
    appendPlace(path, ".");
    appendPlace(path, getWorkingDirectory());
    appendKnownDirectories(path);
    // Shown, never asked.
    const std::string systemDrive = getVariable("SYSTEMDRIVE");
    const std::string store = systemDrive.empty() ? "c:\\websymbols" : systemDrive + "\\websymbols";
    appendPlace(path, "SRV*" + store + "*" + Platform::getSymbolServer());
    return path;
}

std::string listSymbolDirectories(const char* first) {
    std::string path;
    appendPlace(path, first);
    appendKnownDirectories(path);
    return path;
}

} // namespace Tarq::Common::Debug
