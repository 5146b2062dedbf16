#include "plugin_frame/value_set.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using VelmorValueSet::kCountTerminator;
using VelmorValueSet::Kind;
using VelmorValueSet::OrvexValue;
using VelmorValueSet::ValueSet;
using Bytes = std::vector<uint8_t>;

Bytes Encode(const ValueSet& set) {
    uint32_t size = set.BodySize();
    Bytes out(size);
    EXPECT_TRUE(set.Write(out.data(), size));
    EXPECT_EQ(size, out.size());
    return out;
}

bool Decode(ValueSet& set, const Bytes& body) {
    return set.Read(body.data(), static_cast<uint32_t>(body.size()));
}

// Key bytes as they stand on the wire: length byte, then the text.
Bytes Key(std::string_view key) {
    Bytes out(1 + key.size());
    out[0] = static_cast<uint8_t>(key.size());
    std::copy(key.begin(), key.end(), out.begin() + 1);
    return out;
}

Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts) {
        out.insert(out.end(), part.begin(), part.end());
    }
    return out;
}

// One value on the wire: kind, little-endian length, payload.
Bytes Value(uint8_t kind, const Bytes& payload) {
    const auto n = static_cast<uint32_t>(payload.size());
    Bytes out{kind, static_cast<uint8_t>(n), static_cast<uint8_t>(n >> 8),
              static_cast<uint8_t>(n >> 16), static_cast<uint8_t>(n >> 24)};
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

Bytes Entry(std::string_view key, uint8_t kind, const Bytes& payload) {
    return Cat({Key(key), Value(kind, payload)});
}

ValueSet Filled() {
    ValueSet set;
    set.SetInt32("Keep", 7);
    return set;
}

// ---- edge cases of the byte form -------------------------------------------------------------

TEST(ValueSet, empty_set_has_body_size_zero_and_writes_nothing) {
    const ValueSet set;
    EXPECT_EQ(set.BodySize(), 0u);
    uint8_t sentinel = 0xAB;
    uint32_t capacity = 1;
    EXPECT_TRUE(set.Write(&sentinel, capacity));
    EXPECT_EQ(capacity, 0u);
    EXPECT_EQ(sentinel, 0xAB);
}

TEST(ValueSet, map_value_holding_an_empty_set_is_exactly_five_bytes) {
    ValueSet set;
    ASSERT_NE(set.CreateMap("M"), nullptr);
    EXPECT_EQ(Encode(set), (Bytes{1, 'M', 32, 0, 0, 0, 0}));
}

TEST(ValueSet, cmd_get_is_fifteen_bytes) {
    ValueSet set;
    set.Set("Cmd", std::make_unique<OrvexValue>(u"Get"));
    EXPECT_EQ(set.BodySize(), 15u);
    EXPECT_EQ(Encode(set), (Bytes{3, 'C', 'm', 'd', 16, 6, 0, 0, 0, 'G', 0, 'e', 0, 't', 0}));
}

TEST(ValueSet, kinds_6_8_and_33_fail_and_leave_the_set_empty) {
    for (const uint8_t kind : {uint8_t{6}, uint8_t{8}, uint8_t{33}}) {
        ValueSet set = Filled();
        const Bytes body = Cat({Entry("A", 2, {1, 0, 0, 0}), Entry("B", kind, {0, 0, 0, 0})});
        EXPECT_FALSE(Decode(set, body)) << int{kind};
        EXPECT_TRUE(set.Empty()) << int{kind};
    }
}

TEST(ValueSet, every_byte_that_is_not_a_kind_fails_to_read) {
    const std::vector<int> kinds{1, 2, 3, 4, 5, 7, 16, 32};
    for (int kind = 0; kind < 256; ++kind) {
        const bool known = std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
        ValueSet set;
        const Bytes body = Entry("K", static_cast<uint8_t>(kind), {});
        EXPECT_EQ(Decode(set, body), known) << kind;
    }
}

TEST(ValueSet, wide_string_read_from_the_wire_is_terminated) {
    // Alone, and followed by bytes that are not zero.
    for (const Bytes& body :
         {Entry("S", 16, {'H', 0, 'i', 0}),
          Cat({Entry("S", 16, {'H', 0, 'i', 0}), Entry("T", 4, Bytes(20, 0xFF))})}) {
        ValueSet set;
        ASSERT_TRUE(Decode(set, body));
        const OrvexValue* value = set.Find("S");
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(value->Length(), 4u);
        // The payload span ends at the length; the terminator is stored just past it.
        const uint8_t* bytes = value->Payload().data();
        EXPECT_EQ(bytes[4], 0);
        EXPECT_EQ(bytes[5], 0);
        EXPECT_EQ(value->AsString(), u"Hi");
    }
}

TEST(ValueSet, long_wide_string_read_from_the_wire_is_terminated) {
    Bytes text;
    for (int i = 0; i < 40; ++i) {
        text.insert(text.end(), {static_cast<uint8_t>('a' + i % 26), 0});
    }
    ValueSet set;
    ASSERT_TRUE(Decode(set, Entry("S", 16, text)));
    const uint8_t* bytes = set.Find("S")->Payload().data();
    EXPECT_EQ(bytes[80], 0);
    EXPECT_EQ(bytes[81], 0);
    EXPECT_EQ(set.GetString("S").size(), 40u);
}

TEST(ValueSet, write_with_too_small_capacity_fails_and_reports_the_needed_size) {
    ValueSet set;
    set.SetString("Cmd", u"Get");
    Bytes out(14, 0xCC);
    uint32_t capacity = 14;
    EXPECT_FALSE(set.Write(out.data(), capacity));
    EXPECT_EQ(capacity, 15u);
    EXPECT_EQ(out, Bytes(14, 0xCC));
    capacity = 0;
    EXPECT_FALSE(set.Write(nullptr, capacity));
    EXPECT_EQ(capacity, 15u);
}

TEST(ValueSet, find_map_on_a_string_yields_none) {
    ValueSet set;
    set.SetString("S", u"map?");
    set.CreateMap("M");
    EXPECT_EQ(set.FindMap("S"), nullptr);
    EXPECT_EQ(set.FindMap("Missing"), nullptr);
    EXPECT_NE(set.FindMap("M"), nullptr);
    EXPECT_EQ(std::as_const(set).FindMap("M"), set.FindMap("M"));
}

// ---- byte-exact vectors of every kind ----------------------------------------------------------

struct Vector {
    const char* name;
    std::unique_ptr<OrvexValue> (*make)();
    Bytes wire; // the value only: kind, length, payload
};

std::vector<Vector> KindVectors() {
    std::vector<Vector> v;
    v.push_back({"bool", [] { return std::make_unique<OrvexValue>(true); }, Value(1, {1})});
    v.push_back(
        {"byte", [] { return std::make_unique<OrvexValue>(uint8_t{0x7F}); }, Value(1, {0x7F})});
    v.push_back({"int32", [] { return std::make_unique<OrvexValue>(int32_t{-2}); },
                 Value(2, {0xFE, 0xFF, 0xFF, 0xFF})});
    v.push_back({"uint64",
                 [] { return std::make_unique<OrvexValue>(uint64_t{0x0102030405060708}); },
                 Value(3, {8, 7, 6, 5, 4, 3, 2, 1})});
    v.push_back({"block",
                 [] {
                     const uint8_t bytes[] = {9, 0, 0xFF};
                     return std::make_unique<OrvexValue>(bytes, sizeof bytes);
                 },
                 Value(4, {9, 0, 0xFF})});
    v.push_back({"uint32", [] { return std::make_unique<OrvexValue>(uint32_t{0xA0800010}); },
                 Value(5, {0x10, 0, 0x80, 0xA0})});
    v.push_back({"double", [] { return std::make_unique<OrvexValue>(1.5); },
                 Value(7, {0, 0, 0, 0, 0, 0, 0xF8, 0x3F})});
    v.push_back({"string", [] { return std::make_unique<OrvexValue>(u"\u00E9\u4E2D"); },
                 Value(16, {0xE9, 0, 0x2D, 0x4E})});
    v.push_back({"string_object",
                 [] { return std::make_unique<OrvexValue>(std::u16string(u"ab")); },
                 Value(16, {'a', 0, 'b', 0})});
    v.push_back({"string_with_terminator",
                 [] { return std::make_unique<OrvexValue>(u"ab", kCountTerminator); },
                 Value(16, {'a', 0, 'b', 0, 0, 0})});
    v.push_back(
        {"map",
         [] {
             ValueSet inner;
             inner.SetInt32("X", 1);
             inner.CreateMap("Y")->SetBool("Z", false);
             return std::make_unique<OrvexValue>(std::move(inner));
         },
         Value(32, Cat({Entry("X", 2, {1, 0, 0, 0}), Entry("Y", 32, Entry("Z", 1, {0}))}))});
    return v;
}

TEST(ValueSet, every_kind_writes_its_exact_bytes_and_reads_back_the_same) {
    for (const Vector& vector : KindVectors()) {
        SCOPED_TRACE(vector.name);
        ValueSet set;
        ASSERT_TRUE(set.Set("V", vector.make()));
        const Bytes body = Cat({Key("V"), vector.wire});
        EXPECT_EQ(set.BodySize(), body.size());
        EXPECT_EQ(Encode(set), body);

        ValueSet back;
        ASSERT_TRUE(Decode(back, body));
        EXPECT_EQ(back.Find("V")->GetKind(), set.Find("V")->GetKind());
        EXPECT_EQ(Encode(back), body);
    }
}

TEST(ValueSet, constructors_set_kind_and_length) {
    EXPECT_EQ(OrvexValue().GetKind(), Kind::None);
    EXPECT_EQ(OrvexValue().Length(), 0u);
    EXPECT_EQ(OrvexValue(false).GetKind(), Kind::Boolean);
    EXPECT_EQ(OrvexValue(uint8_t{3}).Length(), 1u);
    EXPECT_EQ(OrvexValue(int32_t{3}).GetKind(), Kind::Int32);
    EXPECT_EQ(OrvexValue(uint32_t{3}).GetKind(), Kind::UInt32);
    EXPECT_EQ(OrvexValue(uint64_t{3}).GetKind(), Kind::Int64);
    EXPECT_EQ(OrvexValue(uint64_t{3}).Length(), 8u);
    EXPECT_EQ(OrvexValue(3.0).GetKind(), Kind::Double);
    EXPECT_EQ(OrvexValue(u"Get").Length(), 6u);
    EXPECT_EQ(OrvexValue(u"Get", kCountTerminator).Length(), 8u);
    EXPECT_EQ(OrvexValue(static_cast<const char16_t*>(nullptr)).Length(), 0u);
    EXPECT_EQ(OrvexValue(ValueSet()).GetKind(), Kind::Map);
    EXPECT_EQ(OrvexValue(ValueSet()).Length(), 0u);
}

TEST(ValueSet, typed_reads_give_the_stored_values) {
    ValueSet set;
    set.SetBool("B", true);
    set.SetInt32("I", -5);
    set.SetUInt32("U", 0xFFFFFFFF);
    set.SetUInt64("L", 0x1122334455667788);
    set.SetDouble("D", -0.25);
    set.SetString("S", u"Temprature");
    const uint8_t block[] = {1, 2, 3};
    set.SetBlock("K", block, sizeof block);
    EXPECT_TRUE(set.GetBool("B"));
    EXPECT_EQ(set.GetInt32("I"), -5);
    EXPECT_EQ(set.GetUInt32("U"), 0xFFFFFFFFu);
    EXPECT_EQ(set.GetUInt64("L"), 0x1122334455667788u);
    EXPECT_EQ(set.GetDouble("D"), -0.25);
    EXPECT_EQ(set.GetString("S"), u"Temprature");
    EXPECT_EQ(Bytes(set.GetBlock("K").begin(), set.GetBlock("K").end()), (Bytes{1, 2, 3}));
}

TEST(ValueSet, missing_keys_and_other_kinds_read_as_zero_or_empty) {
    ValueSet set;
    set.SetString("S", u"1");
    set.SetInt32("I", 1);
    for (const char* key : {"S", "Missing"}) {
        EXPECT_FALSE(set.GetBool(key));
        EXPECT_EQ(set.GetInt32(key), 0);
        EXPECT_EQ(set.GetUInt32(key), 0u);
        EXPECT_EQ(set.GetUInt64(key), 0u);
        EXPECT_EQ(set.GetDouble(key), 0.0);
        EXPECT_TRUE(set.GetBlock(key).empty());
    }
    EXPECT_EQ(set.GetString("I"), u"");
    EXPECT_EQ(set.GetString("Missing"), u"");
    EXPECT_EQ(set.Find("I")->AsMap(), nullptr);
}

TEST(ValueSet, string_with_counted_terminator_reads_as_the_text_with_two_zero_units_stored) {
    ValueSet set;
    set.Set("Name", std::make_unique<OrvexValue>(u"GPU", kCountTerminator));
    ValueSet back;
    ASSERT_TRUE(Decode(back, Encode(set)));
    const OrvexValue* value = back.Find("Name");
    EXPECT_EQ(value->Length(), 8u);
    EXPECT_EQ(value->AsString(), u"GPU");
    const uint8_t* bytes = value->Payload().data();
    EXPECT_EQ(std::memcmp(bytes + 6, "\0\0\0\0", 4), 0);
}

TEST(ValueSet, short_payloads_read_as_zero_and_travel_unchanged) {
    const Bytes body =
        Cat({Entry("B", 1, {}), Entry("D", 7, {1}), Entry("I", 2, {1, 2}), Entry("L", 3, {1})});
    ValueSet set;
    ASSERT_TRUE(Decode(set, body));
    EXPECT_FALSE(set.GetBool("B"));
    EXPECT_EQ(set.GetDouble("D"), 0.0);
    EXPECT_EQ(set.GetInt32("I"), 0);
    EXPECT_EQ(set.GetUInt64("L"), 0u);
    EXPECT_EQ(Encode(set), body);
}

TEST(ValueSet, long_scalar_payload_reads_its_first_bytes) {
    ValueSet set;
    ASSERT_TRUE(Decode(set, Entry("I", 2, {5, 0, 0, 0, 9, 9})));
    EXPECT_EQ(set.GetInt32("I"), 5);
}

TEST(ValueSet, odd_length_string_reads_whole_code_units) {
    ValueSet set;
    ASSERT_TRUE(Decode(set, Entry("S", 16, {'o', 0, 'k', 0, 'x'})));
    EXPECT_EQ(set.GetString("S"), u"ok");
    EXPECT_EQ(set.Find("S")->Length(), 5u);
}

TEST(ValueSet, large_blocks_round_trip) {
    Bytes blob(48000);
    for (std::size_t i = 0; i < blob.size(); ++i) {
        blob[i] = static_cast<uint8_t>(i * 31);
    }
    ValueSet set;
    ASSERT_TRUE(set.SetBlock("Blob", blob.data(), blob.size()));
    ValueSet back;
    ASSERT_TRUE(Decode(back, Encode(set)));
    const auto read = back.GetBlock("Blob");
    EXPECT_EQ(Bytes(read.begin(), read.end()), blob);
}

// ---- keys -------------------------------------------------------------------------------------

TEST(ValueSet, keys_are_written_in_byte_order_with_a_prefix_first) {
    ValueSet set;
    for (const char* key : {"b", "ab", "a", "B", "\xC3\xA9", ""}) {
        set.SetBool(key, true);
    }
    std::vector<std::string> order;
    for (const auto& [key, value] : set) {
        order.push_back(key);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"", "B", "a", "ab", "b", "\xC3\xA9"}));
    const Bytes body = Encode(set);
    EXPECT_EQ(body[0], 0); // the empty key comes first
    EXPECT_EQ(body[7], 1); // then "B"
    EXPECT_EQ(body[8], 'B');
    EXPECT_EQ(body[body.size() - 9], 2); // and the two-byte key last
}

