#!/bin/bash
# Two processes add and delete thousands of shares at the same time: each change succeeds or is told
# that the file is locked, no share is lost, and none comes back.
# disks: 1x300M
# timeout: 850
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

count=1000
share_writer a "$count" &
first=$!
share_writer b "$count" &
second=$!
wait "$first" && result=0 || result=$?
same "one process makes its changes" 0 "$result"
wait "$second" && result=0 || result=$?
same "the other too" 0 "$result"
kept() { seq -f "$1%g" 50 50 "$count"; }
same "what they kept is there, and nothing else" "$( (kept a && kept b) | sort)" \
  "$(sed -n 's/^\[\(.*\)\]$/\1/p' /etc/sharefolder.conf | sort)"
same "and is exported" "$( (kept a && kept b) | sed 's|^|/mnt/|' | sort)" \
  "$(sed 's/ .*//' /etc/exports | sort)"
