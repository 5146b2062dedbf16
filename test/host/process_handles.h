#pragma once
// How many handles this process holds open, for leak tests. GetProcessHandleCount answers 0
// under Wine, so the count comes from the system's handle table, which Wine does keep.
#include <cstddef>
#include <optional>

namespace test_host {

std::optional<size_t> OpenHandleCount();

} // namespace test_host
