#!/bin/sh
# Runs a 32-bit x86 program under Valgrind.
# usage: valgrind.sh WORK_FOLDER PROGRAM [ARGUMENT...]
# Result: the program's, or 99 for an error that Valgrind found; 77 where Valgrind cannot be had.
#
# Valgrind must see the symbols of the loader, and Debian has them only for its own i386 packages. Those are fetched
# into WORK_FOLDER, with package lists of its own, so that the machine's package system stays as it is.
set -eu

work=$(mkdir -p "$1" && cd "$1" && pwd)
program=$2
shift 2
libs=$work/root/lib/i386-linux-gnu

Skip() {
  echo "Valgrind cannot be had here: $*" >&2
  exit 77
}

AptForI386() {
  apt-get -qq -o APT::Architecture=i386 -o APT::Architectures::=i386 -o APT::Sandbox::User=root \
    -o Dir::State::status=/dev/null -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" "$@" 2>/dev/null
}

FetchLibc() {
  mkdir -p "$work/lists/partial" "$work/cache/archives/partial"
  cd "$work"
  AptForI386 update || true # an index that is missing need not be one of ours
  AptForI386 download libc6 libc6-dbg || return
  for package in ./*.deb; do dpkg-deb -x "$package" root; done
  cd - >/dev/null
}

# Symbols are found beside their object, under the name that the object's build identification gives.
PlaceSymbols() {
  readelf=$(command -v i686-linux-gnu-readelf || command -v readelf)
  for object in ld-linux.so.2 libc.so.6; do
    id=$("$readelf" -n "$libs/$object" | sed -n 's/.*Build ID: *//p')
    rest=${id#??}
    cp "$work/root/usr/lib/debug/.build-id/${id%"$rest"}/$rest.debug" "$libs/" || return
  done
}

command -v valgrind >/dev/null || Skip "it is not installed"
if [ ! -e "$work/ready" ]; then
  FetchLibc || Skip "there are no i386 packages"
  PlaceSymbols || Skip "the i386 packages have no symbols"
  touch "$work/ready"
fi
exec valgrind -q --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
  "$libs/ld-linux.so.2" --library-path "$libs" "$program" "$@"
