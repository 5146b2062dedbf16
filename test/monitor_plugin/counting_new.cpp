// Replaces the global operator new and delete: each block carries its size in a header, so the
// bytes in use are known at any time. Link this file into an executable, never into a library.
#include "counting_new.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int64_t> bytesInUse{0};

// The header keeps the block's size and its offset from what malloc returned; it is as large as
// the strictest alignment asked for, so the block after it stays aligned.
struct Header {
    std::size_t size;
    std::size_t offset;
};

void* Allocate(std::size_t size, std::size_t alignment) {
    alignment = alignment < alignof(std::max_align_t) ? alignof(std::max_align_t) : alignment;
    const std::size_t room = (sizeof(Header) + alignment - 1) / alignment * alignment;
    auto* raw = static_cast<unsigned char*>(std::malloc(room + size + alignment));
    if (raw == nullptr) {
        return nullptr;
    }
    const auto start = reinterpret_cast<std::uintptr_t>(raw) + room;
    auto* block = reinterpret_cast<unsigned char*>((start + alignment - 1) / alignment * alignment);
    auto* header = reinterpret_cast<Header*>(block - sizeof(Header));
    header->size = size;
    header->offset = static_cast<std::size_t>(block - raw);
    bytesInUse.fetch_add(static_cast<int64_t>(size), std::memory_order_relaxed);
    return block;
}

void Release(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    auto* bytes = static_cast<unsigned char*>(block);
    const auto* header = reinterpret_cast<const Header*>(bytes - sizeof(Header));
    bytesInUse.fetch_sub(static_cast<int64_t>(header->size), std::memory_order_relaxed);
    std::free(bytes - header->offset);
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment) {
    void* block = Allocate(size, alignment);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

} // namespace

namespace counting_new {

int64_t BytesInUse() {
    return bytesInUse.load();
}

} // namespace counting_new

void* operator new(std::size_t size) {
    return AllocateOrThrow(size, 0);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return AllocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, 0);
}
void operator delete(void* block) noexcept {
    Release(block);
}
void operator delete[](void* block) noexcept {
    Release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    Release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    Release(block);
}
