#include "common/parser/internal/fullname.h"

#include "common/exceptions/argumentexception.h"

namespace Tarq::Common::Parser {

String getFullName(const String& fileName, const IO::FileSystem& fileSystem) {
    try {
        return fileSystem.getFullPath(fileName);
    } catch (Exceptions::ArgumentException* exception) {
        const Exceptions::Holder holder(exception);
        return fileName;
    }
}

} // namespace Tarq::Common::Parser
