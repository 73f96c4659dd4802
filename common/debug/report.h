#pragma once

#include "common/debug/logreporter.h"
#include "common/debug/textpiece.h"
#include "common/export.h"
#include "common/library.h"

#include <initializer_list>

namespace Tarq::Common::Debug {

/// What a report says about its place: the type, the fully qualified name of the function, and the source position,
/// which is taken where this is written.
struct LogSite {
    LogSite(LogType type, const char* function, const char* file = __builtin_FILE(),
            unsigned int line = __builtin_LINE()) noexcept
        : mType(type), mFunction(function), mFile(file), mLine(line) {}

    LogType mType;
    const char* mFunction;
    const char* mFile;
    unsigned int mLine;
};

/// Builds the message and reports it. Use `report`, which asks first whether anybody wants it.
TARQ_API void composeReport(const LogReporter& reporter, const LogSite& site, std::initializer_list<TextPiece> pieces);

/// Reports the pieces, one after the other, through `reporter`; a null reporter reports nothing.
///
/// When the type is switched off, this is one test. A report that finds no memory is dropped. Threads: any.
template <class... Pieces>
void report(const LogReporter* reporter, const LogSite& site, const Pieces&... pieces) {
    if (reporter && reporter->isReported(site.mType))
        composeReport(*reporter, site, {TextPiece(pieces)...});
}

/// Reports through the library's own reporter, "Common".
///
///     Debug::report({LOG_WARNING, "Tarq::Common::Network::InitializeNetwork"}, "There is no network, error ", error);
template <class... Pieces>
void report(const LogSite& site, const Pieces&... pieces) {
    report(static_cast<const LogReporter*>(Library::getLogReporter()), site, pieces...);
}

} // namespace Tarq::Common::Debug
