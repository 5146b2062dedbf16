#include "win32/win32_code_signatures.h"

#include "platform/time_stamp_token.h"
#include "win32/unique_handle.h"
#include "win32/wide.h"

// The crypto headers need windows.h before them.
// clang-format off
#include <windows.h>
#include <softpub.h>
#include <wincrypt.h>
#include <wintrust.h>
// clang-format on

#include <cstdio>
#include <cstring>
#include <memory>

namespace win32 {
namespace {

constexpr DWORD kEncoding = X509_ASN_ENCODING | PKCS_7_ASN_ENCODING;
constexpr char kPublisherInformation[] = "1.3.6.1.4.1.311.2.1.12"; // SPC_SP_OPUS_INFO_OBJID
constexpr char kCounterSignature[] = "1.2.840.113549.1.9.6";       // szOID_RSA_counterSign
constexpr char kSigningTime[] = "1.2.840.113549.1.9.5";            // szOID_RSA_signingTime
constexpr char kRfc3161TimeStamp[] = "1.3.6.1.4.1.311.3.3.1";      // szOID_RFC3161_counterSign

void CloseStore(HCERTSTORE store) noexcept {
    ::CertCloseStore(store, 0);
}
void CloseMessage(HCRYPTMSG message) noexcept {
    ::CryptMsgClose(message);
}
void FreeCertificate(PCCERT_CONTEXT certificate) noexcept {
    ::CertFreeCertificateContext(certificate);
}
using UniqueStore = UniqueAny<NullIsEmpty<HCERTSTORE, &CloseStore>>;
using UniqueMessage = UniqueAny<NullIsEmpty<HCRYPTMSG, &CloseMessage>>;
using UniqueCertificate = UniqueAny<NullIsEmpty<PCCERT_CONTEXT, &FreeCertificate>>;

// A block the system fills after telling its size, aligned for the structure it holds.
struct Block {
    std::unique_ptr<std::max_align_t[]> Storage;
    DWORD Size = 0;

