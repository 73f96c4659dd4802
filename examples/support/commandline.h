#pragma once

#include "support/errorreport.h"

#include "common/interface.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

/// What is wrong with the command line. The program ends with 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The main function of a program: shows `help` when it is asked for, or calls `run` with the arguments while the
/// library is up. Returns the exit status: 0, or 1 when an error was reported or not everything could be written.
template <class Run>
int runProgram(const char* name, const char* help, int argc, char** argv, Run run) {
    using namespace Tarq::Common;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    errorreport::program = name;
    Interface::setAssertCallback(Callback::AssertCallbackPtr(new errorreport::Assertions));
    Interface::initLibrary(nullptr);
    int status = 0;
    try {
        const auto endOfOptions = std::find(arguments.begin(), arguments.end(), "--");
        if (std::find(arguments.begin(), endOfOptions, "--help") != endOfOptions ||
            (!arguments.empty() && arguments.front() == "-h")) {
            std::fputs(help, stdout);
        } else {
            const errorreport::Log log;
            run(arguments);
            errorreport::progress.clear();
        }
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
            errorreport::guarded("standard output",
                                 [] { throw std::runtime_error("not everything could be written"); });
        status = errorreport::count == 0 ? 0 : 1;
    } catch (const UsageError& error) {
        std::fprintf(stderr, "%s: %s; see %s --help\n", name, error.what(), name);
        status = 2;
    }
    Interface::closeLibrary();
    return status;
}
