#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace VelmorValueSet {

// The key of one entry of a value set. The keys of real trees ("Cmd",
// "MaxCPUTemprature", "RecordDataPage[12]") fit in the object itself, so storing one costs no
// allocation; a longer key gets a block of its own.
class EntryKey {
public:
    static constexpr std::size_t kInlineBytes = 24;

    EntryKey() = default;
    explicit EntryKey(std::string_view key) { Assign(key); } // throws bad_alloc for a long key
    EntryKey(const EntryKey& other) : EntryKey(other.View()) {}
    EntryKey(EntryKey&& other) noexcept : storage_(other.storage_), size_(other.size_) {
        other.size_ = 0;
    }
    EntryKey& operator=(const EntryKey& other) {
        if (this != &other) {
            *this = EntryKey(other);
        }
        return *this;
    }
    EntryKey& operator=(EntryKey&& other) noexcept {
        std::swap(storage_, other.storage_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~EntryKey() {
        if (OnHeap()) {
            delete[] storage_.heap;
        }
    }

    const char* data() const { return OnHeap() ? storage_.heap : storage_.inline_bytes; }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    std::string_view View() const { return {data(), size_}; }
    operator std::string_view() const { return View(); }
    operator std::string() const { return std::string(View()); }

    friend bool operator==(const EntryKey& a, const EntryKey& b) { return a.View() == b.View(); }
    friend bool operator==(const EntryKey& a, std::string_view b) { return a.View() == b; }

private:
    bool OnHeap() const { return size_ > kInlineBytes; }

    void Assign(std::string_view key) {
        if (key.size() > kInlineBytes) {
            storage_.heap = new char[key.size()];
            std::memcpy(storage_.heap, key.data(), key.size());
        } else {
            CopyShort(storage_.inline_bytes, key.data(), key.size());
        }
        size_ = key.size();
    }

    // A copy of at most kInlineBytes in a few fixed-size moves (they may overlap), which beats
    // both a call to memcpy and the string instructions a compiler makes of a short one.
    static void CopyShort(char* to, const char* from, std::size_t size) {
        if (size >= 16) {
            std::memcpy(to, from, 16);
            std::memcpy(to + size - 16, from + size - 16, 16);
        } else if (size >= 8) {
            std::memcpy(to, from, 8);
            std::memcpy(to + size - 8, from + size - 8, 8);
        } else if (size >= 4) {
            std::memcpy(to, from, 4);
            std::memcpy(to + size - 4, from + size - 4, 4);
        } else {
            for (std::size_t i = 0; i < size; ++i) {
                to[i] = from[i];
            }
        }
    }

    union Storage {
        char inline_bytes[kInlineBytes];
        char* heap;
    } storage_{};
    std::size_t size_ = 0;
};

} // namespace VelmorValueSet
