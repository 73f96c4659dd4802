#pragma once

#include "common/string.h"

namespace Tarq::Common::IO {

/// The absolute form of a path, as `Platform::makeAbsolutePath` makes it, in as much storage as it needs. Empty when
/// the working directory is needed and cannot be told.
String makeFullPath(const String& path);

} // namespace Tarq::Common::IO
