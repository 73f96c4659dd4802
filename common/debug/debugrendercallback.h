#pragma once

#include "common/export.h"
#include "common/math/vec3.h"
#include "common/types.h"

namespace Tarq::Common::Debug {

/// A host's drawing of shapes that help to find faults: bounds, normals, paths. Colours are 0xAARRGGBB, positions the
/// host's own.
///
/// The library itself draws nothing; this is where the kit's other libraries and the host meet.
class TARQ_API IDebugRenderCallback {
public:
    virtual ~IDebugRenderCallback();

    virtual void drawLine(const Math::Vec3f& from, const Math::Vec3f& to, uint32 color) = 0;
    virtual void drawTriangle(const Math::Vec3f& a, const Math::Vec3f& b, const Math::Vec3f& c, uint32 color) = 0;
    virtual void drawBox(const Math::Vec3f& minimum, const Math::Vec3f& maximum, uint32 color) = 0;
    virtual void drawSphere(const Math::Vec3f& center, float radius, uint32 color) = 0;
    virtual void drawText(const Math::Vec3f& position, const char* text, uint32 color) = 0;
};

/// The place where a host leaves its drawing for others to find.
///
/// Ownership: the host's; it unregisters before the object goes. Threads: any.
class TARQ_API DebugRenderCallback {
public:
    /// Null unregisters.
    static void registerDebugger(IDebugRenderCallback* callback) noexcept;
    /// Null when there is none.
    static IDebugRenderCallback* GetInstance() noexcept; // NOLINT(readability-identifier-naming): a contract

    DebugRenderCallback() = delete;
};

} // namespace Tarq::Common::Debug
