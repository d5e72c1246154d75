# One interface target carries the warnings, so that no target can forget half of them. Where many
# sources are compiled as one, the names of a source meet those of its neighbours: what shadows what is
# left to the builds that compile each by itself.
add_library(kelto_warnings INTERFACE)
target_compile_options(kelto_warnings INTERFACE
    -Wall -Wextra -Wpedantic $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    -Wconversion
    $<$<BOOL:${KELTO_WARNINGS_AS_ERRORS}>:-Werror>)
