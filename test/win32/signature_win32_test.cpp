#include "machine_doubles.h"
#include "platform/signature_check.h"
#include "win32/win32_code_signatures.h"

#include <gtest/gtest.h>
#include <string>

namespace {

// SIGNED_FILES_DIR is the host path of the files the set-up signed; Wine's drive Z: is the root.
std::u16string Signed(const char* file) {
    std::string path = std::string("Z:") + SIGNED_FILES_DIR + "/" + file;
    std::u16string wide;
    for (const char c : path) {
        wide += c == '/' ? u'\\' : static_cast<char16_t>(c);
    }
    return wide;
}

class SignatureWin32Test : public ::testing::Test {
protected:
    bool IsVelmorSigned(const std::u16string& path) {
        return platform::IsVelmorSigned(files, signatures, path);
    }

    TestFiles files;
    win32::Win32CodeSignatures signatures;
};

TEST_F(SignatureWin32Test, a_file_signed_by_the_maker_is_accepted) {
    EXPECT_TRUE(IsVelmorSigned(Signed("velmor.dll")));
}

TEST_F(SignatureWin32Test, the_signer_name_is_compared_ignoring_case) {
    EXPECT_TRUE(IsVelmorSigned(Signed("velmor-long-upper.dll")));
}

TEST_F(SignatureWin32Test, another_signer_is_refused_although_its_signature_verifies) {
    EXPECT_EQ(signatures.Verify(Signed("other.dll")), 0);
    EXPECT_FALSE(IsVelmorSigned(Signed("other.dll")));
}

TEST_F(SignatureWin32Test, an_unsigned_file_is_refused) {
    ports::SignatureInfo info;
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, Signed("unsigned.dll").c_str(), &info));
    EXPECT_EQ(info.Status, static_cast<int32_t>(0x800B0100)); // TRUST_E_NOSIGNATURE
    EXPECT_FALSE(IsVelmorSigned(Signed("unsigned.dll")));
}

TEST_F(SignatureWin32Test, a_tampered_file_is_refused) {
    ports::SignatureInfo info;
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, Signed("tampered.dll").c_str(), &info));
    EXPECT_NE(info.Status, 0);
    EXPECT_FALSE(IsVelmorSigned(Signed("tampered.dll")));
}

TEST_F(SignatureWin32Test, a_missing_file_is_refused) {
    EXPECT_FALSE(IsVelmorSigned(Signed("missing.dll")));
}

TEST_F(SignatureWin32Test, an_nt_path_verifies_the_same_file) {
    EXPECT_TRUE(IsVelmorSigned(u"\\??\\" + Signed("velmor.dll")));
    EXPECT_FALSE(IsVelmorSigned(u"\\??\\" + Signed("other.dll")));
}

TEST_F(SignatureWin32Test, the_details_name_signer_issuer_and_serial_number) {
    ports::SignatureInfo info;
    ASSERT_TRUE(platform::GetSignatureInfo(signatures, Signed("velmor.dll").c_str(), &info));
    EXPECT_EQ(info.SubjectName, u"Velmor Computer Inc.");
    EXPECT_EQ(info.IssuerName, u"Velmor Computer Inc."); // self-signed
    EXPECT_EQ(info.SerialNumber, u"0123456789ABCDEF");
    EXPECT_FALSE(info.HasTimeStamp);
}

} // namespace
