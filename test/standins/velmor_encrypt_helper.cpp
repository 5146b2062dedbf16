// Stand-in VelmorEncryptHelper.dll: DecryptAES "deciphers" by copying the enciphered file to the
// plain path, so a test writes the plain table it wants under the enciphered name. With
// WritesNothing=1 in its [VelmorEncryptHelper] section it writes no plain file.
#include "stand_in.h"

#include <cstdint>

extern "C" int32_t StandInDecryptAES(const wchar_t* encipheredPath, const wchar_t* plainPath) {
    const standin::StandIn scenario("VelmorEncryptHelper");
    scenario.Record("DecryptAES");
    if (scenario.Integer("WritesNothing", 0) != 0) {
        return 0;
    }
    return ::CopyFileW(encipheredPath, plainPath, FALSE) ? 1 : 0;
}
