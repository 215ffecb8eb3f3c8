# 32-bit x86 through clang, which takes the C and C++ libraries of the GCC compiler.
include(${CMAKE_CURRENT_LIST_DIR}/i386.cmake)
zeb_need(clang++ clang)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET i686-linux-gnu)
set(CMAKE_CXX_COMPILER_TARGET i686-linux-gnu)
