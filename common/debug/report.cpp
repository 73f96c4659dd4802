#include "common/debug/report.h"

#include "common/debug/sourcename.h"
#include "common/memory/memoryexception.h"

#include <optional>
#include <utility>

namespace Tarq::Common::Debug {

namespace {

struct ReportTexts {
    ReportTexts(const LogSite& site, std::initializer_list<TextPiece> pieces)
        : message(String::View(), Library::getDebugAlloc()), function(site.mFunction), file(sourceNameOf(site.mFile)) {
        message.reserve(127);
        for (const TextPiece& piece : pieces)
            piece.appendTo(message);
    }

    String message;
    String function;
    String file;
};

/// Empty when there is no memory for the texts.
std::optional<ReportTexts> composeTexts(const LogSite& site, std::initializer_list<TextPiece> pieces) {
    try {
        return std::optional<ReportTexts>(std::in_place, site, pieces);
    } catch (Memory::OutOfMemoryException* exception) {
        delete exception;
        return std::nullopt;
    }
}

} // namespace

void composeReport(const LogReporter& reporter, const LogSite& site, std::initializer_list<TextPiece> pieces) {
    if (const std::optional<ReportTexts> texts = composeTexts(site, pieces))
        reporter.reportLog(site.mType, texts->message, texts->function, texts->file, site.mLine);
}

} // namespace Tarq::Common::Debug
