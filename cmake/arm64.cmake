# SPDX-License-Identifier: Apache-2.0
# Clang and libc++, as on a set; libraries come from the arm64 architecture of the same Debian. Its libc++ cannot be installed
# beside the PC's own, so it is unpacked into the build folder.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH top)
set(unpacked ${top}/build/arm64-packages)
execute_process(COMMAND ${top}/scripts/unpack-arm64 ${unpacked} libc++1-14 libc++-14-dev libc++abi1-14 libc++abi-14-dev
    libunwind-14 libunwind-14-dev COMMAND_ERROR_IS_FATAL ANY)
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-nostdinc++>
    "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-isystem ${unpacked}/usr/lib/llvm-14/include/c++/v1>")
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT
        "-fuse-ld=lld -stdlib=libc++ -L${unpacked}/usr/lib/llvm-14/lib -L${unpacked}/usr/lib/aarch64-linux-gnu")
endforeach()
set(CMAKE_BUILD_RPATH ${unpacked}/usr/lib/llvm-14/lib)
