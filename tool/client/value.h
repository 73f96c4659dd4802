#pragma once

#include "tool/client/fieldreader.h"
#include "tool/client/variablemessages.h"

#include "common/container/bitvector.h"
#include "common/math/vec2.h"
#include "common/math/vec3.h"
#include "common/network/message/streamids.h"

#include <optional>
#include <string>
#include <string_view>

/// Values of variables: as one item of a message, a tag and what it names, and as a text.
///
/// Truth values are true and false. Of numbers, the text is the shortest that reads back to the same; beside finite
/// ones there are inf, -inf and nan. Strings stand in double quotes, wide ones as UTF-8; vectors are "(1, 2, 3)",
/// containers "[1, 2, 3]".
namespace Tarq::Tool {

using Common::Network::Message::StreamIDs;

/// Whether the tag names a type.
bool isType(StreamIDs type) noexcept;
/// "float32", "array_vec_3_uint32"; "type 77" for a tag that names none.
std::string nameOfType(StreamIDs type);

/// The value as a text; the problem in angle brackets when there is none: "<the field \"value\" is cut off>".
std::string textOfValue(const Bytes& item);

/// Reads a text as a value of that type. Returns what is wrong with it; empty when nothing is.
std::string parseValue(StreamIDs type, std::string_view text, Bytes& item);
/// The same for the beginning of the text, which is taken from it.
std::string takeValue(StreamIDs type, std::string_view& text, Bytes& item);

/// Calls `visit.template operator()<T>()` for the type with that tag. False when there is none.
template <class Visit>
bool visitType(StreamIDs type, Visit visit) {
    using namespace Common;
    const auto tryElement = [&]<class E>(const Network::Message::StreamType<E>& element) {
        if (type == element.id)
            visit.template operator()<E>();
        else if (type == Network::Message::arrayOf(element.id))
            visit.template operator()<Container::Vector<E>>();
        else
            return false;
        return true;
    };
    return std::apply([&](const auto&... element) { return (tryElement(element) || ...); },
                      Network::Message::cStreamTypes);
}

/// A value of that type, to be read into.
template <class T>
T makeValue() {
    if constexpr (Common::Network::Message::StreamContainer<T>::value)
        return T(Common::Library::getTempAlloc());
    else
        return T();
}

/// A stream with these bytes.
class ItemStream : public Common::Memory::MemoryStream {
public:
    explicit ItemStream(const Bytes& item);
};

/// Calls `visit` with the value. Returns what is wrong when there is none; empty otherwise.
template <class Visit>
std::string visitValue(const Bytes& item, Visit visit) {
    ItemStream stream(item);
    FieldReader reader(stream);
    bool isWhole = false;
    const auto type = static_cast<StreamIDs>(item.empty() ? 0 : item.front());
    const bool isKnown = visitType(type, [&]<class T>() {
        T value = makeValue<T>();
        isWhole = reader.read("value", value) && reader.finish();
        if (isWhole)
            visit(static_cast<const T&>(value));
    });
    if (!isKnown)
        return "the field \"value\" is " + nameOfType(type);
    return isWhole ? std::string() : std::string(reader.getProblem().view());
}

/// The characters as UTF-8. What is no character is written the same way, so that it can be read back.
std::string encodeUTF8(const Common::WString& text);
/// Null for what is not UTF-8.
std::optional<Common::WString> decodeUTF8(std::string_view text);

} // namespace Tarq::Tool
