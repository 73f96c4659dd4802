#pragma once

#include "tool/cli/eventline.h"
#include "tool/client/value.h"

namespace Tarq::Tool {

/// The value: a truth value, a number, a string; an array for vectors and containers. Numbers that JSON has not are the
/// strings "inf", "-inf" and "nan". Null when the value cannot be read.
Json jsonOfValue(const Bytes& item);

} // namespace Tarq::Tool
