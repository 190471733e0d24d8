# SPDX-License-Identifier: Apache-2.0
# Compiler and linker options of every target.
find_package(Threads REQUIRED)

function(fapi_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion -Wformat=2 -Werror
        $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wthread-safety>)
    if(FAPI_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${FAPI_SANITIZE} -fno-sanitize-recover=all
            -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${FAPI_SANITIZE})
    endif()
    target_link_libraries(${target} PRIVATE Threads::Threads)
endfunction()
