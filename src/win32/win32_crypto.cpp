#include "win32/win32_crypto.h"

#include "win32/unique_handle.h"
#include "win32/win32_critical_section.h"

#include <bcrypt.h>
#include <cstring>
#include <limits>
#include <mutex>

namespace win32 {
namespace {

struct AlgorithmTraits {
    using Value = BCRYPT_ALG_HANDLE;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value value) noexcept { ::BCryptCloseAlgorithmProvider(value, 0); }
};
using UniqueAlgorithm = UniqueAny<AlgorithmTraits>;
using UniqueKey = UniqueAny<NullIsEmpty<BCRYPT_KEY_HANDLE, &::BCryptDestroyKey>>;

// BCryptEncrypt and BCryptDecrypt take the same arguments.
using TransformFunction = decltype(&::BCryptDecrypt);

// The key-data blob: its header, then the key bytes.
struct KeyBlob {
    BCRYPT_KEY_DATA_BLOB_HEADER Header;
    ports::AesKey Key;
};
static_assert(sizeof(KeyBlob) == 44, "a 12-byte header and a 32-byte key");

class CngAesCipher final : public ports::AesCipher {
public:
    CngAesCipher(const ports::AesKey& key, const ports::AesVector& vector) {
        if (!Open() || !Import(key)) {
            return;
        }
        vector_ = vector;
        hasKey_ = true;
    }

    // A padded ciphertext is at least one block. CNG (Wine's at least) turns no bytes into an
    // empty plaintext; refusing them keeps the answer the same as OpenSSL's in native builds.
    std::optional<std::vector<uint8_t>> Decrypt(std::span<const uint8_t> ciphertext) override {
        if (ciphertext.empty()) {
            return std::nullopt;
        }
        return Transform(&::BCryptDecrypt, ciphertext);
    }
    std::optional<std::vector<uint8_t>> Encrypt(std::span<const uint8_t> plaintext) override {
        return Transform(&::BCryptEncrypt, plaintext);
    }

private:
    bool Open() {
        if (!BCRYPT_SUCCESS(::BCryptOpenAlgorithmProvider(algorithm_.put(), BCRYPT_AES_ALGORITHM,
                                                          nullptr, 0))) {
            return false;
        }
        DWORD objectLength = 0;
        ULONG received = 0;
        if (!BCRYPT_SUCCESS(::BCryptGetProperty(algorithm_.get(), BCRYPT_OBJECT_LENGTH,
                                                reinterpret_cast<PUCHAR>(&objectLength),
                                                sizeof(objectLength), &received, 0))) {
            return false;
        }
        keyObject_.assign(objectLength, 0);
        return true;
    }

    // The blob holds the key in the clear: it is wiped as soon as CNG has its own copy.
    bool Import(const ports::AesKey& key) {
        KeyBlob blob{{BCRYPT_KEY_DATA_BLOB_MAGIC, BCRYPT_KEY_DATA_BLOB_VERSION1, sizeof(key)}, key};
        const NTSTATUS status =
            ::BCryptImportKey(algorithm_.get(), nullptr, BCRYPT_KEY_DATA_BLOB, key_.put(),
                              keyObject_.data(), static_cast<ULONG>(keyObject_.size()),
                              reinterpret_cast<PUCHAR>(&blob), sizeof(blob), 0);
        ::SecureZeroMemory(&blob, sizeof(blob));
        return BCRYPT_SUCCESS(status);
    }

    // Asks for the output size, then transforms into a zeroed buffer of that size; both calls
    // start from a fresh copy of the vector, which CNG updates as it chains.
    std::optional<std::vector<uint8_t>> Transform(TransformFunction transform,
                                                  std::span<const uint8_t> input) {
        if (input.size() > std::numeric_limits<ULONG>::max()) {
            return std::nullopt;
        }
        std::lock_guard lock(section_);
        if (!hasKey_) {
            return std::nullopt;
        }
        ports::AesVector vector = vector_;
        const auto data = const_cast<PUCHAR>(input.data());
        const auto size = static_cast<ULONG>(input.size());
        ULONG needed = 0;
        if (!BCRYPT_SUCCESS(transform(key_.get(), data, size, nullptr, vector.data(),
                                      sizeof(vector), nullptr, 0, &needed, BCRYPT_BLOCK_PADDING))) {
            return std::nullopt;
        }
        std::vector<uint8_t> output(needed, 0);
        if (!BCRYPT_SUCCESS(transform(key_.get(), data, size, nullptr, vector.data(),
                                      sizeof(vector), output.data(), needed, &needed,
                                      BCRYPT_BLOCK_PADDING))) {
            return std::nullopt;
        }
        output.resize(needed);
        return output;
    }

    // Torn down in reverse: the key, its object, the provider, the vector.
    Win32CriticalSection section_;
    bool hasKey_ = false;
    ports::AesVector vector_{};
    UniqueAlgorithm algorithm_;
    std::vector<UCHAR> keyObject_;
    UniqueKey key_;
};

} // namespace

std::unique_ptr<ports::AesCipher> Win32Crypto::NewAesCipher(const ports::AesKey& key,
                                                            const ports::AesVector& vector) {
    return std::make_unique<CngAesCipher>(key, vector);
}

} // namespace win32
