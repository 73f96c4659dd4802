#include "common/debug/assert.h"

#include <algorithm>
#include <new>
#include <string>

namespace Tarq::Common::Debug {

namespace {

/// A text for when the global heap has nothing left either: what does not fit is cut off.
class BoundedText {
public:
    void append(std::string_view part) noexcept {
        mLength += part.copy(mCharacters + mLength, sizeof(mCharacters) - 1 - mLength);
    }
    char* data() noexcept { return mCharacters; }
    std::size_t size() const noexcept { return mLength; }

private:
    char mCharacters[1024] = {};
    std::size_t mLength = 0;
};

/// Puts the text together and returns its characters.
template <class Text>
const char* compose(Text& text, const char* shown, std::initializer_list<TextPiece> pieces) {
    TextPiece(shown).appendTo(text);
    text.append("\nError Message: ");
    for (const TextPiece& piece : pieces)
        piece.appendTo(text);
    // A NUL, which a name from a file may hold, would hide all that follows.
    std::replace(text.data(), text.data() + text.size(), '\0', ' ');
    return text.data();
}

} // namespace

bool reportAssertion(const char* shown, const char* file, unsigned int line, std::initializer_list<TextPiece> pieces) {
    // On the global heap: the library's own allocators may be what has failed.
    std::string text;
    BoundedText boundedText;
    const char* message = nullptr;
    try {
        message = compose(text, shown, pieces);
    } catch (const std::bad_alloc&) {
        message = compose(boundedText, shown, pieces);
    }
    ShowAssertMessage(message, file, line);
    return false;
}

} // namespace Tarq::Common::Debug
