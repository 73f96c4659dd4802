#pragma once

namespace Tarq::Common {

/// Keeps a static object alive to the very end of the process: what other static objects and threads may still reach
/// while the process ends must not be torn down under them.
template <class T>
class NeverDestroyed {
public:
    constexpr NeverDestroyed() noexcept : mObject() {}
    constexpr ~NeverDestroyed() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& get() noexcept { return mObject; }

private:
    union {
        T mObject;
    };
};

} // namespace Tarq::Common
