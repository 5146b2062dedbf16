#pragma once

#include <utility>
#include <windows.h>

namespace win32 {

// Owns one Win32 resource and closes it when it goes. Which value means "nothing held" is part of
// the type (Traits::Empty()), so a handle that is empty when null and a file handle that is empty
// when INVALID_HANDLE_VALUE cannot be mixed up or tested the wrong way. Move-only.
//
// Traits: `using Value = ...;`, `static Value Empty() noexcept;`, `static void Close(Value)
// noexcept;`
template <typename Traits>
class UniqueAny {
public:
    using Value = typename Traits::Value;

    UniqueAny() noexcept = default;
    explicit UniqueAny(Value value) noexcept : value_(value) {}
    UniqueAny(UniqueAny&& other) noexcept : value_(other.release()) {}
    UniqueAny& operator=(UniqueAny&& other) noexcept {
        reset(other.release());
        return *this;
    }
    UniqueAny(const UniqueAny&) = delete;
    UniqueAny& operator=(const UniqueAny&) = delete;
    ~UniqueAny() { reset(); }

    Value get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ != Traits::Empty(); }

    // Hands the value over without closing it.
    Value release() noexcept { return std::exchange(value_, Traits::Empty()); }

    // Closes what is held and holds `value` instead.
    void reset(Value value = Traits::Empty()) noexcept {
        const Value old = std::exchange(value_, value);
        if (old != Traits::Empty()) {
            Traits::Close(old);
        }
    }

    // For a Win32 call that returns the value through a pointer: closes what is held first.
    Value* put() noexcept {
        reset();
        return &value_;
    }

private:
    Value value_ = Traits::Empty();
};

// Traits for a resource that is empty when null.
template <typename T, auto CloseFunction>
struct NullIsEmpty {
    using Value = T;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value value) noexcept { CloseFunction(value); }
};

// Traits for a file handle, which CreateFileW reports as INVALID_HANDLE_VALUE when it fails.
struct InvalidIsEmpty {
    using Value = HANDLE;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { ::CloseHandle(value); }
};

// Events, threads, processes, tokens.
using UniqueHandle = UniqueAny<NullIsEmpty<HANDLE, &::CloseHandle>>;
using UniqueFileHandle = UniqueAny<InvalidIsEmpty>;
using UniqueModule = UniqueAny<NullIsEmpty<HMODULE, &::FreeLibrary>>;

} // namespace win32
