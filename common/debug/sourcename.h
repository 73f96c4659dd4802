#pragma once

#include <string_view>

namespace Tarq::Common::Debug {

/// The part of a source file's path under which it is reported, wherever the sources are: from "common/" on, without
/// the extension. A path without that directory keeps all of its directories.
constexpr std::string_view sourceNameOf(std::string_view path) noexcept {
    constexpr std::string_view cRoot = "common/";
    std::size_t begin = path.rfind(cRoot);
    while (begin != std::string_view::npos && begin != 0 && path[begin - 1] != '/')
        begin = path.rfind(cRoot, begin - 1);
    if (begin != std::string_view::npos)
        path.remove_prefix(begin);
    const std::size_t dot = path.rfind('.');
    const bool isInFileName = dot != std::string_view::npos && path.find('/', dot) == std::string_view::npos;
    return isInFileName ? path.substr(0, dot) : path;
}

} // namespace Tarq::Common::Debug
