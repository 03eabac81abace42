# What goes wrong outside: disks, encoders, sources, and objects that go too early.
movane_test(fault_test
    SOURCES
        fault_disk_test.cpp
        fault_encoder_test.cpp
        fault_lifecycle_test.cpp
        fault_source_test.cpp
    LIBRARIES movane_panel)
# The order of flushing and renaming is watched.
target_link_options(fault_test PRIVATE LINKER:--wrap=fsync,--wrap=rename)

movane_test(fault_memory_test
    SOURCES fault_memory_test.cpp fakes/failingnew.cpp
    LIBRARIES movane_panel)