    template <typename T>
    const T* As() const {
        return reinterpret_cast<const T*>(Storage.get());
    }
    void Allocate(DWORD size) {
        Storage.reset(
            new std::max_align_t[(size + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t)]);
        Size = size;
    }
};

Block MessageParameter(HCRYPTMSG message, DWORD parameter) {
    Block block;
    DWORD size = 0;
    if (::CryptMsgGetParam(message, parameter, 0, nullptr, &size) && size > 0) {
        block.Allocate(size);
        if (!::CryptMsgGetParam(message, parameter, 0, block.Storage.get(), &block.Size)) {
            block = {};
        }
    }
    return block;
}

Block Decoded(LPCSTR structure, const CRYPT_ATTR_BLOB& value) {
    Block block;
    DWORD size = 0;
    if (::CryptDecodeObject(kEncoding, structure, value.pbData, value.cbData, 0, nullptr, &size) &&
        size > 0) {
        block.Allocate(size);
        if (!::CryptDecodeObject(kEncoding, structure, value.pbData, value.cbData, 0,
                                 block.Storage.get(), &block.Size)) {
            block = {};
        }
    }
    return block;
}

const CRYPT_ATTRIBUTE* FindAttribute(const CRYPT_ATTRIBUTES& attributes, const char* id) {
    for (DWORD i = 0; i < attributes.cAttr; ++i) {
        const CRYPT_ATTRIBUTE& attribute = attributes.rgAttr[i];
        if (attribute.pszObjId != nullptr && std::strcmp(attribute.pszObjId, id) == 0 &&
            attribute.cValue > 0) {
            return &attribute;
        }
    }
    return nullptr;
}

std::optional<std::u16string> Text(const wchar_t* text) {
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::u16string(AsUtf16(text));
}

void ReadPublisherInformation(const CMSG_SIGNER_INFO& signer, ports::SignatureInfo& info) {
    const CRYPT_ATTRIBUTE* attribute = FindAttribute(signer.AuthAttrs, kPublisherInformation);
    if (attribute == nullptr) {
        return;
    }
    const Block decoded = Decoded(SPC_SP_OPUS_INFO_OBJID, attribute->rgValue[0]);
    if (decoded.Size == 0) {
        return;
    }
    const auto* publisher = decoded.As<SPC_SP_OPUS_INFO>();
    info.ProgramName = Text(publisher->pwszProgramName);
    if (publisher->pMoreInfo != nullptr) {
        if (publisher->pMoreInfo->dwLinkChoice == SPC_URL_LINK_CHOICE) {
            info.MoreInfoUrl = Text(publisher->pMoreInfo->pwszUrl);
        } else if (publisher->pMoreInfo->dwLinkChoice == SPC_FILE_LINK_CHOICE) {
            info.MoreInfoFile = Text(publisher->pMoreInfo->pwszFile);
        }
    }
}

std::optional<std::u16string> CertificateName(PCCERT_CONTEXT certificate, DWORD type, DWORD flags) {
    const DWORD size = ::CertGetNameStringW(certificate, type, flags, nullptr, nullptr, 0);
    if (size == 0) {
        return std::nullopt;
    }
    std::wstring name(size, L'\0');
    const DWORD written =
        ::CertGetNameStringW(certificate, type, flags, nullptr, name.data(), size);
    if (written == 0) {
        return std::nullopt;
    }
    name.resize(written - 1);
    return std::u16string(AsUtf16(name.c_str()), name.size());
}

std::u16string SerialNumber(const CRYPT_INTEGER_BLOB& serial) {
    // The blob is little-endian; the text reads most significant byte first.
    std::u16string text;
    for (DWORD i = serial.cbData; i > 0; --i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", serial.pbData[i - 1]);
        text += static_cast<char16_t>(digits[0]);
        text += static_cast<char16_t>(digits[1]);
    }
    return text;
}

void ReadCertificate(HCERTSTORE store, const CMSG_SIGNER_INFO& signer, ports::SignatureInfo& info) {
    CERT_INFO wanted{};
    wanted.Issuer = signer.Issuer;
    wanted.SerialNumber = signer.SerialNumber;
    const UniqueCertificate certificate(::CertFindCertificateInStore(
        store, kEncoding, 0, CERT_FIND_SUBJECT_CERT, &wanted, nullptr));
    if (!certificate) {
        return;
    }
    const PCCERT_CONTEXT context = certificate.get();
    info.SerialNumber = SerialNumber(context->pCertInfo->SerialNumber);
    info.SubjectName = CertificateName(context, CERT_NAME_SIMPLE_DISPLAY_TYPE, 0);
    info.SubjectEmail = CertificateName(context, CERT_NAME_EMAIL_TYPE, 0);
    info.SubjectUrl = CertificateName(context, CERT_NAME_URL_TYPE, 0);
    info.IssuerName =
        CertificateName(context, CERT_NAME_SIMPLE_DISPLAY_TYPE, CERT_NAME_ISSUER_FLAG);
    info.IssuerFriendlyName =
        CertificateName(context, CERT_NAME_FRIENDLY_DISPLAY_TYPE, CERT_NAME_ISSUER_FLAG);
}

// The signing time of a PKCS #9 counter-signature.
std::optional<FILETIME> CounterSignatureTime(const CMSG_SIGNER_INFO& signer) {
    const CRYPT_ATTRIBUTE* attribute = FindAttribute(signer.UnauthAttrs, kCounterSignature);
    if (attribute == nullptr) {
        return std::nullopt;
    }
    const Block counter = Decoded(PKCS7_SIGNER_INFO, attribute->rgValue[0]);
    if (counter.Size == 0) {
        return std::nullopt;
    }
    const CRYPT_ATTRIBUTE* signingTime =
        FindAttribute(counter.As<CMSG_SIGNER_INFO>()->AuthAttrs, kSigningTime);
    if (signingTime == nullptr) {
        return std::nullopt;
    }
    FILETIME time{};
    DWORD size = sizeof time;
    if (!::CryptDecodeObject(kEncoding, kSigningTime, signingTime->rgValue[0].pbData,
                             signingTime->rgValue[0].cbData, 0, &time, &size)) {
        return std::nullopt;
    }
    return time;
}

// The generalised time of an RFC 3161 time-stamp token.
std::optional<FILETIME> Rfc3161Time(const CMSG_SIGNER_INFO& signer) {
    const CRYPT_ATTRIBUTE* attribute = FindAttribute(signer.UnauthAttrs, kRfc3161TimeStamp);
    if (attribute == nullptr) {
        return std::nullopt;
    }
    const UniqueMessage token(::CryptMsgOpenToDecode(kEncoding, 0, 0, 0, nullptr, nullptr));
    if (!token || !::CryptMsgUpdate(token.get(), attribute->rgValue[0].pbData,
                                    attribute->rgValue[0].cbData, TRUE)) {
        return std::nullopt;
    }
    const Block content = MessageParameter(token.get(), CMSG_CONTENT_PARAM);
    const auto utc = platform::TimeStampTokenTime(
        std::span(reinterpret_cast<const uint8_t*>(content.Storage.get()), content.Size));
    if (!utc) {
        return std::nullopt;
    }
    const SYSTEMTIME system{utc->Year, utc->Month,  0,           utc->Day,
                            utc->Hour, utc->Minute, utc->Second, utc->Milliseconds};
    FILETIME time{};
    if (!::SystemTimeToFileTime(&system, &time)) {
        return std::nullopt;
    }
    return time;
}

void ReadTimeStamp(const CMSG_SIGNER_INFO& signer, ports::SignatureInfo& info) {
    std::optional<FILETIME> utc = CounterSignatureTime(signer);
    if (!utc) {
        utc = Rfc3161Time(signer);
    }
    FILETIME local{};
    SYSTEMTIME time{};
    if (!utc || !::FileTimeToLocalFileTime(&*utc, &local) ||
        !::FileTimeToSystemTime(&local, &time)) {
        return;
    }
    info.HasTimeStamp = true;
    info.TimeStamp = {time.wYear, time.wMonth,  time.wDayOfWeek, time.wDay,
                      time.wHour, time.wMinute, time.wSecond,    time.wMilliseconds};
    char text[32];
    std::snprintf(text, sizeof text, "%04d/%02d/%02d %02d:%02d:%02d", time.wYear, time.wMonth,
                  time.wDay, time.wHour, time.wMinute, time.wSecond);
    info.TimeStampText = std::u16string(text, text + std::strlen(text));
}

} // namespace

int32_t Win32CodeSignatures::Verify(const std::u16string& path) {
    WINTRUST_FILE_INFO file{};
    file.cbStruct = sizeof file;
    file.pcwszFilePath = AsWide(path);
    WINTRUST_DATA data{};
    data.cbStruct = sizeof data;
    data.dwUIChoice = WTD_UI_NONE;
    data.fdwRevocationChecks = WTD_REVOKE_WHOLECHAIN;
    data.dwUnionChoice = WTD_CHOICE_FILE;
    data.pFile = &file;
    data.dwStateAction = WTD_STATEACTION_VERIFY;
    data.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
    GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    const HWND noWindow = static_cast<HWND>(INVALID_HANDLE_VALUE);
    const LONG result = ::WinVerifyTrust(noWindow, &action, &data);
    data.dwStateAction = WTD_STATEACTION_CLOSE;
    ::WinVerifyTrust(noWindow, &action, &data);
    return static_cast<int32_t>(result);
}

bool Win32CodeSignatures::ReadDetails(const std::u16string& path, ports::SignatureInfo& info) {
    HCERTSTORE rawStore = nullptr;
    HCRYPTMSG rawMessage = nullptr;
    DWORD encoding = 0;
    DWORD contentType = 0;
    DWORD formatType = 0;
    if (!::CryptQueryObject(CERT_QUERY_OBJECT_FILE, AsWide(path),
                            CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED_EMBED,
                            CERT_QUERY_FORMAT_FLAG_BINARY, 0, &encoding, &contentType, &formatType,
                            &rawStore, &rawMessage, nullptr)) {
        return false;
    }
    const UniqueStore store(rawStore);
    const UniqueMessage message(rawMessage);
    const Block signerBlock = MessageParameter(message.get(), CMSG_SIGNER_INFO_PARAM);
    if (signerBlock.Size == 0) {
        return false;
    }
    const CMSG_SIGNER_INFO& signer = *signerBlock.As<CMSG_SIGNER_INFO>();
    ReadPublisherInformation(signer, info);
    ReadCertificate(store.get(), signer, info);
    ReadTimeStamp(signer, info);
    return true;
}

} // namespace win32
