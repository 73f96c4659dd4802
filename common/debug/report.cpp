#include "common/debug/report.h"

#include "common/memory/memoryexception.h"

namespace Tarq::Common::Debug {

namespace {

/// As `TARQ_SOURCE_NAME`, for a path that is known only now.
String::View sourceNameOf(String::View path) noexcept {
    const std::size_t begin = path.rfind("common/");
    if (begin != String::View::npos && (begin == 0 || path[begin - 1] == '/'))
        path.remove_prefix(begin);
    return path.substr(0, path.rfind('.'));
}

} // namespace

void composeReport(const LogReporter& reporter, const LogSite& site, std::initializer_list<TextPiece> pieces) {
    try {
        String message(String::View(), Library::getDebugAlloc());
        message.reserve(128);
        for (const TextPiece& piece : pieces)
            piece.appendTo(message);
        reporter.reportLog(site.mType, message, site.mFunction, String(sourceNameOf(site.mFile)),
                           site.mLine);
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
    }
}

} // namespace Tarq::Common::Debug
