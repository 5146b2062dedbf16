// Stand-in VelmorEncryptHelper.dll: DecryptAES "deciphers" by copying the enciphered file to the
// plain path, so a test writes the plain table it wants under the enciphered name. With
// [Encrypt] WritesNothing=1 it writes no plain file.
#include "ini_scenario.h"

#include <cstdint>
#include <windows.h>

extern "C" int32_t StandInDecryptAES(const wchar_t* encipheredPath, const wchar_t* plainPath) {
    standin::CountCall(L"DecryptAES");
    if (standin::Number(L"Encrypt", L"WritesNothing", 0) != 0) {
        return 0;
    }
    return ::CopyFileW(encipheredPath, plainPath, FALSE) ? 1 : 0;
}
