#pragma once

#include "common/container/vector.h"
#include "common/network/message/messagebuilder.h"
#include "fuzz/debugger/bytes.h"
#include "fuzz/debugger/messages.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

namespace Tarq::Fuzz {

/// What a fuzzer has made up, from its beginning to its end, behind which there are zeros.
class Input {
public:
    Input(const unsigned char* data, std::size_t size) : mAt(data), mEnd(data + size) {}

    bool isAtEnd() const { return mAt == mEnd; }
    unsigned char takeByte() { return mAt == mEnd ? static_cast<unsigned char>(0) : *mAt++; }
    /// Its length in two bytes, and then so many, or what is left.
    std::string takeMessage() {
        std::size_t length = 0;
        for (int byte = 0; byte < 2 && mAt != mEnd; ++byte)
            length = length << 8 | *mAt++;
        length = std::min(length, static_cast<std::size_t>(mEnd - mAt));
        const std::string message(reinterpret_cast<const char*>(mAt), length);
        mAt += length;
        return message;
    }
    /// One that can be read: a byte chooses which, and so does one for each field. A container begins with its length.
    std::string takeRequest() {
        const MessageForm& form = cRequests[takeByte() % std::size(cRequests)];
        Memory::MemoryStream stream("stream", 256);
        Network::Message::MessageBuilder builder(&stream, true);
        builder.write(static_cast<uint32>(form.type));
        for (const char* field = form.fields; *field != '\0'; ++field)
            takeField(builder, *field);
        return bytesOf(stream);
    }

private:
    static constexpr const char* cNames[] = {"world", "moon", "desk", "ada", ""};

    void takeField(Network::Message::MessageBuilder& builder, char field) {
        if (field == '+' || field == 'n') {
            const std::string bytes = takeMessage();
            builder.write(Container::Vector<uint8>(Memory::AllocatorPtr(), bytes.begin(), bytes.end()));
            return;
        }
        const unsigned char number = takeByte();
        if (field == 'u')
            builder.write(number == 255 ? 0xFFFFFFFF : uint32{number});
        else if (field == 'b')
            builder.write(number % 2 != 0);
        else
            builder.write(cNames[number % std::size(cNames)]);
    }

    const unsigned char* mAt;
    const unsigned char* mEnd;
};

} // namespace Tarq::Fuzz
