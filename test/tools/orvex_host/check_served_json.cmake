# A JSON document the server wrote holds the monitor and disk answers:
#   cmake -DFILE=served_data.json -P check_served_json.cmake
file(READ ${FILE} document)
foreach(path "monitor;Command" "monitor;TotalMemorySize" "disk;Result")
    string(JSON value ERROR_VARIABLE error GET "${document}" ${path})
    if(error)
        message(FATAL_ERROR "${FILE}: ${path}: ${error}")
    endif()
endforeach()
string(JSON command GET "${document}" monitor Command)
if(NOT command EQUAL 1)
    message(FATAL_ERROR "${FILE}: monitor.Command is ${command}")
endif()
