# Tests of the project as a whole: what others build on it, and rules for its files.

# consumer_test(WAY OPTIONS …): somebody else's project, configured that way, builds with this build's
# compiler, and its programs print what they should.
function(consumer_test way)
    set(dir ${CMAKE_CURRENT_BINARY_DIR}/consumer_${way})
    add_test(NAME consumer_${way}_builds
        COMMAND ${CMAKE_CTEST_COMMAND}
            --build-and-test ${CMAKE_CURRENT_SOURCE_DIR}/consumer ${dir}
            --build-generator ${CMAKE_GENERATOR}
            --build-makeprogram ${CMAKE_MAKE_PROGRAM}
            --build-options
                -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
                -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}
                -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}
                ${ARGN})
    set_tests_properties(consumer_${way}_builds PROPERTIES
        FIXTURES_SETUP consumer_${way} TIMEOUT 600)
    foreach(expected "consumer=The sea | 01:01 | 02:05 | 01:04 | Amber | holiday.mkv"
                     "hostconsumer=posted by a job")
        string(REGEX MATCH "^([a-z]+)=(.*)$" match "${expected}")
        add_test(NAME ${CMAKE_MATCH_1}_${way}_runs
            COMMAND sh -c "text=$(\"$1\") && echo \"$text\" && test \"$text\" = \"$2\""
                    sh ${dir}/${CMAKE_MATCH_1} "${CMAKE_MATCH_2}")
        set_tests_properties(${CMAKE_MATCH_1}_${way}_runs PROPERTIES
            FIXTURES_REQUIRED consumer_${way} TIMEOUT 60)
    endforeach()
endfunction()

consumer_test(subdirectory -DMOVANE_SOURCE_DIR=${PROJECT_SOURCE_DIR})

if(MOVANE_INSTALL)
    set(installed ${CMAKE_CURRENT_BINARY_DIR}/installed)
    add_test(NAME movane_installs
        COMMAND sh -c "rm -rf \"$1\" && exec \"$2\" --install \"$3\" --prefix \"$1\""
                sh ${installed} ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR})
    set_tests_properties(movane_installs PROPERTIES FIXTURES_SETUP movane_installed TIMEOUT 60)
    consumer_test(package -DCMAKE_PREFIX_PATH=${installed})
    set_tests_properties(consumer_package_builds PROPERTIES FIXTURES_REQUIRED movane_installed)
    if(MOVANE_PROGRAM)
        add_test(NAME check_install
            COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_install.sh ${installed} ${PROJECT_VERSION})
        set_tests_properties(check_install PROPERTIES FIXTURES_REQUIRED movane_installed TIMEOUT 60)
    endif()
endif()

# Only what is built like a release is hardened (cmake/settings.cmake).
if(MOVANE_PROGRAM AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$")
    foreach(program movane movane-encoder)
        add_test(NAME check_hardening_of_${program}
            COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_hardening.sh $<TARGET_FILE:${program}>)
    endforeach()
    add_test(NAME check_hardening_finds_faults
        COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_hardening_test.sh ${CMAKE_CXX_COMPILER})
endif()

foreach(check format includes documents leftovers reliability)
    add_test(NAME check_${check} COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_${check}.sh)
    add_test(NAME check_${check}_finds_faults
        COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_${check}_test.sh)
    set_tests_properties(check_${check} check_${check}_finds_faults PROPERTIES SKIP_RETURN_CODE 77)
endforeach()
