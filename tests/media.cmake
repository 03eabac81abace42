movane_test(media_test
    TIMEOUT 120
    SOURCES
        media/frametimes_test.cpp
        media/mediafile_test.cpp
    LIBRARIES movane_media)
