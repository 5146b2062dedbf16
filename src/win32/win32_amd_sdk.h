#pragma once

#include "ports/amd_sdk.h"

namespace win32 {

// The AMD SDK builds beside the plug-in, loaded with LOAD_WITH_ALTERED_SEARCH_PATH so that each
// build finds its own dependencies in its folder. Every call looks its entry up by name.
class Win32AmdSdkLibraries final : public ports::AmdSdkLibraries {
public:
    ports::LoadedAmdSdk Load(const std::u16string& relativePath) override;
};

} // namespace win32
