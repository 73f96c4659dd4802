#include "tool/client/frame.h"

#include "tool/client/codec.h"

#include "tests/tool/scriptedhost.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

const uint8* unsignedOf(const std::string& bytes) {
    return reinterpret_cast<const uint8*>(bytes.data());
}

/// The messages, each with a comma behind it, that come out when the bytes go in by pieces of that size.
std::string assembled(FrameAssembler& assembler, const std::string& bytes, uint32 pieceSize) {
    std::string messages;
    for (uint32 at = 0; at < bytes.size();) {
        const uint32 left = std::min(pieceSize, static_cast<uint32>(bytes.size()) - at);
        const uint32 taken = assembler.take(unsignedOf(bytes) + at, left);
        at += taken;
        if (assembler.getState() == FrameAssembler::FRAME_COMPLETE) {
            std::string message(assembler.getLength(), '?');
            assembler.getMessage().seek(0, Tarq::Common::IO::Stream::SORIGIN_BEGIN);
            assembler.getMessage().read(message.data(), message.size());
            messages += message + ',';
            CHECK(assembler.take(unsignedOf(bytes), 1) == 0);
            assembler.next();
        } else if (taken == 0) {
            break;
        }
    }
    return messages;
}

std::string frameBytes(std::size_t length) {
    return std::string(length, 'x');
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "messages are put together from pieces of any size") {
    const std::string bytes =
        frameOf("one") + frameOf("") + frameOf(frameBytes(5000)) + frameOf("end") + std::string(2, 0);
    for (const uint32 pieceSize : {1u, 2u, 3u, 5u, 4096u, 100000u}) {
        CAPTURE(pieceSize);
        FrameAssembler assembler(5000);
        CHECK(assembled(assembler, bytes, pieceSize) == "one,," + frameBytes(5000) + ",end,");
        CHECK(assembler.hasBegun());
    }
}

TEST_CASE_FIXTURE(LibraryTest, "a message above the limit ends the assembling, and takes no memory") {
    for (const char* const length : {"00 00 00 0b", "ff ff ff ff"}) {
        FrameAssembler assembler(10);
        const int64 bytesBefore = getMemory().getBytes();
        CHECK(assembled(assembler, frameOf("0123456789") + bytesOf(length) + "0123456789ab", 3) == "0123456789,");
        CHECK(assembler.getState() == FrameAssembler::FRAME_TOO_LONG);
        CHECK(getMemory().getBytes() == bytesBefore);
    }
    FrameAssembler large(0xFFFFFFFF);
    const int64 bytesBefore = getMemory().getBytes();
    assembled(large, bytesOf("ff ff ff ff"), 4);
    CHECK(large.getState() == FrameAssembler::FRAME_INCOMPLETE);
    CHECK(getMemory().getBytes() == bytesBefore);
}

TEST_CASE_FIXTURE(LibraryTest, "a message is encoded with its length in front") {
    Identity identity;
    identity.computerName = "box";
    identity.userName = "john";
    const Frame frame = encode(identity);
    CHECK(hexOf(frame.data(), frame.size()) == hexOf(cIdentityFrame));
}

TEST_CASE_FIXTURE(LibraryTest, "a value of any type is read, or found to be cut off, without an assertion") {
    forEachBuiltinDatatype([&]<class Type>(const Type&) {
        using T = typename Type::Native;
        const T sample = sampleOf<T>(allocator());
        const std::string bytes = messageOf([&](MessageBuilder& builder) { builder.write(sample); });
        for (std::size_t length = 0; length <= bytes.size(); ++length) {
            CAPTURE(length);
            MemoryStream message("message", 7);
            message.write(bytes.data(), length);
            FieldReader reader(message);
            T value = emptyOf<T>(allocator());
            REQUIRE(reader.read("it", value) == (length == bytes.size()));
            CHECK((value == sample) == (length == bytes.size()));
            CHECK(reader.getProblem() == (length == 0              ? "the field \"it\" is missing"
                                          : length == bytes.size() ? ""
                                                                   : "the field \"it\" is cut off"));
        }
    });
}

TEST_CASE_FIXTURE(LibraryTest, "a message that is not as it should be is told from one that is") {
    struct {
        const char* name;
        const char* bytes; ///< behind the message's type
        const char* problem;
    } const cases[] = {
        {"accepted", "05 00 0b 00 00 00 00", ""},
        {"refused", "05 01 0b 00 00 00 02 6e 6f", ""},
        {"empty", "", "the field \"error flag\" is missing"},
        {"another type", "07 00 00 00 00",
         "the field \"error flag\" is STREAM_TYPE_UINT32 instead of STREAM_TYPE_UINT08"},
        {"no type", "0f 00", "the field \"error flag\" is type 15 instead of STREAM_TYPE_UINT08"},
        {"a huge text", "05 01 0b ff ff ff ff 6e 6f", "the field \"text\" is cut off"},
        {"more", "05 00 0b 00 00 00 00 05 00", "2 bytes follow the last field"},
    };
    for (const auto& given : cases) {
        CAPTURE(given.name);
        const std::string bytes = bytesOf(given.bytes);
        MemoryStream message("message", 4096);
        message.write(bytes.data(), bytes.size());
        FieldReader reader(message);
        IdentityReply reply;
        CHECK(decode(reader, reply) == (*given.problem == '\0'));
        CHECK(reader.getProblem() == given.problem);
    }
}
