#pragma once

/// Marks what the shared library exports. Everything else is hidden.
///
/// A build whose toolchain spells this and the next differently defines them itself, on the compiler's command line.
#ifndef TARQ_API
#define TARQ_API __attribute__((visibility("default")))
#endif

/// Marks what each module has for itself, even where all symbols are shown by default. The loader would make one for
/// all modules of it otherwise, and keep those loaded that use it.
#ifndef TARQ_LOCAL
#define TARQ_LOCAL __attribute__((visibility("hidden")))
#endif
