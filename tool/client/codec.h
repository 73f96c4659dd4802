#pragma once

#include "tool/client/fieldreader.h"
#include "tool/client/frame.h"
#include "tool/client/messages.h"

#include "common/network/message/messagebuilder.h"

#include <tuple>

namespace Tarq::Tool {

/// The message as it travels. Throws `OutOfMemoryException`.
template <class Message>
Frame encode(const Message& message) {
    FrameBuilder frame;
    frame.getBuilder().write(static_cast<Common::uint32>(Message::cID));
    std::apply([&](const auto&... field) { (frame.getBuilder().write(message.*field.member), ...); },
               Message::fields());
    return frame.finish();
}

/// Reads the fields, behind the message's type and up to its end. False, with a problem in the reader, when they are
/// not what the message is made of.
template <class Message>
bool decode(FieldReader& reader, Message& message) {
    return std::apply([&](const auto&... field) { return (reader.read(field.name, message.*field.member) && ...); },
                      Message::fields()) &&
           reader.finish();
}

} // namespace Tarq::Tool
