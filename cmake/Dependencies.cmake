# Third-party pieces, all from Debian packages (see scripts/setup).
if(BUILD_TESTING AND NOT MONITOR_FUZZ)
    if(CMAKE_CROSSCOMPILING)
        # No Windows build of GoogleTest is packaged: build Debian's sources with our toolchain.
        set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
        set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
        add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    else()
        find_package(GTest REQUIRED)
    endif()
endif()

if(MONITOR_BENCH)
    find_package(benchmark REQUIRED)
    find_package(msgpack REQUIRED CONFIG) # Debian ships it as msgpackc-cxx
endif()

if(CMAKE_CROSSCOMPILING AND WIN32)
    # Test executables run under Wine, in a prefix that belongs to this build tree.
    set(CMAKE_CROSSCOMPILING_EMULATOR
        "${CMAKE_SOURCE_DIR}/cmake/wine-run;${CMAKE_BINARY_DIR}/wine-prefix")
endif()
