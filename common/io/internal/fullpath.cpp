#include "common/io/internal/fullpath.h"

#include "common/memory/allocate.h"
#include "common/platform/path.h"

#include <span>

namespace Tarq::Common::IO {

String makeFullPath(const String& path) {
    const std::size_t size = path.length() + Platform::cMaxWorkingDirectoryLength + 2;
    const Memory::ScopedBytes bytes(Library::getTempAlloc(), size);
    char* const buffer = static_cast<char*>(bytes.get());
    return String(std::string_view(buffer, Platform::makeAbsolutePath(path, {buffer, size})));
}

} // namespace Tarq::Common::IO
