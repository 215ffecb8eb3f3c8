# shellcheck shell=bash
# Completion of the commands zebini and zebtag, of their files and, for zebini, of sections and keys.
_zebbase_tool() {
  local tool=${COMP_WORDS[0]} command=${COMP_WORDS[1]-} word=${COMP_WORDS[COMP_CWORD]} words
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    words='check get set list diff'
    [ "${tool##*/}" = zebini ] || words='list show check cat extract'
    mapfile -t COMPREPLY < <(compgen -W "$words --help" -- "$word")
  elif [ "$COMP_CWORD" -eq 3 ] && [[ ${tool##*/}:$command =~ ^zebini:(get|set|list)$ ]]; then
    words=$("$tool" list "${COMP_WORDS[2]}" 2>/dev/null | sed -n 's/^\[\(.*\)\]$/\1/p')
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  elif [ "$COMP_CWORD" -eq 4 ] && [[ ${tool##*/}:$command =~ ^zebini:(get|set)$ ]]; then
    words=$("$tool" list "${COMP_WORDS[2]}" "${COMP_WORDS[3]}" 2>/dev/null | sed -n 's/^\[[^]]*\] \([^ ]*\) = .*/\1/p')
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
  fi
}
complete -o filenames -F _zebbase_tool zebini zebtag
