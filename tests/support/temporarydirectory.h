#pragma once

#include "common/string.h"

#include <filesystem>
#include <string_view>

namespace Tarq::Test {

/// A new directory of its own, removed with everything in it at the end of the scope.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return mPath; }
    /// The path of something in it, as the library takes it.
    Common::String operator/(std::string_view name) const { return (mPath / name).c_str(); }

    void write(std::string_view name, std::string_view contents) const;
    std::string read(std::string_view name) const;

private:
    std::filesystem::path mPath;
};

} // namespace Tarq::Test
