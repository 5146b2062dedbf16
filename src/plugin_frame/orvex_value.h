#pragma once

#include "plugin_frame/little_endian.h"
#include "plugin_frame/value_chunk.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace VelmorValueSet {

// The kind byte that leads every value on the wire. Any other byte is not a kind.
enum class Kind : uint8_t {
    None = 0, // allocated but not read yet; never valid on the wire
    Boolean = 1,
    Int32 = 2,
    Int64 = 3,
    Binary = 4,
    UInt32 = 5,
    Double = 7,
    WideString = 16,
    Map = 32,
};

// True for the kinds that may travel on the wire.
constexpr bool IsWireKind(Kind kind) {
    switch (kind) {
    case Kind::Boolean:
    case Kind::Int32:
    case Kind::Int64:
    case Kind::Binary:
    case Kind::UInt32:
    case Kind::Double:
    case Kind::WideString:
    case Kind::Map:
        return true;
    default:
        return false;
    }
}

// Selects the wide-string constructor whose payload carries the terminator (the device-information
// answers travel that way).
struct CountTerminator {};
inline constexpr CountTerminator kCountTerminator{};

class ValueSet;
class ValueWire;

// One typed value of a tree. The payload is kept in wire order (little-endian integers, UTF-16LE
// text), so writing it is a copy; short payloads live inside the object, longer ones on the heap.
// A map value owns its nested set and caches that set's body size as its length.
class OrvexValue {
public:
    OrvexValue() = default; // kind 0, for the reader
    explicit OrvexValue(bool value);
    explicit OrvexValue(uint8_t value);
    explicit OrvexValue(int32_t value);
    explicit OrvexValue(uint32_t value);
    explicit OrvexValue(uint64_t value);
    explicit OrvexValue(double value);
    // Wide strings: the length counts the code units without the terminator, which is stored
    // after the payload all the same. A null pointer is an empty string.
    explicit OrvexValue(const char16_t* text);
    explicit OrvexValue(std::u16string text);
    explicit OrvexValue(std::u16string_view text);
    // The length also counts the terminator, so it goes out on the wire.
    OrvexValue(const char16_t* text, CountTerminator);
    // A binary block holding a copy of the bytes.
    OrvexValue(const void* bytes, std::size_t size);
    // A map value owning the set; its cached length is 0 until it is written.
    explicit OrvexValue(ValueSet map);
    virtual ~OrvexValue();

    OrvexValue(const OrvexValue&) = delete;
    OrvexValue& operator=(const OrvexValue&) = delete;

    // Values live on the heap or, when read from a body, in a chunk shared with the rest of that
    // body; a small header in front of each tells delete which.
    static void* operator new(std::size_t size);
    static void operator delete(void* value) noexcept;

    Kind GetKind() const { return kind_; }
    uint32_t Length() const { return length_; }
    // The payload bytes in wire order; empty for a map and for a value without payload.
    std::span<const uint8_t> Payload() const;

    // Typed reads: 0, 0.0, false or empty when the kind differs or the payload is too short.
    bool AsBool() const;
    int32_t AsInt32() const;
    uint32_t AsUInt32() const;
    uint64_t AsUInt64() const;
    double AsDouble() const;
    // The text up to its first zero code unit (so a counted terminator is not part of it).
    std::u16string AsString() const;
    std::span<const uint8_t> AsBlock() const;
    ValueSet* AsMap();
    const ValueSet* AsMap() const;

private:
    friend class ValueSet;
    friend class ValueWire;

    static constexpr std::size_t kInlineBytes = 16;
    static constexpr std::size_t kTerminatorBytes = sizeof(char16_t);
    // Payloads up to this size are placed in the reader's chunk; longer ones get their own block.
    static constexpr std::size_t kChunkPayloadLimit = 256;

    // In front of every value: the chunk it was carved from, or null for a value of its own block.
    struct alignas(ValueChunk::kAlignment) AllocationHeader {
        ValueChunk* chunk;
    };

