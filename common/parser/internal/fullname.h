#pragma once

#include "common/io/filesystem.h"

namespace Tarq::Common::Parser {

/// By which a file of several names is known again. A name of which the file system makes no path stands for itself.
String getFullName(const String& fileName, const IO::FileSystem& fileSystem);

} // namespace Tarq::Common::Parser
