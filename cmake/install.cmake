# Installs the libraries with their headers, and the program where it is built.
#
# A consumer says find_package(movane) and links movane::panel or movane::host; its includes are
# "panel/NAME.h" and "host/NAME.h".

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

install(TARGETS movane_host movane_panel EXPORT movane-targets)
foreach(room host panel)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/${room}
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/movane
            FILES_MATCHING PATTERN "*.h")
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/movane)
install(EXPORT movane-targets NAMESPACE movane:: DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/movane-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/movane-config.cmake
              ${PROJECT_BINARY_DIR}/movane-config-version.cmake
        DESTINATION ${package_dir})

if(TARGET movane)
    install(TARGETS movane)
endif()
