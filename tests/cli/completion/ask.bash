#!/usr/bin/env bash
# ask.bash SCRIPT WORD...: what bash offers for the last word, one a line, when
# it has read the script. Words are those of readline: "=" is one of its own.
source "$1" || exit 1
shift
completer=$(complete -p "$1") || exit 1
completer=${completer#*-F }
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
"${completer%% *}" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\n' "${COMPREPLY[@]}"
