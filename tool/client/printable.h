#pragma once

#include <string>
#include <string_view>

namespace Tarq::Tool {

/// The text in one line of valid UTF-8 that a terminal shows and does not obey: the bytes of what is not to be shown
/// are written as hexadecimal numbers, and backslashes twice.
std::string printable(std::string_view text);

/// The same, but backslashes are left alone: for what was made of parts that have been made so.
std::string shown(std::string_view text);

} // namespace Tarq::Tool
