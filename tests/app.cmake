add_executable(fakefront fakes/fakefront.cpp)
movane_test_settings(fakefront)

movane_test(exportqueue_test SOURCES exportqueue_test.cpp LIBRARIES movane_app)
target_compile_definitions(exportqueue_test PRIVATE FAKE_FRONT="$<TARGET_FILE:fakefront>")
add_dependencies(exportqueue_test fakefront)
movane_test(exportstates_test SOURCES exportstates_test.cpp LIBRARIES movane_app)

movane_test(workerchildren_test SOURCES workerchildren_test.cpp LIBRARIES movane_process)
