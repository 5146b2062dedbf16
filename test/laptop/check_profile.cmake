# Sets up a shipped profile's laptop in a prefix of its own and checks that the real DLL, driven
# by the reference host, answers as that laptop: its CPU maker, model and readings that are not 0.
#   cmake -DROOT=SOURCE -DBUILD=WINDOWS_BUILD -DPROFILE=NAME -DPREFIX=DIR -P check_profile.cmake

execute_process(COMMAND ${ROOT}/scripts/laptop ${ROOT}/profiles/${PROFILE} ${PREFIX} ${BUILD}
    OUTPUT_VARIABLE plugin_dir ERROR_VARIABLE errors RESULT_VARIABLE status
    OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "scripts/laptop ended with ${status}:\n${errors}")
endif()

function(host out)
    execute_process(COMMAND ${ROOT}/cmake/wine-run ${PREFIX} ${plugin_dir}/orvex-host.exe ${ARGN}
        OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "orvex-host ${ARGN} ended with ${status}:\n${output}${errors}")
    endif()
    set(${out} "${output}" PARENT_SCOPE)
endfunction()

# The value at a path of a JSON document, which must be a number above 0.
function(expect_positive document)
    string(JSON value ERROR_VARIABLE error GET "${document}" ${ARGN})
    if(error OR NOT value GREATER 0)
        message(FATAL_ERROR "${PROFILE}: ${ARGN} is '${value}' ${error}\n${document}")
    endif()
endfunction()

file(READ ${ROOT}/profiles/${PROFILE}/standin_scenario.ini profile)
# The profile's own words for what the laptop must answer.
function(profile_value out key)
    string(REGEX MATCH "\n${key} *= *([^\r\n]*[^ \r\n])" ignored "${profile}")
    set(${out} "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()
profile_value(marketing_name MarketingName)
profile_value(vendor GetCPUVendor)
profile_value(gpu_name FullName)

host(info info)
string(REPLACE "\r" "" info "${info}")
foreach(row "CPUVendor +${vendor}" "ModelName +${marketing_name}" "IsSupportFanAcoustic +1"
        "GPUFullName +${gpu_name}")
    if(NOT info MATCHES "\n${row}")
        message(FATAL_ERROR "${PROFILE}: info has no row '${row}'\n${info}")
    endif()
endforeach()

host(snapshot snapshot --json)
foreach(path "Core0;ProcessorFrequency" "Core0;Temprature" "Core0;Usage" "Core0;Voltage"
        "Adapter0;ProcessorFrequency" "Adapter0;Temprature" "Adapter0;Usage"
        "CPUFanSpeed" "CPUFanAcoustic" "GPUFanSpeed" "GPUFanAcoustic"
        "GPUTGP" "TotalMemorySize")
    expect_positive("${snapshot}" monitor ${path})
endforeach()
