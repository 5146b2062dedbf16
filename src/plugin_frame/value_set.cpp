#include "plugin_frame/value_set.h"

#include "plugin_frame/value_wire.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace VelmorValueSet {

namespace {

bool KeyBefore(const ValueSet::Entry& entry, std::string_view key) {
    return entry.key < key;
}

// A typed read of a key: the kind's empty value when the key is missing.
template <typename T>
T ReadOr(const ValueSet& set, std::string_view key, T (OrvexValue::*read)() const) {
    const OrvexValue* value = set.Find(key);
    return value != nullptr ? (value->*read)() : T{};
}

} // namespace

ValueSet::ValueSet() = default;
ValueSet::~ValueSet() = default;
ValueSet::ValueSet(ValueSet&&) noexcept = default;
ValueSet& ValueSet::operator=(ValueSet&&) noexcept = default;

std::vector<ValueSet::Entry>::iterator ValueSet::LowerBound(std::string_view key) {
    // Bodies arrive and answers are built mostly in key order: appending needs no search.
    if (entries_.empty() || std::string_view(entries_.back().key) < key) {
        return entries_.end();
    }
    return std::lower_bound(entries_.begin(), entries_.end(), key, KeyBefore);
}

const ValueSet::Entry* ValueSet::FindEntry(std::string_view key) const {
    const auto it = std::lower_bound(entries_.begin(), entries_.end(), key, KeyBefore);
    return it != entries_.end() && it->key == key ? &*it : nullptr;
}

std::unique_ptr<OrvexValue>& ValueSet::InsertSlot(std::string_view key) {
    auto it = LowerBound(key);
    if (it == entries_.end() || it->key != key) {
        it = entries_.insert(it, Entry{std::string(key), nullptr});
    }
    return it->value;
}

