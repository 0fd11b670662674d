# Completion of ztinspect for bash.
# shellcheck shell=bash

_ztinspect() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]-} words
  case $previous in
    --load)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
  esac
  if [ "$COMP_CWORD" -eq 1 ]; then
    words='classes --help --version'
  else
    case $command in
      classes) words='--json --dot --load --help' ;;
      *) words=--help ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}

complete -F _ztinspect ztinspect
