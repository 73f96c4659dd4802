#include "common/debug/assert.h"

#include <string>

namespace Tarq::Common::Debug {

bool reportAssertion(const char* shown, const char* file, unsigned int line, std::initializer_list<TextPiece> pieces) {
    // On the global heap: the library's own allocators may be what has failed.
    std::string text;
    if (shown)
        text += shown;
    text += "\nError Message: ";
    for (const TextPiece& piece : pieces)
        piece.appendTo(text);
    ShowAssertMessage(text.c_str(), file, line);
    return false;
}

} // namespace Tarq::Common::Debug
