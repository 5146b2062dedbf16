#pragma once

#include "ports/code_signatures.h"
#include "ports/files.h"

#include <string>

namespace platform {

// The signer names the maker signs its libraries with; either is accepted, ignoring case.
inline constexpr char16_t kAcceptedSigner[] = u"Velmor Computer Inc.";
inline constexpr char16_t kAcceptedSignerLong[] = u"VELMOR COMPUTER INCORPORATION";

// Verifies the file's Authenticode signature and reads its details into info (emptied first). A
// path in NT form ("\??\C:\...") names the same file. Returns false for a null path or record, an
// empty path, or a signature that does not verify (then info->Status holds the verification's
// result) or cannot be read.
bool GetSignatureInfo(ports::CodeSignatures& signatures, const char16_t* path,
                      ports::SignatureInfo* info);

// Lets go of every text of the record.
void FreeSignatureInfo(ports::SignatureInfo& info);

// True only when the file exists, its signature verifies and its signer is one of the maker's
// accepted names. A missing file is refused before anything is verified.
bool IsVelmorSigned(ports::Files& files, ports::CodeSignatures& signatures,
                    const std::u16string& path);

} // namespace platform
