#include "common/debug/debugrendercallback.h"

#include "tests/support/librarytest.h"

using namespace Tarq::Common;
using namespace Tarq::Test;
using Debug::DebugRenderCallback;

namespace {

class CountingDrawing : public Debug::IDebugRenderCallback {
public:
    void drawLine(const Math::Vec3f&, const Math::Vec3f&, uint32) override { ++mShapes; }
    void drawTriangle(const Math::Vec3f&, const Math::Vec3f&, const Math::Vec3f&, uint32) override { ++mShapes; }
    void drawBox(const Math::Vec3f&, const Math::Vec3f&, uint32) override { ++mShapes; }
    void drawSphere(const Math::Vec3f&, float, uint32) override { ++mShapes; }
    void drawText(const Math::Vec3f&, const char*, uint32) override { ++mShapes; }

    int mShapes = 0;
};

} // namespace

TEST_CASE_FIXTURE(BareTest, "a host's drawing is found from its registration to its end, up or down") {
    CHECK(DebugRenderCallback::GetInstance() == nullptr);
    CountingDrawing drawing;
    DebugRenderCallback::registerDebugger(&drawing);
    REQUIRE(DebugRenderCallback::GetInstance() == &drawing);
    DebugRenderCallback::GetInstance()->drawSphere({0, 0, 0}, 1, 0xFF00FF00);
    CHECK(drawing.mShapes == 1);
    DebugRenderCallback::registerDebugger(nullptr);
    CHECK(DebugRenderCallback::GetInstance() == nullptr);
}
