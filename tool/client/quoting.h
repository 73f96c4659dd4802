#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Texts as a person types them where something else stands around them.
namespace Tarq::Tool {

/// The text in double quotes, on one line of what a terminal shows. Quotes and backslashes have a backslash in front;
/// the bytes of what is not to be shown are \xHH.
std::string quote(std::string_view text);

/// The name as it stands in a path: as it is, when it is made of letters, digits, "_", "-", "+" and bytes of UTF-8
/// characters; quoted otherwise.
std::string quoteName(std::string_view name);

/// How many bytes at the beginning of `text` a quoted text takes, with its quotes; 0 when it does not begin with a
/// quote, or the quotes are not closed.
std::size_t lengthOfQuoted(std::string_view text) noexcept;

/// The text in the quotes. Beside what `quote` writes, it knows \n, \t and \r; null when something else follows a
/// backslash, or there are no quotes around it.
std::optional<std::string> unquote(std::string_view text);

/// Whether the character may stand in a name without quotes.
bool isPlain(char c) noexcept;

} // namespace Tarq::Tool
