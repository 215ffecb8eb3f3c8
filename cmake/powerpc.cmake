# 32-bit PowerPC, big-endian: the target that proves the byte-order promises. Tests run through qemu-user.
include(${CMAKE_CURRENT_LIST_DIR}/need.cmake)
zeb_need(powerpc-linux-gnu-g++ g++-powerpc-linux-gnu)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR powerpc)
set(CMAKE_C_COMPILER powerpc-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER powerpc-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L /usr/powerpc-linux-gnu)
