#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ports {

// A calendar time as SYSTEMTIME holds it.
struct SystemTime {
    uint16_t Year = 0;
    uint16_t Month = 0;
    uint16_t DayOfWeek = 0;
    uint16_t Day = 0;
    uint16_t Hour = 0;
    uint16_t Minute = 0;
    uint16_t Second = 0;
    uint16_t Milliseconds = 0;

    friend bool operator==(const SystemTime&, const SystemTime&) = default;
};

// What a file's Authenticode signature says; a text that was not found is absent.
struct SignatureInfo {
    int32_t Status = 0; // the verification's result when it failed
    std::optional<std::u16string> SubjectName;
    std::optional<std::u16string> SubjectEmail;
    std::optional<std::u16string> SubjectUrl;
    std::optional<std::u16string> IssuerName;
    std::optional<std::u16string> IssuerFriendlyName;
    std::optional<std::u16string> ProgramName;
    std::optional<std::u16string> MoreInfoUrl;
    std::optional<std::u16string> MoreInfoFile;
    std::optional<std::u16string> SerialNumber;  // "%02X" per byte, most significant first
    std::optional<std::u16string> TimeStampText; // "%04d/%02d/%02d %02d:%02d:%02d", local time
    bool HasTimeStamp = false;
    SystemTime TimeStamp; // local time
};

// The system's Authenticode verification of files, by path (drive form, no "\??\" prefix).
class CodeSignatures {
public:
    virtual ~CodeSignatures() = default;

    // WinVerifyTrust with the generic verify action, whole-chain revocation from cached URL data
    // only, no UI; 0 when the signature verifies.
    virtual int32_t Verify(const std::u16string& path) = 0;
    // Reads signer, issuer, publisher information, serial number and time stamp of a file whose
    // signature verified; false when the signature could not be read. Fields not reached stay
    // absent.
    virtual bool ReadDetails(const std::u16string& path, SignatureInfo& info) = 0;
};

} // namespace ports
