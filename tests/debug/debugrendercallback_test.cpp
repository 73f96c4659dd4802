#include "common/debug/debugrendercallback.h"

#include "tests/support/librarytest.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::DebugRenderCallback;

namespace {

class Drawing : public Debug::IDebugRenderCallback {
public:
    void drawLine(const Math::Vec3f&, const Math::Vec3f&, uint32) override {}
    void drawTriangle(const Math::Vec3f&, const Math::Vec3f&, const Math::Vec3f&, uint32) override {}
    void drawBox(const Math::Vec3f&, const Math::Vec3f&, uint32) override {}
    void drawSphere(const Math::Vec3f&, float, uint32) override {}
    void drawText(const Math::Vec3f&, const char*, uint32) override {}
};

} // namespace

TEST_CASE_FIXTURE(BareTest, "a host's drawing is found from its registration to its end, up or down") {
    CHECK(DebugRenderCallback::GetInstance() == nullptr);
    Drawing drawing;
    DebugRenderCallback::registerDebugger(&drawing);
    CHECK(DebugRenderCallback::GetInstance() == &drawing);
    DebugRenderCallback::registerDebugger(nullptr);
    CHECK(DebugRenderCallback::GetInstance() == nullptr);
}
