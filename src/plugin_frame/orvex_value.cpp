#include "plugin_frame/orvex_value.h"

#include "plugin_frame/little_endian.h"
#include "plugin_frame/value_chunk.h"
#include "plugin_frame/value_set.h"

#include <bit>
#include <cstring>
#include <limits>
#include <new>

namespace VelmorValueSet {

namespace {

std::u16string_view TextOrEmpty(const char16_t* text) {
    return text != nullptr ? std::u16string_view(text) : std::u16string_view();
}

} // namespace

OrvexValue::OrvexValue(bool value) : OrvexValue(static_cast<uint8_t>(value ? 1 : 0)) {}

OrvexValue::OrvexValue(uint8_t value) {
    Allocate(Kind::Boolean, 1);
    storage_.inline_bytes[0] = value;
}

OrvexValue::OrvexValue(int32_t value) : OrvexValue(static_cast<uint32_t>(value)) {
    kind_ = Kind::Int32;
}

OrvexValue::OrvexValue(uint32_t value) {
    Allocate(Kind::UInt32, sizeof(value));
    StoreLittleEndian(storage_.inline_bytes, value);
}

OrvexValue::OrvexValue(uint64_t value) {
    Allocate(Kind::Int64, sizeof(value));
    StoreLittleEndian(storage_.inline_bytes, value);
}

OrvexValue::OrvexValue(double value) : OrvexValue(std::bit_cast<uint64_t>(value)) {
    kind_ = Kind::Double;
}

OrvexValue::OrvexValue(const char16_t* text) {
    AssignText(TextOrEmpty(text), false);
}

OrvexValue::OrvexValue(std::u16string text) {
    AssignText(text, false);
}

OrvexValue::OrvexValue(std::u16string_view text) {
    AssignText(text, false);
}

OrvexValue::OrvexValue(const char16_t* text, CountTerminator) {
    AssignText(TextOrEmpty(text), true);
}

OrvexValue::OrvexValue(const void* bytes, std::size_t size) {
    if (bytes != nullptr && Allocate(Kind::Binary, size)) {
        std::memcpy(Bytes(), bytes, size);
    } else {
        Allocate(Kind::Binary, 0);
    }
}

OrvexValue::OrvexValue(ValueSet map) : kind_(Kind::Map) {
    storage_.map = new ValueSet(std::move(map));
}

OrvexValue::~OrvexValue() {
    if (kind_ == Kind::Map) {
        if (storage_in_chunk_) {
            storage_.map->~ValueSet();
        } else {
            delete storage_.map;
        }
    } else if (OnHeap() && !storage_in_chunk_) {
        delete[] storage_.heap;
    }
}

void* OrvexValue::operator new(std::size_t size) {
    auto* header =
        ::new (::operator new(sizeof(AllocationHeader) + size)) AllocationHeader{nullptr};
    return header + 1;
}

void OrvexValue::operator delete(void* value) noexcept {
    if (value == nullptr) {
        return;
    }
    auto* header = static_cast<AllocationHeader*>(value) - 1;
    if (header->chunk != nullptr) {
        header->chunk->Release();
    } else {
        ::operator delete(static_cast<void*>(header));
    }
}

std::size_t OrvexValue::MapFootprint() {
    return ValueChunk::Rounded(sizeof(ValueSet));
}

void OrvexValue::MakeMapIn(ValueChunk& chunk, uint32_t length) {
    storage_.map = ::new (chunk.Take(sizeof(ValueSet))) ValueSet();
    storage_in_chunk_ = true;
    kind_ = Kind::Map;
    length_ = length;
}

bool OrvexValue::AllocateOutside(Kind kind, std::size_t length, ValueChunk* chunk) {
    kind_ = kind;
    length_ = 0;
    if (length > std::numeric_limits<uint32_t>::max() - kTerminatorBytes) {
        return false;
    }
    length_ = static_cast<uint32_t>(length);
    if (chunk != nullptr && StoredSize() <= kChunkPayloadLimit) {
        storage_.heap = static_cast<uint8_t*>(chunk->Take(StoredSize()));
        storage_in_chunk_ = storage_.heap != nullptr;
    }
    if (!storage_in_chunk_) {
        storage_.heap = new (std::nothrow) uint8_t[StoredSize()];
    }
    if (storage_.heap == nullptr) {
        length_ = 0;
        storage_ = {};
        return false;
    }
    // The terminator of a text is all that must be zero; the rest is overwritten.
    ZeroTerminator();
    return true;
}

void OrvexValue::AssignText(std::u16string_view text, bool countTerminator) {
    const std::size_t units = text.size() + (countTerminator ? 1 : 0);
    if (units > std::numeric_limits<uint32_t>::max() / sizeof(char16_t) ||
        !Allocate(Kind::WideString, units * sizeof(char16_t))) {
        Allocate(Kind::WideString, 0);
        return;
    }
    uint8_t* out = Bytes();
    for (const char16_t unit : text) {
        StoreLittleEndian(out, static_cast<uint16_t>(unit));
        out += sizeof(char16_t);
    }
    if (countTerminator) {
        StoreLittleEndian(out, uint16_t{0});
    }
}

std::span<const uint8_t> OrvexValue::Payload() const {
    if (kind_ == Kind::Map) {
        return {};
    }
    return {Bytes(), length_};
}

template <typename T>
T OrvexValue::LoadIf(Kind kind) const {
    if (kind_ != kind || length_ < sizeof(T)) {
        return T{};
    }
    return LoadLittleEndian<T>(Bytes());
}

bool OrvexValue::AsBool() const {
    return LoadIf<uint8_t>(Kind::Boolean) != 0;
}

int32_t OrvexValue::AsInt32() const {
    return static_cast<int32_t>(LoadIf<uint32_t>(Kind::Int32));
}

uint32_t OrvexValue::AsUInt32() const {
    return LoadIf<uint32_t>(Kind::UInt32);
}

uint64_t OrvexValue::AsUInt64() const {
    return LoadIf<uint64_t>(Kind::Int64);
}

double OrvexValue::AsDouble() const {
    return std::bit_cast<double>(LoadIf<uint64_t>(Kind::Double));
}

std::u16string OrvexValue::AsString() const {
    std::u16string text;
    if (kind_ != Kind::WideString) {
        return text;
    }
    const uint8_t* in = Bytes();
    const std::size_t units = length_ / sizeof(char16_t);
    text.reserve(units);
    for (std::size_t i = 0; i < units; ++i, in += sizeof(char16_t)) {
        const auto unit = static_cast<char16_t>(LoadLittleEndian<uint16_t>(in));
        if (unit == u'\0') {
            break;
        }
        text.push_back(unit);
    }
    return text;
}

std::span<const uint8_t> OrvexValue::AsBlock() const {
    return kind_ == Kind::Binary ? Payload() : std::span<const uint8_t>();
}

ValueSet* OrvexValue::AsMap() {
    return kind_ == Kind::Map ? storage_.map : nullptr;
}

const ValueSet* OrvexValue::AsMap() const {
    return kind_ == Kind::Map ? storage_.map : nullptr;
}

} // namespace VelmorValueSet
