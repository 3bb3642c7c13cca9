#!/bin/bash
# The completion of bash, driven as the shell drives it; what orvctl itself offers is tested elsewhere.
set -euo pipefail
PATH=$(dirname "$1"):$PATH
# shellcheck source=tools/orvctl/completion/orvctl
source "$(dirname "$0")/../../tools/orvctl/completion/orvctl"

failures=0

# completed WORD... WANTED: what follows the words, the last of which is typed in part, joined by "|".
completed() {
  local wanted=${*: -1} got
  COMP_WORDS=(orvctl "${@:1:$#-1}")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _orvctl orvctl
  got=$(IFS='|' && echo "${COMPREPLY[*]}")
  if [ "$got" != "$wanted" ]; then
    echo "${COMP_WORDS[*]}: '$got' instead of '$wanted'" >&2
    failures=$((failures + 1))
  fi
}

# There is no command line being edited, and so nothing to set options of.
# shellcheck disable=SC2317  # called by the completion
compopt() { options+=("$*"); }

completed sta 'status'
completed ra 'raid'
completed raid re 'recreate|remove'
completed raid create --lev '--level'
completed raid create --level raid1 --le '--level'
completed service stop '' 'ftp|iscsi|nfs|samba'
completed pool list --no '--no-headings'

options=()
completed system processes /tmp/x ''
[ "${options[*]}" = "-o default" ] || { echo "files are not left to the shell" >&2; failures=1; }

# A name with a blank is one word of the command line.
# shellcheck disable=SC2317
orvctl() { printf '%s\n' 'two words' "a'b"; }
completed share modify '' "two\\ words|a\\'b"

complete -p orvctl | grep -q -- '-F _orvctl' || { echo "nothing is registered" >&2; failures=1; }
exit $((failures > 0))
