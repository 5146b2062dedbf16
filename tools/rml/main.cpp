// rml: prints a recording log's header, or its records as CSV or JSON, or draws them.
#include "common/child_process.h"
#include "rml/rml_output.h"

#include <iostream>
#include <string_view>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string_view> args(argv + 1, argv + argc);
    return RunRml(args, std::cout, std::cerr, ProcessSearchPath());
}
