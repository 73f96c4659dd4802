#pragma once

#include <csignal>
#include <stdexcept>

/// Lets the user stop a program in between, and the program leave everything in order.
namespace interrupt {

inline volatile std::sig_atomic_t isWanted = 0;

/// Lets `isWanted` say that the user wants to stop. Leaves alone what whoever started the program wants to be
/// ignored.
inline void catchSignals() {
    for (const int signal : {
             SIGINT,
             SIGTERM,
#ifdef SIGHUP
             SIGHUP,
#endif
         }) {
        if (std::signal(signal, [](int) { isWanted = 1; }) == SIG_IGN)
            std::signal(signal, SIG_IGN);
    }
#ifdef SIGXFSZ
    // What is too long for a file is a full disk then.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
}

/// The work ends where this is called, in an orderly way: no unfinished file is left.
inline void check() {
    if (isWanted != 0)
        throw std::runtime_error("interrupted");
}

} // namespace interrupt
