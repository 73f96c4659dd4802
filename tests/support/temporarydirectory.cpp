#include "tests/support/temporarydirectory.h"

#include "tests/support/doctest.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace Tarq::Test {

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tarq-test-XXXXXX").string();
    REQUIRE(mkdtemp(pattern.data()) != nullptr);
    mPath = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

void TemporaryDirectory::write(std::string_view name, std::string_view contents) const {
    std::ofstream file(mPath / name, std::ios::binary);
    file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    REQUIRE(file.good());
}

std::string TemporaryDirectory::read(std::string_view name) const {
    std::ifstream file(mPath / name, std::ios::binary);
    REQUIRE(file.is_open());
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace Tarq::Test