TEST(ValueSet, keys_out_of_order_on_the_wire_read_into_order) {
    ValueSet set;
    ASSERT_TRUE(Decode(set, Cat({Entry("c", 1, {1}), Entry("a", 1, {1}), Entry("b", 1, {1})})));
    EXPECT_EQ(Encode(set), Cat({Entry("a", 1, {1}), Entry("b", 1, {1}), Entry("c", 1, {1})}));
}

TEST(ValueSet, keys_sharing_eight_bytes_or_more_are_ordered_by_the_first_byte_that_differs) {
    const std::vector<std::string> keys = {
        "MaxCPUFrequency",    "MaxCPUFrequencz",        "MaxCPUFr",
        "MaxCPUFr\x80",       "MaxCPUFr\x01",           "MaxCPUTemprature",
        std::string(9, '\0'), std::string(8, '\0'),     "MaxCPUFrequency\xFF",
        "MaxCPUFrequency2",   "MaxCPUFrequencyAndMore", "MaxCPUFreq"};
    std::vector<std::string> expected = keys;
    std::sort(expected.begin(), expected.end()); // std::string compares bytes as unsigned
    ValueSet set;
    Bytes reversed;
    for (auto key = expected.rbegin(); key != expected.rend(); ++key) {
        ASSERT_TRUE(set.SetBool(*key, true));
        reversed = Cat({reversed, Entry(*key, 1, {1})});
    }
    std::vector<std::string> order;
    for (const auto& [key, value] : set) {
        order.push_back(key);
    }
    EXPECT_EQ(order, expected);
    ValueSet read;
    ASSERT_TRUE(Decode(read, reversed));
    EXPECT_EQ(Encode(read), Encode(set));
}

