# The encoder front: its parts, then the program.
movane_test(export_parts_test
    SOURCES
        export/export_ffmpegsearch_test.cpp
        export/export_leftovers_test.cpp
        export/export_messages_test.cpp
    LIBRARIES movane_export)

find_package(PkgConfig REQUIRED)
pkg_check_modules(AVFORMAT REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil)

# The program itself, run as a child.
function(encoder_test name)
    movane_test(${name} SOURCES ${ARGN} LIBRARIES "movane_encoding;PkgConfig::AVFORMAT")
    target_compile_definitions(${name} PRIVATE MOVANE_ENCODER="$<TARGET_FILE:movane-encoder>")
    add_dependencies(${name} movane-encoder)
endfunction()

encoder_test(export_command_test export/export_command_test.cpp)
encoder_test(export_deepcut_test export/export_deepcut_test.cpp)
encoder_test(export_program_test export/export_program_test.cpp)
