# shellcheck shell=bash
# Helpers of the programs that run on the host: image, run, capture.

# shellcheck disable=SC2034  # for the programs that source this file
vm_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

say() { printf '%s: %s\n' "${0##*/}" "$*" >&2; }

die() {
  say "$*"
  exit 2
}

# as_root COMMAND...: runs it as root, through sudo for an ordinary user.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    die "needs root or sudo for: $*"
  fi
}

# install_missing PACKAGE:PROGRAM...: installs the packages whose program is not there yet.
install_missing() {
  local pair missing=()
  for pair in "$@"; do
    PATH=$PATH:/usr/sbin:/sbin command -v "${pair#*:}" >/dev/null || missing+=("${pair%%:*}")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  say "installing ${missing[*]}"
  as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq >&2
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends "${missing[@]}" >&2
}

# make_image FILE FOLDER MEGABYTES: an ext4 image of the folder with that much room left in it.
make_image() {
  local size
  size=$(du -sm --apparent-size "$2" | cut -f1)
  truncate -s "$((size * 5 / 4 + $3))M" "$1"
  PATH=$PATH:/usr/sbin:/sbin mkfs.ext4 -q -F -O ^has_journal -m 0 -d "$2" "$1"
}