TEST(ValueSet, read_set_and_its_nested_set_take_new_keys_before_between_and_after) {
    ValueSet source;
    source.SetInt32("M", 1);
    source.CreateMap("N")->SetInt32("M", 2);
    ValueSet set;
    ASSERT_TRUE(Decode(set, Encode(source)));
    ValueSet expected;
    expected.SetInt32("M", 1);
    ValueSet* expectedNested = expected.CreateMap("N");
    expectedNested->SetInt32("M", 2);
    for (int i = 0; i < 100; ++i) {
        for (const std::string& key :
             {"A" + std::to_string(i), "Mid" + std::to_string(i), "Z" + std::to_string(i)}) {
            ASSERT_TRUE(set.SetInt32(key, i));
            ASSERT_TRUE(set.FindMap("N")->SetInt32(key, -i));
            expected.SetInt32(key, i);
            expectedNested->SetInt32(key, -i);
        }
    }
    EXPECT_EQ(set.GetInt32("M"), 1);
    EXPECT_EQ(set.FindMap("N")->GetInt32("M"), 2);
    EXPECT_EQ(set.FindMap("N")->Count(), 301u);
    EXPECT_EQ(Encode(set), Encode(expected));
}

TEST(ValueSet, key_of_255_bytes_is_kept_and_one_of_256_refused) {
    ValueSet set;
    const std::string longest(255, 'k');
    EXPECT_TRUE(set.SetInt32(longest, 1));
    EXPECT_FALSE(set.SetInt32(std::string(256, 'k'), 1));
    EXPECT_EQ(set.CreateMap(std::string(256, 'k')), nullptr);
    EXPECT_EQ(set.Count(), 1u);
    const Bytes body = Encode(set);
    EXPECT_EQ(body[0], 255);
    ValueSet back;
    ASSERT_TRUE(Decode(back, body));
    EXPECT_EQ(back.GetInt32(longest), 1);
}

