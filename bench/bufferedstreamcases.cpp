#include "bench/cases.h"
#include "bench/datafile.h"
#include "common/io/bufferedstream.h"
#include "common/io/filestream.h"

#include <cstdio>
#include <memory>

namespace Tarq::Bench {

namespace {

using Common::IO::BufferedStream;
using Common::IO::FileStream;
using Common::IO::Stream;

constexpr uint32 cBufferSize = 8192;
constexpr uint32 cWords = 1000000;
constexpr uint64 cWordSum = uint64{cWords} * (cWords - 1) / 2;
/// Of four words, three are skipped and one is read.
constexpr uint32 cSkips = 200000;
constexpr uint32 cSkipped = 12;
constexpr uint64 cSkipSum = 4 * (uint64{cSkips} * (cSkips - 1) / 2) + 3 * uint64{cSkips};

const DataFile& words() {
    static const DataFile file(cWords);
    return file;
}

/// The library's side. The file is used as readers and writers of data do it, as nothing but a stream.
class Ours {
public:
    explicit Ours(const DataFile& data)
        : mFile(data.path(), FileStream::FACCESS_READWRITE, FileStream::FMODE_OPEN), mBuffered(&mFile, cBufferSize) {
        benchmark::DoNotOptimize(mStream);
    }

    void rewind() { mStream->seek(0, Stream::SORIGIN_BEGIN); }
    void skip() { mStream->seek(cSkipped, Stream::SORIGIN_CURRENT); }
    void handOn() { mBuffered.clearBuffer(); }
    void write(uint32 word) { mStream->write(&word, sizeof(word)); }
    uint32 read() {
        uint32 word = 0;
        mStream->read(&word, sizeof(word));
        return word;
    }

private:
    FileStream mFile;
    BufferedStream mBuffered;
    Stream* mStream = &mBuffered;
};

class StandardFile {
public:
    explicit StandardFile(const DataFile& data) : mFile(std::fopen(data.path(), "r+be"), &std::fclose) {
        check(mFile && std::setvbuf(mFile.get(), nullptr, _IOFBF, cBufferSize) == 0, "the file cannot be opened");
    }

    void rewind() { std::fseek(mFile.get(), 0, SEEK_SET); }
    void skip() { std::fseek(mFile.get(), cSkipped, SEEK_CUR); }
    void handOn() { fflush_unlocked(mFile.get()); }
    void write(uint32 word) { fwrite_unlocked(&word, sizeof(word), 1, mFile.get()); }
    uint32 read() {
        uint32 word = 0;
        if (fread_unlocked(&word, sizeof(word), 1, mFile.get()) != 1)
            word = 0;
        return word;
    }

private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile;
};

template <class File>
void writeWords(benchmark::State& state) {
    const DataFile data(0);
    {
        File file(data);
        for (auto _ : state) {
            file.rewind();
            for (uint32 word = 0; word < cWords; ++word)
                file.write(word);
            file.handOn();
        }
    }
    check(data.read() == words().read(), "the file is not what was written");
}

template <class File>
void readWords(benchmark::State& state) {
    File file(words());
    uint64 sum = 0;
    for (auto _ : state) {
        file.rewind();
        for (uint32 left = cWords; left != 0; --left)
            sum += file.read();
    }
    check(sum == static_cast<uint64>(state.iterations()) * cWordSum, "a word is wrong");
}

template <class File>
void skipAndRead(benchmark::State& state) {
    File file(words());
    uint64 sum = 0;
    for (auto _ : state) {
        file.rewind();
        for (uint32 left = cSkips; left != 0; --left) {
            file.skip();
            sum += file.read();
        }
    }
    check(sum == static_cast<uint64>(state.iterations()) * cSkipSum, "a word is wrong");
}

} // namespace

std::vector<Case> bufferedStreamCases() {
    const char* const peer = "unlocked stdio";
    return {
        {"bufferedstream/write", writeWords<Ours>, {{peer, 0.5, writeWords<StandardFile>}}},
        {"bufferedstream/read", readWords<Ours>, {{peer, 0.3, readWords<StandardFile>}}},
        {"bufferedstream/skip-and-read", skipAndRead<Ours>, {{peer, 0.05, skipAndRead<StandardFile>}}},
    };
}

} // namespace Tarq::Bench
