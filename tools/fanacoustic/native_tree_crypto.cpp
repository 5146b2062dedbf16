#include "fanacoustic/tree_crypto.h"
#include "sim/openssl_crypto.h"

ports::Crypto& TreeCrypto() {
    static sim::OpensslCrypto crypto;
    return crypto;
}
