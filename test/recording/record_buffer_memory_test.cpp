// Every allocation of this test program can be made to fail once, so the buffer's handling of
// an exhausted heap is exercised step by step. Leaks show under AddressSanitizer's leak check.
#include "recording/record_buffer.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

namespace {

constexpr int kNever = -1;
std::atomic<int> allocationsBeforeFailure{kNever};

void* Allocate(std::size_t size) {
    int left = allocationsBeforeFailure.load();
    while (left != kNever &&
           !allocationsBeforeFailure.compare_exchange_weak(left, left == 0 ? kNever : left - 1)) {
    }
    if (left == 0) {
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

} // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return Allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

TEST(RecordBufferMemory, each_failed_allocation_is_out_of_memory_and_releases_the_rest) {
    // 10,000 records of 80 bytes make a ring of three blocks, plus the block table.
    int failures = 0;
    for (int failAt = 0; failAt < 100; ++failAt) {
        allocationsBeforeFailure = failAt;
        try {
            const RecordBuffer buffer(10'000, 80, 600);
            allocationsBeforeFailure = kNever;
            break;
        } catch (const std::runtime_error& error) {
            allocationsBeforeFailure = kNever;
            EXPECT_STREQ(error.what(), "out of memory");
            ++failures;
        }
    }
    EXPECT_EQ(failures, 4);
}
