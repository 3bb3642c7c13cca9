#!/bin/bash
# Services, users, clients and SMART through the system's own tools, in the virtual machine and in the
# simulated appliance: every command with all that it prints and how it ends.
# disks: 1x300M
# timeout: 600
set -uo pipefail
cd /

said=$(mktemp -d)

# say COMMAND: shows the command, its standard output, its standard error, and its exit status.
say() {
  local status=0
  printf '$ %s\n' "$1"
  bash -c "$1" >"$said/out" 2>"$said/err" </dev/null || status=$?
  sed 's/^/1| /' "$said/out"
  sed 's/^/2| /' "$said/err"
  printf '= %d\n\n' "$status"
}

# serve_network: the address that Samba serves; the simulated appliance has it already.
serve_network() {
  [ ! -e /run/orvsim ] || return 0
  modprobe dummy numdummies=0
  ip link add lan type dummy
  ip address add 10.1.0.1/16 dev lan
  ip link set lan up
}

# running DAEMON: the number of its processes, once there are some.
running() {
  local try
  for ((try = 0; try < 50; try++)); do
    ! busybox pidof "$1" >/dev/null || break
    sleep 0.1
  done
  say "busybox pidof $1 | wc -w"
}

# account NAME: what the account files hold of a user; the day and the time differ.
account() {
  say "grep '^$1:' /etc/passwd /etc/shadow /etc/group | sed -E 's/:[0-9]{5}:0:9/:DAY:0:9/'"
  say "grep '^$1:' /etc/samba/private/smbpasswd | sed -E 's/LCT-[0-9A-F]{8}/LCT-TIME/'"
}

# password NAME LINES: the lines are what smbpasswd reads.
password() { say "printf '$2' | smbpasswd -a -s $1"; }

samba() {
  local words
  say "smbstatus"
  for words in start start status restart reload force-reload; do
    say "/etc/init.d/samba $words"
  done
  running smbd
  running nmbd
  for words in "" -b -p -S --shares -L --bogus; do say "smbstatus $words"; done
  for words in stop stop status "" bogus; do say "/etc/init.d/samba $words"; done
  say "busybox pidof smbd"
}

ftp() {
  local words
  for words in start start status reload; do
    say "/etc/init.d/vsftpd $words"
    running vsftpd
  done
  say "netstat -t"
  say "netstat -tn"
  for words in stop stop status "" bogus; do say "/etc/init.d/vsftpd $words"; done
}

# What the kernel's server itself does depends on the kernel; its script is the same everywhere.
nfs() {
  local words
  : >/etc/exports
  # Debian's port mapper is started with the server; the appliance has it running always.
  /etc/init.d/rpcbind start >/dev/null 2>&1 || true
  for words in start status stop stop status "" bogus; do say "/etc/init.d/nfs $words"; done
  say "busybox pidof nfsd"
  say "exportfs"
}

users() {
  local name
  install -m 600 /dev/null /etc/samba/private/smbpasswd
  say "adduser -DH -s /bin/nologin alice"
  account alice
  say "getent passwd alice"
  for name in alice "" . "'bad name'" a:b "-- -x" 9a users 'a$' "$(printf 'a%.0s' {1..40})"; do
    say "adduser -DH -s /bin/nologin $name"
  done
  say "adduser -DHz carl"
  password alice 'rose bush\nrose bush\n'
  account alice
  password alice 'new\nnew\n'
  account alice
  password alice 'one\nother\n'
  password alice 'one\n'
  password alice 'one\none'
  password alice ''
  password nobodyhere 'one\none\n'
  say "smbpasswd -x nobodyhere"
  say "smbpasswd -Q"
  say "smbpasswd -x alice"
  say "smbpasswd -x alice"
  say "userdel alice"
  account alice
  for name in alice "" "-z x" "a b"; do say "userdel $name"; done
}

others() {
  say "busybox pidof nosuch"
  say "busybox pidof -s x"
  say "busybox pidof"
  say "busybox nosuch"
  say "smartctl -Hi"
  say "smartctl -Hi /dev/sda /dev/sdb"
  say "smartctl --bogus /dev/sda"
  say "smartctl -d foo /dev/sda"
}

serve_network
samba
ftp
nfs
users
others
