#!/bin/sh
# Compiles small programs with a mistake each, and looks for the warning that the declarations of the headers bring.
# usage: CC=... checks.sh INCLUDE_FOLDER
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

# Warns OPTION STATEMENTS: with STATEMENTS in its body, a function gets this warning; without a mistake it gets none.
Warns() {
  printf '#include <zebbase/zebbase.h>\nint f(void);\nint f(void) {\n%s\nreturn 0;\n}\n' "$2" >"$work/program.c"
  # shellcheck disable=SC2086 # a compiler and its options
  $CC -std=c99 -O2 -Wall -Wextra -fanalyzer -I"$include" -c "$work/program.c" -o "$work/program.o" 2>"$work/messages"
  if [ "$1" = none ] && [ ! -s "$work/messages" ]; then return; fi
  grep -qe "$1" "$work/messages" || Fail "no $1 for: $2: $(cat "$work/messages")"
}

include=$1
Warns none 'char *p = MemAllocMem(10); if (p) { p[9] = 1; MemFreeMem(p); }'
Warns Warray-bounds 'char *p = MemAllocMem(10); if (p) { p[10] = 1; MemFreeMem(p); }'
Warns Wuse-after-free 'char *p = MemAllocMem(10); MemFreeMem_(p); MemFreeMem_(p);'
Warns Wmismatched-dealloc 'void *p = MemAllocMem(10); extern void free(void *); free(p);'
Warns Wmismatched-dealloc 'LIST *p = LstNewList(0); MemFreeMem_(p);'
Warns Wanalyzer-malloc-leak 'PARSECTX *p = PrsStartParse("file", 0, NULL); if (!p) return 1;'
Warns Wunused-result 'IniOpen("file.ini", INI_MODE_READ);'
Warns Wformat= 'ErrReport(VERB_ERROR, 1, "%s", 5);'
