#pragma once

#include "tool/client/field.h"
#include "tool/client/fieldreader.h"
#include "tool/client/frame.h"
#include "tool/client/messages.h"

#include "common/network/message/messagebuilder.h"

#include <tuple>
#include <utility>

namespace Tarq::Tool {

/// Writes and reads the fields of messages, by their description.
class Codec {
public:
    using Builder = Common::Network::Message::MessageBuilder;

    template <class Message>
    static void write(Builder& builder, const Message& message) {
        std::apply([&](const auto&... field) { (writeField(builder, message, field), ...); }, Message::fields());
    }
    /// The first `Count` fields.
    template <std::size_t Count, class Message>
    static void writeFirst(Builder& builder, const Message& message) {
        constexpr auto cFields = Message::fields();
        [&]<std::size_t... Index>(std::index_sequence<Index...>) {
            (writeField(builder, message, std::get<Index>(cFields)), ...);
        }
        (std::make_index_sequence<Count>());
    }
    /// The first `Count` fields; as `read`.
    template <std::size_t Count, class Message>
    static bool readFirst(FieldReader& reader, Message& message) {
        constexpr auto cFields = Message::fields();
        return [&]<std::size_t... Index>(std::index_sequence<Index...>) {
            return (readField(reader, message, std::get<Index>(cFields)) && ...);
        }
        (std::make_index_sequence<Count>());
    }
    /// False, with a problem in the reader, when the fields are not there.
    template <class Message>
    static bool read(FieldReader& reader, Message& message) {
        return std::apply([&](const auto&... field) { return (readField(reader, message, field) && ...); },
                          Message::fields());
    }

private:
    template <class Message, class Value>
    static void writeField(Builder& builder, const Message& message, const Field<Message, Value>& field) {
        builder.write(message.*field.member);
    }
    template <class Message, class Part>
    static void writeField(Builder& builder, const Message& message, const Inlined<Message, Part>& part) {
        write(builder, message.*part.member);
    }
    template <class Message, class Request>
    static void writeField(Builder& builder, const Message& message, const Identifying<Message, Request>& part) {
        writeFirst<Request::cIdentifyingFields>(builder, message.*part.member);
    }
    template <class Message, class Element>
    static void writeField(Builder& builder, const Message& message, const Rows<Message, Element>& rows) {
        const std::vector<Element>& elements = message.*rows.member;
        builder.write(static_cast<Common::uint32>(elements.size()));
        for (const Element& element : elements)
            write(builder, element);
    }
    template <class Message, class Element>
    static void writeField(Builder& builder, const Message& message, const Columns<Message, Element>& columns) {
        const std::vector<Element>& elements = message.*columns.member;
        builder.write(static_cast<Common::uint32>(elements.size()));
        const auto writeColumn = [&](const auto& field) {
            for (const Element& element : elements)
                writeField(builder, element, field);
        };
        std::apply([&](const auto&... field) { (writeColumn(field), ...); }, Element::fields());
    }
    template <class Message, class Bytes>
    static void writeField(Builder& builder, const Message& message, const Rest<Message, Bytes>& rest) {
        const Bytes& bytes = message.*rest.member;
        builder.getStream()->write(bytes.data(), bytes.size());
    }
    template <class Message, class Described>
    static void writeField(Builder& builder, const Message& message, const OnSuccess<Described>& field) {
        if (message.code == 0)
            writeField(builder, message, field.described);
    }

    template <class Message, class Value>
    static bool readField(FieldReader& reader, Message& message, const Field<Message, Value>& field) {
        return reader.read(field.name, message.*field.member);
    }
    template <class Message, class Part>
    static bool readField(FieldReader& reader, Message& message, const Inlined<Message, Part>& part) {
        return read(reader, message.*part.member);
    }
    template <class Message, class Request>
    static bool readField(FieldReader& reader, Message& message, const Identifying<Message, Request>& part) {
        return readFirst<Request::cIdentifyingFields>(reader, message.*part.member);
    }
    template <class Message, class Element>
    static bool readField(FieldReader& reader, Message& message, const Rows<Message, Element>& rows) {
        std::vector<Element>& elements = message.*rows.member;
        elements.clear();
        Common::uint32 count = 0;
        bool isWhole = reader.read(rows.name, count);
        // Memory is taken for what has come, not for what is announced.
        for (; isWhole && count != 0; --count)
            isWhole = read(reader, elements.emplace_back());
        return isWhole;
    }
    template <class Message, class Element>
    static bool readField(FieldReader& reader, Message& message, const Columns<Message, Element>& columns) {
        std::vector<Element>& elements = message.*columns.member;
        elements.clear();
        Common::uint32 count = 0;
        if (!reader.read(columns.name, count))
            return false;
        // The first column makes the elements.
        const auto readColumn = [&](const auto& field) {
            for (Common::uint32 index = 0; index < count; ++index) {
                Element& element = index < elements.size() ? elements[index] : elements.emplace_back();
                if (!readField(reader, element, field))
                    return false;
            }
            return true;
        };
        return std::apply([&](const auto&... field) { return (readColumn(field) && ...); }, Element::fields());
    }
    template <class Message, class Bytes>
    static bool readField(FieldReader& reader, Message& message, const Rest<Message, Bytes>& rest) {
        reader.takeRest(message.*rest.member);
        return true;
    }
    template <class Message, class Described>
    static bool readField(FieldReader& reader, Message& message, const OnSuccess<Described>& field) {
        return message.code != 0 || readField(reader, message, field.described);
    }
};

/// The message as it travels. Throws `OutOfMemoryException`.
template <class Message>
Frame encode(const Message& message) {
    FrameBuilder frame;
    frame.getBuilder().write(static_cast<Common::uint32>(Message::cID));
    Codec::write(frame.getBuilder(), message);
    return frame.finish();
}

/// What the answer to a request begins with, behind its type: the fields by which it is known.
template <class Request>
Frame encodeIdentification(const Request& request) {
    FrameBuilder frame;
    if constexpr (requires { Request::cIdentifyingFields; })
        Codec::writeFirst<Request::cIdentifyingFields>(frame.getBuilder(), request);
    return frame.finishBare();
}

/// Reads the fields, behind the message's type and up to its end. False, with a problem in the reader, when they are
/// not what the message is made of.
template <class Message>
bool decode(FieldReader& reader, Message& message) {
    return Codec::read(reader, message) && reader.finish();
}

} // namespace Tarq::Tool
