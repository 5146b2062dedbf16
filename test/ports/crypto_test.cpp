// The crypto port of the tree (OpenSSL natively, CNG under Wine) against AES-256-CBC's published
// vectors and PKCS#7 padding; both implementations pass the same tests.
#include "fanacoustic/tree_crypto.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

// The CBC-AES256 example of NIST SP 800-38A (F.2.5 and F.2.6), first block.
constexpr ports::AesKey kNistKey = {
    0x60, 0x3D, 0xEB, 0x10, 0x15, 0xCA, 0x71, 0xBE, 0x2B, 0x73, 0xAE, 0xF0, 0x85, 0x7D, 0x77, 0x81,
    0x1F, 0x35, 0x2C, 0x07, 0x3B, 0x61, 0x08, 0xD7, 0x2D, 0x98, 0x10, 0xA3, 0x09, 0x14, 0xDF, 0xF4,
};
constexpr ports::AesVector kNistVector = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                                          0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F};
const std::vector<uint8_t> kNistPlaintext = {0x6B, 0xC1, 0xBE, 0xE2, 0x2E, 0x40, 0x9F, 0x96,
                                             0xE9, 0x3D, 0x7E, 0x11, 0x73, 0x93, 0x17, 0x2A};
const std::vector<uint8_t> kNistCiphertext = {0xF5, 0x8C, 0x4C, 0x04, 0xD6, 0xE5, 0xF1, 0xBA,
                                              0x77, 0x9E, 0xAB, 0xFB, 0x5F, 0x7B, 0xFB, 0xD6};

std::unique_ptr<ports::AesCipher> NistCipher() {
    return TreeCrypto().NewAesCipher(kNistKey, kNistVector);
}

std::vector<uint8_t> Bytes(std::size_t count, uint8_t first = 0) {
    std::vector<uint8_t> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(first + i);
    }
    return bytes;
}

// The first block of a padded encryption; decrypting it alone checks the padding on exactly these
// sixteen bytes.
std::vector<uint8_t> FirstBlockOf(ports::AesCipher& cipher, const std::vector<uint8_t>& block) {
    const auto ciphertext = cipher.Encrypt(block);
    EXPECT_TRUE(ciphertext.has_value());
    return {ciphertext->begin(), ciphertext->begin() + 16};
}

TEST(AesCipherTest, encrypts_the_published_cbc_aes256_block_and_pads_a_whole_block) {
    const auto ciphertext = NistCipher()->Encrypt(kNistPlaintext);
    ASSERT_TRUE(ciphertext.has_value());
    ASSERT_EQ(ciphertext->size(), 32u);
    EXPECT_EQ(std::vector<uint8_t>(ciphertext->begin(), ciphertext->begin() + 16), kNistCiphertext);
}

TEST(AesCipherTest, decrypts_the_published_block_when_its_padding_follows) {
    auto ciphertext = NistCipher()->Encrypt(kNistPlaintext);
    ASSERT_TRUE(ciphertext.has_value());
    EXPECT_EQ(NistCipher()->Decrypt(*ciphertext), kNistPlaintext);
}

TEST(AesCipherTest, every_length_round_trips_into_whole_blocks) {
    const auto cipher = NistCipher();
    for (std::size_t size = 0; size <= 48; ++size) {
        const std::vector<uint8_t> plaintext = Bytes(size, 7);
        const auto ciphertext = cipher->Encrypt(plaintext);
        ASSERT_TRUE(ciphertext.has_value()) << size;
        EXPECT_EQ(ciphertext->size(), (size / 16 + 1) * 16) << size;
        EXPECT_EQ(cipher->Decrypt(*ciphertext), plaintext) << size;
    }
}

TEST(AesCipherTest, every_call_starts_from_the_vector) {
    const auto cipher = NistCipher();
    const auto first = cipher->Encrypt(kNistPlaintext);
    const auto second = cipher->Encrypt(kNistPlaintext);
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first, second);
    EXPECT_EQ(cipher->Decrypt(*first), kNistPlaintext);
    EXPECT_EQ(cipher->Decrypt(*first), kNistPlaintext);
}

TEST(AesCipherTest, another_vector_gives_another_ciphertext) {
    ports::AesVector vector = kNistVector;
    vector[0] ^= 1;
    const auto other = TreeCrypto().NewAesCipher(kNistKey, vector)->Encrypt(kNistPlaintext);
    ASSERT_TRUE(other.has_value());
    EXPECT_NE(std::vector<uint8_t>(other->begin(), other->begin() + 16), kNistCiphertext);
}

TEST(AesCipherTest, a_ciphertext_of_no_bytes_or_part_of_a_block_is_refused) {
    const auto cipher = NistCipher();
    const auto ciphertext = cipher->Encrypt(kNistPlaintext);
    ASSERT_TRUE(ciphertext.has_value());
    EXPECT_EQ(cipher->Decrypt({}), std::nullopt);
    EXPECT_EQ(cipher->Decrypt(std::span(*ciphertext).first(15)), std::nullopt);
    EXPECT_EQ(cipher->Decrypt(std::span(*ciphertext).first(17)), std::nullopt);
}

TEST(AesCipherTest, padding_above_16_is_refused) {
    const auto cipher = NistCipher();
    std::vector<uint8_t> block = Bytes(16);
    for (const int last : {0x11, 0x80, 0xFF}) {
        block[15] = static_cast<uint8_t>(last);
        EXPECT_EQ(cipher->Decrypt(FirstBlockOf(*cipher, block)), std::nullopt) << last;
    }
}

TEST(AesCipherTest, good_padding_inside_the_block_is_taken_off) {
    const auto cipher = NistCipher();
    std::vector<uint8_t> block = Bytes(16);
    block[13] = block[14] = block[15] = 0x03;
    EXPECT_EQ(cipher->Decrypt(FirstBlockOf(*cipher, block)), Bytes(13));
    const std::vector<uint8_t> allPadding(16, 0x10);
    EXPECT_EQ(cipher->Decrypt(FirstBlockOf(*cipher, allPadding)), std::vector<uint8_t>{});
}

TEST(AesCipherTest, one_cipher_serves_several_threads_at_once) {
    const auto cipher = NistCipher();
    const std::vector<uint8_t> plaintext = Bytes(100, 3);
    const auto ciphertext = cipher->Encrypt(plaintext);
    ASSERT_TRUE(ciphertext.has_value());
    std::vector<int> good(4, 0);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < good.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) {
                good[t] += cipher->Decrypt(*ciphertext) == plaintext ? 1 : 0;
                good[t] += cipher->Encrypt(plaintext) == ciphertext ? 1 : 0;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, std::vector<int>(4, 400));
}

} // namespace
