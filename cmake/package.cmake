# The Debian package, which "cpack" makes: the program without the development files.

set(MOVANE_MAINTAINER "The Movane authors <movane@example.org>" CACHE STRING
    "Whom the package names as its maintainer")

set(CPACK_GENERATOR DEB)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_PACKAGE_CONTACT ${MOVANE_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME movane)
set(CPACK_DEBIAN_RUNTIME_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION video)
# The first line is the project's own description.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"Movane takes the parts out of a video that one wants to keep. In and Out are
set on a timeline, the range is saved as a named, coloured clip, and exported
to a Matroska file: the picture is cut at the exact frame, the sound copied.
The command \"movane export\" does the same without a window, with tables of
clips, and JSON for programs.")
# What the program loads of itself comes with the libraries: Qt's platform plugin for X11 with
# libqt6gui6, a font with its fontconfig. ffmpeg is a program, so no library's symbols tell of it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS ffmpeg)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "qt6-wayland, xdg-utils") # Wayland; "Open folder"
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
