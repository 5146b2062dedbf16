// Writes the sample recording log to the file named by its argument, for the rml tool's tests.
#include "sample_rml_log.h"

#include <fstream>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: write_sample_log FILE\n";
        return 2;
    }
    const std::vector<uint8_t> bytes = SampleRmlLog();
    std::ofstream file(argv[1], std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return file ? 0 : 1;
}
