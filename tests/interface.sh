#!/bin/sh
# Checks what users of the library file see: its exported names, what it needs, its headers, and its shared data.
# usage: CC=... CXX=... READELF=... [RUN=emulator] interface.sh LIBRARY INCLUDE_FOLDER
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

library=$1
include=$2

# The names that the headers declare with ZEB_API or, as additions, ZEB_API_1_1: the last word before the argument list,
# the array bound or the end. Each with the version that exports it.
DeclaredNames() {
  cat "$include"/zebbase/*.h | awk 'BEGIN { RS = "/[*]" } { sub(/.*[*]\//, ""); print }' |
    sed ':join; /\\$/ { N; s/\\\n//; b join }' | grep -v '^ *#' | awk '
    BEGIN { RS = "ZEB_API" }
    NR > 1 {
      version = /^_1_1/ ? "1.1" : "1.0"
      sub(/[(;[].*/, "")
      n = split($0, word, /[^A-Za-z0-9_]+/)
      print (word[n] ? word[n] : word[n - 1]) "@@ZEBBASE_" version
    }' | sort
}

CheckExports() {
  DeclaredNames >"$work/declared"
  "$READELF" -W --dyn-syms "$library" | awk '$5 != "LOCAL" && $7 ~ /^[0-9]+$/ { print $8 }' |
    grep -v '^ZEBBASE_' | sort >"$work/exported"
  [ -s "$work/declared" ] || Fail "no declaration found"
  diff "$work/declared" "$work/exported" >&2 || Fail "declared names (<) and exported names (>) differ"
}

CheckDynamicSection() {
  "$READELF" -dW "$library" >"$work/dynamic"
  needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' "$work/dynamic" | sort | tr '\n' ' ')
  case $needed in
    'libc.so.6 ' | 'ld-linux-armhf.so.3 libc.so.6 ') ;; # on ARM the stack protector's canary is the loader's
    *) Fail "needs more than libc: $needed" ;;
  esac
  grep -q 'SONAME.*\[libzebbase\.so\.[0-9]*\]' "$work/dynamic" || Fail "no SONAME with a major number"
  ! grep -q TEXTREL "$work/dynamic" || Fail "relocations in the text"
}

CheckHeaders() {
  for header in "$include"/zebbase/*.h; do
    for compiler in "$CC -std=c99 -x c" "$CXX -std=c++17 -x c++"; do
      Compile "$compiler" -fsyntax-only -I"$include" -include "$header" /dev/null ||
        Fail "$(basename "$header") does not stand alone: $compiler"
    done
  done
}

# A program at a fixed address gets its own copy of exported data; the library must write to that copy.
CheckSharedData() {
  cat >"$work/copy.c" <<'EOF'
#include <zebbase/base.h>
int main(void) {
  BaseSetVerbosity(0x12345678);
  return flVerbosity == 0x12345678 ? 0 : 1;
}
EOF
  Compile "$CC -std=c99 -no-pie -fno-pie" -I"$include" "$work/copy.c" -o "$work/copy" "$library" \
    -Wl,-rpath,"$(dirname "$library")"
  "$READELF" -rW "$work/copy" | grep -q '_COPY.*flVerbosity' || Fail "no copy relocation: the check shows nothing"
  Run "$work/copy" || Fail "a non-PIE program does not see BaseSetVerbosity"
}

CheckExports
CheckDynamicSection
CheckHeaders
CheckSharedData
