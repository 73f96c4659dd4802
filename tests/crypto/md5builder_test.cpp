#include "common/crypto/md5builder.h"

#include "tests/support/librarytest.h"
#include "tests/support/streams.h"

#include "common/exceptions/argumentexception.h"
#include "common/memory/memoryexception.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using Crypto::MD5Builder;

namespace {

String digestOf(const Memory::AllocatorPtr& allocator, const std::string& bytes) {
    MD5Builder builder(allocator);
    builder.add(bytes.data(), static_cast<unsigned int>(bytes.size()));
    return builder.computeSum().toString();
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "digests are those of the published test suite") {
    struct Case {
        const char* text;
        const char* digest;
    };
    const Case cases[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    MD5Builder builder(allocator());
    for (const auto& [text, digest] : cases) {
        CHECK(digestOf(allocator(), text) == digest);
        builder.reset();
        for (const char* at = text; *at != 0; ++at)
            builder.add(at, 1);
        CHECK(builder.computeSum().toString() == digest);
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a copy made in the middle goes on by itself") {
    MD5Builder builder(allocator());
    builder.add("mess", 4);
    MD5Builder copy(builder);
    MD5Builder third(copy);
    third.add("x", 1);
    builder.add("age digest", 10);
    CHECK(builder.computeSum().toString() == "f96b697d7cb7938d525a2f31aaf161d0");
    copy.add("age digest", 10);
    CHECK(copy.computeSum().toString() == "f96b697d7cb7938d525a2f31aaf161d0");
}

TEST_CASE_FIXTURE(LibraryTest, "a stream is digested from its position, for a length or to its end") {
    struct Case {
        const char* name;
        int64 length;
        bool expected;
        std::size_t digested;
        std::vector<std::string> calls;
    };
    const Case cases[] = {
        {"nothing", 0, true, 0, {}},
        {"a part", 10, true, 10, {"read 10"}},
        {"exactly one buffer", 65535, true, 65535, {"read 65535"}},
        {"a buffer and a byte", 65536, true, 65536, {"read 65535", "read 1"}},
        {"all, told in advance", 100000, true, 100000, {"read 65535", "read 34465"}},
        {"more than there is", 100001, false, 100000, {"read 65535", "read 34466", "read 1"}},
        {"far more than there is", int64{1} << 40, false, 100000, {"read 65535", "read 65535", "read 65535"}},
        {"to the end", -1, true, 100000, {"read 65535", "read 65535", "read 65535"}},
    };
    const std::string bytes = patternOf(100003);
    for (const Case& entry : cases) {
        CAPTURE(entry.name);
        RecordingStream stream(bytes);
        stream.seek(3, IO::Stream::SORIGIN_BEGIN);
        stream.takeCalls();
        MD5Builder builder(allocator());
        CHECK(builder.addStream(&stream, entry.length) == entry.expected);
        CHECK(stream.takeCalls() == entry.calls);
        CHECK(builder.computeSum().toString() == digestOf(allocator(), bytes.substr(3, entry.digested)));
    }
}

TEST_CASE_FIXTURE(LibraryTest, "what a stream throws passes on, and the buffer goes back") {
    RecordingStream stream(patternOf(100000));
    MD5Builder builder(allocator());
    const int64 before = getMemory().getBytes();
    stream.failAt(2);
    {
        const auto thrown =
            checkThrown<IO::IOException>([&] { builder.addStream(&stream, -1); }, "IOException", "test failure");
        CHECK(getMemory().getBytes() < before + 65535);
    }
    stream.failNever();
    CHECK(builder.addStream(&stream, -1));
    CHECK(builder.computeSum().toString() == digestOf(allocator(), patternOf(100000)));

    const auto thrown = checkThrown<Exceptions::ArgumentNullException>(
        [&] { builder.addStream(nullptr, -1); }, "ArgumentNullException", "MD5Builder: The stream cannot be NULL.");
    CHECK(thrown->getArgumentName() == "stream");
}
