#pragma once

#include "common/debugger/messageid.h"
#include "common/memory/memorystream.h"
#include "common/network/message/messagereader.h"
#include "fuzz/require.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>

/// What the messages between a debugger server and its tools are made of.
namespace Tarq::Fuzz {

using namespace Common;
using Debugger::MessageID;

/// A message is described by a letter for each field behind its type:
///
///     b  a truth value
///     8  a uint08
///     u  a uint32
///     s  a string
///     n  a container of uint8
///     v  the same, with exactly one item inside
///     +  at least one byte
///     c  code and text, which is empty when the code is 0
///     ?  what follows is there when the code is 0
///     e  an entry of the history
///     () a uint32, and then so often what is inside
struct MessageForm {
    MessageID type;
    const char* fields;
};

/// So many entries the history of an instance has at most.
inline constexpr uint32 cHistoryLength = 3;

inline constexpr MessageForm cRequests[] = {
    {MessageID::IDENTITY, "ssu"},
    {MessageID::CONNECT_MODULE, "sub"},
    {MessageID::DISCONNECT_MODULE, "u"},
    {MessageID::GET_HISTORY, "uu"},
    {MessageID::GET_VARIABLE, "uuu"},
    {MessageID::SET_VARIABLE, "uuu+"},
    {MessageID::SET_WATCHES, "uuub"},
    {MessageID::SET_BREAKPOINT, "uub"},
    {MessageID::SET_BREAKPOINT_OBJECT_INSTANCE, "uub"},
    {MessageID::SET_BREAKPOINT_CONDITION, "uun"},
    // These are not answered, or not at once.
    {MessageID::SET_BREAKPOINT_CLIENT, ""},
    {MessageID::MAKE_STEP, "bu"},
    {MessageID::CONTINUE, ""},
    {MessageID::NETWORK_STREAM_DATA, "un"},
    {MessageID::CALL, "s"}, // the arguments may be any
    {MessageID::CALL, "su"},
    {MessageID::CALL, "sbs"},
    {MessageID::CALL, "sn"},
    // These are answered.
    {MessageID::REGISTER_NETWORK_STREAM, "suu"},
    {MessageID::DEREGISTER_NETWORK_STREAM, "u"},
};

/// What an answer has in front of code and text, it repeats of the request.
inline constexpr MessageForm cReplies[] = {
    {Debugger::replyTo(MessageID::IDENTITY), "c"},
    {Debugger::replyTo(MessageID::CONNECT_MODULE), "suc?u(su)"},
    {Debugger::replyTo(MessageID::DISCONNECT_MODULE), "uc"},
    {Debugger::replyTo(MessageID::GET_HISTORY), "uucuu?(e)"},
    {Debugger::replyTo(MessageID::GET_VARIABLE), "uuuc?v"},
    {Debugger::replyTo(MessageID::SET_VARIABLE), "uuuc"},
    {Debugger::replyTo(MessageID::SET_WATCHES), "uuubc"},
    {Debugger::replyTo(MessageID::SET_BREAKPOINT), "uubc"},
    {Debugger::replyTo(MessageID::SET_BREAKPOINT_OBJECT_INSTANCE), "uubc"},
    {Debugger::replyTo(MessageID::SET_BREAKPOINT_CONDITION), "uuc"},
    {Debugger::replyTo(MessageID::REGISTER_NETWORK_STREAM), "suuc"},
    {Debugger::replyTo(MessageID::DEREGISTER_NETWORK_STREAM), "uc"},
};

/// What the server says without being asked.
inline constexpr MessageForm cEvents[] = {
    {MessageID::BREAKPOINT_STATE, "uue"},          {MessageID::MODULE_DISCONNECT_FORCED, "uss"},
    {MessageID::REGISTER_OBJECT_GROUP, "usuu"},    {MessageID::REGISTER_OBJECT_TYPE, "uusuuuuu(usu)(8sub)"},
    {MessageID::UNREGISTER_OBJECT_TYPE, "uu"},     {MessageID::REGISTER_OBJECT_INSTANCE, "uusu"},
    {MessageID::UNREGISTER_OBJECT_INSTANCE, "uu"}, {MessageID::MODULE_SHUTDOWN, "u"},
    {MessageID::NETWORK_STREAM_REQUEST, "uuu"},
};

/// Null for another message.
template <std::size_t N>
const char* findForm(const MessageForm (&forms)[N], MessageID type) {
    const auto* const found =
        std::find_if(std::begin(forms), std::end(forms), [type](const MessageForm& f) { return f.type == type; });
    return found == std::end(forms) ? nullptr : found->fields;
}

/// Reads a message by its form.
class MessageCheck {
public:
    /// `reader` has read the type.
    explicit MessageCheck(Network::Message::MessageReader& reader) : mReader(reader) {}

