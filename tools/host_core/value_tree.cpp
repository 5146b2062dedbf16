#include "host_core/value_tree.h"

#include <algorithm>
#include <cstring>

namespace orvex_host {
namespace {

template <typename Number>
Value Fixed(Kind kind, Number number) {
    Value value{static_cast<uint8_t>(kind), std::vector<uint8_t>(sizeof number), {}};
    std::memcpy(value.payload.data(), &number, sizeof number);
    return value;
}

template <typename Number>
std::optional<Number> ReadFixed(const Value& value, Kind kind) {
    if (!value.Is(kind) || value.payload.size() != sizeof(Number)) {
        return std::nullopt;
    }
    Number number;
    std::memcpy(&number, value.payload.data(), sizeof number);
    return number;
}

void PutLength(std::vector<uint8_t>& out, size_t length) {
    for (int shift = 0; shift < 32; shift += 8) {
        out.push_back(static_cast<uint8_t>(length >> shift));
    }
}

void EncodeInto(std::vector<uint8_t>& out, const Tree& tree) {
    for (const auto& [key, value] : tree.Entries()) {
        out.push_back(static_cast<uint8_t>(key.size()));
        out.insert(out.end(), key.begin(), key.end());
        out.push_back(value.kind);
        if (value.Is(Kind::Map)) {
            std::vector<uint8_t> nested = Encode(value.map);
            PutLength(out, nested.size());
            out.insert(out.end(), nested.begin(), nested.end());
        } else {
            PutLength(out, value.payload.size());
            out.insert(out.end(), value.payload.begin(), value.payload.end());
        }
    }
}

bool IsKind(uint8_t kind) {
    switch (static_cast<Kind>(kind)) {
    case Kind::Boolean:
    case Kind::Int32:
    case Kind::Int64:
    case Kind::Block:
    case Kind::UInt32:
    case Kind::Double:
    case Kind::Wide:
    case Kind::Map:
        return true;
    }
    return false;
}

// The wire carries UTF-16 code units; a wide string is UTF-16 on Windows and UTF-32 elsewhere.
std::u16string Utf16Units(std::wstring_view text) {
    std::u16string units;
    for (const wchar_t c : text) {
        const auto point = static_cast<uint32_t>(c);
        if (point > 0xFFFF) {
            units += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
        } else {
            units += static_cast<char16_t>(point);
        }
    }
    return units;
}

// Code units as they came; where a wide character holds more than 16 bits, a surrogate pair
// becomes the one character it encodes.
std::wstring WideText(std::u16string_view units) {
    std::wstring text;
    for (size_t i = 0; i < units.size(); ++i) {
        const uint32_t unit = units[i];
        const bool pair = sizeof(wchar_t) > 2 && unit >= 0xD800 && unit < 0xDC00 &&
                          i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000;
        if (pair) {
            text += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (units[++i] - 0xDC00));
        } else {
            text += static_cast<wchar_t>(unit);
        }
    }
    return text;
}

} // namespace

Tree::Tree(std::initializer_list<std::pair<std::string, Value>> entries) {
    for (const auto& [key, value] : entries) {
        Set(key, value);
    }
}

Tree& Tree::Set(std::string key, Value value) {
    auto at =
        std::lower_bound(entries_.begin(), entries_.end(), key,
                         [](const auto& entry, const std::string& k) { return entry.first < k; });
    if (at != entries_.end() && at->first == key) {
        at->second = std::move(value);
    } else {
        entries_.emplace(at, std::move(key), std::move(value));
    }
    return *this;
}

const Value* Tree::Find(std::string_view key) const {
    auto at = std::find_if(entries_.begin(), entries_.end(),
                           [key](const auto& entry) { return entry.first == key; });
    return at == entries_.end() ? nullptr : &at->second;
}

Value Value::Boolean(bool value) {
    return Fixed(Kind::Boolean, static_cast<uint8_t>(value));
}
Value Value::Int32(int32_t value) {
    return Fixed(Kind::Int32, value);
}
Value Value::UInt32(uint32_t value) {
    return Fixed(Kind::UInt32, value);
}
Value Value::Int64(uint64_t value) {
    return Fixed(Kind::Int64, value);
}
Value Value::Double(double value) {
    return Fixed(Kind::Double, value);
}

Value Value::Wide(std::wstring_view text) {
    Value value{static_cast<uint8_t>(Kind::Wide), {}, {}};
    for (const char16_t unit : Utf16Units(text)) {
        value.payload.push_back(static_cast<uint8_t>(unit & 0xFF));
        value.payload.push_back(static_cast<uint8_t>(unit >> 8));
    }
    return value;
}

Value Value::Block(std::span<const uint8_t> bytes) {
    return {static_cast<uint8_t>(Kind::Block), {bytes.begin(), bytes.end()}, {}};
}

Value Value::Map(Tree tree) {
    return {static_cast<uint8_t>(Kind::Map), {}, std::move(tree)};
}

Value Value::Raw(uint8_t kind, std::vector<uint8_t> payload) {
    return {kind, std::move(payload), {}};
}

std::optional<bool> Value::AsBoolean() const {
    auto byte = ReadFixed<uint8_t>(*this, Kind::Boolean);
    return byte ? std::optional<bool>(*byte != 0) : std::nullopt;
}
std::optional<int32_t> Value::AsInt32() const {
    return ReadFixed<int32_t>(*this, Kind::Int32);
}
std::optional<uint32_t> Value::AsUInt32() const {
    return ReadFixed<uint32_t>(*this, Kind::UInt32);
}
std::optional<uint64_t> Value::AsInt64() const {
    return ReadFixed<uint64_t>(*this, Kind::Int64);
}
std::optional<double> Value::AsDouble() const {
    return ReadFixed<double>(*this, Kind::Double);
}

std::optional<std::wstring> Value::AsWide() const {
    if (!Is(Kind::Wide) || payload.size() % 2 != 0) {
        return std::nullopt;
    }
    std::u16string units(payload.size() / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i) {
        units[i] = static_cast<char16_t>(payload[2 * i] | payload[2 * i + 1] << 8);
    }
    return WideText(units);
}

std::vector<uint8_t> Encode(const Tree& tree) {
    std::vector<uint8_t> out;
    EncodeInto(out, tree);
    return out;
}

std::optional<Tree> Decode(std::span<const uint8_t> body) {
    Tree tree;
    size_t at = 0;
    while (at < body.size()) {
        const size_t keySize = body[at++];
        if (body.size() - at < keySize + 5) {
            return std::nullopt;
        }
        std::string key(reinterpret_cast<const char*>(&body[at]), keySize);
        at += keySize;
        const uint8_t kind = body[at];
        uint32_t length = 0;
        std::memcpy(&length, &body[at + 1], sizeof length);
        at += 5;
        if (!IsKind(kind) || body.size() - at < length) {
            return std::nullopt;
        }
        std::span<const uint8_t> payload = body.subspan(at, length);
        at += length;
        if (kind == static_cast<uint8_t>(Kind::Map)) {
            auto nested = Decode(payload);
            if (!nested) {
                return std::nullopt;
            }
            tree.Set(std::move(key), Value::Map(std::move(*nested)));
        } else {
            tree.Set(std::move(key), Value::Raw(kind, {payload.begin(), payload.end()}));
        }
    }
    return tree;
}

} // namespace orvex_host
