# SPDX-License-Identifier: MIT
# What the scripts share: the packages that a bare Debian 12 lacks, and the build of one preset.

# Packages to build the program; and those that its tests, benchmarks and fuzzers need beside them.
build_packages="g++ cmake ninja-build pkg-config libcli11-dev nlohmann-json3-dev libpng-dev"
test_packages="libgtest-dev libbenchmark-dev libsndfile1-dev libsoxr-dev libsamplerate0-dev libsqlite3-dev ffmpeg clang clang-format make zsh fish groff-base doxygen"

# What packages are made, checked and tried with.
package_packages="dpkg-dev lintian debootstrap"

# What tests for 32-bit PowerPC take: cross compiler, emulator, and GoogleTest's sources.
cross_packages="g++-powerpc-linux-gnu qemu-user googletest"

# install_missing PACKAGE...: installs what is not there yet, and says so.
install_missing() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  echo "installing: ${missing[*]}" >&2
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo 'install these as root, or sudo' >&2; exit 1; }
    as_root=(sudo)
  fi
  "${as_root[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# build_preset PRESET [cmake option...]
build_preset() {
  local preset=$1
  shift
  cmake --preset "$preset" "$@" >/dev/null
  cmake --build --preset "$preset"
}
