#include "common/math/vec2.h"
#include "common/math/vec3.h"

#include "tests/support/librarytest.h"

using namespace Tarq::Common;
using namespace Tarq::Common::Math;
using namespace Tarq::Test;

namespace {

template <class T>
constexpr bool holds() {
    const Vec2<T> a{8, 6};
    const Vec2<T> b{4, 3};
    Vec2<T> c;
    bool isRight = c == Vec2<T>{0, 0} && a + b == Vec2<T>{12, 9} && a - b == b && a * b == Vec2<T>{32, 18} &&
                   a / b == Vec2<T>{2, 2} && a * T(2) == T(2) * a && a / T(2) == b && dot(a, b) == T(50) && a != b;
    c += a;
    c *= b;
    c /= Vec2<T>{2, 1};
    c -= b;
    c *= T(3);
    c /= T(3);
    c[1] = c[0] - T(1);
    isRight = isRight && c == Vec2<T>{12, 11} && c[0] == c.mX && -c + c == Vec2<T>{};

    const Vec3<T> d{8, 6, 4};
    const Vec3<T> e{4, 3, 2};
    Vec3<T> f;
    isRight = isRight && f == Vec3<T>{0, 0, 0} && d + e == Vec3<T>{12, 9, 6} && d - e == e &&
              d * e == Vec3<T>{32, 18, 8} && d / e == Vec3<T>{2, 2, 2} && d * T(2) == T(2) * d && d / T(2) == e &&
              dot(d, e) == T(58) && cross(Vec3<T>{1, 0, 0}, Vec3<T>{0, 1, 0}) == Vec3<T>{0, 0, 1} && d != e;
    f += d;
    f *= e;
    f /= Vec3<T>{2, 1, 4};
    f -= Vec3<T>{1, 1, 1};
    f *= T(3);
    f /= T(3);
    f[1] = f[0] + f[2];
    return isRight && f == Vec3<T>{15, 16, 1} && f[2] == f.mZ && -f + f == Vec3<T>{};
}

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "vectors compute component by component, in each of the four types") {
    CHECK(holds<float>());
    CHECK(holds<double>());
    CHECK(holds<int32>());
    CHECK(holds<uint32>());
}
