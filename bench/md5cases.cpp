#include "bench/cases.h"
#include "bench/datafile.h"
#include "common/crypto/md5builder.h"
#include "common/io/filestream.h"
#include "common/library.h"

#include <algorithm>
#include <array>

#include <fcntl.h>
#include <unistd.h>

// The functions that the library itself stands on.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md5.h>

namespace Tarq::Bench {

namespace {

constexpr uint32 cFileSize = 64 << 20;
constexpr std::size_t cBufferSize = 65536;

using Digest = std::array<unsigned char, MD5_DIGEST_LENGTH>;

Digest digestOf(const void* data, std::size_t size) {
    Digest digest;
    MD5(static_cast<const unsigned char*>(data), size, digest.data());
    return digest;
}

std::vector<unsigned char> makeBytes(std::size_t size) {
    std::vector<unsigned char> bytes(size);
    std::generate(bytes.begin(), bytes.end(), [number = 0u]() mutable { return (number += 37u) >> 3 & 0xFF; });
    return bytes;
}

void digestBytesByOurs(benchmark::State& state, std::size_t size) {
    const auto bytes = makeBytes(size);
    Common::Crypto::MD5Builder builder(Common::Library::getTempAlloc());
    Common::Crypto::MD5Sum sum;
    for (auto _ : state) {
        builder.reset();
        builder.add(bytes.data(), static_cast<unsigned>(size));
        sum = builder.computeSum();
        benchmark::DoNotOptimize(sum);
    }
    check(std::ranges::equal(sum, digestOf(bytes.data(), size)), "the digest is wrong");
}

void digestBytesByPeer(benchmark::State& state, std::size_t size) {
    const auto bytes = makeBytes(size);
    MD5_CTX context;
    Digest sum;
    for (auto _ : state) {
        MD5_Init(&context);
        MD5_Update(&context, bytes.data(), size);
        MD5_Final(sum.data(), &context);
        benchmark::DoNotOptimize(sum);
    }
    check(sum == digestOf(bytes.data(), size), "the digest is wrong");
}

struct LargeFile {
    DataFile file{cFileSize / sizeof(uint32)};
    Digest digest = [this] {
        const auto words = file.read();
        return digestOf(words.data(), cFileSize);
    }();
};

const LargeFile& largeFile() {
    static const LargeFile large;
    return large;
}

void digestFileByOurs(benchmark::State& state) {
    const LargeFile& large = largeFile();
    Common::Crypto::MD5Builder builder(Common::Library::getTempAlloc());
    for (auto _ : state) {
        using Common::IO::FileStream;
        FileStream stream(large.file.path(), FileStream::FACCESS_READ, FileStream::FMODE_OPEN);
        builder.reset();
        check(builder.addStream(&stream, -1), "the file is too short");
        check(std::ranges::equal(builder.computeSum(), large.digest), "the digest is wrong");
    }
}

void digestFileByPeer(benchmark::State& state) {
    const LargeFile& large = largeFile();
    std::vector<unsigned char> buffer(cBufferSize);
    for (auto _ : state) {
        MD5_CTX context;
        MD5_Init(&context);
        const int file = open(large.file.path(), O_RDONLY | O_CLOEXEC);
        while (const ssize_t count = ::read(file, buffer.data(), buffer.size())) {
            check(count > 0, "the file cannot be read");
            MD5_Update(&context, buffer.data(), static_cast<std::size_t>(count));
        }
        close(file);
        Digest sum;
        MD5_Final(sum.data(), &context);
        check(sum == large.digest, "the digest is wrong");
    }
}

Case bytesCase(const char* name, std::size_t size, double goal) {
    return {name,
            [size](benchmark::State& state) { digestBytesByOurs(state, size); },
            {{"libcrypto", goal, [size](benchmark::State& state) { digestBytesByPeer(state, size); }}}};
}

} // namespace

std::vector<Case> md5Cases() {
    return {
        bytesCase("md5/64-bytes", 64, 1.05),
        bytesCase("md5/64-kib", 64 << 10, 1.02),
        {"md5/64-mib-file", digestFileByOurs, {{"libcrypto", 1.02, digestFileByPeer}}},
    };
}

} // namespace Tarq::Bench
