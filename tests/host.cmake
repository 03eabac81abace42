movane_test(host_test
    SOURCES
        host/apppaths_test.cpp
        host/core_test.cpp
        host/jobsystem_test.cpp
        host/movane_test.cpp
        host/mvtable_test.cpp
        host/mvtablemodel_test.cpp
        host/mvtextinput_test.cpp
        host/mvtheme_test.cpp
        host/mvtimecontrol_test.cpp
        host/mvvideowindow_test.cpp
        host/mvwindow_test.cpp
        host/signal_test.cpp
    LIBRARIES movane_host)
