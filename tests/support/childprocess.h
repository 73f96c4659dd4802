#pragma once

#include "tests/support/temporarydirectory.h"

#include <cstdlib>
#include <string>

#include <sys/wait.h>

namespace Tarq::Test {

/// How a process ended, and what it wrote.
struct Ended {
    int exitCode = -1; ///< -1 if it did not exit by itself
    int signal = 0;    ///< 0 if it did
    std::string out;
    std::string err;
};

/// Runs one of tests/programs to its end. Neither the name nor the arguments contain what a shell would interpret.
inline Ended runProgram(const std::string& name, const std::string& arguments = std::string()) {
    const TemporaryDirectory directory;
    const std::string command = std::string("exec '") + TARQ_TEST_PROGRAM_DIR + "/" + name + "' " + arguments + " >'" +
                                (directory / "out").c_str() + "' 2>'" + (directory / "err").c_str() + "'";
    const int status = std::system(command.c_str());
    Ended ended;
    if (WIFEXITED(status))
        ended.exitCode = WEXITSTATUS(status);
    else if (WIFSIGNALED(status))
        ended.signal = WTERMSIG(status);
    ended.out = directory.read("out");
    ended.err = directory.read("err");
    return ended;
}

} // namespace Tarq::Test
