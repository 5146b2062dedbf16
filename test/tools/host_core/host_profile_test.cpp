#include "host_core/host_profile.h"

#include <gtest/gtest.h>

namespace orvex_host {
namespace {

Tree Query(const wchar_t* command) {
    return Tree{{"Cmd", Value::Wide(command)}, {"Request", Value::Map(Tree{})}};
}

HostProfile Profile() {
    const ProfileParse parsed = ParseHostProfile("# a laptop\n"
                                                 "ProductLine = 3\n"
                                                 "\n"
                                                 "MarketingName = Orvex Blade 15\xC2\xB0\r\n"
                                                 "ModelName=OB15-G5\n"
                                                 "; brand\n"
                                                 "SubBrand = 1\n"
                                                 "PPRead = false\n");
    EXPECT_TRUE(parsed.profile) << parsed.error;
    return parsed.profile.value_or(HostProfile{});
}

TEST(HostProfileFile, settings_are_read_with_comments_and_blank_lines_skipped) {
    const HostProfile profile = Profile();
    EXPECT_EQ(profile.productLine, 3);
    EXPECT_EQ(profile.marketingName, L"Orvex Blade 15\u00B0");
    EXPECT_EQ(profile.modelName, L"OB15-G5");
    EXPECT_EQ(profile.subBrand, 1);
    EXPECT_FALSE(profile.privacyPolicyRead);
}

TEST(HostProfileFile, an_empty_profile_keeps_the_defaults) {
    const ProfileParse parsed = ParseHostProfile("");
    ASSERT_TRUE(parsed.profile);
    EXPECT_EQ(parsed.profile->productLine, 1);
    EXPECT_TRUE(parsed.profile->privacyPolicyRead);
}

TEST(HostProfileFile, unknown_names_and_bad_values_are_refused_with_their_line) {
    EXPECT_EQ(ParseHostProfile("ProductLine = 1\nColour = red\n").error,
              "line 2: not a setting: Colour = red");
    EXPECT_EQ(ParseHostProfile("SubBrand = one\n").error, "line 1: not a setting: SubBrand = one");
    EXPECT_EQ(ParseHostProfile("PPRead = maybe\n").error, "line 1: not a setting: PPRead = maybe");
    EXPECT_EQ(ParseHostProfile("ProductLine 1\n").error, "line 1: not a setting: ProductLine 1");
    EXPECT_EQ(ParseHostProfile("ProductLine = 99999999999\n").error,
              "line 1: not a setting: ProductLine = 99999999999");
}

TEST(HostRequests, product_line_is_answered_as_a_32_bit_integer) {
    const HostReply reply = AnswerHostRequest(Profile(), Query(L"Query.ProductLine"));
    EXPECT_EQ(reply.result, 0);
    ASSERT_NE(reply.answer.Find("ProductLine"), nullptr);
    EXPECT_EQ(reply.answer.Find("ProductLine")->AsInt32(), 3);
}

TEST(HostRequests, model_name_answers_marketing_name_and_model_name) {
    const HostReply reply = AnswerHostRequest(Profile(), Query(L"Query.ModelName"));
    ASSERT_NE(reply.answer.Find("MarketingName"), nullptr);
    EXPECT_EQ(reply.answer.Find("MarketingName")->AsWide(), L"Orvex Blade 15\u00B0");
    EXPECT_EQ(reply.answer.Find("ModelName")->AsWide(), L"OB15-G5");
}

TEST(HostRequests, sub_brand_and_privacy_policy_flag_come_from_the_profile) {
    const HostProfile profile = Profile();
    const HostReply subBrand = AnswerHostRequest(profile, Query(L"Query.SubBrand"));
    ASSERT_NE(subBrand.answer.Find("SubBrand"), nullptr);
    EXPECT_EQ(subBrand.answer.Find("SubBrand")->AsInt32(), 1);
    const HostReply uwpInfo = AnswerHostRequest(profile, Query(L"Query.UWPInfo"));
    const Value* read = uwpInfo.answer.Find("PPRead");
    ASSERT_NE(read, nullptr);
    EXPECT_TRUE(read->Is(Kind::Boolean));
    EXPECT_EQ(read->AsBoolean(), false);
}

TEST(HostRequests, insert_data_is_confirmed_and_its_row_kept_in_index_order) {
    const Tree request{
        {"Cmd", Value::Wide(L"InsertData")},
        {"Columns", Value::Map(Tree{{"0", Value::Map(Tree{{"Name", Value::Wide(L"CPUUsage")},
                                                          {"Value", Value::Wide(L"12")}})},
                                    {"1", Value::Map(Tree{{"Name", Value::Wide(L"GPUUsage")},
                                                          {"Value", Value::Wide(L"3")}})},
                                    {"10", Value::Map(Tree{{"Name", Value::Wide(L"Beyond")},
                                                           {"Value", Value::Wide(L"count")}})}})},
        {"Count", Value::Int32(2)},
        {"TableName", Value::Wide(L"SysInfo")},
    };
    const HostReply reply = AnswerHostRequest(HostProfile{}, request);
    EXPECT_EQ(reply.result, 0);
    EXPECT_EQ(reply.answer.Find("CommandResult")->AsBoolean(), true);
    ASSERT_TRUE(reply.row);
    EXPECT_EQ(RowText(*reply.row), "SysInfo: CPUUsage=12, GPUUsage=3");
}

TEST(HostRequests, insert_data_with_a_huge_count_reads_only_the_columns_present) {
    const Tree request{{"Cmd", Value::Wide(L"InsertData")},
                       {"Columns", Value::Map(Tree{})},
                       {"Count", Value::Int32(2'000'000'000)},
                       {"TableName", Value::Wide(L"T")}};
    const HostReply reply = AnswerHostRequest(HostProfile{}, request);
    ASSERT_TRUE(reply.row);
    EXPECT_EQ(RowText(*reply.row), "T:");
}

TEST(HostRequests, data_updated_event_is_acknowledged_with_its_round) {
    const Tree request{{"RecordSN", Value::Int32(77)},
                       {"RequestRole", Value::Wide(L"DataUpdatedEvent")},
                       {"Round", Value::Int32(4)}};
    const HostReply reply = AnswerHostRequest(HostProfile{}, request);
    EXPECT_EQ(reply.result, 0);
    EXPECT_TRUE(reply.answer.Empty());
    EXPECT_TRUE(reply.dataUpdated);
    EXPECT_EQ(reply.round, 4);
}

TEST(HostRequests, a_data_updated_event_relayed_to_the_user_interface_is_acknowledged) {
    const Tree event{{"RecordSN", Value::Int32(77)},
                     {"RequestRole", Value::Wide(L"DataUpdatedEvent")},
                     {"Round", Value::Int32(9)}};
    const Tree relay{{"Cmd", Value::Wide(L"SendRequest")},
                     {"Request", Value::Map(Tree{{"Destination", Value::UInt32(1)},
                                                 {"Request", Value::Map(event)}})}};
    const HostReply reply = AnswerHostRequest(HostProfile{}, relay);
    EXPECT_EQ(reply.result, 0);
    EXPECT_TRUE(reply.dataUpdated);
    EXPECT_EQ(reply.round, 9);
    EXPECT_FALSE(reply.problem);
}

TEST(HostRequests, a_data_updated_event_with_a_round_of_another_kind_is_a_problem) {
    const Tree event{{"RecordSN", Value::Int32(77)},
                     {"RequestRole", Value::Wide(L"DataUpdatedEvent")},
                     {"Round", Value::Double(9.0)}};
    const HostReply reply = AnswerHostRequest(HostProfile{}, event);
    EXPECT_TRUE(reply.dataUpdated);
    EXPECT_EQ(reply.problem, "\"DataUpdatedEvent\" without a 32-bit signed \"Round\"");
}

TEST(HostRequests, a_request_role_that_is_not_a_wide_string_is_unknown_and_a_problem) {
    const Tree event{{"RequestRole", Value::Int32(1)}, {"Round", Value::Int32(0)}};
    const HostReply reply = AnswerHostRequest(HostProfile{}, event);
    EXPECT_EQ(reply.result, kUnknownRequest);
    EXPECT_FALSE(reply.dataUpdated);
    EXPECT_EQ(reply.problem, "\"RequestRole\" is of kind 2, not a wide string (16)");
}

TEST(HostRequests, unknown_requests_are_not_implemented) {
    const HostReply reply = AnswerHostRequest(HostProfile{}, Query(L"Toast"));
    EXPECT_EQ(reply.result, kUnknownRequest);
    EXPECT_TRUE(reply.answer.Empty());
    EXPECT_EQ(AnswerHostRequest(HostProfile{}, Tree{}).result, kUnknownRequest);
}

} // namespace
} // namespace orvex_host
