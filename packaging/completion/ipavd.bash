# Completion of ipavd for bash: the options that its --help lists.
_ipavd() {
  local current=${COMP_WORDS[COMP_CWORD]}
  local previous=${COMP_WORDS[COMP_CWORD - 1]}
  # --option=value comes as three words.
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  COMPREPLY=()
  local help
  help=$("${COMP_WORDS[0]}" --help) || return
  # After an option with a value, the value, whose type follows the option.
  case $(sed -nE "s/^  (-.,)?$previous ([A-Z]+).*/\2/p" <<<"$help") in
    FILE) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    FOLDER) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    ?*) ;;
    *)
      mapfile -t COMPREPLY < <(compgen -W \
        "$(sed -nE 's/^  (-.,)?(--[a-z-]+).*/\2/p' <<<"$help")" -- "$current")
      ;;
  esac
  compopt -o filenames 2>/dev/null
}
complete -F _ipavd ipavd
