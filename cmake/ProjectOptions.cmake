# Warnings as errors and sanitizers for every target of ours (third-party targets are added before).
if(MSVC)
    add_compile_options(/W4 /WX /permissive- /utf-8)
else()
    add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
endif()

if(MINGW)
    add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX UNICODE _UNICODE _WIN32_WINNT=0x0A00)
endif()

if(MONITOR_SANITIZE)
    list(JOIN MONITOR_SANITIZE "," sanitizers)
    add_compile_options(-fsanitize=${sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${sanitizers})
endif()

# add_unit_test(NAME SOURCES... LIBRARIES ...): one GoogleTest executable, one CTest test.
# In the Windows build CTest runs it under Wine through CMAKE_CROSSCOMPILING_EMULATOR.
function(add_unit_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest GTest::gmock GTest::gtest_main)
    add_test(NAME ${name} COMMAND ${name})
endfunction()

# The fuzz tree instruments all our code for libFuzzer's coverage guidance; only the fuzzer
# executables link libFuzzer itself (see fuzz/CMakeLists.txt).
if(MONITOR_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
