# shellcheck shell=bash
# SPDX-License-Identifier: MIT
#
# Completion of qorhex for bash; installed as
# share/bash-completion/completions/qorhex.

# Options that take an argument end with "=".
_qorhex_options='-h --help -v --verbose -p --progress -V --version -l --long
-x --hexdump --hexdump= -c --check --diff --format= -b --binary= -o --output=
--ihex= --svg= -m --merge --range= --map= -r --reverse --fill= --pad --max-size=
--force --strict'

# Completes the word $1 with the words $2.
_qorhex_words() {
  mapfile -t COMPREPLY < <(compgen -W "$2" -- "$1")
  if [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *= ]]; then
    compopt -o nospace 2>/dev/null
  fi
}

# Completes the word $1 with the names of HEX files and folders. Where there are
# none, readline takes any file.
_qorhex_files() {
  local pattern
  for pattern in '*.[hH][eE][xX]' '*.[iI][hH][eE][xX]' '*.[iI][hH][xX]'; do
    mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < \
      <(compgen -f -X "!$pattern" -- "$1")
  done
  if [[ ${#COMPREPLY[@]} != 0 ]]; then
    compopt -o filenames -o plusdirs 2>/dev/null
  fi
}

_qorhex() {
  local current=${COMP_WORDS[COMP_CWORD]} option='' i
  COMPREPLY=()
  # readline makes three words of --format=text.
  if [[ $current == '=' ]]; then
    option=${COMP_WORDS[COMP_CWORD - 1]}
    current=''
  elif [[ $COMP_CWORD -gt 1 && ${COMP_WORDS[COMP_CWORD - 1]} == '=' ]]; then
    option=${COMP_WORDS[COMP_CWORD - 2]}
  else
    option=${COMP_WORDS[COMP_CWORD - 1]}
    if [[ $option == --hexdump ]]; then
      option=''  # its argument is in the same word
    fi
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    if [[ ${COMP_WORDS[i]} == -- ]]; then
      _qorhex_files "$current"
      return
    fi
  done
  case $option in
    --format) _qorhex_words "$current" 'text json' ;;
    -o | --output)
      mapfile -t COMPREPLY < <(compgen -d -- "$current")
      compopt -o filenames 2>/dev/null
      ;;
    -b | --binary | --ihex | --svg | --map) ;;  # readline takes any file
    --range | --fill | --max-size | --hexdump)
      compopt +o default 2>/dev/null
      ;;
    *)
      if [[ $current == -* ]]; then
        _qorhex_words "$current" "$_qorhex_options"
      else
        _qorhex_files "$current"
      fi
      ;;
  esac
}

complete -o default -F _qorhex qorhex
