#pragma once

#include "common/debug/sourcename.h"
#include "common/debug/textpiece.h"
#include "common/export.h"

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>

/// Assertions: how the library reports that something it relies on does not hold.
///
/// A site names its fallback in place, because every report may return:
///
///     if (!TARQ_ASSERT(index < mSize, "index out of range"))
///         return nullptr;
///
/// The text that reaches the host is the condition, "\nError Message: " and the pieces, one after the other.
namespace Tarq::Common::Debug {

/// Hands an assertion to the host's callback (`Interface::getAssertCallback`), which may end the process or return.
///
/// The callback is kept alive while it runs. Threads: any; the callback must be ready for that.
TARQ_API void ShowAssertMessage(const char* message, const char* file, unsigned int line);

/// Builds the text, reports it through `ShowAssertMessage` and returns false.
///
/// `shown` is the condition as the reader is to see it; null for a site without one.
TARQ_API bool reportAssertion(const char* shown, const char* file, unsigned int line,
                              std::initializer_list<TextPiece> pieces);

/// `sourceNameOf`, made at compile time and with its final NUL.
template <std::size_t Size>
consteval std::array<char, Size> makeSourceName(const char (&path)[Size]) {
    std::array<char, Size> name{};
    std::size_t length = 0;
    for (const char c : sourceNameOf(std::string_view(path, Size - 1)))
        name[length++] = c;
    return name;
}

} // namespace Tarq::Common::Debug

/// The current source file as assertions and logs report it, for example "common/io/stream".
#define TARQ_SOURCE_NAME                                                                                               \
    ([]() noexcept -> const char* {                                                                                    \
        static constexpr auto cName = ::Tarq::Common::Debug::makeSourceName(__FILE__);                                 \
        return cName.data();                                                                                           \
    }())

/// Is the condition's value; when that is false, reports it first, showing `shown` in the condition's place.
#define TARQ_ASSERT_AS(shown, condition, ...)                                                                          \
    (static_cast<bool>(condition) ||                                                                                   \
     ::Tarq::Common::Debug::reportAssertion(shown, TARQ_SOURCE_NAME, __LINE__, {__VA_ARGS__}))

/// Is the condition's value; when that is false, reports it first.
#define TARQ_ASSERT(condition, ...) TARQ_ASSERT_AS(#condition, condition, __VA_ARGS__)

/// Reports a failure that has no condition to show; is false.
#define TARQ_FAIL(...) ::Tarq::Common::Debug::reportAssertion(nullptr, TARQ_SOURCE_NAME, __LINE__, {__VA_ARGS__})
