#include "fanacoustic/tree_crypto.h"
#include "win32/win32_crypto.h"

ports::Crypto& TreeCrypto() {
    static win32::Win32Crypto crypto;
    return crypto;
}
