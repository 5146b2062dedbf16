#!/usr/bin/env bash
# Signs copies of a stand-in DLL for the signature tests: make_signed_files.sh OUT_DIR DLL
#   velmor.dll             signed by "Velmor Computer Inc."
#   velmor-long-upper.dll  signed by "velmor computer incorporation" (names compare ignoring case)
#   other.dll              signed by "Other Vendor Ltd."
#   unsigned.dll           the DLL as built
#   tampered.dll           velmor.dll with four code bytes changed after signing
# Certificates are made here with openssl, self-signed, with the code-signing key usage.
set -euo pipefail
out=$1
dll=$2
rm -rf "$out"
mkdir -p "$out"
cd "$out"

sign() { # sign OUTPUT SUBJECT SERIAL
    openssl req -x509 -newkey rsa:2048 -nodes -days 30 -subj "/CN=$2" -set_serial "$3" \
        -addext "extendedKeyUsage=codeSigning" -keyout "$1.key" -out "$1.crt" 2>/dev/null
    osslsigncode sign -certs "$1.crt" -key "$1.key" -in "$dll" -out "$1.dll" >/dev/null
}

sign velmor "Velmor Computer Inc." 0x0123456789ABCDEF
sign velmor-long-upper "velmor computer incorporation" 2
sign other "Other Vendor Ltd." 3
cp "$dll" unsigned.dll
cp velmor.dll tampered.dll
printf '\x5a\xa5\x5a\xa5' | dd of=tampered.dll bs=1 seek=1024 count=4 conv=notrunc 2>/dev/null
cmp -s velmor.dll tampered.dll && { echo "tampering changed nothing" >&2; exit 1; }
exit 0
