# Fails unless the shared library LIBRARY, as NM lists it, exports exactly the four functions: one
# more would be a promise that nobody has made, or a clash with a library of the host.
set(expected
    kelto_apple_cloud_available
    kelto_apple_exchange
    kelto_apple_free
    kelto_apple_group_path)

execute_process(
    COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
    OUTPUT_VARIABLE listing
    COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
set(exported)
foreach(line IN LISTS lines)
    string(REGEX REPLACE " .*" "" name "${line}")
    list(APPEND exported ${name})
endforeach()
list(SORT exported)
if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "The library exports\n  ${exported}\ninstead of\n  ${expected}")
endif()
