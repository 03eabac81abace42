# The test of exact seeks asks the player itself where it stands.
find_package(PkgConfig REQUIRED)
pkg_check_modules(MPV REQUIRED IMPORTED_TARGET mpv)

movane_test(media_test
    SOURCES
        mediafile_test.cpp
        mpvvideo_test.cpp
    LIBRARIES movane_player PkgConfig::MPV)

movane_test(threadroom_test
    SOURCES threadroom_test.cpp fakes/failingnew.cpp
    LIBRARIES movane_process)

movane_test(frametimes_test TIMEOUT 120 SOURCES frametimes_test.cpp LIBRARIES movane_media)
movane_test(frameseek_test TIMEOUT 120 SOURCES frameseek_test.cpp LIBRARIES movane_player PkgConfig::MPV)
