#include "plugin_frame/value_set.h"

#include "plugin_frame/value_chunk.h"
#include "plugin_frame/value_wire.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace VelmorValueSet {

namespace {

bool KeyBefore(const ValueSet::Entry& entry, std::string_view key) {
    return ValueSet::KeyLess(entry.key, key);
}

// A typed read of a key: the kind's empty value when the key is missing.
template <typename T>
T ReadOr(const ValueSet& set, std::string_view key, T (OrvexValue::*read)() const) {
    const OrvexValue* value = set.Find(key);
    return value != nullptr ? (value->*read)() : T{};
}

} // namespace

namespace {

// Builder chunks start small, for the many sets of one or two values, and double while a set
// grows.
constexpr std::size_t kFirstBuilderBytes = 512;
constexpr std::size_t kLargestBuilderBytes = 4096;

} // namespace

ValueSet::ValueSet() = default;
ValueSet::~ValueSet() {
    DestroyValues();
    DropBuilder();
}
ValueSet::ValueSet(ValueSet&& other) noexcept
    : entries_(std::move(other.entries_)), builder_(std::exchange(other.builder_, nullptr)),
      builderCapacity_(std::exchange(other.builderCapacity_, 0)) {}

ValueSet& ValueSet::operator=(ValueSet&& other) noexcept {
    if (this != &other) {
        DestroyValues();
        DropBuilder();
        entries_ = std::move(other.entries_);
        builder_ = std::exchange(other.builder_, nullptr);
        builderCapacity_ = std::exchange(other.builderCapacity_, 0);
    }
    return *this;
}

void ValueSet::DropBuilder() {
    if (builder_ != nullptr) {
        std::exchange(builder_, nullptr)->ReaderDone();
    }
}

bool ValueSet::BuilderRoom(std::size_t footprint) {
    if (builder_ != nullptr && builder_->Room() >= footprint) {
        return true;
    }
    const std::size_t capacity = std::max(
        footprint, builderCapacity_ == 0 ? kFirstBuilderBytes
                                         : std::min(builderCapacity_ * 2, kLargestBuilderBytes));
    ValueChunk* fresh = ValueChunk::Make(capacity);
    if (fresh == nullptr) {
        return false;
    }
    DropBuilder();
    builder_ = fresh;
    builderCapacity_ = capacity;
    return true;
}

template <typename... Args>
OrvexValue* ValueSet::NewBuilt(Args&&... args) {
    if (!BuilderRoom(OrvexValue::ChunkFootprint(Kind::None, 0))) {
        return nullptr;
    }
    return OrvexValue::NewIn(*builder_, std::forward<Args>(args)...);
}

OrvexValue* ValueSet::NewBuiltMap() {
    if (!BuilderRoom(OrvexValue::ChunkFootprint(Kind::Map, 0))) {
        return nullptr;
    }
    OrvexValue* value = OrvexValue::NewIn(*builder_);
    value->MakeMapIn(*builder_, 0);
    return value;
}

void ValueSet::DestroyValues() {
    ValueChunk* run = nullptr;
    uint64_t runValues = 0;
    for (Entry& entry : entries_) {
        OrvexValue* value = entry.value.release();
        ValueChunk* chunk = value != nullptr ? OrvexValue::ChunkOf(value) : nullptr;
        if (chunk == nullptr) {
            delete value;
            continue;
        }
        if (chunk != run) {
            if (run != nullptr) {
                run->Release(runValues);
            }
            run = chunk;
            runValues = 0;
        }
        // A value in a chunk is exactly an OrvexValue; most have nothing of their own to free.
        if (value->OwnsStorage()) {
            value->OrvexValue::~OrvexValue();
        }
        ++runValues;
    }
    if (run != nullptr) {
        run->Release(runValues);
    }
    entries_.reset();
}

ValueSet::Entry* ValueSet::LowerBound(std::string_view key) {
    return std::lower_bound(entries_.begin(), entries_.end(), key, KeyBefore);
}

const ValueSet::Entry* ValueSet::FindEntry(std::string_view key) const {
    const auto it = std::lower_bound(entries_.begin(), entries_.end(), key, KeyBefore);
    return it != entries_.end() && it->key == key ? &*it : nullptr;
}

std::unique_ptr<OrvexValue>& ValueSet::InsertSlotInside(std::string_view key) {
    auto it = LowerBound(key);
    if (it == entries_.end() || it->key != key) {
        it = entries_.emplace(it, key, nullptr);
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
    auto* slot = CheckedSlot(key);
    if (slot == nullptr) {
        return false;
    }
    OrvexValue* built = *slot == nullptr ? NewBuilt(value) : nullptr;
    std::unique_ptr<OrvexValue> made(built != nullptr ? built : new OrvexValue(value));
    // The old value dies only when the new one is in place: the text may point into it.
    std::unique_ptr<OrvexValue> old = std::exchange(*slot, std::move(made));
    return true;
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
        auto* slot = CheckedSlot(key);
        if (slot == nullptr) {
            return nullptr;
        }
        OrvexValue* built = *slot == nullptr ? NewBuiltMap() : nullptr;
        std::unique_ptr<OrvexValue> value(built != nullptr ? built : new OrvexValue(ValueSet()));
        ValueSet* map = value->AsMap();
        std::unique_ptr<OrvexValue> old = std::exchange(*slot, std::move(value));
        return map;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

ValueSet& ValueSet::NewMap(std::string_view key) {
    ValueSet* map = CreateMap(key);
    if (map == nullptr) {
        throw std::bad_alloc();
    }
    return *map;
}

std::unique_ptr<OrvexValue>& ValueSet::Slot(std::string_view key) {
    return InsertSlot(key);
}

void ValueSet::Clear() {
    DestroyValues();
    DropBuilder();
}

void ValueSet::CopyFrom(const ValueSet& other) {
    // Copies are made before any is stored: other may be nested inside this set and die when a
    // key of ours is overwritten.
    std::vector<Entry> copies;
    try {
        ValueWire::CopyEntries(other, copies);
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
