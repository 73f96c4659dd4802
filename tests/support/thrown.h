#pragma once

#include "tests/support/doctest.h"

#include "common/exceptions/exception.h"

#include <utility>

namespace Tarq::Test {

/// Runs `body`, which is to throw a pointer to `Expected` or to a class derived from it, and holds what came.
///
///     const auto thrown = catchThrown<IO::FileNotFoundException>([&] { stream.open(...); });
///     CHECK(thrown->getMessage() == "...");
template <class Expected>
class Thrown {
public:
    explicit Thrown(Expected* exception) noexcept : mException(exception) {}
    Thrown(Thrown&& other) noexcept : mException(std::exchange(other.mException, nullptr)) {}
    Thrown(const Thrown&) = delete;
    ~Thrown() { delete mException; }

    Expected* operator->() const { return mException; }
    Expected& operator*() const { return *mException; }
    Expected* release() { return std::exchange(mException, nullptr); }

private:
    Expected* mException;
};

template <class Expected, class Body>
Thrown<Expected> catchThrown(Body&& body) {
    try {
        body();
    } catch (Expected* exception) {
        return Thrown<Expected>(exception);
    }
    FAIL("nothing was thrown");
    return Thrown<Expected>(nullptr);
}

/// The same, and checks the exception's name and message.
template <class Expected, class Body>
Thrown<Expected> checkThrown(Body&& body, const Common::String& name, const Common::String& message) {
    Thrown<Expected> thrown = catchThrown<Expected>(std::forward<Body>(body));
    CHECK(thrown->getExceptionName() == name);
    CHECK(thrown->getMessage() == message);
    return thrown;
}

} // namespace Tarq::Test
