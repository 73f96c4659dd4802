#include "common/singleton.h"

#include "common/memory/memorymanaged.h"

#include "tests/memory/ledgerallocator.h"
#include "tests/support/librarytest.h"

#include <stdexcept>

using namespace Tarq::Common;
using namespace Tarq::Test;

namespace {

class Only : public Singleton<Only>, public Memory::MemoryManaged {
public:
    explicit Only(int value) : mValue(value) {
        if (value < 0)
            throw std::runtime_error("negative");
    }
    int mValue;
};

} // namespace

TEST_CASE_FIXTURE(LibraryTest, "a singleton is one object from its creation to its destruction") {
    auto& ledger = *new LedgerAllocator;
    const Memory::AllocatorPtr host(&ledger);
    CHECK(Only::getInstance() == nullptr);
    CHECK_THROWS_WITH(Only::createInstance(host, -1), "negative");
    CHECK(Only::getInstance() == nullptr);
    Only::destroyInstance();
    for (const int value : {1, 2}) {
        Only* const only = Only::createInstance(host, value);
        CHECK(only->getAllocator() == host);
        {
            const ExpectedAssertion expected("\nError Message: there is already an instance of this singleton object",
                                             "common/singleton");
            CHECK(Only::createInstance(allocator(), 7) == only);
        }
        CHECK(Only::getInstance() == only);
        CHECK(only->mValue == value);
        Only::destroyInstance();
        CHECK(Only::getInstance() == nullptr);
    }
    CHECK(ledger.mOutstanding.empty());
}
