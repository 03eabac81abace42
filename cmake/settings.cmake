# What every target of the project is compiled with, through the function movane_settings(TARGET).

find_package(Threads REQUIRED)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX) # without it CMake leaves -pie to what the compiler does by itself

string(REGEX MATCH "^[0-9]+" compiler "${CMAKE_CXX_COMPILER_VERSION}")
string(PREPEND compiler "${CMAKE_CXX_COMPILER_ID}-") # as MOVANE_WERROR names it

function(movane_settings target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow
        $<$<STREQUAL:${MOVANE_WERROR},${compiler}>:-Werror>)
    # A test's fixture of an unnamed namespace may come from a file that the unit includes.
    if(CMAKE_UNITY_BUILD)
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
    if(MOVANE_SANITIZE)
        list(JOIN MOVANE_SANITIZE "," sanitizers)
        target_compile_options(${target} PRIVATE
            -fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PUBLIC -fsanitize=${sanitizers})
    endif()
    # What is below the windows and beside the player; counts are exact, whichever threads count at once.
    if(MOVANE_COVERAGE AND NOT target MATCHES "desktop|media")
        target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
        target_link_options(${target} PUBLIC --coverage)
    endif()
    # Programs of other people's files and of a shell get what the compiler can do for them.
    if(CMAKE_BUILD_TYPE STREQUAL "Release" OR CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
        # Nobody puts a function of his own in the place of one of ours, so they are inlined all the same.
        set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
        target_compile_options(${target} PRIVATE
            -fno-semantic-interposition -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
        target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now)
    endif()
endfunction()
