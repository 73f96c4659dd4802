#pragma once

#include <string>
#include <string_view>

namespace Tarq::Tool {

/// The arguments of a command that somebody has typed, from the left to the right.
class Words {
public:
    explicit Words(std::string_view text) : mLeft(text) { skipBlanks(); }

    bool isEmpty() const noexcept { return mLeft.empty(); }
    /// Up to a blank that is not in quotes; empty at the end. The quotes stay.
    std::string_view take();
    /// All that is left, without blanks at the end.
    std::string_view takeRest();

private:
    void skipBlanks();

    std::string_view mLeft;
};

} // namespace Tarq::Tool
