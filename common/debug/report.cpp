#include "common/debug/report.h"

#include "common/debug/sourcename.h"
#include "common/memory/memoryexception.h"

namespace Tarq::Common::Debug {

void composeReport(const LogReporter& reporter, const LogSite& site, std::initializer_list<TextPiece> pieces) {
    try {
        String message(String::View(), Library::getDebugAlloc());
        message.reserve(128);
        for (const TextPiece& piece : pieces)
            piece.appendTo(message);
        reporter.reportLog(site.mType, message, site.mFunction, String(sourceNameOf(site.mFile)), site.mLine);
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
    }
}

} // namespace Tarq::Common::Debug
