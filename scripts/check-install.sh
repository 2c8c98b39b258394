#!/usr/bin/env bash
# Checks Kelvane as a user would get it: installs the build into a staging
# folder and validates the desktop entry and AppStream data, then builds the
# Debian package, installs it with apt, starts the installed `kelvane` from
# PATH under Xvfb for a few seconds, checks the installed kelvane-scan against
# du, and removes the package again.
# Usage: scripts/check-install.sh BUILD_DIR
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(readlink -f "${1:-build}")
if [ "$(id -u)" -eq 0 ]; then sudo=(); else sudo=(sudo); fi

stage=$(mktemp -d /tmp/kelvane-stage-XXXXXX)
trap 'rm -rf "$stage"' EXIT
cmake --install "$build" --prefix "$stage/usr" >/dev/null
for f in bin/kelvane bin/kelvane-scan share/applications/io.kelvane.Kelvane.desktop \
         share/icons/hicolor/scalable/apps/io.kelvane.Kelvane.svg \
         share/metainfo/io.kelvane.Kelvane.metainfo.xml \
         libexec/kelvane/kelvane-admin share/polkit-1/actions/io.kelvane.Kelvane.policy; do
  [ -f "$stage/usr/$f" ] || { echo "missing after install: $f" >&2; exit 1; }
done
desktop-file-validate "$stage/usr/share/applications/io.kelvane.Kelvane.desktop"
appstreamcli validate --no-net --explain "$stage/usr/share/metainfo/io.kelvane.Kelvane.metainfo.xml" >/dev/null
# The polkit action must name the helper where the package puts it, or
# pkexec falls back to its generic message.
python3 - "$stage/usr/share/polkit-1/actions/io.kelvane.Kelvane.policy" <<'PY'
import sys, xml.etree.ElementTree as ET
# Every action (deleting items; listing and deleting snapshots, told apart
# by the helper's first argument) names the installed helper.
actions = ET.parse(sys.argv[1]).getroot().findall("action")
assert len(actions) == 3, len(actions)
for action in actions:
    path = [a.text for a in action.findall("annotate")
            if a.get("key") == "org.freedesktop.policykit.exec.path"]
    assert path == ["/usr/libexec/kelvane/kelvane-admin"], path
    assert action.find("defaults/allow_active").text == "auth_admin"
    langs = {m.get("{http://www.w3.org/XML/1998/namespace}lang") for m in action.findall("message")}
    assert langs == {None, "ja"}, langs
PY
echo "install: staged files present and valid"

(cd "$build" && cpack -G DEB >/dev/null)
deb=$(ls -t "$build"/kelvane_*.deb | head -n 1)
dpkg-deb --info "$deb" | grep -E 'Depends|Recommends'
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get install -y -qq "$deb" >/dev/null
status=0
home=$(mktemp -d /tmp/kelvane-home-XXXXXX)
# `timeout` ends the app after 5 s: 124 means it was still running, as it should.
HOME=$home xvfb-run -a timeout 5 kelvane >/dev/null 2>"$stage/stderr" || status=$?
rm -rf "$home"
# The installed helper deletes exactly what it is handed (run here without
# pkexec, with our own rights) and answers in its machine-readable form.
victim=$(mktemp -d /tmp/kelvane-victim-XXXXXX)
touch "$victim/a b" "$victim/kept"
answer=$(printf '%s\0' "$victim/a b" | /usr/libexec/kelvane/kelvane-admin)
[ "$answer" = "ok 0" ] && [ ! -e "$victim/a b" ] && [ -e "$victim/kept" ] || {
  echo "installed helper answered '$answer'" >&2; helper_failed=1; }
rm -rf "$victim"
# The installed headless scanner, from PATH, agrees with du on a small tree.
tree=$(mktemp -d /tmp/kelvane-scan-XXXXXX)
head -c 100000 /dev/zero >"$tree/f" && mkdir "$tree/d" && head -c 5000 /dev/zero >"$tree/d/g"
ours=$(kelvane-scan "$tree") theirs=$(du -sB1 -x "$tree")
[ "$ours" = "$theirs" ] || { echo "installed kelvane-scan printed '$ours', du '$theirs'" >&2; scan_failed=1; }
rm -rf "$tree"
"${sudo[@]}" apt-get remove -y -qq kelvane >/dev/null
[ -z "${scan_failed:-}" ] || exit 1
[ -z "${helper_failed:-}" ] || exit 1
if [ "$status" -ne 124 ]; then
  echo "installed kelvane exited early with status $status:" >&2
  cat "$stage/stderr" >&2
  exit 1
fi
echo "package: $(basename "$deb") installs, starts from PATH and removes cleanly"
