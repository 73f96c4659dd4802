#include "common/interface.h"
#include "common/io/ioexception.h"
#include "common/library.h"
#include "common/memory/memorystream.h"
#include "common/network/message/dispatcher.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/messagereader.h"
#include "common/reflection/datatype/stringconversionfunctions.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>

// Reads a message value by value, out of streams that hold the same bytes in different ways, and writes what was read:
// all of them have to come equally far with the same values, and the bytes written are those that were read. The first
// byte of the input says whether values have tags. Where they have, the tag that comes says what is read, sometimes
// something else; where they have none, all types come in turn. Then values are read out of a stream that throws and
// tells of another length than it has: nothing may pass on.

using namespace Tarq::Common;
using namespace Tarq::Common::Network::Message;
using Memory::MemoryStream;

namespace {

/// What does not fit is an assertion.
class IgnoringCallback : public Callback::AssertCallback {
public:
    void showAssert(const char*, const char*, unsigned int) override {}
};

/// Hides its bytes from readers that would look at them in place.
class HiddenStream : public MemoryStream {
    using MemoryStream::MemoryStream;
};

/// Delivers a few bytes at a time.
class SlowStream : public MemoryStream {
public:
    using MemoryStream::MemoryStream;

    uint64 read(void* dst, uint64 numBytes) override {
        return MemoryStream::read(dst, std::min<uint64>(numBytes, cLongestRead));
    }

private:
    static constexpr uint64 cLongestRead = 3;
};

/// Throws at the n-th read, and tells of more or fewer bytes than it has.
class FaultyStream : public SlowStream {
public:
    FaultyStream(uint32 readsBeforeFailure, int64 error)
        : SlowStream("faulty", 4096), mReadsLeft(readsBeforeFailure), mError(error) {}

    uint64 getLength() const override {
        const int64 length = static_cast<int64>(MemoryStream::getLength()) + mError;
        return length > 0 ? static_cast<uint64>(length) : 0;
    }
    uint64 read(void* dst, uint64 numBytes) override {
        if (mReadsLeft == 0)
            throw new IO::IOException("no more reads");
        --mReadsLeft;
        return SlowStream::read(dst, numBytes);
    }

private:
    uint32 mReadsLeft;
    int64 mError;
};

void require(bool holds) {
    if (!holds)
        std::abort();
}

std::string bytesOf(IO::Stream& stream) {
    std::string bytes(stream.getLength(), '\0');
    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    require(stream.read(bytes.data(), bytes.size()) == bytes.size());
    return bytes;
}

template <class T>
T makeEmpty() {
    const Memory::AllocatorPtr& allocator = Library::getTempAlloc();
    if constexpr (StreamContainer<T>::value)
        return T(allocator);
    else
        return Reflection::Datatype::TextForm<T>::convert("", allocator);
}

/// One of the streams and its reader.
struct Source {
    Source(MemoryStream& source, const std::string& bytes, bool useType)
        : stream(source), reader((source.write(bytes.data(), bytes.size()), &source), useType) {}

    MemoryStream& stream;
    MessageReader reader;
};

/// What came of reading one value.
struct Outcome {
    bool isRead;
    uint64 position;
    std::string written;

    bool operator==(const Outcome&) const = default;
};

/// All ways of reading are one.
template <class T>
bool readSomehow(MessageReader& reader, T& value, bool useType, uint32 way) {
    switch (way % 3) {
    case 0:
        return reader.read(value);
    case 1:
        return reader.read(&value, getStreamID<T>());
    default:
        return reader.readForceUseType(&value, getStreamID<T>(), useType);
    }
}

template <class T>
Outcome readValue(Source& source, bool useType, uint32 way) {
    T value = makeEmpty<T>();
    const bool isRead = readSomehow(source.reader, value, useType, way);
    MemoryStream written("written", 4096);
    MessageBuilder(&written, useType).write(value);
    return {isRead, source.stream.getPosition(), bytesOf(written)};
}

class Message {
public:
    Message(const std::string& bytes, bool useType) : mBytes(bytes), mUseType(useType) {}

