#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace Tarq::Tool {

/// Why a command was not done, in a text that is printable but for what a person has typed.
class CommandFailure : public std::runtime_error {
public:
    CommandFailure(int exitCode, const std::string& text, int code = 0)
        : runtime_error(text), mExitCode(exitCode), mCode(code) {}
    /// `detail` for a person, line by line.
    CommandFailure(int exitCode, const std::string& text, const std::vector<std::string>& detail)
        : runtime_error(text), mExitCode(exitCode), mCode(0), mDetail(detail) {}

    /// What the program ends with, if it ends.
    int getExitCode() const noexcept { return mExitCode; }
    /// The code of a host that has refused; 0 when it was not the host.
    int getCode() const noexcept { return mCode; }
    const std::vector<std::string>& getDetail() const noexcept { return mDetail; }

private:
    int mExitCode;
    int mCode;
    std::vector<std::string> mDetail;
};

} // namespace Tarq::Tool
