# The test of exact seeks asks the player itself where it stands.
find_package(PkgConfig REQUIRED)
pkg_check_modules(MPV REQUIRED IMPORTED_TARGET mpv)

movane_test(player_test
    TIMEOUT 120
    SOURCES
        player/frameseek_test.cpp
        player/mpvvideo_test.cpp
    LIBRARIES movane_player PkgConfig::MPV)
