movane_test(base_test
    SOURCES
        base/atomicfile_test.cpp
        base/environment_test.cpp
        base/log_test.cpp
        base/oneline_test.cpp
        base/openfile_test.cpp
        base/runtimefolder_test.cpp
        base/userdirs_test.cpp
    LIBRARIES movane_base)