    /// Reads the fields up to the end of the form; false at the first that is not there.
    bool take(const char* form) { return takePart(form, form + std::strlen(form)); }
    bool isAtEnd() const { return mReader.isFinished(); }

    /// What has been read in front of code and text.
    const std::string& getFields() const { return mFields; }
    uint8 getCode() const { return mCode; }

private:
    bool takePart(const char* at, const char* end) {
        for (; at != end; ++at) {
            if (*at == '?' && mCode != 0)
                return true;
            if (*at == '(') {
                const char* const close = std::find(at, end, ')');
                if (!takeList(at + 1, close))
                    return false;
                at = close;
            } else if (*at != '?' && !takeField(*at)) {
                return false;
            }
        }
        return true;
    }
    bool takeList(const char* at, const char* end) {
        uint32 count = 0;
        bool isTaken = mReader.read(count) && (*at != 'e' || count <= cHistoryLength);
        for (; isTaken && count != 0; --count)
            isTaken = takePart(at, end);
        return isTaken;
    }
    bool takeField(char field) {
        switch (field) {
        case 'b':
            return takeNumber<bool>();
        case '8':
            return takeNumber<uint8>();
        case 'u':
            return takeNumber<uint32>();
        case 's':
            return takeText();
        case 'c':
            return takeCode();
        case 'e':
            return takeEntry();
        case '+':
            return !mReader.isFinished();
        default:
            return takeNested(field == 'v');
        }
    }
    template <class T>
    bool takeNumber() {
        T number{};
        const bool isTaken = mReader.read(number);
        note(std::to_string(number));
        return isTaken;
    }
    bool takeText() {
        String text;
        const bool isTaken = mReader.read(text);
        note(std::string(text.c_str(), text.length()));
        return isTaken;
    }
    bool takeCode() {
        String text;
        mIsBehindFields = true;
        return mReader.read(mCode) && mReader.read(text) && (mCode == 0) == text.empty();
    }
    bool takeNested(bool isItem) {
        Memory::MemoryStream bytes("bytes", 256);
        if (!mReader.readStream(&bytes))
            return false;
        note("bytes");
        return !isItem || isOneItem(bytes);
    }
    /// All ids, and then all values.
    bool takeEntry() {
        uint32 count = 0;
        if (!take("uuu") || !mReader.read(count))
            return false;
        bool isTaken = true;
        for (uint32 i = 0; isTaken && i < count; ++i)
            isTaken = takeField('u');
        for (uint32 i = 0; isTaken && i < count; ++i)
            isTaken = takeField('v');
        return isTaken;
    }
    void note(const std::string& field) {
        if (!mIsBehindFields)
            mFields += field + '\0';
    }

    static bool isOneItem(Memory::MemoryStream& bytes) {
        Network::Message::MessageReader reader(&bytes, true);
        uint8 tag = 0;
        bytes.read(&tag, 1);
        bytes.seek(0, IO::Stream::SORIGIN_BEGIN);
        bool isItem = false;
        const auto readOne = [&](auto value) { isItem = reader.read(value) && reader.isFinished(); };
        const auto visit = [&]<class E>(const Network::Message::StreamType<E>& type) {
            if (tag == type.id)
                readOne(E{});
            else if (tag == Network::Message::arrayOf(type.id))
                readOne(Container::Vector<E>(Memory::AllocatorPtr()));
        };
        std::apply([&](const auto&... type) { (visit(type), ...); }, Network::Message::cStreamTypes);
        return isItem;
    }

    Network::Message::MessageReader& mReader;
    std::string mFields;
    bool mIsBehindFields = false;
    uint8 mCode = 0;
};

} // namespace Tarq::Fuzz
