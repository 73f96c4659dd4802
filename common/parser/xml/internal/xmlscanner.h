#pragma once

#include "common/parser/xml/internal/xmlscan.h"
#include "common/string.h"
#include "common/types.h"

#include <algorithm>

namespace Tarq::Common::Parser::XML {

/// The buffer of a parse, the line breaks that were passed in it, and the failures that end it.
///
/// Only line breaks in skipped white space count, not those inside of comments, values and texts. They are counted as
/// they are passed: later, a zero may stand in the place of one.
class XMLScanner {
public:
    XMLScanner(char* buffer, uint32 size) noexcept
        : mBegin(buffer), mEnd(buffer + size), mBlocksEnd(size >= cBlock ? mEnd - (cBlock - 1) : buffer),
          mLastBreak(buffer), mPosition(buffer) {}

    /// Where the parse stands, when it has come to an end and while a file is included. When it was cut short by
    /// something else than a failure of its own, not behind where it stood, and on the line that was counted.
    const char* getPosition() const noexcept { return std::max(mPosition, mLastBreak); }
    void setPosition(const char* at) noexcept { mPosition = at; }
    /// Of the position, the line counted from 1. The row counts from the last line break; on the first line, from 0.
    uint32 getLine() const noexcept { return mLineBreaks + 1; }
    uint32 getRow() const noexcept { return static_cast<uint32>(getPosition() - mLastBreak); }

    /// Throws `XMLParserException` with the line and row of `at`.
    [[noreturn]] void fail(const char* at, const String& message);
    /// The message says which character is at `at`.
    [[noreturn]] void failAtCharacter(const char* at, String::Text before, String::Text after);
    [[noreturn]] void failAtEnd() { fail(mEnd, cEndOfBuffer); }
    [[noreturn]] void failInvalidTag(const char* at);

protected:
    static constexpr const char* cEndOfBuffer = "XMLParser: End of buffer reached.";

    /// What was passed, for going back.
    struct Lines {
        uint32 breaks;
        const char* lastBreak;
    };
    Lines getLines() const noexcept { return {mLineBreaks, mLastBreak}; }
    void setLines(Lines lines) noexcept {
        mLineBreaks = lines.breaks;
        mLastBreak = lines.lastBreak;
    }

    // Each of these returns the place that it has found. At the end it returns what `onEnd` does, which fails.

    template <class OnEnd>
    [[gnu::always_inline]] char* skipWhite(char* at, OnEnd onEnd) {
        for (;; ++at) {
            at = findWhere(
                at, [](char c) { return !isOf(CHARACTER_BLANK, c); }, onEnd);
            if (*at != '\n')
                return at;
            countLine(at);
        }
    }
    template <class OnEnd>
    [[gnu::always_inline]] char* skipName(char* at, OnEnd onEnd) const {
        return findWhere(
            at, [](char c) { return !isOf(CHARACTER_NAME_PART, c); }, onEnd);
    }
    /// Stops at a '>' too.
    template <class OnEnd>
    [[gnu::always_inline]] char* findQuote(char* at, OnEnd onEnd) const {
        return findWhere(
            at, [](char c) { return isOf(CHARACTER_VALUE_END, c); }, onEnd);
    }
    /// The end of a text. What is not found soon is left to the function for long searches.
    template <class OnEnd>
    [[gnu::always_inline]] char* findTextEnd(char* at, OnEnd onEnd) const {
        for (int blocks = 0; blocks < 3 && at < mBlocksEnd; ++blocks) {
            if (findInBlock(at, [](char c) { return c == '<'; }))
                return at;
        }
        char* const found = find('<', at);
        return found != mEnd ? found : onEnd();
    }
    /// Returns the end itself when there is none.
    char* find(char wanted, char* at) const noexcept;
    /// The same for what is no white space.
    char* skipWhite(char* at) noexcept;

    char* mBegin;
    char* mEnd;

private:
    static constexpr uint32 cBlock = 8;

    void countLine(const char* lineBreak) noexcept {
        ++mLineBreaks;
        mLastBreak = lineBreak;
    }

    /// Moves `at` to the first of eight characters that is wanted, or behind them.
    ///
    /// Character by character: most of what is searched is short, and a processor guesses how short before it knows. It
    /// would have to wait for a search that is free of branches.
    template <class IsWanted>
    [[gnu::always_inline]] static bool findInBlock(char*& at, IsWanted isWanted) noexcept {
        if (isWanted(at[0])) [[unlikely]]
            return true;
        if (isWanted(at[1])) [[unlikely]]
            return at += 1, true;
        if (isWanted(at[2])) [[unlikely]]
            return at += 2, true;
        if (isWanted(at[3])) [[unlikely]]
            return at += 3, true;
        if (isWanted(at[4])) [[unlikely]]
            return at += 4, true;
        if (isWanted(at[5])) [[unlikely]]
            return at += 5, true;
        if (isWanted(at[6])) [[unlikely]]
            return at += 6, true;
        if (isWanted(at[7])) [[unlikely]]
            return at += 7, true;
        at += cBlock;
        return false;
    }
    template <class IsWanted, class OnEnd>
    [[gnu::always_inline]] char* findWhere(char* at, IsWanted isWanted, OnEnd onEnd) const {
        while (at < mBlocksEnd) {
            if (findInBlock(at, isWanted))
                return at;
        }
        for (; at != mEnd; ++at) {
            if (isWanted(*at))
                return at;
        }
        return onEnd();
    }

    char* mBlocksEnd; ///< in front of it, there is a block of characters at every place
    uint32 mLineBreaks = 0;
    const char* mLastBreak; ///< the start of the buffer while there was none
    const char* mPosition;
};

} // namespace Tarq::Common::Parser::XML
