#include "bench/cases.h"
#include "common/io/packedstreamdictionary.h"
#include "common/memory/memorystream.h"

#include <zip.h>

#include <memory>
#include <numeric>

// Both sides work in memory and store bytes as they are. A zip archive has a checksum for each entry, which libzip
// computes and compares; ours has none.

namespace Tarq::Bench {

namespace {

using Common::IO::PackedStreamDictionary;
using Common::IO::Stream;
using Common::Memory::MemoryStream;

constexpr uint32 cEntries = 1000;
constexpr uint32 cEntrySize = 16384;
/// As the peer's blocks in memory are.
constexpr uint32 cBlockSize = 65536;
constexpr const char* cPeer = "libzip, which also checks sums";

/// What a game has: names of a few folders, and contents that differ.
template <class Text>
struct Contents {
    std::vector<Text> names;
    std::vector<unsigned char> bytes; ///< of one entry; its first word is the entry's number

    Contents() : bytes(cEntrySize) {
        for (uint32 number = 0; number < cEntries; ++number) {
            const uint32 mixed = number * 7919 % cEntries;
            names.push_back(
                Text(("textures/level" + std::to_string(mixed % 10) + "/surface" + std::to_string(mixed)).c_str()));
        }
        std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    }
    const void* entry(uint32 number) {
        benchmark::DoNotOptimize(
            std::copy_n(reinterpret_cast<const unsigned char*>(&number), sizeof(number), bytes.begin()));
        return bytes.data();
    }
};

/// Throws when the bytes are not those of the entry.
void checkEntry(const std::vector<unsigned char>& bytes, uint64 count, uint32 number) {
    uint32 stored;
    std::copy_n(bytes.begin(), sizeof(stored), reinterpret_cast<unsigned char*>(&stored));
    check(count == cEntrySize && stored == number && bytes.back() == 0xFF, "an entry is wrong");
}

class Ours {
public:
    void create() {
        mStream.open();
        PackedStreamDictionary archive;
        check(archive.open(&mStream, true), "the archive cannot be made");
        for (uint32 number = 0; number < cEntries; ++number) {
            MemoryStream source("source", cEntrySize);
            source.write(mContents.entry(number), cEntrySize);
            check(archive.addStream(&source, mContents.names[number]), "an entry cannot be added");
        }
        archive.close();
    }
    void open(PackedStreamDictionary& archive) {
        mStream.seek(0, Stream::SORIGIN_BEGIN);
        check(archive.open(&mStream, false), "the archive cannot be opened");
    }
    std::unique_ptr<Stream> openEntry(PackedStreamDictionary& archive, uint32 number) {
        std::unique_ptr<Stream> entry(archive.openStream(mContents.names[number]));
        check(entry != nullptr, "an entry cannot be opened");
        return entry;
    }
    uint64 size() const { return mStream.getLength(); }

private:
    Contents<Common::String> mContents;
    MemoryStream mStream{"archive", cBlockSize};
};

struct CloseFile {
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};
using File = std::unique_ptr<zip_file_t, CloseFile>;

class Libzip {
public:
    Libzip() : mSource(zip_source_buffer_create(nullptr, 0, 0, nullptr)) {}
    ~Libzip() { zip_source_free(mSource); }
    Libzip(const Libzip&) = delete;
    Libzip& operator=(const Libzip&) = delete;

