movane_test(base_test
    SOURCES
        atomicfile_test.cpp
        environment_test.cpp
        log_test.cpp
        runtimefolder_test.cpp
        userdirs_test.cpp
    LIBRARIES movane_base)
movane_test(host_test
    SOURCES
        apppaths_test.cpp
        core_test.cpp
        jobsystem_test.cpp
        movane_test.cpp
        mvtable_test.cpp
        mvtablemodel_test.cpp
        mvtextinput_test.cpp
        mvtheme_test.cpp
        mvtimecontrol_test.cpp
        mvvideowindow_test.cpp
        mvwindow_test.cpp
        signal_test.cpp
    LIBRARIES movane_host)
