#pragma once

#include "common/types.h"

#include <string>

/// What this machine and this process are called. These throw `std::bad_alloc`.
namespace Tarq::Common::Platform {

struct SystemVersion {
    uint32 mMajor = 0;
    uint32 mMinor = 0;
    uint32 mBuild = 0;
    std::string mText; ///< the edition in words
    uint32 mSuite = 0; ///< 0 where there are no such numbers
    uint32 mProduct = 0;
};

SystemVersion getSystemVersion();

/// The user in whose name the process runs; the number in digits where the user has no name.
std::string getUserName();

/// The absolute path of the running program, whose file may be gone; empty when it cannot be told.
std::string getProgramFile();

} // namespace Tarq::Common::Platform
