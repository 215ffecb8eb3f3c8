#!/bin/sh
# Runs the small examples, and compares what they print with what they say at their end.
# usage: [RUN=emulator] examples_test.sh SOURCE_FOLDER PROGRAM_FOLDER
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

sources=$(realpath "$1")
programs=$(realpath "$2")
cd "$work"
for source in "$sources"/*.c "$sources"/*.cpp; do
  program=$programs/$(basename "${source%.c*}")
  sed -n '/^\/\* .*prints$/,/^\*\/$/p' "$source" | sed '1d; $d' >expected
  # shellcheck disable=SC2046 # several arguments
  Run "$program" $(sed -n 's/^\/\* with \(.*\) prints$/\1/p' "$source") | sed 's/^[0-9]\{6\}(/HHMMSS(/' >printed
  { [ -s expected ] && diff expected printed >&2; } || Fail "$source prints something else"
done
