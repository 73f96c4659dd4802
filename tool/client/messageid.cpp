#include "tool/client/messageid.h"

namespace Tarq::Tool {

using Common::String;
using Common::uint32;

namespace {

bool isTypeOf(MessageID type, uint32 id) noexcept {
    return static_cast<uint32>(type) == id;
}

} // namespace

const MessageKind* findMessageKind(uint32 id) noexcept {
    for (const MessageKind& kind : cMessageKinds) {
        if (isTypeOf(kind.id, id) || (kind.answering != ANSWER_NONE && isTypeOf(replyTo(kind.id), id)))
            return &kind;
    }
    return nullptr;
}

String nameOfMessage(uint32 id) {
    const MessageKind* const kind = findMessageKind(id);
    if (!kind)
        return "message " + numberOfMessage(id);
    return id == static_cast<uint32>(kind->id) ? String(kind->name) : kind->name + String(" reply");
}

String numberOfMessage(uint32 id) {
    constexpr char cDigits[] = "0123456789ABCDEF";
    String text("0x");
    for (int shift = 28; shift >= 0; shift -= 4)
        text += cDigits[id >> shift & 15];
    return text;
}

} // namespace Tarq::Tool
