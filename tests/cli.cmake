find_package(nlohmann_json REQUIRED)

movane_test(cliptext_test SOURCES cli/cliptext_test.cpp LIBRARIES movane_cli)
movane_test(commandline_test SOURCES cli/commandline_test.cpp LIBRARIES movane_cli)

# The program itself, run as a child.
movane_test(cli_program_test
    SOURCES cli/cli_program_test.cpp cli/cli_terminal_test.cpp
    LIBRARIES movane_cli nlohmann_json::nlohmann_json)
target_compile_definitions(cli_program_test PRIVATE
    MOVANE_PROGRAM="$<TARGET_FILE:movane>" MOVANE_VERSION="${PROJECT_VERSION}")
add_dependencies(cli_program_test movane)

movane_test(fault_program_test SOURCES cli/fault_program_test.cpp LIBRARIES "")
target_compile_definitions(fault_program_test PRIVATE MOVANE_PROGRAM="$<TARGET_FILE:movane>")
add_dependencies(fault_program_test movane)

# script/soak does a thousand.
add_test(NAME many_exports
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/cli/many_exports.sh $<TARGET_FILE:movane> 10)
set_tests_properties(many_exports PROPERTIES TIMEOUT 120)
add_test(NAME many_exports_finds_faults
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/cli/many_exports_test.sh)
set_tests_properties(many_exports_finds_faults PROPERTIES TIMEOUT 120)
