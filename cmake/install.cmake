# Installs the program with what a desktop needs to know of it (component runtime), and the libraries
# with their headers (component development).
#
# A consumer says find_package(movane) and links movane::panel or movane::host; its includes are
# "panel/NAME.h", "host/NAME.h" and "base/NAME.h".

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(TARGETS movane_base movane_host movane_panel EXPORT movane-targets)
foreach(room base host panel)
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

if(NOT TARGET movane)
    return()
endif()

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME runtime)
set(data ${PROJECT_SOURCE_DIR}/data)
install(TARGETS movane)
# For the program alone, which looks for it there.
install(TARGETS movane-encoder DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/movane)
install(FILES ${data}/movane.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${data}/movane.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
set(icons_dir ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
install(FILES ${data}/icons/movane.svg DESTINATION ${icons_dir}/scalable/apps)
foreach(size 16 24 32 48 64 128 256 512)
    install(FILES ${data}/icons/movane-${size}.png
            DESTINATION ${icons_dir}/${size}x${size}/apps RENAME movane.png)
endforeach()

# zipped(FILE): FILE.gz, the same at each build, beside FILE in the build directory.
find_program(GZIP gzip REQUIRED)
function(zipped file)
    execute_process(COMMAND ${GZIP} -9nkf ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

configure_file(${data}/movane.1.in ${PROJECT_BINARY_DIR}/data/movane.1 @ONLY)
configure_file(${data}/debian/changelog ${PROJECT_BINARY_DIR}/data/changelog COPYONLY)
zipped(${PROJECT_BINARY_DIR}/data/movane.1)
zipped(${PROJECT_BINARY_DIR}/data/changelog)
install(FILES ${PROJECT_BINARY_DIR}/data/movane.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_BINARY_DIR}/data/changelog.gz ${data}/debian/copyright
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
include(${PROJECT_SOURCE_DIR}/cmake/package.cmake)
