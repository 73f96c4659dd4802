#pragma once

#include "tool/client/field.h"
#include "tool/client/messageid.h"

#include "common/string.h"
#include "common/types.h"

#include <tuple>

namespace Tarq::Tool {

/// The answer of a host that has nothing to tell but whether it has done what was asked.
template <class Request>
struct PlainReply {
    static constexpr MessageID cID = replyTo(Request::cID);

    Request request; ///< only the fields by which it is known have come
    Common::uint8 code = 0;
    Common::String text;

    static constexpr auto fields() {
        return std::tuple(Identifying{&PlainReply::request}, Field{"code", &PlainReply::code},
                          Field{"text", &PlainReply::text});
    }
};

} // namespace Tarq::Tool