    void create() {
        zip_t* const archive = open(ZIP_CREATE | ZIP_TRUNCATE);
        for (uint32 number = 0; number < cEntries; ++number) {
            // The peer reads its sources when it closes the archive, and wants all of them to be there.
            void* const copy = std::malloc(cEntrySize);
            std::memcpy(copy, mContents.entry(number), cEntrySize);
            zip_source_t* const source = zip_source_buffer(archive, copy, cEntrySize, 1);
            const zip_int64_t index = zip_file_add(archive, mContents.names[number].c_str(), source, 0);
            check(index >= 0, "an entry cannot be added");
            zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_STORE, 0);
        }
        check(zip_close(archive) == 0, "the archive cannot be made");
    }
    zip_t* open(int flags = ZIP_RDONLY) {
        zip_source_keep(mSource);
        zip_t* const archive = zip_open_from_source(mSource, flags, nullptr);
        check(archive, "the archive cannot be opened");
        return archive;
    }
    File openEntry(zip_t* archive, uint32 number) {
        File entry(zip_fopen(archive, mContents.names[number].c_str(), 0));
        check(entry != nullptr, "an entry cannot be opened");
        return entry;
    }

private:
    Contents<std::string> mContents;
    zip_source_t* mSource;
};

void createByOurs(benchmark::State& state) {
    Ours ours;
    for (auto _ : state)
        ours.create();
    countOperations(state, cEntries);
}

void createByLibzip(benchmark::State& state) {
    Libzip libzip;
    for (auto _ : state)
        libzip.create();
    countOperations(state, cEntries);
}

void openByOurs(benchmark::State& state) {
    Ours ours;
    ours.create();
    for (auto _ : state) {
        PackedStreamDictionary archive;
        ours.open(archive);
    }
    countOperations(state, cEntries);
}

void openByLibzip(benchmark::State& state) {
    Libzip libzip;
    libzip.create();
    for (auto _ : state) {
        zip_t* const archive = libzip.open();
        check(zip_get_num_entries(archive, 0) == cEntries, "the archive is not complete");
        zip_discard(archive);
    }
    countOperations(state, cEntries);
}

/// Entries are opened in an order of their own, not in that of the archive.
constexpr uint32 shuffled(uint32 number) {
    return number * 389 % cEntries;
}

void openEntryByOurs(benchmark::State& state) {
    Ours ours;
    ours.create();
    PackedStreamDictionary archive;
    ours.open(archive);
    for (auto _ : state) {
        for (uint32 number = 0; number < cEntries; ++number)
            ours.openEntry(archive, shuffled(number));
    }
    countOperations(state, cEntries);
}

void openEntryByLibzip(benchmark::State& state) {
    Libzip libzip;
    libzip.create();
    zip_t* const archive = libzip.open();
    for (auto _ : state) {
        for (uint32 number = 0; number < cEntries; ++number)
            libzip.openEntry(archive, shuffled(number));
    }
    countOperations(state, cEntries);
    zip_discard(archive);
}

void readAllByOurs(benchmark::State& state) {
    Ours ours;
    ours.create();
    PackedStreamDictionary archive;
    ours.open(archive);
    std::vector<unsigned char> bytes(cEntrySize);
    for (auto _ : state) {
        for (uint32 number = 0; number < cEntries; ++number)
            checkEntry(bytes, ours.openEntry(archive, number)->read(bytes.data(), cEntrySize), number);
    }
    countOperations(state, cEntries);
}

void readAllByLibzip(benchmark::State& state) {
    Libzip libzip;
    libzip.create();
    zip_t* const archive = libzip.open();
    std::vector<unsigned char> bytes(cEntrySize);
    for (auto _ : state) {
        for (uint32 number = 0; number < cEntries; ++number) {
            const File entry = libzip.openEntry(archive, number);
            checkEntry(bytes, static_cast<uint64>(zip_fread(entry.get(), bytes.data(), cEntrySize)), number);
        }
    }
    countOperations(state, cEntries);
    zip_discard(archive);
}

} // namespace

std::vector<Case> archiveCases() {
    return {
        {"archive/open", openByOurs, {{cPeer, 0.2, openByLibzip}}},
        {"archive/open-entry", openEntryByOurs, {{cPeer, 0.7, openEntryByLibzip}}},
        {"archive/read-all", readAllByOurs, {{cPeer, 0.35, readAllByLibzip}}},
        {"archive/create", createByOurs, {{cPeer, 0.5, createByLibzip}}},
    };
}

} // namespace Tarq::Bench
