#pragma once

#include <cstdint>

// The value the next handle of this process gets: the lowest free slot of its handle table, which
// the system hands out first. A handle left open keeps its slot, so a test that sees the same
// value before and after some work knows the work closed what it opened.
uintptr_t NextHandleValue();