TEST(ValueSet, set_refuses_a_null_value) {
    ValueSet set;
    EXPECT_FALSE(set.Set("K", nullptr));
    EXPECT_FALSE(set.Contains("K"));
}

TEST(ValueSet, repeated_keys_on_the_wire_keep_the_last_value) {
    ValueSet set;
    ASSERT_TRUE(Decode(set, Cat({Entry("K", 2, {1, 0, 0, 0}), Entry("K", 2, {2, 0, 0, 0})})));
    EXPECT_EQ(set.Count(), 1u);
    EXPECT_EQ(set.GetInt32("K"), 2);
}

TEST(ValueSet, map_value_advances_by_its_nested_body_size_when_nested_keys_repeat) {
    // The nested map declares 22 bytes holding "a" twice; it keeps one "a" (11 bytes), so reading
    // resumes at the second nested entry, which then also lands at the top.
    const Bytes nested = Cat({Entry("a", 2, {1, 0, 0, 0}), Entry("a", 2, {2, 0, 0, 0})});
    ValueSet set;
    ASSERT_TRUE(Decode(set, Entry("m", 32, nested)));
    EXPECT_EQ(set.Count(), 2u);
    EXPECT_EQ(set.GetInt32("a"), 2);
    ASSERT_NE(set.FindMap("m"), nullptr);
    EXPECT_EQ(set.FindMap("m")->GetInt32("a"), 2);
    EXPECT_EQ(set.Find("m")->Length(), 22u); // the declared length until written again
}

