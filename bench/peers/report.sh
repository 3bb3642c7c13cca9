#!/bin/sh
# What the appliance has, one line for each: report.sh disks|arrays|groups|pools|filesystems|shares
# Reads the tools' machine-readable output with awk, and starts no tool twice.
set -eu

disks() {
  spares=$(/usr/local/bin/hotspare --list)
  cat /proc/scsi/mvSata/? /proc/scsi/mvSata/?? 2> /dev/null | awk -v spares=" ${spares#*:} " '
    function value(file, text) { getline text < file; close(file); return text }
    /^PCI location/ { enclosure = /2,1$/ ? 1 : 3 }
    $10 ~ /^\*sd/ {
      name = substr($10, 2)
      folder = "/sys/block/" name
      printf "%s %d %d %d %s %s\n", name, 4 * ($2 % 4) + $3 + 1, enclosure + int($2 / 4),
        value(folder "/size") / 2097152 + 0.5, value(folder "/device/state"),
        index(spares, " " name " ") ? "spare" : "-"
    }'
}

arrays() {
  sed -n 's/^\(md[^ ]*\) .*/\1/p' /proc/mdstat | while read -r name; do
    members=
    for state in /sys/block/"$name"/md/dev-*/state; do
      member=${state%/state}
      members=$members${members:+,}${member##*/dev-}
    done
    /sbin/mdadm --detail /dev/"$name" | awk -v name="$name" -v members="$members" '
      / Raid Level :/ { level = $4 }
      / Array Size :/ { size = $4 / 1048576 + 0.5 }
      / State :/ { sub(/.* : /, ""); sub(/ *$/, ""); state = $0 }
      END { printf "%s %s %d %s %s\n", name, level, size, state, members }'
  done
}

groups() {
  volumes=$(/sbin/pvdisplay -c | awk -F: '{ sub(/.*\//, "", $1); print $2, $1 }')
  /sbin/vgdisplay -c | awk -F: -v volumes="$volumes" '
    BEGIN {
      count = split(volumes, lines, "\n")
      for (i = 1; i <= count; ++i) { split(lines[i], pair, " "); of[pair[1]] = of[pair[1]] " " pair[2] }
    }
    { sub(/^ */, "", $1); printf "%s %d %d%s\n", $1, $12 / 1048576, $13 * $15 / 1048576, of[$1] }'
}

pools() {
  /sbin/lvdisplay -c | awk -F: '{
    sub(/^ */, "", $1)
    printf "%s %s %d %s\n", $1, $2, $7 / 2097152 + 0.5, $4 ? "available" : "not available" }'
}

filesystems() {
  /sbin/lvdisplay -c | awk -F'[: \t]+' '
    FILENAME == "-" { state[$2] = $5 ? "available" : "not available"; next }
    FILENAME == "/proc/mounts" { split($0, words, " "); mounted[words[2]] = 1; next }
    { print $2, $1, !($2 in mounted) ? "umount" : $1 in state ? state[$1] : "not available" }
  ' - /proc/mounts /etc/mdfstab > /tmp/filesystems.$$
  cut -d' ' -f1 /tmp/filesystems.$$ | xargs stat -f -c '%S %b %a' |
    paste -d' ' /tmp/filesystems.$$ - | while read -r folder device state block total free; do
    size=$((total * (block / 1024) >> 10))
    used=$(((total - free) * (block / 1024) >> 10))
    if [ $size -gt $((used + 1)) ]; then
      { echo test > "$folder"/test.$$ && rm "$folder"/test.$$; } 2> /dev/null || state='not available'
    fi
    echo "$folder $device $state $size $used"
  done
  rm /tmp/filesystems.$$
}

shares() {
  awk '
    function flush() { if (name != "") { order[++count] = name; paths[name] = path; services[name] = service } }
    { key = $1; value = $0; sub(/^[^=]*= */, "", value) }
    FILENAME ~ /sharefolder/ && /^\[/ { flush(); name = path = service = "" }
    FILENAME ~ /sharefolder/ && key == "sharename" { name = value }
    FILENAME ~ /sharefolder/ && key == "path" { path = value }
    FILENAME ~ /sharefolder/ && key ~ /^(samba|nfs|ftp|iscsi)$/ && value == 1 {
      service = service (service == "" ? "" : ",") (key == "iscsi" ? "iSCSI" : key) }
    FILENAME ~ /smb/ && /^\[/ { section = substr($0, 2, length($0) - 2) }
    FILENAME ~ /smb/ && key == "valid" { users[section] = value }
    FILENAME ~ /exports/ { sub(/\(.*/, "", $2); clients[$1] = $2 }
    FILENAME ~ /ietd/ && key == "Target" { split($2, parts, ":"); sub(/\..*/, "", parts[2]); target = parts[2] }
    FILENAME ~ /ietd/ && key == "IncomingUser" {
      targets[target] = targets[target] (targets[target] == "" ? "" : ",") $2 }
    END {
      flush()
      for (i = 1; i <= count; ++i) {
        name = order[i]; service = services[name]
        print name, service, paths[name],
          service == "samba" ? users[name] : service == "nfs" ? clients[paths[name]] : targets[name]
      }
    }' /etc/sharefolder.conf /etc/samba/smb.conf /etc/exports /etc/ietd.conf
}

"$1"
