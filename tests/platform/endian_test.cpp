#include "common/platform/endian.h"

#include "common/types.h"

#include "tests/support/librarytest.h"

#include <cstring>

using namespace Tarq::Common;
using namespace Tarq::Common::Platform;
using namespace Tarq::Test;

TEST_CASE_FIXTURE(LibraryTest, "the machine's byte order is the one in which it stores numbers") {
    const uint32 number = Endian::ENDIAN_LITTLE;
    uint8 firstByte;
    std::memcpy(&firstByte, &number, 1);
    CHECK(Endian::getSystemEncoding() == static_cast<Endian::Endiness>(firstByte));
    CHECK(Endian::ENDIAN_BIG == 0);
}
