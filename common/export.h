#pragma once

/// Marks what the shared library exports. Everything else is hidden.
///
/// A build whose toolchain spells this differently defines `TARQ_API` itself, on the compiler's command line.
#ifndef TARQ_API
#define TARQ_API __attribute__((visibility("default")))
#endif
