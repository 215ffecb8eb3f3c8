# 32-bit ARM: doubles aligned to 8 bytes, and a plain char without a sign. Tests run through qemu-user.
include(${CMAKE_CURRENT_LIST_DIR}/need.cmake)
zeb_need(arm-linux-gnueabihf-g++ g++-arm-linux-gnueabihf)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
# On a 32-bit machine it crashes at one start in a thousand, unless addresses are laid out the same way every time.
execute_process(COMMAND setarch -R getconf LONG_BIT OUTPUT_VARIABLE bits OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(bits EQUAL 32)
  list(PREPEND CMAKE_CROSSCOMPILING_EMULATOR setarch -R)
endif()
