#include "host_core/value_tree.h"

#include <gtest/gtest.h>

namespace orvex_host {
namespace {

std::vector<uint8_t> Bytes(std::initializer_list<int> values) {
    std::vector<uint8_t> bytes;
    for (int v : values) {
        bytes.push_back(static_cast<uint8_t>(v));
    }
    return bytes;
}

TEST(HostValueTree, cmd_get_encodes_to_fifteen_bytes) {
    const auto bytes = Encode({{"Cmd", Value::Wide(L"Get")}});
    EXPECT_EQ(bytes, Bytes({3, 'C', 'm', 'd', 16, 6, 0, 0, 0, 'G', 0, 'e', 0, 't', 0}));
}

TEST(HostValueTree, empty_nested_map_is_kind_and_zero_length) {
    const auto bytes = Encode({{"M", Value::Map({})}});
    EXPECT_EQ(bytes, Bytes({1, 'M', 32, 0, 0, 0, 0}));
}

TEST(HostValueTree, entries_are_written_in_byte_order_of_their_keys) {
    const auto bytes = Encode({{"b", Value::Boolean(true)},
                               {"\xC0", Value::Boolean(false)},
                               {"a", Value::Boolean(true)}});
    EXPECT_EQ(bytes, Bytes({1, 'a', 1, 1, 0, 0,    0, 1, 1, 'b', 1, 1,
                            0, 0,   0, 1, 1, 0xC0, 1, 1, 0, 0,   0, 0}));
}

TEST(HostValueTree, every_kind_reads_back_as_written) {
    const uint8_t block[] = {9, 8, 7};
    const Tree tree{
        {"Bool", Value::Boolean(true)},      {"I32", Value::Int32(-5)},
        {"U32", Value::UInt32(0xFFFFFFF0u)}, {"I64", Value::Int64(0x1122334455667788ull)},
        {"Dbl", Value::Double(2.5)},         {"Text", Value::Wide(L"Temprature")},
        {"Blk", Value::Block(block)},        {"Map", Value::Map({{"Inner", Value::Int32(7)}})}};
    const auto read = Decode(Encode(tree));
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->Find("Bool")->AsBoolean(), true);
    EXPECT_EQ(read->Find("I32")->AsInt32(), -5);
    EXPECT_EQ(read->Find("U32")->AsUInt32(), 0xFFFFFFF0u);
    EXPECT_EQ(read->Find("I64")->AsInt64(), 0x1122334455667788ull);
    EXPECT_EQ(read->Find("Dbl")->AsDouble(), 2.5);
    EXPECT_EQ(read->Find("Text")->AsWide(), L"Temprature");
    EXPECT_EQ(read->Find("Blk")->payload, Bytes({9, 8, 7}));
    ASSERT_NE(read->Find("Map")->AsMap(), nullptr);
    EXPECT_EQ(read->Find("Map")->AsMap()->Find("Inner")->AsInt32(), 7);
}

TEST(HostValueTree, reading_a_value_of_another_kind_gives_nothing) {
    const Value number = Value::Int32(1);
    EXPECT_FALSE(number.AsUInt32().has_value());
    EXPECT_FALSE(number.AsWide().has_value());
    EXPECT_EQ(number.AsMap(), nullptr);
}

TEST(HostValueTree, unknown_kinds_are_rejected) {
    for (int kind : {0, 6, 8, 15, 33}) {
        EXPECT_FALSE(Decode(Bytes({1, 'k', kind, 0, 0, 0, 0})).has_value()) << kind;
    }
}

TEST(HostValueTree, a_length_past_the_end_is_rejected) {
    EXPECT_FALSE(Decode(Bytes({1, 'k', 2, 5, 0, 0, 0, 1, 2, 3, 4})).has_value());
    EXPECT_FALSE(Decode(Bytes({1, 'k', 2, 0xFF, 0xFF, 0xFF, 0xFF})).has_value());
    EXPECT_FALSE(Decode(Bytes({4, 'k'})).has_value());
    EXPECT_FALSE(Decode(Bytes({1, 'k', 2, 4, 0})).has_value());
}

TEST(HostValueTree, a_raw_value_goes_out_as_given) {
    const auto bytes = Encode({{"x", Value::Raw(6, {1, 2})}});
    EXPECT_EQ(bytes, Bytes({1, 'x', 6, 2, 0, 0, 0, 1, 2}));
}

TEST(HostValueTree, an_empty_body_is_an_empty_tree) {
    const auto read = Decode({});
    ASSERT_TRUE(read.has_value());
    EXPECT_TRUE(read->Empty());
}

} // namespace
} // namespace orvex_host
