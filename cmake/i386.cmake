# 32-bit x86: the cross compiler where there is one, the machine's own compiler on a 32-bit machine.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)

find_program(ZEB_I386_CXX i686-linux-gnu-g++)
if(ZEB_I386_CXX)
  set(CMAKE_C_COMPILER i686-linux-gnu-gcc)
  set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
else()
  set(CMAKE_C_COMPILER gcc)
  set(CMAKE_CXX_COMPILER g++)
endif()
