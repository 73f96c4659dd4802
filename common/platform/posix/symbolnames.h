#pragma once

#include <string>

namespace Tarq::Common::Platform {

/// A function's name for people.
struct FunctionName {
    std::string name; ///< qualified, without parameters and result
    std::string full; ///< with parameters
};

/// Makes it from the name that the linker knows; a name that is not in the compilers' code stays as it is.
FunctionName demangle(std::string symbol);

} // namespace Tarq::Common::Platform
