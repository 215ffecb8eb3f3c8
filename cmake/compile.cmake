# How everything is compiled: language, machine, warnings, instrumentation.

set(CMAKE_C_STANDARD 99)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_C_FLAGS_DEBUG "-O1 -g")
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g")

# Files above 2 GiB and clocks after 2038.
add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)

# The same floating-point arithmetic on every x86 machine. (A 32-bit compiler on a 64-bit kernel says x86_64 here.)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86_64)$")
  add_compile_options(-msse2 -mfpmath=sse)
endif()

if(ZEB_INSTRUMENT STREQUAL "sanitize")
  add_compile_options(
    -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # Programs bring the sanitizers' run time along, and the library takes it from them: nothing to find at load.
  add_link_options(
    "$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-fsanitize=address,undefined;-static-libasan;-static-libubsan>")
elseif(ZEB_INSTRUMENT STREQUAL "coverage")
  add_compile_options(--coverage)
  add_link_options(--coverage)
elseif(ZEB_INSTRUMENT)
  message(FATAL_ERROR "ZEB_INSTRUMENT is '${ZEB_INSTRUMENT}': expected nothing, sanitize or coverage")
endif()
if(ZEB_INSTRUMENT)
  # Instrumented code calls the compiler's own libraries, and a machine may have none of them for the target.
  add_link_options(-static-libgcc -static-libstdc++)
endif()

# Warnings for the project's own code: link with zeb_warnings. -DCMAKE_COMPILE_WARNING_AS_ERROR=ON makes them errors.
add_library(zeb_warnings INTERFACE)
target_compile_options(zeb_warnings INTERFACE -Wall -Wextra -Wconversion -Wshadow)
