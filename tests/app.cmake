add_executable(fakefront support/fakefront.cpp)
movane_test_settings(fakefront)

movane_test(exportqueue_test SOURCES app/exportqueue_test.cpp LIBRARIES movane_app)
target_compile_definitions(exportqueue_test PRIVATE FAKE_FRONT="$<TARGET_FILE:fakefront>")
add_dependencies(exportqueue_test fakefront)
movane_test(clipsrevision_test SOURCES app/clipsrevision_test.cpp LIBRARIES movane_app)
movane_test(exportstates_test SOURCES app/exportstates_test.cpp LIBRARIES movane_app)
movane_test(openingmark_test SOURCES app/openingmark_test.cpp LIBRARIES movane_app)
