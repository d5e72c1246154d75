# Gives the target Kelto::kelto: the header and the shared library.
include(${CMAKE_CURRENT_LIST_DIR}/KeltoTargets.cmake)
