#include "common/math/vec2.h"
#include "common/math/vec3.h"

#include "tests/support/librarytest.h"

using namespace Tarq::Common;
using namespace Tarq::Common::Math;
using namespace Tarq::Test;

/// Of `a` = 8, 6, (4) and `b` = 4, 3, (2).
template <class Vec, class T>
static void checkVec(Vec a, const Vec& b, const Vec& product, T dotProduct) {
    CHECK((a + b == b * T(3) && a - b == b && a * b == product && T(2) * b == a / (b / b)));
    CHECK((dot(a, b) == dotProduct && -a + a == Vec{}));
    CHECK((((a += b) -= b) *= b) == product);
    CHECK((((a /= b) *= T(3)) /= T(6)) == b);
    a[1] = T(7);
    CHECK((a[0] == T(4) && a.mX == T(4) && a.mY == T(7)));
}

TEST_CASE_TEMPLATE("vectors compute component by component", T, float, double, int32, uint32) {
    checkVec<Vec2<T>, T>({8, 6}, {4, 3}, {32, 18}, T(50));
    checkVec<Vec3<T>, T>({8, 6, 4}, {4, 3, 2}, {32, 18, 8}, T(58));
    CHECK(cross(Vec3<T>{1, 0, 0}, Vec3<T>{0, 1, 0}) == Vec3<T>{0, 0, Vec3<T>{2, 3, 1}[2]});
}
