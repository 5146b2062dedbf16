#pragma once

#include "plugin_frame/chunk_vector.h"
#include "plugin_frame/entry_key.h"
#include "plugin_frame/orvex_value.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace VelmorValueSet {

// The tree of named values that every request, answer and notification is: narrow keys of at most
// 255 bytes in byte-wise order, each owning one value. Entries are kept in a sorted array (reading
// a body in key order only appends); the values themselves never move, so a pointer from Find stays
// valid until its key is replaced or the set is cleared.
class ValueSet {
public:
    static constexpr std::size_t kMaxKeyLength = 255;

    struct Entry {
        Entry(std::string_view entryKey, std::unique_ptr<OrvexValue> entryValue)
            : key(entryKey), value(std::move(entryValue)) {}

        EntryKey key;
        std::unique_ptr<OrvexValue> value; // null only for a slot made by Slot and not filled
    };
    using const_iterator = const Entry*;

    // The order of keys: byte-wise with a prefix first. Keys are short and often share their first
    // bytes ("CPU", "Max"), so they are compared eight bytes at a time and only the first byte
    // that differs decides.
    static bool KeyLess(std::string_view a, std::string_view b) {
        const std::size_t common = std::min(a.size(), b.size());
        std::size_t i = 0;
        for (; i + sizeof(uint64_t) <= common; i += sizeof(uint64_t)) {
            const uint64_t x = LoadWord(a.data() + i);
            const uint64_t y = LoadWord(b.data() + i);
            if (x != y) {
                const std::size_t first = i + FirstDifferentByte(x, y);
                return ByteLess(a[first], b[first]);
            }
        }
        for (; i < common; ++i) {
            if (a[i] != b[i]) {
                return ByteLess(a[i], b[i]);
            }
        }
        return a.size() < b.size();
    }

    ValueSet();
    ~ValueSet();
    ValueSet(ValueSet&&) noexcept;
    ValueSet& operator=(ValueSet&&) noexcept; // destroys what the target held
    ValueSet(const ValueSet&) = delete;
    ValueSet& operator=(const ValueSet&) = delete;

    bool Contains(std::string_view key) const;
    OrvexValue* Find(std::string_view key);
    const OrvexValue* Find(std::string_view key) const;
    // The nested set under the key; null when the key is missing or holds another kind.
    ValueSet* FindMap(std::string_view key);
    const ValueSet* FindMap(std::string_view key) const;

    // Stores the value under the key: the new value takes the slot first and the old one is
    // destroyed after, so a key that points into the old value is still good. False for a key
    // over 255 bytes, a null value or when memory runs out.
    bool Set(std::string_view key, std::unique_ptr<OrvexValue> value);
    bool SetBlock(std::string_view key, const void* bytes, std::size_t size);
    bool SetBool(std::string_view key, bool value);
    bool SetInt32(std::string_view key, int32_t value);
    bool SetUInt32(std::string_view key, uint32_t value);
    bool SetUInt64(std::string_view key, uint64_t value);
    bool SetDouble(std::string_view key, double value);
    bool SetString(std::string_view key, std::u16string_view value);

    // Typed reads of a key: 0, 0.0, false or empty when it is missing or of another kind.
    bool GetBool(std::string_view key) const;
    int32_t GetInt32(std::string_view key) const;
    uint32_t GetUInt32(std::string_view key) const;
    uint64_t GetUInt64(std::string_view key) const;
    double GetDouble(std::string_view key) const;
    std::u16string GetString(std::string_view key) const;
    std::span<const uint8_t> GetBlock(std::string_view key) const;

    // Stores a new empty map under the key and returns it for filling; null for a key over 255
    // bytes. Meant for fresh keys; a value already there is replaced as Set replaces it.
    ValueSet* CreateMap(std::string_view key);
    // CreateMap for a key known to be short enough: running out of memory throws std::bad_alloc,
    // which aborts the whole answer or request being built.
    ValueSet& NewMap(std::string_view key);
    // The key's slot, inserted empty when missing. The reference is good until the next key is
    // added to this set. An empty slot is skipped when the set is written.
    std::unique_ptr<OrvexValue>& Slot(std::string_view key);
    void Clear();
    // Deep copy of every entry of other (a key present in both is overwritten). Each value is
    // copied through its wire form; one that cannot be written or read back is skipped.
    void CopyFrom(const ValueSet& other);

    // The size of the body Write produces (saturates at 0xFFFFFFFF for a tree too big to write).
    uint32_t BodySize() const;
    // Writes the body. capacity in: the room in buffer; out: the size needed. Fails when the room
    // is short, when the body does not fit in 32 bits, or for a value of kind 0.
    bool Write(uint8_t* buffer, uint32_t& capacity) const;
    // Replaces the contents with the body of size bytes. Every declared length is checked against
    // the bytes that remain and nesting is bounded; a bad body leaves the set empty and gives
    // false.
    bool Read(const uint8_t* buffer, uint32_t size);

    std::size_t Count() const { return entries_.size(); }
    bool Empty() const { return entries_.empty(); }
    const_iterator begin() const { return entries_.begin(); }
    const_iterator end() const { return entries_.end(); }

private:
    friend class ValueWire;

    static uint64_t LoadWord(const char* bytes) {
        uint64_t word = 0;
        std::memcpy(&word, bytes, sizeof(word));
        return word;
    }
    // The index within the words of their first byte in memory order that differs.
    static std::size_t FirstDifferentByte(uint64_t x, uint64_t y) {
        const uint64_t differ = x ^ y;
        const int bit = std::endian::native == std::endian::little ? std::countr_zero(differ)
                                                                   : std::countl_zero(differ);
        return static_cast<std::size_t>(bit) / 8;
    }
    static bool ByteLess(char a, char b) {
        return static_cast<unsigned char>(a) < static_cast<unsigned char>(b);
    }

    // Destroys every value, letting go of the chunks they were read into once per run of values
    // from the same chunk rather than once per value.
    void DestroyValues();
    Entry* LowerBound(std::string_view key);
    const Entry* FindEntry(std::string_view key) const;
    // The key's slot, inserted when missing. Bodies arrive and answers are built mostly in key
    // order: appending needs no search.
    std::unique_ptr<OrvexValue>& InsertSlot(std::string_view key) {
        if (entries_.empty() || KeyLess(entries_.back().key, key)) {
            return entries_.emplace_back(key, nullptr).value;
        }
        return InsertSlotInside(key);
    }
    std::unique_ptr<OrvexValue>& InsertSlotInside(std::string_view key);
    std::unique_ptr<OrvexValue>* CheckedSlot(std::string_view key);
    template <typename T>
    bool SetNew(std::string_view key, T value);
    // A new key's value made from args, or its map, carved from the builder chunk; null when no
    // chunk with room could be had.
    template <typename... Args>
    OrvexValue* NewBuilt(Args&&... args);
    OrvexValue* NewBuiltMap();
    bool BuilderRoom(std::size_t footprint);
    // The set places no more values in its builder chunk, which goes with the last of them.
    void DropBuilder();

    ChunkVector<Entry> entries_;
    // The chunk the setters carve the values of new keys from while a set is built, so an answer
    // of forty values costs a few blocks instead of forty. A replaced value and the values after
    // Clear take no room from it, so a set that lives long and changes does not grow it.
    ValueChunk* builder_ = nullptr;
    std::size_t builderCapacity_ = 0;
};

} // namespace VelmorValueSet
