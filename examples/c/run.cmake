# Runs HOST in the empty folder WORK and compares what it prints, at the first run and at the second,
# which finds the library and its own fingerprints of the first.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
set(ENV{XDG_DATA_HOME} ${WORK})
unset(ENV{KELTO_DISABLE_CLOUDKIT})
unset(ENV{KELTO_CLOUDKIT_ENABLED})

foreach(run first second)
    execute_process(COMMAND ${HOST} OUTPUT_VARIABLE printed RESULT_VARIABLE result)
    file(READ ${CMAKE_CURRENT_LIST_DIR}/expected-output.txt expected)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "the host ended with ${result} at its ${run} run")
    endif()
    if(NOT printed STREQUAL expected)
        message(FATAL_ERROR "at its ${run} run the host printed\n${printed}instead of\n${expected}")
    endif()
endforeach()
file(REMOVE_RECURSE ${WORK})
