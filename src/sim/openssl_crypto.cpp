#include "sim/openssl_crypto.h"

#include <climits>
#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace sim {
namespace {

struct ContextFree {
    void operator()(EVP_CIPHER_CTX* context) const noexcept { EVP_CIPHER_CTX_free(context); }
};
using UniqueContext = std::unique_ptr<EVP_CIPHER_CTX, ContextFree>;

enum class Direction : int { Decrypt = 0, Encrypt = 1 };

class OpensslAesCipher final : public ports::AesCipher {
public:
    OpensslAesCipher(const ports::AesKey& key, const ports::AesVector& vector)
        : key_(key), vector_(vector) {}
    ~OpensslAesCipher() override { OPENSSL_cleanse(key_.data(), key_.size()); }

    std::optional<std::vector<uint8_t>> Decrypt(std::span<const uint8_t> ciphertext) override {
        return Transform(Direction::Decrypt, ciphertext);
    }
    std::optional<std::vector<uint8_t>> Encrypt(std::span<const uint8_t> plaintext) override {
        return Transform(Direction::Encrypt, plaintext);
    }

private:
    static constexpr int kBlockSize = 16;

    // A fresh context per call starts from the vector every time and needs no lock.
    std::optional<std::vector<uint8_t>> Transform(Direction direction,
                                                  std::span<const uint8_t> input) const {
        if (input.size() > static_cast<std::size_t>(INT_MAX - kBlockSize)) {
            return std::nullopt;
        }
        const UniqueContext context(EVP_CIPHER_CTX_new());
        if (!context || EVP_CipherInit_ex(context.get(), EVP_aes_256_cbc(), nullptr, key_.data(),
                                          vector_.data(), static_cast<int>(direction)) != 1) {
            return std::nullopt;
        }
        std::vector<uint8_t> output(input.size() + kBlockSize);
        int written = 0;
        int last = 0;
        if (EVP_CipherUpdate(context.get(), output.data(), &written, input.data(),
                             static_cast<int>(input.size())) != 1 ||
            EVP_CipherFinal_ex(context.get(), output.data() + written, &last) != 1) {
            return std::nullopt;
        }
        output.resize(static_cast<std::size_t>(written) + static_cast<std::size_t>(last));
        return output;
    }

    ports::AesKey key_;
    ports::AesVector vector_;
};

} // namespace

std::unique_ptr<ports::AesCipher> OpensslCrypto::NewAesCipher(const ports::AesKey& key,
                                                              const ports::AesVector& vector) {
    return std::make_unique<OpensslAesCipher>(key, vector);
}

} // namespace sim
