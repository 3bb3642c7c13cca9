#!/bin/bash
# A pool is exported over NFS: mounted by a client, written, and read-only when it is to be.
# disks: 3x1200M
# timeout: 500
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

serve_network
make_pools data &>/tmp/pools
mkdir /tmp/client
mount_export() { mount -t nfs -o vers=4.2 "$address:/mnt/data" /tmp/client; }

check "a pool is shared" orvctl share add data --service nfs --path /mnt/data --users 10.1.0.0/16
same "as exports are written" "/mnt/data 10.1.0.0/16(rw,sync,no_root_squash)" "$(cat /etc/exports)"
check "NFS is started" orvctl service start nfs
check "the file is accepted" exportfs -ra
same "and in force" "/mnt/data 10.1.0.0/16" "$(exportfs | xargs)"
same "NFS runs" true "$(orvctl service list --json | jq '.services[] | select(.name == "nfs").running')"

random_file /tmp/file 2
check "a client mounts it" mount_export
check "stores a file" cp /tmp/file /tmp/client/stored
check "on the pool" cmp /tmp/file /mnt/data/stored
check "and reads it" cmp /tmp/file /tmp/client/stored
umount /tmp/client

check "the share becomes read-only" orvctl share modify data --service nfs --users 10.1.0.0/16 --read-only
check "the file is accepted" exportfs -ra
check "a client mounts it" mount_export
check "reads" cmp /tmp/file /tmp/client/stored
check_not "and cannot write" touch /tmp/client/new
umount /tmp/client
same "the share is listed as read-only" "data nfs false" \
  "$(orvctl share list --json | jq -r '.shares[] | "\(.name) \(.service) \(.writable)"')"

check "the share is deleted" orvctl share delete data --service nfs --yes
check "the file is accepted" exportfs -ra
same "nothing is exported" "" "$(exportfs)"
check_not "a client is refused" mount_export
check "NFS is stopped" orvctl service stop nfs
check "what was stored has stayed" cmp /tmp/file /mnt/data/stored
