#pragma once

#include "support/progress.h"

#include "common/callback/assertcallback.h"
#include "common/debug/logmanager.h"
#include "common/exceptions/unauthorizedaccessexception.h"
#include "common/io/ioexception.h"

#include <bit>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>

/// How a program of the command line tells what goes wrong: one line for each error on standard error, with the file
/// or the entry that was being worked on. What the library asserts, logs and throws becomes such a line.
namespace errorreport {

inline std::string program; ///< its name, in front of every line
inline std::string subject; ///< what is being worked on
inline int count = 0;       ///< of the errors so far
inline int countBefore = 0; ///< of those before the work on the subject
inline Progress progress;

/// How many bytes the UTF-8 character at the beginning of the text has. 0 when there is none, or when it is a control
/// character, which a terminal would obey, or a mark that changes the direction of what is written.
inline std::size_t shownLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const int ones = std::countl_one(lead);
    const std::size_t length = ones == 0 ? 1 : static_cast<std::size_t>(ones);
    if (ones == 1 || ones > 4 || length > text.size())
        return 0;
    auto code = static_cast<char32_t>(lead & (0x7F >> ones));
    for (const char c : text.substr(1, length - 1)) {
        if ((c & 0xC0) != 0x80)
            return 0;
        code = code << 6 | static_cast<char32_t>(c & 0x3F);
    }
    const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029;
    const bool isMark = code == 0x61C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                        (code >= 0x2066 && code <= 0x2069);
    return isControl || isMark ? 0 : length;
}

/// A name as it is shown: the bytes of what is not to be shown are written as hexadecimal numbers, and backslashes
/// twice.
inline std::string printable(std::string_view name) {
    std::string text;
    while (!name.empty()) {
        const std::size_t length = shownLength(name);
        char digits[8];
        std::snprintf(digits, sizeof(digits), "\\x%02X", static_cast<unsigned char>(name.front()));
        if (length == 0)
            text += digits;
        else if (name.front() == '\\')
            text += "\\\\";
        else
            text += name.substr(0, length);
        name.remove_prefix(length == 0 ? 1 : length);
    }
    return text;
}

/// Tells something that is no error.
inline void note(std::string_view what, std::string_view text) {
    progress.clear();
    std::fprintf(stderr, "%s: %s: %s\n", program.c_str(), printable(what).c_str(), printable(text).c_str());
}

inline void error(std::string_view text) {
    ++count;
    note(subject, text);
}

/// Ends the work on a subject whose errors are told already.
struct Reported : std::exception {};

/// What goes wrong in the library does not always throw.
inline void throwIfReported() {
    if (count != countBefore)
        throw Reported();
}

inline bool hasAsserted = false; ///< and has logged nothing since

class Assertions : public Tarq::Common::Callback::AssertCallback {
public:
    void showAssert(const char* message, const char*, unsigned int) override {
        constexpr std::string_view cMark = "Error Message: ";
        const std::string_view text = message;
        const std::size_t mark = text.find(cMark);
        const std::string shown(mark == text.npos ? text : text.substr(mark + cMark.size()));
        // As files report what the system cannot read or write.
        error(shown.starts_with("Internal error: ") ? "the medium has failed (" + shown + ")" : shown);
        hasAsserted = true;
    }
};

/// Makes log reports of errors errors of the program, from its making to its end. What the library logs right behind
/// an assertion is what follows from it, and no other error.
class Log : public Tarq::Common::Debug::LogListener {
public:
    Log() { Tarq::Common::Debug::LogManager::getInstance()->addListener(Tarq::Common::Debug::LOG_ERROR, this); }
    ~Log() override { Tarq::Common::Debug::LogManager::getInstance()->removeListener(this); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    void onLog(const Tarq::Common::Debug::LogRecord& record) override {
        if (!std::exchange(hasAsserted, false))
            error(record.mMessage);
    }
};

/// What people are told of an exception.
inline Tarq::Common::String reasonOf(const Tarq::Common::Exceptions::Exception& exception) {
    using namespace Tarq::Common;
    if (dynamic_cast<const IO::FileNotFoundException*>(&exception))
        return "there is no such file";
    if (dynamic_cast<const Exceptions::UnAuthorizedAccessException*>(&exception))
        return "this is no file, or there is no permission";
    return exception.getMessage();
}

/// Runs `body`, which works on `what`, up to its end or to what it throws. Returns whether there was no error in it.
template <class Body>
bool guarded(std::string_view what, Body body) {
    using namespace Tarq::Common;
    const std::string outerSubject = std::exchange(subject, std::string(what));
    const int outerCount = std::exchange(countBefore, count);
    hasAsserted = false;
    try {
        body();
    } catch (Exceptions::Exception* exception) {
        const Exceptions::Holder holder(exception);
        error(reasonOf(*exception).view());
    } catch (const Reported&) {
    } catch (const std::filesystem::filesystem_error& exception) {
        if (!exception.path1().empty())
            subject = exception.path1().string();
        error(exception.code().message());
    } catch (const std::exception& exception) {
        error(exception.what());
    }
    subject = outerSubject;
    return count == std::exchange(countBefore, outerCount);
}

} // namespace errorreport
