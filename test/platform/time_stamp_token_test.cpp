#include "platform/time_stamp_token.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// A TSTInfo sequence: version, policy, message imprint, serial number, then the time.
std::vector<uint8_t> TstInfo(const std::string& time, uint8_t timeTag = 0x18) {
    const uint8_t fields[] = {0x02, 0x01, 0x01,             // version 1
                              0x06, 0x03, 0x2A, 0x03, 0x04, // policy 1.2.3.4
                              0x30, 0x00,                   // message imprint
                              0x02, 0x02, 0x01, 0x00};      // serial number
    std::vector<uint8_t> sequence = {0x30, static_cast<uint8_t>(sizeof fields + 2 + time.size())};
    for (const uint8_t byte : fields) {
        sequence.push_back(byte);
    }
    sequence.push_back(timeTag);
    sequence.push_back(static_cast<uint8_t>(time.size()));
    for (const char c : time) {
        sequence.push_back(static_cast<uint8_t>(c));
    }
    return sequence;
}

TEST(TimeStampToken, reads_the_generalised_time_with_milliseconds) {
    EXPECT_EQ(platform::TimeStampTokenTime(TstInfo("20241123143005.123Z")),
              (ports::SystemTime{2024, 11, 0, 23, 14, 30, 5, 123}));
}

TEST(TimeStampToken, a_time_without_fraction_has_no_milliseconds) {
    EXPECT_EQ(platform::TimeStampTokenTime(TstInfo("20241123143005Z")),
              (ports::SystemTime{2024, 11, 0, 23, 14, 30, 5, 0}));
}

TEST(TimeStampToken, a_long_form_length_is_read) {
    std::vector<uint8_t> bytes = TstInfo("20240101000000Z");
    bytes.insert(bytes.begin() + 1, 0x81); // the same length in long form
    EXPECT_EQ(platform::TimeStampTokenTime(bytes), (ports::SystemTime{2024, 1, 0, 1, 0, 0, 0, 0}));
}

TEST(TimeStampToken, no_time_or_a_short_text_gives_nothing) {
    EXPECT_EQ(platform::TimeStampTokenTime(TstInfo("20241123143005Z", 0x17)), std::nullopt);
    EXPECT_EQ(platform::TimeStampTokenTime(TstInfo("2024")), std::nullopt);
    EXPECT_EQ(platform::TimeStampTokenTime({}), std::nullopt);
}

TEST(TimeStampToken, lengths_past_the_end_are_refused) {
    std::vector<uint8_t> bytes = TstInfo("20241123143005Z");
    bytes.resize(bytes.size() - 3);
    EXPECT_EQ(platform::TimeStampTokenTime(bytes), std::nullopt);
    const std::vector<uint8_t> huge = {0x30, 0x84, 0xFF, 0xFF, 0xFF, 0xFF, 0x18};
    EXPECT_EQ(platform::TimeStampTokenTime(huge), std::nullopt);
    const std::vector<uint8_t> notSequence = {0x31, 0x00};
    EXPECT_EQ(platform::TimeStampTokenTime(notSequence), std::nullopt);
}

} // namespace
