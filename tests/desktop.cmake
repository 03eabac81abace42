find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets DBus Test)
find_program(XVFB_RUN xvfb-run)
# For tests on a real X server: its libraries and those of OpenGL keep some memory to the end.
set(NO_LEAK_CHECK "ASAN_OPTIONS=detect_leaks=0")

# movane_desktop_test(NAME SOURCES … LIBRARIES …): a QtTest program, run as one test without a screen.
function(movane_desktop_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    movane_test_settings(${name})
    # The QTRY macros of Qt 6.8 shorten a duration at each use.
    if(Qt6Test_VERSION VERSION_GREATER_EQUAL 6.8)
        target_compile_options(${name} PRIVATE -Wno-conversion)
    endif()
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE movane_desktop ${arg_LIBRARIES} Qt6::Test)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT QT_QPA_PLATFORM=offscreen
        TIMEOUT 120)
endfunction()

movane_test(timetext_test SOURCES desktop/timetext_test.cpp LIBRARIES movane_desktop)
movane_desktop_test(desktop_transport_test SOURCES desktop/desktop_transport_test.cpp)

# The same rules three times: in memory, on a screen of twice the pixels, and with OpenGL.
movane_desktop_test(desktop_surface_test SOURCES desktop/desktop_surface_test.cpp)
add_test(NAME desktop_surface_test_scaled COMMAND desktop_surface_test)
set_tests_properties(desktop_surface_test_scaled PROPERTIES
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_SCALE_FACTOR=2"
    TIMEOUT 120)
if(XVFB_RUN)
    add_test(NAME desktop_surface_test_opengl
             COMMAND ${XVFB_RUN} -a -s "-screen 0 1280x800x24" $<TARGET_FILE:desktop_surface_test>)
    set_tests_properties(desktop_surface_test_opengl PROPERTIES
        ENVIRONMENT "QT_QPA_PLATFORM=xcb;MOVANE_TEST_SURFACE=gl;${NO_LEAK_CHECK}"
        RESOURCE_LOCK xvfb
        TIMEOUT 120)
endif()

movane_test(timelinescale_test SOURCES desktop/timelinescale_test.cpp LIBRARIES movane_desktop)
movane_desktop_test(desktop_timeline_test SOURCES desktop/desktop_timeline_test.cpp)
add_test(NAME desktop_timeline_test_scaled COMMAND desktop_timeline_test)
set_tests_properties(desktop_timeline_test_scaled PROPERTIES
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_SCALE_FACTOR=2"
    TIMEOUT 120)

movane_desktop_test(desktop_clippanel_test SOURCES desktop/desktop_clippanel_test.cpp)
movane_desktop_test(desktop_notifications_test SOURCES desktop/desktop_notifications_test.cpp LIBRARIES Qt6::DBus)

movane_desktop_test(desktop_actions_test SOURCES desktop/desktop_actions_test.cpp)
target_compile_definitions(desktop_actions_test PRIVATE
    MOVANE_KEYS_PAGE="${PROJECT_SOURCE_DIR}/docs/keys.md")

movane_desktop_test(desktop_app_test SOURCES desktop/desktop_app_test.cpp)
movane_desktop_test(desktop_windows_test SOURCES desktop/desktop_windows_test.cpp)
movane_desktop_test(desktop_firstminutes_test SOURCES desktop/desktop_firstminutes_test.cpp)
movane_desktop_test(desktop_export_test SOURCES desktop/desktop_export_test.cpp)
# Some seconds here; script/soak does half an hour.
movane_desktop_test(desktop_soak_test SOURCES desktop/desktop_soak_test.cpp)

# Helpers of what runs in a real X server.
foreach(helper awaitpixel xdndsource)
    add_executable(${helper} desktop/${helper}.cpp)
    movane_settings(${helper})
    target_link_libraries(${helper} PRIVATE Qt6::Widgets)
endforeach()
add_test(NAME xserver_smoke
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/desktop/xserver_smoke_test.sh
        $<TARGET_FILE:movane> $<TARGET_FILE:xdndsource> $<TARGET_FILE:awaitpixel>)
set_tests_properties(xserver_smoke PROPERTIES ENVIRONMENT "${NO_LEAK_CHECK}" RESOURCE_LOCK xvfb TIMEOUT 120 SKIP_RETURN_CODE 77)

# In a Wayland compositor without a screen: its picture of the window is looked at.
add_test(NAME wayland_smoke
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/desktop/wayland_smoke_test.sh
        $<TARGET_FILE:movane> ${CMAKE_CURRENT_BINARY_DIR}/plugins)
set_tests_properties(wayland_smoke PROPERTIES ENVIRONMENT "${NO_LEAK_CHECK}" TIMEOUT 240 SKIP_RETURN_CODE 77)

# The program itself, with a person at its keys: a plugin that it loads.
add_library(typist MODULE desktop/typist.cpp)
movane_settings(typist)
target_compile_definitions(typist PRIVATE QT_NO_KEYWORDS)
set_target_properties(typist PROPERTIES
    AUTOMOC ON PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/plugins/generic)
target_link_libraries(typist PRIVATE Qt6::Widgets Qt6::Test)
# What no name of a file may have it load.
add_library(trespasser MODULE desktop/trespasser.cpp)
movane_settings(trespasser)
set_target_properties(trespasser PROPERTIES
    AUTOMOC ON PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/trespasser)
target_link_libraries(trespasser PRIVATE Qt6::Core)
movane_test(desktop_program_test SOURCES desktop/desktop_program_test.cpp)
target_compile_definitions(desktop_program_test PRIVATE
    MOVANE_PROGRAM="$<TARGET_FILE:movane>" MOVANE_TEST_PLUGINS="${CMAKE_CURRENT_BINARY_DIR}/plugins"
    MOVANE_TEST_TRESPASSER="$<TARGET_FILE:trespasser>")
add_dependencies(desktop_program_test movane typist trespasser)

# Each container is a test of its own, with some forty exports.
find_package(PkgConfig REQUIRED)
pkg_check_modules(AVCODEC REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil)
movane_test(frameexport_test TIMEOUT 300
    SOURCES desktop/frameexport_test.cpp
    LIBRARIES movane_desktop PkgConfig::AVCODEC)
movane_desktop_test(desktop_frames_test SOURCES desktop/desktop_frames_test.cpp LIBRARIES PkgConfig::AVCODEC)
