#include "platform/signature_check.h"
#include "sim/fake_code_signatures.h"
#include "sim/memory_files.h"

#include <gtest/gtest.h>

namespace {

constexpr char16_t kLibrary[] = u"C:\\Program Files\\Orvex\\ThrottlePlugin\\AMDSDK.dll";
constexpr char16_t kNtLibrary[] = u"\\??\\C:\\Program Files\\Orvex\\ThrottlePlugin\\AMDSDK.dll";

sim::FakeCodeSignatures::Signature SignedBy(const char16_t* signer, int32_t status = 0,
                                            bool detailsRead = true) {
    sim::FakeCodeSignatures::Signature signature;
    signature.Status = status;
    signature.DetailsRead = detailsRead;
    signature.Details.SubjectName = signer;
    return signature;
}

class SignatureCheckTest : public ::testing::Test {
protected:
    SignatureCheckTest() {
        files.Put(kLibrary, "MZ");
        files.Put(kNtLibrary, "MZ");
    }

    bool Signed(const std::u16string& path) {
        return platform::IsVelmorSigned(files, signatures, path);
    }

    sim::MemoryFiles files;
    sim::FakeCodeSignatures signatures;
};

TEST_F(SignatureCheckTest, both_maker_names_are_accepted_ignoring_case) {
    for (const char16_t* signer :
         {u"Velmor Computer Inc.", u"VELMOR COMPUTER INC.", u"velmor computer inc.",
          u"VELMOR COMPUTER INCORPORATION", u"Velmor Computer Incorporation"}) {
        signatures.Sign(kLibrary, signer);
        EXPECT_TRUE(Signed(kLibrary)) << std::string(signer, signer + 5);
    }
}

TEST_F(SignatureCheckTest, another_signer_spacing_or_punctuation_is_refused) {
    for (const char16_t* signer :
         {u"Other Vendor Ltd.", u"Velmor Computer Inc", u"Velmor  Computer Inc.",
          u"Velmor Computer Inc. ", u"Velmor Computer, Inc."}) {
        signatures.Sign(kLibrary, signer);
        EXPECT_FALSE(Signed(kLibrary));
    }
}

TEST_F(SignatureCheckTest, an_unsigned_or_tampered_file_is_refused_with_its_status) {
    EXPECT_FALSE(Signed(kLibrary));
    ports::SignatureInfo info;
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, kLibrary, &info));
    EXPECT_EQ(info.Status, sim::FakeCodeSignatures::kNoSignature);

    signatures.Put(kLibrary,
                   SignedBy(u"Velmor Computer Inc.", sim::FakeCodeSignatures::kBadDigest));
    EXPECT_FALSE(Signed(kLibrary));
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, kLibrary, &info));
    EXPECT_EQ(info.Status, sim::FakeCodeSignatures::kBadDigest);
    EXPECT_FALSE(info.SubjectName);
}

TEST_F(SignatureCheckTest, a_signature_whose_details_cannot_be_read_is_refused) {
    signatures.Put(kLibrary, SignedBy(u"Velmor Computer Inc.", 0, false));
    EXPECT_FALSE(Signed(kLibrary));
}

TEST_F(SignatureCheckTest, a_missing_file_is_refused_without_verifying) {
    signatures.Sign(u"C:\\gone.dll", u"Velmor Computer Inc.");
    EXPECT_FALSE(Signed(u"C:\\gone.dll"));
    EXPECT_TRUE(signatures.Verified().empty());
}

TEST_F(SignatureCheckTest, an_nt_path_verifies_the_same_file) {
    signatures.Sign(kLibrary, u"Velmor Computer Inc.");
    EXPECT_TRUE(Signed(kNtLibrary));
    EXPECT_EQ(signatures.Verified(), (std::vector<std::u16string>{kLibrary}));
}

TEST_F(SignatureCheckTest, the_details_are_read_after_a_verified_signature) {
    auto signature = SignedBy(u"Velmor Computer Inc.");
    signature.Details.SerialNumber = u"01AB";
    signature.Details.HasTimeStamp = true;
    signatures.Put(kLibrary, signature);
    ports::SignatureInfo info;
    info.Status = 5;
    info.IssuerName = u"stale";
    EXPECT_TRUE(platform::GetSignatureInfo(signatures, kLibrary, &info));
    EXPECT_EQ(info.SerialNumber, u"01AB");
    EXPECT_TRUE(info.HasTimeStamp);
    EXPECT_FALSE(info.IssuerName);
    platform::FreeSignatureInfo(info);
    EXPECT_FALSE(info.SubjectName);
    EXPECT_FALSE(info.SerialNumber);
}

TEST_F(SignatureCheckTest, null_empty_and_bare_prefix_paths_are_refused_unverified) {
    ports::SignatureInfo info;
    info.Status = 5;
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, nullptr, &info));
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, kLibrary, nullptr));
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, u"", &info));
    EXPECT_EQ(info.Status, 0); // the record was emptied
    EXPECT_FALSE(platform::GetSignatureInfo(signatures, u"\\??\\", &info));
    EXPECT_TRUE(signatures.Verified().empty());
}

TEST_F(SignatureCheckTest, a_long_path_is_cut_to_259_characters) {
    const std::u16string path(300, u'a');
    ports::SignatureInfo info;
    platform::GetSignatureInfo(signatures, path.c_str(), &info);
    EXPECT_EQ(signatures.Verified(), (std::vector<std::u16string>{std::u16string(259, u'a')}));
}

} // namespace
