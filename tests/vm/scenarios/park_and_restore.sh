#!/bin/bash
# Shares go out of use and come back, over all services; files are compared byte for byte.
# disks: 3x1200M
# timeout: 500
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

make_pools data &>/tmp/pools
cp /etc/samba/smb.conf /tmp/globals
section() {
  printf '[%s]\n    sharename = %s\n    path = %s\n    size = 0\n' "$1" "$1" "$2"
  printf '    samba = %d\n    nfs = %d\n    ftp = %d\n    iscsi = %d\n' "${@:3:4}"
  printf '    comment = %s\n' "$7"
}
samba() {
  printf '[%s]\n    comment = %s\n    path = %s\n    public = yes\n    %s = %s\n' "${@:1:5}"
  printf '    printable = no\n    create mask = 0777\n    valid users = %s\n' "$6"
}

orvctl share add files --service samba --path /mnt/files --users alice,bob --comment Files
orvctl share add export --service nfs --path /mnt/export --users 10.1.0.0/16
orvctl share add volume --service iscsi --path /mnt/volume.img
orvctl share add data --service ftp --path /mnt/data
{
  section files /mnt/files 1 0 0 0 Files
  section export /mnt/export 0 1 0 0 ''
  section volume /mnt/volume.img 0 0 0 1 ''
  section data /mnt/data 0 0 1 0 ''
} >/tmp/expected
check "the list has every share" cmp /tmp/expected /etc/sharefolder.conf
{ cat /tmp/globals && samba files Files /mnt/files writable yes alice,bob; } >/tmp/expected
check "Samba has its share" cmp /tmp/expected /etc/samba/smb.conf
same "NFS its export" "/mnt/export 10.1.0.0/16(rw,sync,no_root_squash)" "$(cat /etc/exports)"
same "the iSCSI target its volume" $'\tLun 0 Path=/mnt/volume.img,Type=fileio,IOMode=wb' \
  "$(grep Lun /etc/ietd.conf)"
check "under a name with a time stamp" \
  grep -Eq '^Target iqn\.2006-05\.org\.orv:volume\.[0-9]{14}$' /etc/ietd.conf

check "a Samba share goes out of use" orvctl share disable files --service samba --users alice,bob --comment Files --yes
check "Samba has none" cmp /tmp/globals /etc/samba/smb.conf
samba files Files /mnt/files writeable yes alice,bob >/tmp/expected
check "it is kept" cmp /tmp/expected /etc/samba/smb_recy.conf
check "an NFS share goes out of use" orvctl share disable export --service nfs --users 10.1.0.0/16 --yes
same "nothing is exported" "" "$(cat /etc/exports)"
same "it is kept" "/mnt/export 10.1.0.0/16(rw,sync,no_root_squash)" "$(cat /etc/exports_recy)"
check "an FTP share goes out of use" orvctl share disable data --service ftp --yes
check_not "its pool is unmounted" findmnt /mnt/data
check_not "its mount point removed" test -e /mnt/data
same "its mount table entry too" "" "$(cat /etc/mdfstab)"
{
  section files /mnt/files 0 0 0 0 Files
  section export /mnt/export 0 0 0 0 ''
  section volume /mnt/volume.img 0 0 0 1 ''
  section data /mnt/data 0 0 0 0 ''
} >/tmp/expected
check "the list keeps them without a service" cmp /tmp/expected /etc/sharefolder.conf
same "what is kept is listed" "files=alice,bob export=10.1.0.0/16" \
  "$(orvctl recycle list --json | jq -r '[.kept_shares[] | select(.users) | "\(.name)=\(.users)"] | join(" ")')"

check "a kept share changes" orvctl recycle modify files --service samba --users carol --read-only --comment New
samba files New /mnt/files writeable no carol >/tmp/expected
check "in its recycle file" cmp /tmp/expected /etc/samba/smb_recy.conf
check "the list has its comment" grep -qx '    comment = New' /etc/sharefolder.conf

check "a kept share is deleted" orvctl recycle delete export --yes
same "from the exports" "" "$(cat /etc/exports_recy)"
check "Samba's is as it was" cmp /tmp/expected /etc/samba/smb_recy.conf

before=$(share_files)
check_not "a share that is not kept is not deleted" orvctl recycle delete nobody --yes
same "and no file changes" "$before" "$(share_files)"
orvctl share forget files --yes || true
same "a share is removed everywhere: its recycle file" "" "$(cat /etc/samba/smb_recy.conf)"
{
  section export /mnt/export 0 0 0 0 ''
  section volume /mnt/volume.img 0 0 0 1 ''
  section data /mnt/data 0 0 0 0 ''
} >/tmp/expected
check "and the list" cmp /tmp/expected /etc/sharefolder.conf
check "an iSCSI share is deleted by its plain name" orvctl share delete volume --service iscsi --yes
same "with its target" "" "$(cat /etc/ietd.conf)"
