#!/usr/bin/env bash
# Installs everything Kelvane needs to build, run and test on Debian 12.
# Idempotent: when every package is already present it prints nothing and
# touches nothing. Works as root and, for other users, through sudo.
set -euo pipefail

packages=(
  # build
  g++ cmake ninja-build pkg-config
  # libraries
  qt6-base-dev libqt6svg6 libicu-dev nlohmann-json3-dev
  # Qt's own texts in Japanese (the folder chooser, standard buttons)
  qt6-translations-l10n
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
  # headless runs, fonts and icons for Japanese text and the catalog symbols
  xvfb xauth fonts-noto-cjk breeze-icon-theme
  # trash interoperability checks, accessibility checks
  trash-cli at-spi2-core dbus dbus-x11 gir1.2-atspi-2.0 python3-gi
  # checks of the installed files and the Debian package
  desktop-file-utils appstream dpkg-dev
  # permission tests run as an unprivileged user; immutable-file tests
  util-linux passwd e2fsprogs
  # the snapshot tools, run for real on a Btrfs volume in a file
  btrfs-progs snapper
  # the runtimes screen lists and removes Flatpak runtimes; its tests install
  # a repository built offline with the real tool
  flatpak
  # kelvane-scan's peers: export round trips and speed comparisons; clang for the
  # export reader's libFuzzer target
  ncdu gdu clang
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -gt 0 ]; then
  if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi
  echo "setup: installing ${missing[*]}" >&2
  export DEBIAN_FRONTEND=noninteractive
  "${sudo[@]}" apt-get update -qq
  "${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# An unprivileged account for the tests that need EACCES to really happen
# (root reads everything). Only created when we are allowed to.
if ! id kelvane-test >/dev/null 2>&1; then
  if [ "$(id -u)" -eq 0 ]; then
    useradd --system --no-create-home --shell /usr/sbin/nologin kelvane-test
  elif sudo -n true 2>/dev/null; then
    sudo useradd --system --no-create-home --shell /usr/sbin/nologin kelvane-test
  fi
fi
