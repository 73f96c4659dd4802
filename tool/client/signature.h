#pragma once

#include "tool/client/value.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarq::Tool {

/// How a host's function is declared, as a person knows it.
struct Signature {
    std::string name;
    bool hasArguments = false; ///< whether they were given
    std::vector<StreamIDs> arguments;
    bool hasResult = false;          ///< whether it was given
    std::optional<StreamIDs> result; ///< none: the function returns nothing
};

/// Takes a signature from the beginning of the text:
///
///     reset
///     add(Integer32, Integer32)
///     "scale all"(Container[Float], Float) -> Container[Float]
///     float scale(const float[]& values, float factor)
///
/// Types have the names that hosts give them, those that `nameOfType` gives, or those of C++, in upper or lower case. A
/// result that is given is checked; none is "void". A name with blanks or parentheses stands in quotes; so may all of
/// the signature. Returns what is wrong; empty when nothing is.
std::string takeSignature(std::string_view& text, Signature& signature);

/// "add(Integer32, Integer32)"
std::string textOfSignature(const Signature& signature);
/// As hosts name it: "Container[Float]".
std::string nameOfDatatype(StreamIDs type);

} // namespace Tarq::Tool
