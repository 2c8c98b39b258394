#!/usr/bin/env bash
# Runs the accessibility check: a private D-Bus session, an X server in memory,
# the app on Qt's xcb platform with its accessibility bridge on, and a reader
# over AT-SPI. Usage: run_check.sh KELVANE_BINARY
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
binary=$(readlink -f "$1")
home=$(mktemp -d /tmp/kelvane-a11y-XXXXXX)
trap 'chmod -R u+rwx "$home" 2>/dev/null; rm -rf "$home"' EXIT
if [ -x "$here/../../scripts/make-demo-home.sh" ]; then
  # A Linux home: none of the other platform's folders, so none of its rows.
  "$here/../../scripts/make-demo-home.sh" --linux "$home" >/dev/null
else
  mkdir -p "$home/.cache/Homebrew" "$home/.local/share/Trash/files"
  head -c 3000000 /dev/urandom >"$home/.cache/Homebrew/blob"
fi
export NO_AT_BRIDGE=0
exec dbus-run-session -- xvfb-run -a -s "-screen 0 1280x800x24" \
  /usr/bin/python3 "$here/read_window.py" "$binary" "$home"
