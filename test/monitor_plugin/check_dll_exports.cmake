# Checks MonitorPlugin.dll as the host sees it: the export table holds QueryLibrary and nothing
# else, and no import is a compiler run-time DLL (those are linked in, as nothing but Windows' own
# DLLs may be needed beside the module).
# Run as: cmake -DOBJDUMP=<objdump> -DDLL=<MonitorPlugin.dll> -P check_dll_exports.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "${OBJDUMP} -p ${DLL} failed")
endif()

string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table[^\n]*\n(([^\n]*\\[[ 0-9]+\\][^\n]*\n)*)"
       exportBlock "${dump}")
string(REGEX MATCHALL "\\] [A-Za-z_@?$0-9]+" exports "${CMAKE_MATCH_1}")
list(TRANSFORM exports REPLACE "^\\] " "")
if(NOT exports STREQUAL "QueryLibrary")
    message(FATAL_ERROR "exports are '${exports}', expected exactly QueryLibrary")
endif()

string(REGEX MATCHALL "DLL Name: [^\n]+" imports "${dump}")
list(TRANSFORM imports REPLACE "^DLL Name: " "")
list(TRANSFORM imports TOLOWER)
if(NOT "kernel32.dll" IN_LIST imports)
    message(FATAL_ERROR "no import table found in '${DLL}'")
endif()
foreach(import IN LISTS imports)
    if(import MATCHES "^lib|gcc|stdc|pthread|mingw")
        message(FATAL_ERROR "MonitorPlugin.dll imports ${import}; only Windows' own DLLs may be needed")
    endif()
endforeach()
message(STATUS "exports: ${exports}; imports: ${imports}")
