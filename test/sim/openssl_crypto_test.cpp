// What OpenSSL's cipher checks beyond the crypto port's common tests: the whole PKCS#7 padding.
#include "sim/openssl_crypto.h"

#include <gtest/gtest.h>

namespace {

// A block whose padded encryption's first block, decrypted alone, ends in exactly these bytes.
std::vector<uint8_t> CiphertextEndingIn(ports::AesCipher& cipher, std::vector<uint8_t> tail) {
    std::vector<uint8_t> block(16 - tail.size(), 0x5A);
    block.insert(block.end(), tail.begin(), tail.end());
    const auto ciphertext = cipher.Encrypt(block);
    EXPECT_TRUE(ciphertext.has_value());
    return {ciphertext->begin(), ciphertext->begin() + 16};
}

TEST(OpensslCryptoTest, padding_of_0_or_with_unequal_bytes_is_refused) {
    sim::OpensslCrypto crypto;
    const auto cipher = crypto.NewAesCipher(ports::AesKey{1}, ports::AesVector{2});
    EXPECT_EQ(cipher->Decrypt(CiphertextEndingIn(*cipher, {0x00})), std::nullopt);
    EXPECT_EQ(cipher->Decrypt(CiphertextEndingIn(*cipher, {0x01, 0x02})), std::nullopt);
    EXPECT_EQ(cipher->Decrypt(CiphertextEndingIn(*cipher, {0x02, 0x03, 0x03})), std::nullopt);
    EXPECT_EQ(cipher->Decrypt(CiphertextEndingIn(*cipher, {0x03, 0x03, 0x03})),
              std::vector<uint8_t>(13, 0x5A));
}

} // namespace
