#!/bin/sh
# Builds a small Flatpak repository on disk, with no network and no signing,
# and installs it into the user installation that FLATPAK_USER_DIR (or HOME)
# names. What it holds:
#   org.kelvane.TestPlatform//1.0    a runtime the app TestApp runs on
#   org.kelvane.UnusedPlatform//1.0  a runtime no app runs on (the biggest)
#   org.kelvane.DepPlatform//2.0     a runtime installed only because DepApp needs it
#   org.kelvane.TestApp, org.kelvane.DepApp  (branch stable)
# Flatpak pins the runtimes installed by name, so `uninstall --unused` keeps
# TestPlatform and UnusedPlatform; DepPlatform is unpinned and goes once
# DepApp is gone.
#
# Usage: flatpak_local_repo.sh WORKDIR [install|build]
set -eu

work=$1
mode=${2:-install}
repo=$work/repo
arch=$(flatpak --default-arch)
mkdir -p "$work"

# A runtime commits its usr/ tree; build-export also wants an (empty) files/.
runtime() { # NAME BRANCH PAYLOAD-BYTES SOURCE
    dir=$work/build-$1
    rm -rf "$dir"
    mkdir -p "$dir/files" "$dir/usr/share"
    printf '[Runtime]\nname=%s\nruntime=%s/%s/%s\nsdk=%s/%s/%s\n' \
        "$1" "$1" "$arch" "$2" "$1" "$arch" "$2" >"$dir/metadata"
    # Random bytes, so the object store cannot share them between runtimes.
    head -c "$3" "$4" >"$dir/usr/share/payload"
    flatpak build-export --runtime --subject="$1" "$repo" "$dir" "$2" >/dev/null
}

app() { # NAME RUNTIME RUNTIME-BRANCH
    dir=$work/build-$1
    rm -rf "$dir"
    mkdir -p "$dir/files/bin"
    printf '[Application]\nname=%s\nruntime=%s/%s/%s\nsdk=%s/%s/%s\n' \
        "$1" "$2" "$arch" "$3" "$2" "$arch" "$3" >"$dir/metadata"
    printf '#!/bin/sh\necho %s\n' "$1" >"$dir/files/bin/hello"
    chmod 755 "$dir/files/bin/hello"
    flatpak build-finish --command=hello "$dir" >/dev/null
    flatpak build-export --subject="$1" "$repo" "$dir" stable >/dev/null
}

runtime org.kelvane.TestPlatform 1.0 65536 /dev/zero
runtime org.kelvane.UnusedPlatform 1.0 262144 /dev/urandom
runtime org.kelvane.DepPlatform 2.0 131072 /dev/urandom
app org.kelvane.TestApp org.kelvane.TestPlatform 1.0
app org.kelvane.DepApp org.kelvane.DepPlatform 2.0
flatpak build-update-repo "$repo" >/dev/null
[ "$mode" = build ] && exit 0

# Installing an app as a normal user asks the parental-controls service on
# the system bus; with no system bus, an empty private one lets flatpak skip
# the question. Root is never asked.
if [ "$(id -u)" != 0 ] && [ ! -S /run/dbus/system_bus_socket ]; then
    bus=unix:path=$work/system-bus
    pid=$(dbus-daemon --session --address="$bus" --fork --print-pid)
    trap 'kill "$pid"' EXIT
    export DBUS_SYSTEM_BUS_ADDRESS="$bus"
fi
flatpak --user remote-add --if-not-exists --no-gpg-verify kvlocal "file://$repo"
for ref in runtime/org.kelvane.TestPlatform/$arch/1.0 runtime/org.kelvane.UnusedPlatform/$arch/1.0 \
    app/org.kelvane.TestApp/$arch/stable app/org.kelvane.DepApp/$arch/stable; do
    flatpak --user install --noninteractive kvlocal "$ref" >/dev/null
done
