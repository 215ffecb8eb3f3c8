# zeb_need(PROGRAM PACKAGE): refuses the target when its compiler is missing. Call it before the compiler is named: what
# CMake finds out about one that is not there stays in the cache, and spoils it for the one that is installed later.
function(zeb_need program package)
  find_program(path ${program} NO_CACHE)
  if(NOT path)
    message(FATAL_ERROR "${program} is missing. Debian's package ${package} brings it.")
  endif()
endfunction()
