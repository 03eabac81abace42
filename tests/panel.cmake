# The panel's sources once more, on the recording host. Their include roots are that host and a
# folder with nothing but the panel in it, so a header of the real host can't be reached: a panel that
# needs more than the recording host has does not compile.
file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/panelroot)
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/panel ${CMAKE_CURRENT_BINARY_DIR}/panelroot/panel SYMBOLIC)
get_target_property(panelSources movane_panel SOURCES)
list(TRANSFORM panelSources PREPEND ${PROJECT_SOURCE_DIR}/src/panel/)

add_library(movane_panel_on_contracthost STATIC ${panelSources} panel/contracthost/contracthost.cpp)
movane_settings(movane_panel_on_contracthost)
target_compile_options(movane_panel_on_contracthost PRIVATE -ffp-contract=off)
target_include_directories(movane_panel_on_contracthost
    PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/panel/contracthost ${CMAKE_CURRENT_BINARY_DIR}/panelroot
    PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
target_link_libraries(movane_panel_on_contracthost PUBLIC Threads::Threads)

movane_test(panel_contract_test
    SOURCES
        support/fakeplatform.cpp
        panel/panel_edit_test.cpp
        panel/panel_job_test.cpp
        panel/panel_labels_test.cpp
        panel/panel_naming_test.cpp
        panel/panel_navigation_test.cpp
        panel/panel_request_test.cpp
        panel/panel_save_test.cpp
        panel/panel_state_test.cpp
        panel/panel_status_test.cpp
        panel/panel_table_test.cpp
    LIBRARIES movane_panel_on_contracthost)
# The layout is computed a second time in the tests, to the same bits.
target_compile_options(panel_contract_test PRIVATE -ffp-contract=off)
# Commands and searches of the export are watched: support/fakeplatform.h.
target_link_options(panel_contract_test PRIVATE LINKER:--wrap=access,--wrap=system)

movane_test(panel_host_test SOURCES panel/panel_host_test.cpp LIBRARIES movane_panel)

# A million texts; a sanitizer watches this program and not the shell, so there fewer will do.
movane_test(quoting_shell_test SOURCES panel/quoting_shell_test.cpp LIBRARIES movane_panel)
target_compile_definitions(quoting_shell_test PRIVATE
    MOVANE_QUOTED_TEXTS=$<IF:$<BOOL:${MOVANE_SANITIZE}>,100000,1000000>)

# Few actions here; script/soak does a million.
movane_test(soak_test SOURCES panel/soak_test.cpp LIBRARIES movane_panel)
target_compile_definitions(soak_test PRIVATE
    MOVANE_FEW_ACTIONS=$<IF:$<BOOL:${MOVANE_SANITIZE}>,5000,20000>)

# What goes wrong outside: disks, encoders, sources, and objects that go too early.
movane_test(fault_test
    SOURCES
        panel/fault_disk_test.cpp
        panel/fault_encoder_test.cpp
        panel/fault_lifecycle_test.cpp
        panel/fault_source_test.cpp
    LIBRARIES movane_panel)
# The order of flushing and renaming is watched.
target_link_options(fault_test PRIVATE LINKER:--wrap=fsync,--wrap=rename)

movane_test(fault_memory_test
    SOURCES panel/fault_memory_test.cpp support/failingnew.cpp
    LIBRARIES movane_panel)
