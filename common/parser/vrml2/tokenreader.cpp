#include "common/parser/vrml2/tokenreader.h"

#include "common/debug/assert.h"
#include "common/memory/allocate.h"
#include "common/parser/vrml2/internal/characters.h"
#include "common/parser/vrml2/vrml2parserexception.h"
#include "common/utility/internal/numberscanner.h"
#include "common/utility/internal/plainnumber.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Tarq::Common::Parser::VRML2 {

namespace {

/// What is read where nothing is left: the byte before, and the zero behind.
constexpr char cNoBytes[2] = {};

} // namespace

TokenReader::TokenReader(const Memory::AllocatorPtr& allocator) noexcept
    : mAllocator(allocator), mReadBuffer(cNoBytes), mReadBufferPos(cNoBytes + 1), mReadBufferEnd(cNoBytes + 1),
      mNumber(allocator) {}

TokenReader::~TokenReader() {
    Memory::releaseBytes(mAllocator, mOwnBuffer);
}

void TokenReader::beginReading(IO::Stream& stream) {
    if (!mOwnBuffer)
        mOwnBuffer = static_cast<char*>(Memory::allocateBytes(mAllocator, cReadBufferSize + 2));
    mStream = &stream;
    leaveBuffer();
    mReadBufferOffset = mSteppedBackTo = -1;
    mLineOffset = mPreviousLineOffset = 0;
    mLine = 1;
}

void TokenReader::endReading() noexcept {
    mStream = nullptr;
    leaveBuffer();
    mSteppedBackTo = offset(); // The byte before is gone.
}

/// The place stays where it is.
void TokenReader::leaveBuffer() noexcept {
    mReadBufferOffset = offset() - 1;
    mReadBuffer = cNoBytes;
    mReadBufferPos = mReadBufferEnd = cNoBytes + 1;
}

void TokenReader::fail(const String& message) const {
    throw new VRML2ParserException(message, getLine(), getColumn());
}

bool TokenReader::refill() {
    const char previous = mReadBufferEnd[-1];
    leaveBuffer(); // A stream that throws may have written to it.
    if (!mStream)
        return false;
    const uint64 count = std::min<uint64>(mStream->read(mOwnBuffer + 1, cReadBufferSize), cReadBufferSize);
    mOwnBuffer[0] = previous;
    mOwnBuffer[1 + count] = '\0';
    mReadBuffer = mOwnBuffer;
    mReadBufferPos = mOwnBuffer + 1;
    mReadBufferEnd = mReadBufferPos + count;
    return count != 0;
}

void TokenReader::refillOrFail() {
    if (!refill())
        failAtEnd();
}

void TokenReader::failAtEnd() const {
    fail("VRML2::Parser: End of file reached - corrupt VRML2 file");
}

char TokenReader::readNextChar() {
    if (mReadBufferPos == mReadBufferEnd)
        refillOrFail();
    const char character = *mReadBufferPos++;
    if (character == '\0')
        fail("VRML2::Parser: Invalid character in VRML2 file.");
    if (character == '\n')
        beginLine();
    return character;
}

/// The line feed was just read.
void TokenReader::beginLine() noexcept {
    mPreviousLineOffset = mLineOffset;
    mLineOffset = offset();
    ++mLine;
}

void TokenReader::gotoPrevChar() {
    if (!TARQ_ASSERT(offset() != mSteppedBackTo, "cannot go to previous character - uses gotoPrevChar twice without "
                                                 "readNextChar in between ?") ||
        !TARQ_ASSERT(offset() != 0, "no previous character, start of file"))
        return;
    --mReadBufferPos;
    mSteppedBackTo = offset();
    if (*mReadBufferPos == '\n') {
        mLineOffset = mPreviousLineOffset;
        --mLine;
    }
}

inline bool TokenReader::goPastBlank() {
    while (isOf(*mReadBufferPos, CHARACTER_BLANK)) {
        const char character = *mReadBufferPos;
        if (character == '#') {
            if (!skipLine())
                return false;
        } else if (character != '\0') {
            ++mReadBufferPos;
            if (character == '\n')
                beginLine();
        } else if (mReadBufferPos != mReadBufferEnd) {
            readNextChar(); // which refuses it
        } else if (!refill()) {
            return false;
        }
    }
    return true;
}

bool TokenReader::skipToToken() {
    return goPastBlank();
}

bool TokenReader::skipWhiteSpace() {
    const int64 before = offset();
    if (!goPastBlank())
        failAtEnd();
    return offset() != before;
}

char TokenReader::peekToken() {
    skipWhiteSpace();
    return *mReadBufferPos;
}

bool TokenReader::skipLine() {
    do {
        const auto left = static_cast<std::size_t>(mReadBufferEnd - mReadBufferPos);
        const auto* const lineFeed = static_cast<const char*>(std::memchr(mReadBufferPos, '\n', left));
        const char* const end = lineFeed ? lineFeed : mReadBufferEnd;
        if (const void* const zero = std::memchr(mReadBufferPos, '\0', static_cast<std::size_t>(end - mReadBufferPos)))
            mReadBufferPos = static_cast<const char*>(zero);
        else
            mReadBufferPos = end;
        if (mReadBufferPos != mReadBufferEnd) {
            readNextChar();
            return true;
        }
    } while (refill());
    return false;
}

