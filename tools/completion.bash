# shellcheck shell=bash
# Completion of the commands zebini and zebtag, of their files and, for zebini, of sections and keys. These are texts of a
# file, which nothing may expand: compgen -W would run the commands that stand in them.

# _zebbase_pick WORD: the lines that begin with it, as what it can be completed to.
_zebbase_pick() {
  local line
  while IFS= read -r line; do
    [[ $line != "$1"* ]] || COMPREPLY+=("$line")
  done
}

_zebbase_tool() {
  local tool=${COMP_WORDS[0]} command=${COMP_WORDS[1]-} word=${COMP_WORDS[COMP_CWORD]} words
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    words='check get set list diff'
    [ "${tool##*/}" = zebini ] || words='list show check cat extract'
    mapfile -t COMPREPLY < <(compgen -W "$words --help" -- "$word")
  elif [ "$COMP_CWORD" -eq 3 ] && [[ ${tool##*/}:$command =~ ^zebini:(get|set|list)$ ]]; then
    _zebbase_pick "$word" < <("$tool" list "${COMP_WORDS[2]}" 2>/dev/null | sed -n 's/^\[\(.*\)\]$/\1/p')
  elif [ "$COMP_CWORD" -eq 4 ] && [[ ${tool##*/}:$command =~ ^zebini:(get|set)$ ]]; then
    _zebbase_pick "$word" < <("$tool" list "${COMP_WORDS[2]}" "${COMP_WORDS[3]}" 2>/dev/null |
      sed -n 's/^\[[^]]*\] \([^ ]*\) = .*/\1/p')
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -o filenames -F _zebbase_tool zebini zebtag
