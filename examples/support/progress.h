#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

/// Shows on the terminal how far work has come, in one line that is gone when the work is done. Nothing is shown of
/// short work, and nothing at all when standard error is no terminal.
class Progress {
    using Clock = std::chrono::steady_clock;

public:
    ~Progress() { clear(); }

    /// `total`: how much there is to do, in units of the caller's; 0 when nobody knows.
    void start(std::uint64_t total) {
        mTotal = total;
        mDone = 0;
        mNext = Clock::now() + cPatience;
        // Where the system has no such name, there is no progress to be seen.
        std::error_code ignored;
        mIsTerminal = std::filesystem::is_character_file("/dev/stderr", ignored);
    }

    /// `what` is being worked on.
    void advance(std::uint64_t done, std::string_view what) {
        mDone += done;
        const Clock::time_point now = Clock::now();
        if (!mIsTerminal || now < mNext)
            return;
        mNext = now + cPause;
        mIsShown = true;
        if (mTotal != 0)
            std::fprintf(stderr, "\r%3u %%  ",
                         static_cast<unsigned>(std::min<std::uint64_t>(mDone / (mTotal / 100 + 1), 100)));
        else
            std::fputs("\r", stderr);
        std::fprintf(stderr, "%.*s\033[K", static_cast<int>(shownLength(what)), what.data());
        std::fflush(stderr);
    }

    /// All is done but `what`, which may take its time and tells nothing meanwhile.
    void finish(std::string_view what) {
        if (mIsShown)
            mNext = {};
        advance(0, what);
    }

    /// Takes the line away, also so that something else can be written.
    void clear() {
        if (mIsShown)
            std::fputs("\r\033[K", stderr);
        mIsShown = false;
    }

private:
    /// Whole characters of UTF-8.
    static std::size_t shownLength(std::string_view what) {
        std::size_t length = std::min(what.size(), cLongestName);
        while (length != 0 && length < what.size() && (what[length] & 0xC0) == 0x80)
            --length;
        return length;
    }

    static constexpr std::chrono::milliseconds cPatience{500};
    static constexpr std::chrono::milliseconds cPause{100};
    /// Together with the rest, less than a line of any terminal.
    static constexpr std::size_t cLongestName = 60;

    std::uint64_t mTotal = 0;
    std::uint64_t mDone = 0;
    Clock::time_point mNext;
    bool mIsTerminal = false;
    bool mIsShown = false;
};
