add_executable(fakefront support/fakefront.cpp)
movane_test_settings(fakefront)

movane_test(exportqueue_test SOURCES app/exportqueue_test.cpp LIBRARIES movane_app)
target_compile_definitions(exportqueue_test PRIVATE FAKE_FRONT="$<TARGET_FILE:fakefront>")
add_dependencies(exportqueue_test fakefront)
movane_test(encodercheck_test SOURCES app/encodercheck_test.cpp LIBRARIES movane_app)
movane_test(clipsrevision_test SOURCES app/clipsrevision_test.cpp LIBRARIES movane_app)
movane_test(exportsocket_test SOURCES app/exportsocket_test.cpp LIBRARIES movane_app)
# A folder of its own: no other test is to find the front that lies there.
set(besidefront ${CMAKE_CURRENT_BINARY_DIR}/besidefront)
file(GENERATE OUTPUT ${besidefront}/movane-encoder CONTENT "#!/bin/sh\n"
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
set_target_properties(exportsocket_test PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${besidefront})
movane_test(exportstates_test SOURCES app/exportstates_test.cpp LIBRARIES movane_app)
movane_test(openingmark_test SOURCES app/openingmark_test.cpp LIBRARIES movane_app)
