# What is installed beside keltoctl, in two components: `runtime`, which programs need to run, and
# `development`, which is needed to build them. Included after all targets are there.
include(CMakePackageConfigHelpers)

# The compiler's own traces of the place where this was built stay out of what is handed on. A
# compiler cache calls the sources by their way from the build tree.
file(RELATIVE_PATH sourceFromBuild ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
foreach(target kelto_core kelto keltoctl_parts keltoctl)
    if(TARGET ${target})
        target_compile_options(${target}
            PRIVATE $<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=>
                    $<$<CONFIG:Release>:-ffile-prefix-map=${sourceFromBuild}=>)
    endif()
endforeach()
# What the four functions take and give stands in the library's debug information, for the comparison
# with packaging/abi. It is stripped from the package.
target_compile_options(kelto PRIVATE $<$<CONFIG:Release>:-g>)

install(TARGETS kelto EXPORT KeltoTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES include/kelto_apple.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

set(keltoCMakeFolder ${CMAKE_INSTALL_LIBDIR}/cmake/Kelto)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/packaging/KeltoConfigVersion.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(EXPORT KeltoTargets
    NAMESPACE Kelto:: DESTINATION ${keltoCMakeFolder} COMPONENT development)
install(FILES packaging/cmake/KeltoConfig.cmake
              ${CMAKE_BINARY_DIR}/packaging/KeltoConfigVersion.cmake
    DESTINATION ${keltoCMakeFolder} COMPONENT development)

# Relative, so that the tree may be moved or looked at from outside.
file(RELATIVE_PATH KELTO_PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" KELTO_PREFIX_FROM_PKGCONFIG ${KELTO_PREFIX_FROM_PKGCONFIG})
configure_file(packaging/kelto.pc.in ${CMAKE_BINARY_DIR}/packaging/kelto.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/packaging/kelto.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
install(DIRECTORY docs/schema
    DESTINATION ${CMAKE_INSTALL_DATADIR}/kelto COMPONENT development
    PATTERN keltoctl.schema.json EXCLUDE) # it comes with what it describes
install(FILES docs/error-sentences.md docs/exchange-format.md docs/hosting.md docs/hosting-c.md
              docs/hosting-csharp.md docs/hosting-python.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(FILES examples/c/host.c
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development)
install(DIRECTORY examples/csharp examples/python
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development
    FILES_MATCHING PATTERN "*.cs" PATTERN "*.py" PATTERN "__pycache__" EXCLUDE)

# All that a package is made of, and nothing else.
add_custom_target(packaged DEPENDS kelto keltoctl)
if(TARGET keltoctl_files)
    add_dependencies(packaged keltoctl_files)
endif()
