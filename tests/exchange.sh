#!/bin/sh
# Has two builds of hostlog, for machines of different byte order, read and continue each other's record files.
# usage: [RUN_A=emulator] [RUN_B=emulator] exchange.sh PROGRAM_A PROGRAM_B   (with strict.ini beside each)
set -eu

a=$(realpath "$1")
b=$(realpath "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp "$(dirname "$a")/strict.ini" .

# shellcheck disable=SC2086 # an emulator and its options
A() { ${RUN_A-} "$a" "$@"; }
# shellcheck disable=SC2086
B() { ${RUN_B-} "$b" "$@"; }

# PrintsAlike FILE SNAPSHOTS
PrintsAlike() {
  A -p "$1" >printed_by_a
  B -p "$1" >printed_by_b
  diff printed_by_a printed_by_b || { echo "$1 is not the same on both machines" >&2; exit 1; }
  [ "$(grep -c '^Hostlog: limits that no machine keeps$' printed_by_a)" -eq "$2" ] || { cat printed_by_a; exit 1; }
}

A strict.ini -b -n 2 -i 0 -r a.rec >out
B strict.ini -b -n 2 -i 0 -r b.rec >out
[ "$(head -c 1 a.rec)" != "$(head -c 1 b.rec)" ] || { echo "both programs have one byte order" >&2; exit 1; }
cp a.rec ab.rec # two files of both: begun by one, continued by the other
cp b.rec ba.rec
B strict.ini -b -r ab.rec >out
A strict.ini -b -r ba.rec >out
PrintsAlike a.rec 2
PrintsAlike b.rec 2
PrintsAlike ab.rec 3
PrintsAlike ba.rec 3
