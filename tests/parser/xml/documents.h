#pragma once

// What tests with documents need: outcomes to compare, and streams.

#include "tests/parser/xml/outcomes.h"
#include "tests/support/streams.h"
