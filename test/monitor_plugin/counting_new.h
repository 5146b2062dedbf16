#pragma once
// Bytes the program holds through operator new: a program that links counting_new.cpp replaces the
// global operator new and delete with ones that count, so a test can see whether what was
// allocated was given back.
#include <cstdint>

namespace counting_new {

int64_t BytesInUse();

} // namespace counting_new
