#pragma once
// A small value-tree codec of the hosts' own (the test host and the reference host), for
// building request bodies and reading answers. It is deliberately separate from the plug-in's:
// a shared mistake would hide itself.
// The decoder checks every declared length, so it also serves to inspect hostile bytes.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvex_host {

enum class Kind : uint8_t {
    Boolean = 1,
    Int32 = 2,
    Int64 = 3,
    Block = 4,
    UInt32 = 5,
    Double = 7,
    Wide = 16,
    Map = 32,
};

struct Value;

// Entries in ascending byte-wise key order; keys are unique.
class Tree {
public:
    Tree() = default;
    Tree(std::initializer_list<std::pair<std::string, Value>> entries);

    Tree& Set(std::string key, Value value);
    const Value* Find(std::string_view key) const;
    const std::vector<std::pair<std::string, Value>>& Entries() const { return entries_; }
    bool Empty() const { return entries_.empty(); }

private:
    std::vector<std::pair<std::string, Value>> entries_;
};

struct Value {
    uint8_t kind = 0;
    std::vector<uint8_t> payload; // every kind but a map
    Tree map;                     // kind 32

    static Value Boolean(bool value);
    static Value Int32(int32_t value);
    static Value UInt32(uint32_t value);
    static Value Int64(uint64_t value);
    static Value Double(double value);
    static Value Wide(std::wstring_view text); // no terminator, as producers write it
    static Value Block(std::span<const uint8_t> bytes);
    static Value Map(Tree tree);
    // Any kind byte with any payload, for messages a well-behaved client would never send.
    static Value Raw(uint8_t kind, std::vector<uint8_t> payload);

    bool Is(Kind wanted) const { return kind == static_cast<uint8_t>(wanted); }
    std::optional<bool> AsBoolean() const;
    std::optional<int32_t> AsInt32() const;
    std::optional<uint32_t> AsUInt32() const;
    std::optional<uint64_t> AsInt64() const;
    std::optional<double> AsDouble() const;
    // Every code unit of the payload, a terminator included when one was sent.
    std::optional<std::wstring> AsWide() const;
    const Tree* AsMap() const { return Is(Kind::Map) ? &map : nullptr; }
};

std::vector<uint8_t> Encode(const Tree& tree);
// Nothing when a kind is unknown or a declared length runs past the end.
std::optional<Tree> Decode(std::span<const uint8_t> body);

} // namespace orvex_host
