#pragma once

#include <windows.h>

namespace win32 {

// Security attributes whose null DACL lets every process open the object.
class OpenToEveryone {
public:
    bool Init() {
        return ::InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) &&
               ::SetSecurityDescriptorDacl(&descriptor_, TRUE, nullptr, FALSE);
    }
    SECURITY_ATTRIBUTES* Attributes() { return &attributes_; }

private:
    SECURITY_DESCRIPTOR descriptor_{};
    SECURITY_ATTRIBUTES attributes_{static_cast<DWORD>(sizeof(SECURITY_ATTRIBUTES)), &descriptor_,
                                    FALSE};
};

} // namespace win32
