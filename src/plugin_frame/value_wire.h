#pragma once

#include "plugin_frame/orvex_value.h"
#include "plugin_frame/value_set.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace VelmorValueSet {

// The byte form of values and sets. A value is its kind (1 byte), its length (4 bytes,
// little-endian) and its payload; a set's body is its entries in key order, each a key length
// byte, the key bytes and the value. A body has no count and no end mark: the enclosing length
// ends it.
class ValueWire {
public:
    static constexpr uint32_t kValueHeaderSize = 5;
    static constexpr uint32_t kMaxDepth = 32;
    // Sizes past this do not fit the 32-bit lengths of the wire.
    static constexpr uint64_t kTooBig = uint64_t{UINT32_MAX} + 1;

    // The body size, saturated at kTooBig. With storeMapLengths every map value on the way caches
    // its nested body size, as writing does.
    static uint64_t BodySize(const ValueSet& set, bool storeMapLengths);
    static uint64_t ValueSize(const OrvexValue& value, bool storeMapLengths);

    // Write the body or one value into out, which must hold BodySize / ValueSize bytes measured
    // with storeMapLengths. False for a value of kind 0 (or of no kind).
    static bool WriteBody(const ValueSet& set, std::span<uint8_t> out);
    static bool WriteValue(const OrvexValue& value, std::span<uint8_t> out);

    // Reads a whole body into a fresh set; false for any malformed input.
    static bool ReadBody(std::span<const uint8_t> body, ValueSet& into);
    // Appends a deep copy of every entry of from, each made by writing the value and reading it
    // back; a value that cannot be written or read back is left out.
    static void CopyEntries(const ValueSet& from, std::vector<ValueSet::Entry>& into);

private:
    class Reader;
    class Writer;
};

} // namespace VelmorValueSet
