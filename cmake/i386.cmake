# 32-bit x86: the cross compiler where there is one, the machine's own compiler on a 32-bit machine.
include(${CMAKE_CURRENT_LIST_DIR}/need.cmake)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)

execute_process(COMMAND g++ -dumpmachine OUTPUT_VARIABLE machine ERROR_QUIET)
if(machine MATCHES "^i.86-")
  set(CMAKE_C_COMPILER gcc)
  set(CMAKE_CXX_COMPILER g++)
else()
  zeb_need(i686-linux-gnu-g++ "g++-i686-linux-gnu (on a 32-bit machine g++)")
  set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
  set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
endif()
