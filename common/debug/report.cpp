#include "common/debug/report.h"

#include "common/debug/internal/nestingguard.h"
#include "common/debug/sourcename.h"
#include "common/memory/memoryexception.h"

namespace Tarq::Common::Debug {

namespace {

/// Texts being put together on this thread: when memory runs out, an assertion says so, and its callback may report.
thread_local constinit uint32 tComposing = 0;

struct ReportTexts {
    String message;
    String function;
    String file;
};

/// Returns whether there was memory for the texts.
bool composeTexts(ReportTexts& texts, const LogSite& site, std::initializer_list<TextPiece> pieces) {
    if (tComposing != 0)
        return false;
    const NestingGuard composing(tComposing);
    try {
        texts.message.reserve(128);
        for (const TextPiece& piece : pieces)
            piece.appendTo(texts.message);
        texts.function.assign(site.mFunction);
        texts.file.assign(sourceNameOf(site.mFile));
        return true;
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        return false;
    }
}

} // namespace

void composeReport(const LogReporter& reporter, const LogSite& site, std::initializer_list<TextPiece> pieces) {
    ReportTexts texts{String(String::View(), Library::getDebugAlloc()), String(), String()};
    if (composeTexts(texts, site, pieces))
        reporter.reportLog(site.mType, texts.message, texts.function, texts.file, site.mLine);
}

} // namespace Tarq::Common::Debug
