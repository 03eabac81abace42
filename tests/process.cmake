movane_test(process_test
    SOURCES
        process/threadroom_test.cpp
        process/workerchildren_test.cpp
        support/failingnew.cpp
    LIBRARIES movane_process)
