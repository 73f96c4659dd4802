#include "common/threading/task.h"

#include "common/memory/allocator.h"

namespace Tarq::Common::Threading {

Task::Task() noexcept = default;

Task::~Task() = default;

} // namespace Tarq::Common::Threading
