#pragma once

#include "tests/support/temporarydirectory.h"

namespace Tarq::Test {

/// A new directory that is the working directory until the end of the scope.
class WorkingDirectory : public TemporaryDirectory {
public:
    WorkingDirectory() { std::filesystem::current_path(path()); }
    ~WorkingDirectory() { std::filesystem::current_path(mPrevious); }

private:
    std::filesystem::path mPrevious = std::filesystem::current_path();
};

} // namespace Tarq::Test
