#pragma once

#include "tool/cli/debugger.h"
#include "tool/client/signature.h"

#include <string>
#include <vector>

namespace Tarq::Tool {

/// A call of a host's function, as somebody has typed it.
struct TypedCall {
    Signature signature;
    Call request;
};

/// Each value is a text of its own, as a shell has taken them apart. Throws `CommandFailure`.
TypedCall readCall(const std::string& signature, const std::vector<std::string>& values);
/// The values stand behind the signature, with blanks between, or commas. Throws `CommandFailure`.
TypedCall readCall(std::string_view line);

/// Calls, and checks what is returned. Throws `CommandFailure`.
void callFunction(Debugger& debugger, const TypedCall& call, double seconds);

/// A time that was typed; at most 3600 seconds. Throws `CommandFailure`.
double readSeconds(std::string_view text, double most);

} // namespace Tarq::Tool
