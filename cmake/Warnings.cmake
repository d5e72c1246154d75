# One interface target carries the warnings, so that no target can forget half of them.
add_library(kelto_warnings INTERFACE)
target_compile_options(kelto_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    -Wconversion
    $<$<BOOL:${KELTO_WARNINGS_AS_ERRORS}>:-Werror>)