std::string_view TokenReader::readName() {
    skipWhiteSpace();
    std::size_t length = 0;
    for (;;) {
        const char* const begin = mReadBufferPos;
        const char* end = begin;
        while (isOf(*end, CHARACTER_NAME))
            ++end;
        const auto count = static_cast<std::size_t>(end - begin);
        if (count > cLongestName - length) {
            mReadBufferPos += cLongestName - length + 1;
            failInName(mReadBufferPos[-1]);
        }
        std::copy(begin, end, mName + length);
        length += count;
        mReadBufferPos = end;
        if (end != mReadBufferEnd)
            break;
        refillOrFail();
    }
    if (length == 0 || *mReadBufferPos == '\0')
        failInName(readNextChar());
    return {mName, length};
}

void TokenReader::failInName(char character) const {
    fail(String("invalid character '") + character + "' in name");
}

bool TokenReader::readBool() {
    const bool isName = isOf(peekToken(), CHARACTER_NAME);
    if (!isName)
        readNextChar();
    const std::string_view name = isName ? readName() : std::string_view();
    if (name != "TRUE" && name != "FALSE")
        fail("bool wanted but not found while parsing!");
    return name == "TRUE";
}

inline int32 TokenReader::takeInt32() {
    static constexpr std::ptrdiff_t cSafeDigits = 9;
    if (!goPastBlank())
        failAtEnd();
    const bool isNegative = *mReadBufferPos == '-';
    const char* const begin = mReadBufferPos + isNegative;
    const char* const safeEnd = begin + std::min(mReadBufferEnd - begin, cSafeDigits);
    uint64 magnitude = 0;
    const char* const end = takeDigits(begin, safeEnd, magnitude);
    if (end == begin || end == mReadBufferEnd || isOf(*end, CHARACTER_INTEGER))
        return readLongInt32();
    mReadBufferPos = end;
    const auto number = static_cast<int32>(magnitude);
    return isNegative ? -number : number;
}

inline float TokenReader::takeFloat() {
    if (!goPastBlank())
        failAtEnd();
    const bool isNegative = *mReadBufferPos == '-';
    float number = 0;
    const char* const end = takePlain(mReadBufferPos + isNegative, mReadBufferEnd, number);
    if (!end || end == mReadBufferEnd || isOf(*end, CHARACTER_FLOAT))
        return readLongFloat();
    mReadBufferPos = end;
    return isNegative ? -number : number;
}

inline Math::Vec3f TokenReader::takeVec3f() {
    const float x = takeFloat();
    const float y = takeFloat();
    const float z = takeFloat();
    return {x, y, z};
}

int32 TokenReader::readLongInt32() {
    using Limits = std::numeric_limits<int32>;
    collectNumber(CHARACTER_INTEGER);
    int64 number = 0;
    if (!NumberScanner({mNumber.data(), mNumber.size()}).readSigned(number, NumberScanner::NOTATION_DECIMAL))
        failInNumber();
    return static_cast<int32>(std::clamp<int64>(number, Limits::min(), Limits::max()));
}

float TokenReader::readLongFloat() {
    collectNumber(CHARACTER_FLOAT);
    float number = 0;
    if (!NumberScanner({mNumber.data(), mNumber.size()}).readFloating(number))
        failInNumber();
    return number;
}

void TokenReader::collectNumber(uint8 characterClass) {
    mNumber.clear();
    for (;;) {
        const char* const begin = mReadBufferPos;
        const char* end = begin;
        while (isOf(*end, characterClass))
            ++end;
        mNumber.insert(mNumber.end(), begin, end);
        mReadBufferPos = end;
        if (end != mReadBufferEnd)
            return;
        refillOrFail();
    }
}

void TokenReader::failInNumber() {
    if (mNumber.empty())
        readNextChar();
    fail("number wanted but not found while parsing!");
}

int32 TokenReader::readInt32() {
    return takeInt32();
}

float TokenReader::readFloat() {
    return takeFloat();
}

Math::Vec3f TokenReader::readVec3f() {
    return takeVec3f();
}

void TokenReader::readInt32s(Container::Vector<int32>& numbers) {
    readMultiField([this, &numbers] { numbers.push_back(takeInt32()); });
}

void TokenReader::readVec3fs(Container::Vector<Math::Vec3f>& vectors) {
    readMultiField([this, &vectors] { vectors.push_back(takeVec3f()); });
}

String TokenReader::readString() {
    skipWhiteSpace();
    if (readNextChar() != '"')
        fail("string must begin with '\"'");
    String text;
    skipStringText(&text);
    return text;
}

/// The opening quote was read; the closing one is read as well. Without a `text`, nothing is kept.
void TokenReader::skipStringText(String* text) {
    for (;;) {
        const char* const begin = mReadBufferPos;
        const char* end = begin;
        while (!isOf(*end, CHARACTER_STRING_END))
            ++end;
        if (text)
            text->append(begin, static_cast<uint32>(end - begin));
        mReadBufferPos = end;
        char character = readNextChar();
        if (character == '"')
            return;
        if (character == '\\')
            character = readNextChar();
        if (text)
            text->push_back(character);
    }
}

void TokenReader::skipBraces(const String& message) {
    skipWhiteSpace();
    if (readNextChar() != '{')
        fail(message);
    for (uint64 open = 1; open != 0;) {
        skipWhiteSpace();
        switch (readNextChar()) {
        case '{':
            ++open;
            break;
        case '}':
            --open;
            break;
        case '"':
            skipStringText(nullptr);
            break;
        default:
            break;
        }
    }
}

} // namespace Tarq::Common::Parser::VRML2
