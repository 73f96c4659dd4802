#include "bench/cases.h"
#include "common/memory/memorystream.h"

#include <event2/buffer.h>

#include <cstring>
#include <memory>

namespace Tarq::Bench {

namespace {

using Common::IO::Stream;

/// The block size of the streams in which messages are built.
constexpr uint32 cBlockSize = 65535;

/// Used as readers and writers of data do it, as nothing but a stream.
class Ours {
public:
    Ours() : mMemory("stream", cBlockSize) { benchmark::DoNotOptimize(mStream); }

    void append(const void* bytes, uint32 size) { mStream->write(bytes, size); }
    void startReading() { mStream->seek(0, Stream::SORIGIN_BEGIN); }
    void read(void* bytes, uint32 size) { mStream->read(bytes, size); }

private:
    Common::Memory::MemoryStream mMemory;
    Stream* mStream = &mMemory;
};

class StandardString {
public:
    void append(const void* bytes, uint32 size) { mText.append(static_cast<const char*>(bytes), size); }
    void startReading() { mPosition = 0; }
    void read(void* bytes, uint32 size) { mPosition += mText.copy(static_cast<char*>(bytes), size, mPosition); }

private:
    std::string mText;
    std::size_t mPosition = 0;
};

class EventBuffer {
public:
    void append(const void* bytes, uint32 size) { evbuffer_add(mBuffer.get(), bytes, size); }
    void startReading() {}
    void read(void* bytes, uint32 size) { evbuffer_remove(mBuffer.get(), bytes, size); }

private:
    std::unique_ptr<evbuffer, void (*)(evbuffer*)> mBuffer{evbuffer_new(), &evbuffer_free};
};

/// `Size` bytes `Count` times, each with its number in front.
template <class Buffer, uint32 Size, uint32 Count>
void appendThenRead(benchmark::State& state) {
    uint64 sum = 0;
    unsigned char piece[Size] = {};
    for (auto _ : state) {
        Buffer buffer;
        for (uint32 number = 0; number < Count; ++number) {
            std::memcpy(piece, &number, sizeof(number));
            buffer.append(piece, Size);
        }
        buffer.startReading();
        for (uint32 left = Count; left != 0; --left) {
            buffer.read(piece, Size);
            uint32 number;
            std::memcpy(&number, piece, sizeof(number));
            sum += number;
        }
    }
    check(sum == static_cast<uint64>(state.iterations()) * (uint64{Count} * (Count - 1) / 2), "a piece is wrong");
}

template <uint32 Size, uint32 Count>
Case makeCase(const char* name) {
    return {name,
            appendThenRead<Ours, Size, Count>,
            {{"std::string", 1.0, appendThenRead<StandardString, Size, Count>},
             {"libevent evbuffer", 0.9, appendThenRead<EventBuffer, Size, Count>}}};
}

} // namespace

std::vector<Case> memoryStreamCases() {
    return {makeCase<4, 1000000>("memorystream/4-bytes"), makeCase<256, 65536>("memorystream/256-bytes")};
}

} // namespace Tarq::Bench