// ---- hostile bodies ----------------------------------------------------------------------------

Bytes GoodVector() {
    ValueSet set;
    ValueSet* all = set.CreateMap("All");
    for (const Vector& vector : KindVectors()) {
        all->Set(vector.name, vector.make());
    }
    return Encode(set);
}

TEST(ValueSet, every_truncation_of_a_good_body_fails_cleanly) {
    const Bytes body = GoodVector();
    for (std::size_t size = 1; size < body.size(); ++size) {
        ValueSet set = Filled();
        const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(Decode(set, cut)) << size;
        EXPECT_TRUE(set.Empty()) << size;
    }
    ValueSet set = Filled();
    EXPECT_TRUE(set.Read(body.data(), 0));
    EXPECT_TRUE(set.Empty());
    EXPECT_TRUE(Decode(set, body));
    EXPECT_EQ(Encode(set), body);
}

// The body as the only entry "m" of a map, that map as the only entry of another, depth times.
Bytes InMaps(Bytes body, int depth) {
    for (int i = 0; i < depth; ++i) {
        body = Entry("m", 32, body);
    }
    return body;
}

Bytes Nested(int depth) {
    return InMaps(Entry("v", 1, {1}), depth);
}

TEST(ValueSet, maps_nested_32_deep_read_and_33_deep_fail) {
    ValueSet set;
    ASSERT_TRUE(Decode(set, Nested(32)));
    const ValueSet* level = &set;
    for (int i = 0; i < 32; ++i) {
        level = level->FindMap("m");
        ASSERT_NE(level, nullptr);
    }
    EXPECT_TRUE(level->GetBool("v"));
    EXPECT_FALSE(Decode(set, Nested(33)));
    EXPECT_TRUE(set.Empty());
}

