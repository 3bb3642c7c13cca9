# shellcheck shell=bash
# The Debian packages that this project's own commands need; each is installed only when missing.

# shellcheck disable=SC2034  # read by the scripts that source this file
build_packages=(g++ cmake ninja-build pkg-config libcrypt-dev libcli11-dev libsmartcols-dev
  nlohmann-json3-dev python3)
# shellcheck disable=SC2034
test_packages=(libgtest-dev libgmock-dev bash-static busybox-static binutils python3-jsonschema
  python3-prometheus-client pybind11-dev python3-dev python3-pytest mypy black jq)
# shellcheck disable=SC2034  # packaging/build, the reference, and their tests
packaging_packages=(debhelper dh-python dpkg-dev mandoc doxygen lintian mmdebstrap pybind11-dev
  python3-dev)
# shellcheck disable=SC2034
bench_packages=(libbenchmark-dev libglib2.0-dev libinih-dev)
# shellcheck disable=SC2034  # bench/libblockdev
blockdev_packages=(libblockdev-dev libblockdev-utils-dev libblockdev-lvm-dev libblockdev-mdraid-dev
  libdevmapper-dev libblockdev-lvm2 libblockdev-mdraid2 qemu-system-x86)
# shellcheck disable=SC2034  # bench/lvm_times
lvm_packages=(lvm2)
# shellcheck disable=SC2034
fuzz_packages=(clang llvm binutils)
# shellcheck disable=SC2034
lint_packages=(clang clang-format clang-tidy shellcheck black pyflakes3)

# as_root COMMAND...: runs it as root, through sudo for an ordinary user.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "${0##*/}: needs root or sudo for: $*" >&2
    return 1
  fi
}

is_installed() {
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# install_missing PACKAGE...: installs those that are not installed yet.
install_missing() {
  local package missing=()
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "${0##*/}: installing ${missing[*]}" >&2
  as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq >&2
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq -y --no-install-recommends "${missing[@]}" >&2
}
