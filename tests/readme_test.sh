#!/bin/sh
# Stages an installation, and builds and runs the README's programs against it: that in C as both languages.
# usage: CC=... CXX=... CMAKE=... [RUN=emulator] readme_test.sh README BUILD_FOLDER LIBRARY
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

readme=$(realpath "$1")
build=$(realpath "$2")
library=$(realpath "$3")
cd "$work"

# PkgConfig OPTION...: pkg-config for the staged library.
PkgConfig() {
  PKG_CONFIG_LIBDIR=$(dirname "$(find "$work/stage" -name zebbase.pc)") pkg-config "$@" zebbase
}

# Says STATUS PATTERN: expects the exit status, and one line that matches behind the time, also in the daily log.
Says() {
  status=0
  Run ./server >out 2>&1 || status=$?
  { [ "$status" -eq "$1" ] && [ "$(wc -l <out)" -eq 1 ] && grep -qx "[0-9]\{6\}$2" out; } ||
    Fail "$compiler: status $status and not \"$2\": $(cat out)"
  tail -n 1 server.*.log | cmp - out || Fail "$compiler: another line in the log"
}

DESTDIR=$work/stage "$CMAKE" --install "$build" >/dev/null
installed=$(find "$work/stage" -name libzebbase.so)
cmp "$library" "$installed" || Fail "what is tested is not what is installed"

for language in c cpp; do sed -n "/^\`\`\`$language\$/,/^\`\`\`\$/{ /^\`\`\`/d; p; }" "$readme" >server.$language; done
sed -n '/^    \[ server.ini \]/,/^$/s/^    //p' "$readme" >good.ini
sed -n 's/^    [0-9]*(\(server.c:.*\)/(\1/p' "$readme" | sed 's/[[]/\\&/' >shown
cpp="$CXX -std=c++17 -static-libstdc++ -static-libgcc"
for compiler in "$CC -std=c99 server.c" "$cpp -x c++ server.c" "$cpp server.cpp"; do
  # shellcheck disable=SC2046 # options
  Compile "$compiler" -x none -o server $(PkgConfig --cflags --libs) -Wl,-rpath,"$(dirname "$installed")"
  rm -f server.ini
  case $compiler in *.cpp) sed -i 's/:[0-9]*)/:[0-9]*)/' shown ;; esac # what is shown is of the other program
  Says 1 '(server.c:[0-9]*)E0000 server.ini: No such file or directory'
  echo '[ Server' >server.ini
  Says 1 '(server.c:[0-9]*)E0000 server.ini:1: .*'
  cp good.ini server.ini
  Says 0 "$(sed -n 1p shown)"
  sed 's/Port/Prot/' good.ini >server.ini
  Says 1 "$(sed -n 2p shown)"
done
