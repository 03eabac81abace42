movane_test(cliptext_test SOURCES cliptext_test.cpp LIBRARIES movane_cli)
