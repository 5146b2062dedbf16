# Runs one fuzzer for SECONDS over a fresh copy of SEEDS in WORK, with the dictionary DICT when one
# is given (cmake -P, from add_fuzzer).
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/corpus)
file(COPY ${SEEDS}/ DESTINATION ${WORK}/corpus)
set(dictionary)
if(DICT)
    set(dictionary -dict=${DICT})
endif()
execute_process(
    COMMAND ${FUZZER} ${dictionary} -max_total_time=${SECONDS} -timeout=10 -print_final_stats=1
            -artifact_prefix=${WORK}/ ${WORK}/corpus
    WORKING_DIRECTORY ${WORK}
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${FUZZER} found a failing input (exit ${result}); see ${WORK}")
endif()
