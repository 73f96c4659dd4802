#pragma once

#include "common/interface.h"
#include "common/library.h"
#include "common/reflection/reflectioninterface.h"

#include <cstdlib>

/// Brings the library up for as long as a fuzzer runs, and takes it down when that ends.
namespace Tarq::Fuzz {

/// What is fuzzed carries on after an assertion.
class IgnoringCallback : public Common::Callback::AssertCallback {
public:
    void showAssert(const char*, const char*, unsigned int) override {}
};

inline void bringUp() {
    Common::Interface::setAssertCallback(Common::Callback::AssertCallbackPtr(new IgnoringCallback));
    Common::Interface::initLibrary(nullptr);
    std::atexit(Common::Interface::closeLibrary);
}

/// With the built-in data types.
inline void bringUpWithTypes() {
    using namespace Common::Reflection;
    bringUp();
    const auto& allocator = Common::Library::getTempAlloc();
    ReflectionInterface::init(Datatype::DatatypeManagerPtr(new (allocator) Datatype::DatatypeManager));
    std::atexit(ReflectionInterface::close);
}

} // namespace Tarq::Fuzz