TEST(ValueSet, declared_length_past_the_end_fails) {
    for (const uint8_t kind : {uint8_t{1}, uint8_t{4}, uint8_t{16}, uint8_t{32}}) {
        Bytes body = Entry("K", kind, {0, 0});
        body[3] = 3; // declares one byte more than there is
        ValueSet set = Filled();
        EXPECT_FALSE(Decode(set, body)) << int{kind};
        EXPECT_TRUE(set.Empty());
    }
}

TEST(ValueSet, huge_declared_length_fails) {
    ValueSet set = Filled();
    EXPECT_FALSE(Decode(set, Cat({Key("K"), Bytes{4, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2}})));
    EXPECT_TRUE(set.Empty());
}

TEST(ValueSet, nested_length_past_its_map_fails) {
    // The inner value fits the whole buffer but not the map that holds it.
    Bytes body = Cat({Entry("m", 32, Entry("i", 4, {1, 2})), Entry("z", 1, {0})});
    body[10] = 10;
    ValueSet set;
    EXPECT_FALSE(Decode(set, body));
    EXPECT_TRUE(set.Empty());
}

TEST(ValueSet, key_length_past_the_end_fails) {
    ValueSet set = Filled();
    EXPECT_FALSE(Decode(set, Bytes{5, 'a', 'b'}));
    EXPECT_TRUE(set.Empty());
}

TEST(ValueSet, value_header_shorter_than_five_bytes_fails) {
    ValueSet set = Filled();
    EXPECT_FALSE(Decode(set, Bytes{1, 'k', 1, 1, 0, 0}));
    EXPECT_TRUE(set.Empty());
}

TEST(ValueSet, null_buffer_with_a_size_fails) {
    ValueSet set = Filled();
    EXPECT_FALSE(set.Read(nullptr, 4));
    EXPECT_TRUE(set.Empty());
    EXPECT_TRUE(set.Read(nullptr, 0));
}

// Maps nested depth deep around the same key repeated: every level keeps one copy and drops back
// into the copies below it, so each level reads the innermost bytes once more.
Bytes Rereading(int depth) {
    Bytes body;
    for (int i = 0; i < 50; ++i) {
        body = Cat({body, Entry("a", 1, {1})});
    }
    return InMaps(body, depth);
}

TEST(ValueSet, body_read_a_few_times_over_reads_as_written) {
    ValueSet set;
    ASSERT_TRUE(Decode(set, Rereading(3)));
    EXPECT_EQ(set.Count(), 2u);
    EXPECT_TRUE(set.GetBool("a"));
    EXPECT_TRUE(set.FindMap("m")->FindMap("m")->FindMap("m")->GetBool("a"));
}

TEST(ValueSet, body_that_must_be_read_many_times_over_is_refused) {
    ValueSet set = Filled();
    EXPECT_FALSE(Decode(set, Rereading(8)));
    EXPECT_TRUE(set.Empty());
}

TEST(ValueSet, reading_from_a_block_of_the_same_set_is_safe) {
    ValueSet inner;
    inner.SetInt32("I", 3);
    const Bytes body = Encode(inner);
    ValueSet set;
    set.SetBlock("Body", body.data(), body.size());
    const auto block = set.GetBlock("Body");
    ASSERT_TRUE(set.Read(block.data(), static_cast<uint32_t>(block.size())));
    EXPECT_EQ(set.GetInt32("I"), 3);
    EXPECT_FALSE(set.Contains("Body"));
}

// ---- ownership ---------------------------------------------------------------------------------

TEST(ValueSet, found_values_stay_put_while_other_keys_are_added) {
    ValueSet set;
    set.SetInt32("m", 1);
    const OrvexValue* found = set.Find("m");
    for (int i = 0; i < 200; ++i) {
        set.SetInt32(std::to_string(i), i); // before and after "m"
    }
    EXPECT_EQ(set.Find("m"), found);
    EXPECT_EQ(found->AsInt32(), 1);
}

