# The encoder front: its parts, then the program.
movane_test(export_parts_test
    SOURCES
        export_ffmpegsearch_test.cpp
        export_leftovers_test.cpp
        export_messages_test.cpp
    LIBRARIES movane_export)
