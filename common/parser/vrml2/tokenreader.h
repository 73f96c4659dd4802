#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/io/stream.h"
#include "common/math/vec3.h"
#include "common/memory/allocatorptr.h"
#include "common/string.h"
#include "common/types.h"

#include <string_view>

namespace Tarq::Common::Parser::VRML2 {

/// The words of a file: what a node that reads its own fields is given them by.
///
/// Every operation but `readNextChar` and `gotoPrevChar` goes past white space and comments first, and leaves what
/// comes behind its word. Failures are `VRML2ParserException`s with the line, counted from 1, and the number of bytes
/// of it that were read; what the stream throws passes through. The end of the file is one: "VRML2::Parser: End of file
/// reached - corrupt VRML2 file", and so is a zero byte: "VRML2::Parser: Invalid character in VRML2 file.". Where no
/// file is read, each word is beyond the end.
class TARQ_API TokenReader {
public:
    /// What is read from the stream at once, in bytes.
    static constexpr uint32 cReadBufferSize = 65535;
    /// In bytes.
    static constexpr uint32 cLongestName = 1024;

    TokenReader(const TokenReader&) = delete;
    TokenReader& operator=(const TokenReader&) = delete;

    uint32 getLine() const noexcept { return mLine; }
    uint32 getColumn() const noexcept { return static_cast<uint32>(offset() - mLineOffset); }
    /// Throws a `VRML2ParserException` for the place that was reached.
    [[noreturn]] void fail(const String& message) const;

    /// The next byte, whatever it is.
    char readNextChar();
    /// Goes back by one byte, which is read once more then. Asserts that there is one, and that the last one is not
    /// taken back already; otherwise does nothing.
    void gotoPrevChar();

    /// Goes to the next word, of whatever kind; false at the end of the file.
    bool skipToToken();
    /// The same; the end of the file is a failure. Returns whether there was anything to go past.
    bool skipWhiteSpace();
    /// The first byte of the next word, which stays.
    char peekToken();

    /// Lasts until the next name is read.
    std::string_view readName();
    /// "TRUE" or "FALSE"
    bool readBool();
    /// Takes the longest run of "0123456789-", and reads it as `sscanf` would with "%d": what stands behind the number
    /// is dropped. A number beyond the range becomes the nearest one. A run that begins with none is a failure.
    int32 readInt32();
    /// The same with "0123456789.-e" and "%f". A number beyond the range becomes infinite.
    float readFloat();
    Math::Vec3f readVec3f();
    /// In double quotes; a backslash makes the next character a part of the text.
    String readString();

    /// Reads a single element, or those between "[" and "]", which white space keeps apart. `readElement` reads one.
    template <class Read>
    void readMultiField(Read readElement);
    /// Multi fields of numbers, which are appended.
    void readInt32s(Container::Vector<int32>& numbers);
    void readVec3fs(Container::Vector<Math::Vec3f>& vectors);

    /// Goes past an opening brace and all up to the one that closes it; braces in strings and comments are none.
    /// `message` is for the failure that another word is.
    void skipBraces(const String& message);

protected:
    explicit TokenReader(const Memory::AllocatorPtr& allocator) noexcept;
    ~TokenReader();

    /// Reads from the stream's position on, which counts as the start of a file. The stream stays the caller's, who
    /// keeps it until `endReading`.
    void beginReading(IO::Stream& stream);
    /// Lets go of the stream. All that is read then is the end of a file; the place stays that which was reached.
    void endReading() noexcept;
    /// The rest of the line, and its end. False at the end of the file.
    bool skipLine();

private:
    int64 offset() const noexcept { return mReadBufferOffset + (mReadBufferPos - mReadBuffer); }
    /// Only at the end of the buffer. False at the end of the stream.
    bool refill();
    void refillOrFail();
    void leaveBuffer() noexcept;
    void beginLine() noexcept;
    void skipStringText(String* text);
    /// Appends the run that the reader stands in front of to `mNumber`.
    void collectNumber(uint8 characterClass);
    [[noreturn]] void failAtEnd() const;
    [[noreturn]] void failInName(char character) const;
    [[noreturn]] void failInNumber();
    float readLongFloat();
    int32 readLongInt32();
    // For the readers of many numbers, which leave no call of them over.
    bool goPastBlank();
    float takeFloat();
    int32 takeInt32();
    Math::Vec3f takeVec3f();

    Memory::AllocatorPtr mAllocator;
    IO::Stream* mStream = nullptr;
    char* mOwnBuffer = nullptr;
    /// The byte before those that were read last, these, and a zero that no loop goes past: the own buffer, or one that
    /// has no bytes.
    const char* mReadBuffer;
    const char* mReadBufferPos;   ///< the next byte
    const char* mReadBufferEnd;   ///< where the zero is
    int64 mReadBufferOffset = -1; ///< of `mReadBuffer` in the file; -1 at its start
    int64 mLineOffset = 0;        ///< where the current line begins in the file
    int64 mPreviousLineOffset = 0;
    int64 mSteppedBackTo = -1; ///< where the last step back has led to
    uint32 mLine = 1;
    char mName[cLongestName];
    Container::Vector<char> mNumber; ///< one that is no simple one
};

template <class Read>
void TokenReader::readMultiField(Read readElement) {
    if (peekToken() != '[')
        return readElement();
    readNextChar();
    skipWhiteSpace();
    while (*mReadBufferPos != ']') {
        readElement();
        const bool isSeparated = skipWhiteSpace();
        if (!isSeparated && *mReadBufferPos != ']') {
            readNextChar();
            fail("elements in a multi field must be seperated by whitespace");
        }
    }
    readNextChar();
}

} // namespace Tarq::Common::Parser::VRML2
