# Completion of ztinspect for bash.
# shellcheck shell=bash

_ztinspect() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]-} words
  case $previous in
    --to)
      mapfile -t COMPREPLY < <(compgen -W 'text binary json' -- "$word")
      return
      ;;
    --color)
      mapfile -t COMPREPLY < <(compgen -W 'auto always never' -- "$word")
      return
      ;;
    --load | --output | -o)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
  esac
  if [ "$COMP_CWORD" -eq 1 ]; then
    words='classes dump verify convert report diff graph --help --version'
  else
    case $command in
      classes) words='--color --json --dot --load --help' ;;
      dump) words='--color --json --no-end --load --help' ;;
      verify) words='--no-end --load --help' ;;
      report) words='--output --no-end --load --help' ;;
      diff) words='--color --no-end --load --help' ;;
      convert) words='--to --output --no-end --load --help' ;;
      graph) words='--output --help' ;;
      *) words=--help ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  if [[ $word != -* && $command != classes && $COMP_CWORD -gt 1 ]]; then
    compopt -o filenames
    mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$word")
  fi
}

complete -F _ztinspect ztinspect
