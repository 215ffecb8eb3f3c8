#!/bin/sh
# What the test scripts have in common; each begins with it. The folder $work is gone when the script ends, and one Fail
# on the way makes its status 1.
set -eu

work=$(mktemp -d)
End() {
  status=$?
  [ ! -e "$work/failed" ] || status=1
  rm -rf "$work"
  exit "$status"
}
trap End EXIT

# A file keeps it, because it may be said in a pipeline.
Fail() {
  echo "FAILED: $*" >&2
  touch "$work/failed"
}

# Run PROGRAM [ARGUMENT...]: through the emulator of the target, where there is one.
Run() {
  # shellcheck disable=SC2046 # an emulator and its options
  $(echo "${RUN-}" | tr ';' ' ') "$@"
}

# Compile COMPILER ARGUMENT...: a warning is an error. The first argument is a compiler with options.
Compile() {
  compiler=$1
  shift
  # shellcheck disable=SC2086
  $compiler -Wall -Wextra -pedantic -Werror "$@"
}