std::unique_ptr<OrvexValue>* ValueSet::CheckedSlot(std::string_view key) {
    if (key.size() > kMaxKeyLength) {
        return nullptr;
    }
    try {
        return &InsertSlot(key);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool ValueSet::Contains(std::string_view key) const {
    return FindEntry(key) != nullptr;
}

OrvexValue* ValueSet::Find(std::string_view key) {
    return const_cast<OrvexValue*>(std::as_const(*this).Find(key));
}

const OrvexValue* ValueSet::Find(std::string_view key) const {
    const Entry* entry = FindEntry(key);
    return entry != nullptr ? entry->value.get() : nullptr;
}

ValueSet* ValueSet::FindMap(std::string_view key) {
    return const_cast<ValueSet*>(std::as_const(*this).FindMap(key));
}

const ValueSet* ValueSet::FindMap(std::string_view key) const {
    const OrvexValue* value = Find(key);
    return value != nullptr ? value->AsMap() : nullptr;
}

bool ValueSet::Set(std::string_view key, std::unique_ptr<OrvexValue> value) {
    if (!value) {
        return false;
    }
    auto* slot = CheckedSlot(key);
    if (slot == nullptr) {
        return false;
    }
    // The old value dies only when the new one is in place: the key may point into it.
    std::unique_ptr<OrvexValue> old = std::exchange(*slot, std::move(value));
    return true;
}

template <typename T>
bool ValueSet::SetNew(std::string_view key, T value) {
    return Set(key, std::make_unique<OrvexValue>(value));
}

bool ValueSet::SetBlock(std::string_view key, const void* bytes, std::size_t size) {
    if (size > std::numeric_limits<uint32_t>::max() || (bytes == nullptr && size != 0)) {
        return false;
    }
    auto value = std::make_unique<OrvexValue>(bytes, size);
    return value->Length() == size && Set(key, std::move(value));
}

bool ValueSet::SetBool(std::string_view key, bool value) {
    return SetNew(key, value);
}
bool ValueSet::SetInt32(std::string_view key, int32_t value) {
    return SetNew(key, value);
}
bool ValueSet::SetUInt32(std::string_view key, uint32_t value) {
    return SetNew(key, value);
}
bool ValueSet::SetUInt64(std::string_view key, uint64_t value) {
    return SetNew(key, value);
}
bool ValueSet::SetDouble(std::string_view key, double value) {
    return SetNew(key, value);
}
bool ValueSet::SetString(std::string_view key, std::u16string_view value) {
    return SetNew(key, value);
}

bool ValueSet::GetBool(std::string_view key) const {
    return ReadOr(*this, key, &OrvexValue::AsBool);
}

int32_t ValueSet::GetInt32(std::string_view key) const {
    return ReadOr(*this, key, &OrvexValue::AsInt32);
}

uint32_t ValueSet::GetUInt32(std::string_view key) const {
    return ReadOr(*this, key, &OrvexValue::AsUInt32);
}

uint64_t ValueSet::GetUInt64(std::string_view key) const {
    return ReadOr(*this, key, &OrvexValue::AsUInt64);
}

double ValueSet::GetDouble(std::string_view key) const {
    return ReadOr(*this, key, &OrvexValue::AsDouble);
}

std::u16string ValueSet::GetString(std::string_view key) const {
    return ReadOr(*this, key, &OrvexValue::AsString);
}

std::span<const uint8_t> ValueSet::GetBlock(std::string_view key) const {
    return ReadOr(*this, key, &OrvexValue::AsBlock);
}

ValueSet* ValueSet::CreateMap(std::string_view key) {
    try {
        auto value = std::make_unique<OrvexValue>(ValueSet());
        ValueSet* map = value->AsMap();
        return Set(key, std::move(value)) ? map : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

std::unique_ptr<OrvexValue>& ValueSet::Slot(std::string_view key) {
    return InsertSlot(key);
}

void ValueSet::Clear() {
    entries_.clear();
}

void ValueSet::CopyFrom(const ValueSet& other) {
    // Copies are made before any is stored: other may be nested inside this set and die when a
    // key of ours is overwritten.
    std::vector<Entry> copies;
    std::vector<uint8_t> scratch;
    try {
        for (const auto& [key, value] : other) {
            if (!value) {
                continue;
            }
            const uint64_t size = ValueWire::ValueSize(*value, true);
            if (size >= ValueWire::kTooBig) {
                continue;
            }
            scratch.resize(static_cast<std::size_t>(size));
            auto copy =
                ValueWire::WriteValue(*value, scratch) ? ValueWire::ReadValue(scratch) : nullptr;
            if (copy) {
                copies.push_back(Entry{key, std::move(copy)});
            }
        }
    } catch (const std::bad_alloc&) {
        // What was copied so far is stored; the rest is skipped like a failed read.
    }
    for (auto& [key, value] : copies) {
        Set(key, std::move(value));
    }
}

uint32_t ValueSet::BodySize() const {
    return static_cast<uint32_t>(std::min<uint64_t>(ValueWire::BodySize(*this, false),
                                                    std::numeric_limits<uint32_t>::max()));
}

bool ValueSet::Write(uint8_t* buffer, uint32_t& capacity) const {
    const uint64_t needed = ValueWire::BodySize(*this, true);
    const uint32_t room = capacity;
    capacity =
        static_cast<uint32_t>(std::min<uint64_t>(needed, std::numeric_limits<uint32_t>::max()));
    if (needed >= ValueWire::kTooBig || needed > room || (buffer == nullptr && needed != 0)) {
        return false;
    }
    return ValueWire::WriteBody(*this, {buffer, static_cast<std::size_t>(needed)});
}

bool ValueSet::Read(const uint8_t* buffer, uint32_t size) {
    // Read into a fresh set and move it in at the end: the buffer may belong to one of our own
    // values, and a bad body must leave us empty.
    ValueSet fresh;
    bool ok = false;
    if (buffer != nullptr || size == 0) {
        try {
            ok = ValueWire::ReadBody({buffer, size}, fresh);
        } catch (const std::bad_alloc&) {
            ok = false;
        }
    }
    if (!ok) {
        fresh.Clear();
    }
    *this = std::move(fresh);
    return ok;
}

} // namespace VelmorValueSet