TEST(ValueSet, set_replaces_the_value_and_accepts_a_key_inside_the_old_one) {
    ValueSet set;
    set.SetBlock("KeyHeldInAValueLongerThanInline", "KeyHeldInAValueLongerThanInline", 31);
    const auto old = set.GetBlock("KeyHeldInAValueLongerThanInline");
    const std::string_view key(reinterpret_cast<const char*>(old.data()), old.size());
    EXPECT_TRUE(set.SetInt32(key, 5));
    EXPECT_EQ(set.Count(), 1u);
    EXPECT_EQ(set.GetInt32("KeyHeldInAValueLongerThanInline"), 5);
}

TEST(ValueSet, create_map_over_an_existing_value_replaces_it) {
    ValueSet set;
    set.SetString("K", u"a string long enough to live on the heap");
    ValueSet* map = set.CreateMap("K");
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(set.FindMap("K"), map);
    EXPECT_EQ(set.Find("K")->Length(), 0u);
    map->SetInt32("I", 1);
    EXPECT_EQ(set.FindMap("K")->GetInt32("I"), 1);
}

TEST(ValueSet, slot_inserts_an_empty_entry_that_is_not_written) {
    ValueSet set;
    std::unique_ptr<OrvexValue>& slot = set.Slot("Empty");
    EXPECT_EQ(slot, nullptr);
    EXPECT_TRUE(set.Contains("Empty"));
    EXPECT_EQ(set.Find("Empty"), nullptr);
    EXPECT_EQ(set.BodySize(), 0u);
    set.Slot("Full") = std::make_unique<OrvexValue>(true);
    EXPECT_EQ(Encode(set), Entry("Full", 1, {1}));
    EXPECT_EQ(&set.Slot("Full"), &set.Slot("Full"));
}

TEST(ValueSet, value_taken_out_of_a_read_set_outlives_the_set) {
    ValueSet source;
    source.SetString("S", u"a string long enough to live beside the values");
    source.SetInt32("I", 9);
    std::unique_ptr<OrvexValue> kept;
    {
        ValueSet set;
        ASSERT_TRUE(Decode(set, Encode(source)));
        kept = std::move(set.Slot("S"));
    }
    EXPECT_EQ(kept->AsString(), u"a string long enough to live beside the values");
}

TEST(ValueSet, values_read_together_may_be_released_on_different_threads) {
    ValueSet source;
    for (int i = 0; i < 64; ++i) {
        source.SetDouble("V" + std::to_string(i), i);
    }
    ValueSet set;
    ASSERT_TRUE(Decode(set, Encode(source)));
    std::vector<std::unique_ptr<OrvexValue>> halves[2];
    int i = 0;
    for (const auto& [key, value] : source) {
        halves[i++ % 2].push_back(std::move(set.Slot(key)));
    }
    std::thread other([&] { halves[1].clear(); });
    halves[0].clear();
    other.join();
    set.Clear();
    EXPECT_TRUE(set.Empty());
}

TEST(ValueSet, thousands_of_values_read_back_intact) {
    ValueSet source;
    for (int i = 0; i < 3000; ++i) {
        source.SetString("K" + std::to_string(i),
                         std::u16string(static_cast<std::size_t>(i % 200), u'x'));
    }
    const Bytes body = Encode(source);
    ValueSet set;
    ASSERT_TRUE(Decode(set, body));
    EXPECT_EQ(set.Count(), 3000u);
    EXPECT_EQ(set.GetString("K199").size(), 199u);
    EXPECT_EQ(Encode(set), body);
}

TEST(ValueSet, value_of_kind_zero_cannot_be_written) {
    ValueSet set;
    set.Set("K", std::make_unique<OrvexValue>());
    EXPECT_EQ(set.BodySize(), 7u);
    Bytes out(7);
    uint32_t capacity = 7;
    EXPECT_FALSE(set.Write(out.data(), capacity));
    EXPECT_EQ(capacity, 7u);
}

TEST(ValueSet, clear_and_move_destroy_what_was_held) {
    ValueSet set;
    set.CreateMap("M")->SetString("S", u"a string long enough to live on the heap");
    ValueSet other;
    other.SetInt32("I", 1);
    set = std::move(other);
    EXPECT_FALSE(set.Contains("M"));
    EXPECT_EQ(set.GetInt32("I"), 1);
    ValueSet moved(std::move(set));
    EXPECT_EQ(moved.Count(), 1u);
    moved.Clear();
    EXPECT_TRUE(moved.Empty());
}