    void readAll() {
        for (uint32 turn = 0; !mSources[0].reader.isFinished(); ++turn) {
            bool isRead = false;
            uint32 type = 0;
            const uint32 chosen = chooseType(turn);
            Reflection::Datatype::forEachBuiltinDatatype([&]<class Type>(const Type&) {
                if (type++ == chosen)
                    isRead = readEverywhere<typename Type::Native>();
            });
            if (!isRead)
                return;
        }
    }

private:
    static constexpr uint32 cTypes = 42;

    /// As a place in the list of types.
    uint32 chooseType(uint32 turn) const {
        uint32 chosen = turn % cTypes;
        const auto tag = static_cast<unsigned char>(mBytes[mSources[0].stream.getPosition()]);
        if (mUseType && turn % 16 != 15) {
            uint32 type = 0;
            Reflection::Datatype::forEachBuiltinDatatype([&]<class Type>(const Type&) {
                if (getStreamID<typename Type::Native>() == tag)
                    chosen = type;
                ++type;
            });
        }
        return chosen;
    }

    template <class T>
    bool readEverywhere() {
        const uint64 start = mSources[0].stream.getPosition();
        const Outcome outcome = readValue<T>(mSources[0], mUseType, 0);
        for (uint32 other = 1; other < std::size(mSources); ++other)
            require(readValue<T>(mSources[other], mUseType, other) == outcome);
        require(outcome.position >= start && outcome.position <= mBytes.size());
        // Every byte but 0 is true, and is written as 1.
        constexpr bool cHasBools = std::is_same_v<T, bool> || std::is_same_v<T, Container::Vector<bool>>;
        if (outcome.isRead && !cHasBools)
            require(mBytes.compare(start, outcome.position - start, outcome.written) == 0);
        return outcome.isRead;
    }

    const std::string& mBytes;
    bool mUseType;
    MemoryStream mWhole{"whole", 65535};
    MemoryStream mPieces{"pieces", 5};
    HiddenStream mHidden{"hidden", 4096};
    SlowStream mSlow{"slow", 4096};
    Source mSources[4] = {{mWhole, mBytes, mUseType},
                          {mPieces, mBytes, mUseType},
                          {mHidden, mBytes, mUseType},
                          {mSlow, mBytes, mUseType}};
};

/// Reads what comes of all types in turn, until a value fails; what is wrong with the stream depends on the bytes.
void readFaulty(const std::string& bytes, bool useType) {
    const auto byteAt = [&bytes](uint64 at) {
        return bytes.empty() ? 0U : static_cast<unsigned char>(bytes[static_cast<std::size_t>(at % bytes.size())]);
    };
    FaultyStream stream(byteAt(bytes.size() / 2), int64{byteAt(bytes.size() / 3)} - 128);
    stream.write(bytes.data(), bytes.size());
    MessageReader reader(&stream, useType);
    uint32 way = byteAt(0);
    bool isRead = true;
    Reflection::Datatype::forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        if (!isRead || (useType && getStreamID<T>() != byteAt(stream.getPosition())))
            return;
        T value = makeEmpty<T>();
        isRead = readSomehow(reader, value, useType, ++way);
        if constexpr (StreamContainer<T>::value)
            require(value.size() <= bytes.size());
    });
    MemoryStream target("target", 4096);
    reader.readToStream(&target, byteAt(1));
    require(target.getLength() <= bytes.size());
}

/// Reads what the tags say, and nested streams.
class ReadingHandler : public MessageHandler {
public:
    ReadingHandler() : MessageHandler(42) {}

    bool handleMessage(MessageReader* reader, uint32) override {
        reset();
        MemoryStream nested("nested", 4096);
        const bool isRead = reader->read(mErrorCode) && reader->read(mErrorText) && reader->readStream(&nested) &&
                            reader->readToStream(&nested, mErrorCode);
        require(!isRead || nested.getLength() <= reader->getStream()->getLength());
        return isRead && reader->isFinished();
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new IgnoringCallback));
    Interface::initLibrary(nullptr);
    std::atexit(Interface::closeLibrary);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    const bool useType = (data[0] & 1) != 0;
    Message(bytes, useType).readAll();
    readFaulty(bytes, useType);

    Dispatcher dispatcher;
    require(dispatcher.registerMessageHandler(new (Library::getTempAlloc()) ReadingHandler));
    MemoryStream stream("message", 65535);
    stream.write(bytes.data(), bytes.size());
    dispatcher.dispatch(&stream, 0);
    return 0;
}