    static constexpr std::size_t StoredSize(Kind kind, std::size_t length) {
        return length + (kind == Kind::WideString ? kTerminatorBytes : 0);
    }
    // Bytes of a chunk that one value with the given payload or nested set takes.
    static constexpr std::size_t ChunkFootprint(Kind kind, std::size_t length) {
        std::size_t footprint = ValueChunk::Rounded(sizeof(AllocationHeader) + sizeof(OrvexValue));
        const std::size_t stored = StoredSize(kind, length);
        if (kind == Kind::Map) {
            footprint += MapFootprint();
        } else if (stored > kInlineBytes && stored <= kChunkPayloadLimit) {
            footprint += ValueChunk::Rounded(stored);
        }
        return footprint;
    }
    static std::size_t MapFootprint();
    // The chunk a value was placed in; null for a value in a block of its own.
    static ValueChunk* ChunkOf(const OrvexValue* value) {
        return (static_cast<const AllocationHeader*>(static_cast<const void*>(value)) - 1)->chunk;
    }
    // A value made from args (kind 0 without any) placed in the chunk, which must have room for
    // its footprint; a payload too long to be inline gets a block of its own.
    template <typename... Args>
    static OrvexValue* NewIn(ValueChunk& chunk, Args&&... args) {
        auto* header = ::new (chunk.Take(sizeof(AllocationHeader) + sizeof(OrvexValue)))
            AllocationHeader{&chunk};
        chunk.PlaceValue();
        return ::new (static_cast<void*>(header + 1)) OrvexValue(std::forward<Args>(args)...);
    }
    // Makes this a value of the kind whose payload is placed in the chunk, which must have room
    // for it; a text's terminator is zeroed, the rest is left for the caller to fill.
    void PlacePayloadIn(ValueChunk& chunk, Kind kind, uint32_t length) {
        kind_ = kind;
        length_ = length;
        storage_.heap = static_cast<uint8_t*>(chunk.Take(StoredSize()));
        storage_in_chunk_ = true;
        ZeroTerminator();
    }
    void ZeroTerminator() {
        if (kind_ == Kind::WideString) {
            StoreLittleEndian(storage_.heap + length_, uint16_t{0});
        }
    }
    // Makes this a map value owning a new empty set placed in the chunk.
    void MakeMapIn(ValueChunk& chunk, uint32_t length);

    // Sets kind and length and makes room for the payload (plus a zeroed terminator for text),
    // in the chunk when one is given and the payload is short enough. When memory runs out the
    // value keeps no payload and the result is false.
    bool Allocate(Kind kind, std::size_t length, ValueChunk* chunk = nullptr) {
        if (StoredSize(kind, length) <= kInlineBytes) {
            kind_ = kind;
            length_ = static_cast<uint32_t>(length);
            return true;
        }
        return AllocateOutside(kind, length, chunk);
    }
    bool AllocateOutside(Kind kind, std::size_t length, ValueChunk* chunk);
    void AssignText(std::u16string_view text, bool countTerminator);
    std::size_t StoredSize() const { return StoredSize(kind_, length_); }
    bool OnHeap() const { return kind_ != Kind::Map && StoredSize() > kInlineBytes; }
    // False for a value whose destructor has nothing to free: its payload is inline or in its
    // chunk. Numbers, the most common values, are told apart by their length alone.
    bool OwnsStorage() const {
        return kind_ == Kind::Map ||
               (length_ > kInlineBytes - kTerminatorBytes && OnHeap() && !storage_in_chunk_);
    }
    uint8_t* Bytes() { return OnHeap() ? storage_.heap : storage_.inline_bytes; }
    const uint8_t* Bytes() const { return OnHeap() ? storage_.heap : storage_.inline_bytes; }
    template <typename T>
    T LoadIf(Kind kind) const;

    Kind kind_ = Kind::None;
    bool storage_in_chunk_ = false; // the payload or nested set belongs to the value's chunk
    // For a map, the body size last written; writing a const tree refreshes it.
    mutable uint32_t length_ = 0;
    union Storage {
        uint8_t inline_bytes[kInlineBytes];
        uint8_t* heap;
        ValueSet* map;
    } storage_{};
};

} // namespace VelmorValueSet
