#include "sim/fake_code_signatures.h"
#include "sim/fake_io_libraries.h"
#include "sim/fake_performance_counters.h"
#include "sim/fake_wmi.h"

#include <gtest/gtest.h>

namespace {

constexpr char16_t kTime[] = u"\\Processor(_Total)\\% Processor Time";

TEST(FakePerformanceCountersTest, a_counter_reads_its_value_through_the_handle_it_was_added_as) {
    sim::FakePerformanceCounters counters;
    counters.SetValue(kTime, 12.5);
    auto opened = counters.OpenQuery();
    ASSERT_EQ(opened.Status, ports::kPdhSuccess);
    ports::CounterHandle counter = 0;
    EXPECT_EQ(opened.Query->AddEnglishCounter(kTime, counter), ports::kPdhSuccess);
    EXPECT_EQ(opened.Query->FormattedDouble(counter).Value, 12.5);
    counters.SetValue(kTime, 80.0);
    EXPECT_EQ(opened.Query->FormattedDouble(counter).Value, 80.0);
    EXPECT_EQ(opened.Query->FormattedDouble(counter + 1).Status, ports::kPdhInvalidHandle);
    EXPECT_EQ(opened.Query->FormattedDouble(0).Status, ports::kPdhInvalidHandle);
}

TEST(FakePerformanceCountersTest, unknown_counters_and_injected_failures_give_their_statuses) {
    sim::FakePerformanceCounters counters;
    auto opened = counters.OpenQuery();
    ports::CounterHandle counter = 0;
    EXPECT_EQ(opened.Query->AddEnglishCounter(kTime, counter), ports::kPdhCounterNotFound);
    EXPECT_EQ(counter, 0u);
    counters.SetValue(kTime, 1.0);
    counters.FailRead(kTime, ports::kPdhInvalidData);
    ASSERT_EQ(opened.Query->AddEnglishCounter(kTime, counter), ports::kPdhSuccess);
    EXPECT_EQ(opened.Query->FormattedDouble(counter).Status, ports::kPdhInvalidData);
    EXPECT_EQ(counters.OpenQueries(), 1);
    opened.Query.reset();
    EXPECT_EQ(counters.OpenQueries(), 0);
    counters.FailOpen(ports::kPdhInvalidArgument);
    EXPECT_EQ(counters.OpenQuery().Query, nullptr);
}

TEST(FakeWmiTest, later_objects_overwrite_earlier_properties_and_keep_the_others) {
    sim::FakeWmi wmi;
    wmi.SetObjects(u"q", {{{u"A", 1}, {u"B", 2}}, {{u"A", 3}}});
    ports::WmiValues values;
    EXPECT_EQ(wmi.QueryWmiValue(u"q", values), ports::kWmiOk);
    EXPECT_EQ(values, (ports::WmiValues{{u"A", 3}, {u"B", 2}}));
}

TEST(FakeWmiTest, a_failing_step_fails_every_query_until_cleared) {
    sim::FakeWmi wmi;
    wmi.SetObjects(u"q", {{{u"A", 1}}});
    wmi.FailStep(sim::FakeWmi::Step::ExecQuery, static_cast<int32_t>(0x80041017));
    ports::WmiValues values;
    EXPECT_EQ(wmi.QueryWmiValue(u"q", values), static_cast<int32_t>(0x80041017));
    EXPECT_TRUE(values.empty());
    wmi.FailStep(sim::FakeWmi::Step::ExecQuery, 0);
    EXPECT_EQ(wmi.QueryWmiValue(u"q", values), ports::kWmiOk);
    EXPECT_EQ(wmi.Queries().size(), 2u);
}

TEST(FakeIoLibrariesTest, a_register_not_set_is_not_written) {
    sim::FakeIoLibraries libraries;
    libraries.Put(u"C:\\io.dll", {});
    auto loaded = libraries.Load(u"C:\\io.dll");
    ASSERT_NE(loaded.Library, nullptr);
    uint64_t value = 5;
    EXPECT_EQ(loaded.Library->ReadMsr(0x198, value), 1);
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(libraries.Load(u"C:\\other.dll").Error, sim::FakeIoLibraries::kModuleNotFound);
}

TEST(FakeCodeSignaturesTest, an_unsigned_file_has_no_signature_and_every_check_is_recorded) {
    sim::FakeCodeSignatures signatures;
    signatures.Sign(u"a.dll", u"Velmor Computer Inc.");
    EXPECT_EQ(signatures.Verify(u"a.dll"), 0);
    EXPECT_EQ(signatures.Verify(u"b.dll"), sim::FakeCodeSignatures::kNoSignature);
    ports::SignatureInfo info;
    EXPECT_FALSE(signatures.ReadDetails(u"b.dll", info));
    EXPECT_TRUE(signatures.ReadDetails(u"a.dll", info));
    EXPECT_EQ(info.SubjectName, u"Velmor Computer Inc.");
    EXPECT_EQ(signatures.Verified(), (std::vector<std::u16string>{u"a.dll", u"b.dll"}));
}

} // namespace
