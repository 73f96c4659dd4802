#pragma once

#include <string>
#include <string_view>

namespace Tarq::Tool {

/// The text in one line of valid UTF-8 that a terminal shows and does not obey: the bytes of what is not to be shown
/// are written as hexadecimal numbers, and backslashes twice.
std::string printable(std::string_view text);

} // namespace Tarq::Tool