TEST(ValueSet, write_caches_the_body_size_in_each_map_value) {
    ValueSet set;
    ValueSet* outer = set.CreateMap("O");
    outer->CreateMap("I")->SetBool("B", true);
    EXPECT_EQ(set.Find("O")->Length(), 0u);
    Encode(set);
    EXPECT_EQ(outer->Find("I")->Length(), 8u);             // 1 + "B" + 5 + 1
    EXPECT_EQ(set.Find("O")->Length(), 1u + 1u + 5u + 8u); // "I" and its map
}

TEST(ValueSet, copy_from_makes_a_deep_copy_and_overwrites_shared_keys) {
    ValueSet source;
    source.SetString("S", u"text");
    source.Set("T", std::make_unique<OrvexValue>(u"z", kCountTerminator));
    source.CreateMap("M")->CreateMap("N")->SetDouble("D", 2.5);
    ValueSet copy;
    copy.SetInt32("S", 1);
    copy.SetInt32("Own", 2);
    copy.CopyFrom(source);

    source.FindMap("M")->FindMap("N")->SetDouble("D", 9.0);
    source.SetString("S", u"changed");
    EXPECT_EQ(copy.GetString("S"), u"text");
    EXPECT_EQ(copy.GetInt32("Own"), 2);
    EXPECT_EQ(copy.Find("T")->Length(), 4u);
    ASSERT_NE(copy.FindMap("M"), nullptr);
    EXPECT_NE(copy.FindMap("M"), source.FindMap("M"));
    EXPECT_EQ(copy.FindMap("M")->FindMap("N")->GetDouble("D"), 2.5);
}

TEST(ValueSet, copy_from_skips_values_that_cannot_be_written) {
    ValueSet source;
    source.Set("Bad", std::make_unique<OrvexValue>());
    source.Slot("Empty");
    source.SetBool("Good", true);
    ValueSet copy;
    copy.CopyFrom(source);
    EXPECT_EQ(copy.Count(), 1u);
    EXPECT_TRUE(copy.GetBool("Good"));
}

TEST(ValueSet, copy_from_a_nested_set_into_its_owner_is_safe) {
    ValueSet set;
    ValueSet* inner = set.CreateMap("M");
    inner->CreateMap("M")->SetInt32("Deep", 4);
    inner->SetInt32("I", 3);
    set.CopyFrom(*inner); // overwrites "M", which owns inner
    EXPECT_EQ(set.GetInt32("I"), 3);
    EXPECT_EQ(set.FindMap("M")->GetInt32("Deep"), 4);
}

TEST(ValueSet, set_block_refuses_a_null_pointer_with_a_size) {
    ValueSet set;
    EXPECT_FALSE(set.SetBlock("K", nullptr, 3));
    EXPECT_TRUE(set.SetBlock("K", nullptr, 0));
    EXPECT_EQ(set.Find("K")->Length(), 0u);
}

// The setters carve new keys' values from chunks of the set: what follows must hold whatever
// block a value lives in.
TEST(ValueSetBuilding, a_value_taken_out_of_a_set_outlives_the_set) {
    std::unique_ptr<OrvexValue> taken;
    {
        ValueSet set;
        for (int32_t i = 0; i < 40; ++i) {
            set.SetInt32("Key" + std::to_string(i), i);
        }
        set.SetString("Text", u"a text longer than sixteen bytes");
        taken = std::move(set.Slot("Key7"));
    }
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->AsInt32(), 7);
}

TEST(ValueSetBuilding, replacing_cleared_and_moved_sets_keep_their_values) {
    ValueSet set;
    for (int32_t round = 0; round < 100; ++round) {
        set.SetDouble("Usage", round);
    }
    EXPECT_EQ(set.GetDouble("Usage"), 99.0);
    set.NewMap("Core0").SetInt32("ProcessorFrequency", 4500);
    set.Clear();
    EXPECT_TRUE(set.Empty());
    set.SetInt32("Command", 1);

    ValueSet moved = std::move(set);
    moved.SetInt32("Phase", 2);
    moved.NewMap("Adapter0").SetString("GPUState", u"1");
    ValueSet assigned;
    assigned.SetInt32("Lost", 0);
    assigned = std::move(moved);
    EXPECT_EQ(assigned.GetInt32("Command"), 1);
    EXPECT_EQ(assigned.GetInt32("Phase"), 2);
    EXPECT_EQ(assigned.FindMap("Adapter0")->GetString("GPUState"), u"1");
    EXPECT_FALSE(assigned.Contains("Lost"));
    EXPECT_EQ(assigned.Count(), 3u);
}

} // namespace
