#pragma once

#include "common/debugger/model/objectinstance.h"
#include "common/debugger/model/objecttype.h"
#include "common/network/message/messagebuilder.h"
#include "common/network/message/streamids.h"
#include "fuzz/debugger/bytes.h"
#include "fuzz/require.h"

#include <string>
#include <tuple>
#include <type_traits>

namespace Tarq::Fuzz {

using namespace Common;
using Debugger::ObjectInstance;
using Debugger::ObjectType;
using Network::Message::StreamIDs;

/// A value of each type that there is, and a container of each.
template <class... E>
auto makeValues(const std::tuple<Network::Message::StreamType<E>...>&) {
    return std::tuple<E..., Container::Vector<E>...>(E{}..., Container::Vector<E>(Memory::AllocatorPtr())...);
}

/// A variable of each type that there is, called as its tag is.
class Variables {
public:
    /// Tools may write two of three.
    static bool isWritable(uint32 tag) { return tag % 3 != 2; }
    static void declare(ObjectType& type) {
        Variables().forEach([&](StreamIDs tag, const auto&) {
            require(type.registerVariableType(tag, Network::Message::getStreamIDName(tag), isWritable(tag)));
        });
    }

    void show(ObjectInstance& instance) {
        forEach([&](StreamIDs tag, auto& value) {
            require(instance.registerVariable(Network::Message::getStreamIDName(tag), &value));
        });
    }
    /// The host computes.
    void change(unsigned char number) {
        forEach([&](StreamIDs, auto& value) { set(value, number); });
    }
    /// Without one of them, or with all.
    std::string encode(StreamIDs without = cNone) {
        return encodeSuch([&](StreamIDs tag) { return tag != without; });
    }
    std::string encodeOne(StreamIDs wanted) {
        return encodeSuch([&](StreamIDs tag) { return tag == wanted; });
    }

    static constexpr auto cNone = static_cast<StreamIDs>(255);

private:
    template <class Use>
    void forEach(const Use& use) {
        std::apply([&](auto&... value) { (use(tagOf(value), value), ...); }, mValues);
    }
    template <class T>
    static constexpr StreamIDs tagOf(const T&) {
        return Network::Message::getStreamID<T>();
    }
    template <class Wanted>
    std::string encodeSuch(const Wanted& isWanted) {
        Memory::MemoryStream stream("values", 4096);
        Network::Message::MessageBuilder builder(&stream, true);
        forEach([&](StreamIDs tag, const auto& value) {
            if (isWanted(tag))
                builder.write(value);
        });
        return bytesOf(stream);
    }

    template <class T>
    static void set(T& value, unsigned char number) {
        if constexpr (std::is_arithmetic_v<T>)
            value = static_cast<T>(number);
        else
            value = T{static_cast<typename T::Component>(number)};
    }
    static void set(String& text, unsigned char number) { text = String(number % 8, 'x'); }
    static void set(WString& text, unsigned char number) { text = WString(number % 8, L'\x20AC'); }
    template <class T>
    static void set(Container::Vector<T>& values, unsigned char number) {
        values.resize(number % 5);
    }

    decltype(makeValues(Network::Message::cStreamTypes)) mValues = makeValues(Network::Message::cStreamTypes);
};

} // namespace Tarq::Fuzz
