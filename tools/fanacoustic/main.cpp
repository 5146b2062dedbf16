// fanacoustic: writes a fan acoustic table file from a readable table, and prints one.
#include "fanacoustic/fanacoustic_tool.h"
#include "fanacoustic/tree_crypto.h"

#include <iostream>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string_view> args(argv + 1, argv + argc);
    return RunFanAcoustic(args, std::cout, std::cerr, TreeCrypto());
}
