#pragma once

#include <vector>

/// What messages are described with: `fields()` of a message is a tuple of these, in the order in which they travel.
namespace Tarq::Tool {

/// One value: what it is called in reports, and where it is. Bytes inside a message, a nested stream, are a container
/// of uint8.
template <class Message, class Value>
struct Field {
    const char* name;
    Value Message::*member;
};
template <class Message, class Value>
Field(const char*, Value Message::*) -> Field<Message, Value>;

/// The fields of a part of the message.
template <class Message, class Part>
struct Inlined {
    Part Message::*member;
};
template <class Message, class Part>
Inlined(Part Message::*) -> Inlined<Message, Part>;

/// Of the fields of a request, those by which its answer is known.
template <class Message, class Request>
struct Identifying {
    Request Message::*member;
};
template <class Message, class Request>
Identifying(Request Message::*) -> Identifying<Message, Request>;

/// How many elements there are, a uint32, and then their fields, element by element.
template <class Message, class Element>
struct Rows {
    const char* name; ///< of the number
    std::vector<Element> Message::*member;
};
template <class Message, class Element>
Rows(const char*, std::vector<Element> Message::*) -> Rows<Message, Element>;

/// The same, but field by field: the first one of all elements, then the second one.
template <class Message, class Element>
struct Columns {
    const char* name; ///< of the number
    std::vector<Element> Message::*member;
};
template <class Message, class Element>
Columns(const char*, std::vector<Element> Message::*) -> Columns<Message, Element>;

/// The bytes that are left, as they stand: items that no list describes. The last field.
template <class Message, class Bytes>
struct Rest {
    Bytes Message::*member;
};
template <class Message, class Bytes>
Rest(Bytes Message::*) -> Rest<Message, Bytes>;

/// A field that is there only when the message's `code` is 0.
template <class Described>
struct OnSuccess {
    Described described;
};
template <class Described>
OnSuccess(Described) -> OnSuccess<Described>;

} // namespace Tarq::Tool
