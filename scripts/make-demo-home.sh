#!/usr/bin/env bash
# Builds a demo home folder for Kelvane: the places its catalog looks at
# (caches, logs, developer tools, containers, package caches, the desktop
# Trash, …) filled with files of many sizes — the other platform's folders
# under Library and the places a Linux home fills up (thumbnails, browser and
# Flatpak caches, Python and IDE caches, toolchains) — so that
#   scripts/make-demo-home.sh /tmp/demo-home &&
#     HOME=/tmp/demo-home XDG_DATA_HOME=/tmp/demo-home/.local/share ./build/src/kelvane
# shows a realistic window. About 560 MB of really allocated blocks.
#
# It also holds what trips up careless code: hard links, symbolic links (one
# to a folder, one dangling), an unreadable folder, a file name that is not
# UTF-8, names with spaces and Japanese, old and new modification times.
#
# --big adds one cache folder of 100,000 small files, for benchmarks.
#
# --linux leaves out the other platform's folders (everything under Library,
# CocoaPods, Docker Desktop's disk): the app caches go to ~/.cache, pnpm's
# store and the Android SDK to their Linux places. The window over such a home
# is what a Linux user sees.
#
# --owner USER (as root) hands the home to USER, except one cache folder that
# stays root's: USER can read it but deleting it needs the administrator.
#
# A folder made by this script carries a marker file and is rebuilt from
# scratch on the next run; any other non-empty folder is refused.
set -euo pipefail

usage() {
  echo "usage: $0 [--big] [--linux] [--owner USER] FOLDER" >&2
  exit 2
}

big=0
linux=0
folder=""
owner=""
while (($#)); do
  case "$1" in
    --big) big=1 ;;
    --linux) linux=1 ;;
    --owner) [[ $# -ge 2 ]] || usage; owner="$2"; shift ;;
    -h | --help) usage ;;
    -*) usage ;;
    *) [[ -z "$folder" ]] || usage; folder="$1" ;;
  esac
  shift
done
[[ -n "$folder" ]] || usage
if [[ -n "$owner" ]]; then
  if [[ "$(id -u)" -ne 0 ]]; then
    echo "$0: --owner needs root" >&2
    exit 1
  fi
  id "$owner" >/dev/null 2>&1 || { echo "$0: no user $owner" >&2; exit 1; }
fi

marker=".kelvane-demo-home"
if [[ -e "$folder" && ! -d "$folder" ]]; then
  echo "$0: $folder exists and is not a folder" >&2
  exit 1
fi
if [[ -d "$folder" && -n "$(ls -A "$folder")" ]]; then
  if [[ ! -f "$folder/$marker" ]]; then
    echo "$0: $folder is not empty and was not made by this script; refusing to touch it" >&2
    exit 1
  fi
  # Our own earlier build: give the unreadable folder its rights back, then
  # start over.
  chmod -R u+rwx "$folder"
  find "$folder" -mindepth 1 -delete
fi
mkdir -p "$folder"
home="$(cd "$folder" && pwd)"
echo "Kelvane demo home, made by scripts/make-demo-home.sh" >"$home/$marker"

# Files are first only described, then made in a few batches: a process
# start costs more than writing a file, so folders are made by one mkdir and
# modification times set by one touch per age.
declare -a blobPaths=() blobSizes=() textPaths=() textLines=() writePaths=() writeSizes=()
declare -a infoNames=() infoOrigins=() infoAges=()
declare -A folders=() aged=()

queue() { # PATH AGE
  folders["$home/${1%/*}"]=1
  if [[ -n "$2" ]]; then aged["$2"]+="$home/$1"$'\n'; fi
}

# blob PATH BYTES [AGE]: a file whose BYTES are really allocated, optionally
# last modified AGE ago ("400 days").
blob() {
  blobPaths+=("$home/$1")
  blobSizes+=("$2")
  queue "$1" "${3:-}"
}

# text PATH LINES [AGE]: a small text file, such as a log.
text() {
  textPaths+=("$home/$1")
  textLines+=("$2")
  queue "$1" "${3:-}"
}

# many FOLDER COUNT BYTES: COUNT files of BYTES to twice BYTES, written
# rather than allocated.
many() {
  local i name
  for ((i = 0; i < $2; i++)); do
    printf -v name '%s/f_%05d' "$1" "$i"
    writePaths+=("$home/$name")
    writeSizes+=($(($3 + (i * 7919) % $3)))
  done
  folders["$home/$1"]=1
}

# percent_encoded TEXT: TEXT with every byte other than ASCII letters, digits
# and "/._~-" written as %XX, as the Path key of a .trashinfo file wants it.
percent_encoded() {
  local LC_ALL=C
  local s="$1" out="" c i
  for ((i = 0; i < ${#s}; i++)); do
    c="${s:i:1}"
    case "$c" in
      [a-zA-Z0-9/._~-]) out+="$c" ;;
      *) printf -v c '%%%02X' "'$c"; out+="$c" ;;
    esac
  done
  printf '%s' "$out"
}

# trashed PATH BYTES AGE FROM: a file of BYTES at PATH inside the desktop
# Trash's files folder (the home trash at the default XDG_DATA_HOME). The
# first component of PATH is the trashed item; its info file says it was
# trashed AGE ago from the folder FROM (relative to the home), so trash-list
# and file managers show it and trash-restore can put it back.
trash=".local/share/Trash"
trashed() {
  local item="${1%%/*}"
  blob "$trash/files/$1" "$2" "$3"
  infoNames+=("$item")
  infoOrigins+=("$home/$4/$item")
  infoAges+=("$3")
}

# Makes everything described so far.
build() {
  local i j line chunk="" age
  mkdir -p "${!folders[@]}"
  for i in "${!blobPaths[@]}"; do
    fallocate -l "${blobSizes[$i]}" "${blobPaths[$i]}" 2>/dev/null ||
      head -c "${blobSizes[$i]}" /dev/zero >"${blobPaths[$i]}"
  done
  for i in "${!textPaths[@]}"; do
    for ((j = 1; j <= textLines[i]; j++)); do
      printf '2024-05-%02d 12:00:%02d [info] demo line %d\n' $((j % 28 + 1)) $((j % 60)) "$j"
    done >"${textPaths[$i]}"
  done
  while ((${#chunk} < 200000)); do chunk+="kelvane demo data ${#chunk} "; done
  for i in "${!writePaths[@]}"; do
    printf '%s' "${chunk:0:${writeSizes[$i]}}" >"${writePaths[$i]}"
  done
  for age in "${!aged[@]}"; do
    mapfile -t line < <(printf '%s' "${aged[$age]}")
    touch -d "$age ago" "${line[@]}"
  done
  if ((${#infoNames[@]})); then mkdir -p "$home/$trash/info"; fi
  for i in "${!infoNames[@]}"; do
    printf '[Trash Info]\nPath=%s\nDeletionDate=%s\n' "$(percent_encoded "${infoOrigins[$i]}")" \
      "$(date -d "${infoAges[$i]} ago" +%Y-%m-%dT%H:%M:%S)" \
      >"$home/$trash/info/${infoNames[$i]}.trashinfo"
  done
}

MB=$((1000 * 1000))
KB=1000

# --- Library/Caches (~/.cache with --linux): app caches, Homebrew, pip, SwiftPM ---
C=Library/Caches
if ((linux)); then C=.cache; fi
blob "$C/Homebrew/downloads/3f1a--ffmpeg--7.0.bottle.tar.gz" $((14 * MB)) "20 days"
blob "$C/Homebrew/downloads/9c2e--llvm--18.1.bottle.tar.gz" $((22 * MB)) "3 days"
blob "$C/Homebrew/downloads/b7d0--node--22.2.bottle.tar.gz" $((6 * MB)) "400 days"
blob "$C/Homebrew/Cask/visual-studio-code--1.89.zip" $((9 * MB)) "60 days"
text "$C/Homebrew/api/formula.jws.json" 500
many "$C/com.google.Chrome/Default/Cache/Cache_Data" 160 $((40 * KB))
blob "$C/com.spotify.client/Data/d4/d4a1e0" $((18 * MB)) "2 days"
blob "$C/com.spotify.client/Data/7f/7f00b2" $((5 * MB)) "500 days"
blob "$C/pip/http-v2/a/b/c/4f9e2d" $((3 * MB))
blob "$C/org.swift.swiftpm/repositories/swift-argument-parser-1a2b/objects/pack/pack-1.pack" $((4 * MB))
blob "$C/Slack Cache/Service Worker/CacheStorage/0a1b/index" $((2 * MB)) "10 days"
blob "$C/写真ライブラリ キャッシュ/サムネイル 001.jpg" $((700 * KB))
blob "$C/写真ライブラリ キャッシュ/サムネイル 002.jpg" $((900 * KB)) "800 days"
# A name that is not UTF-8, exactly as some file systems hand them out.
blob "$C/com.example.legacy/"$'\xff\xfe'"-cache.bin" $((300 * KB))
blob "$C/com.example.legacy/caf"$'\xe9'".dat" $((120 * KB))
# Unreadable: mode 000 with content (readable to root all the same).
blob "$C/com.example.locked/secret.db" $((1 * MB))
# Left to root by --owner: readable, but only the administrator may delete it.
blob "$C/com.example.system-owned/shared.db" $((2 * MB)) "30 days"
# Links: one to a folder, one to a file, one dangling, and a hard link (made
# once the files exist, below).
links() {
  ln -s "Homebrew/downloads" "$home/$C/homebrew-downloads-link"
  ln -s "../Logs/DiagnosticReports" "$home/$C/diagnostics-link"
  ln -s "com.example.gone/nowhere" "$home/$C/dangling-link"
  ln "$home/$C/Homebrew/downloads/b7d0--node--22.2.bottle.tar.gz" "$home/$C/Homebrew/node-latest.tar.gz"
}

if ((!linux)); then
# --- Library/Logs ---
text "Library/Logs/DiagnosticReports/Kelvane-2024-05-01-101010.ips" 400 "30 days"
text "Library/Logs/DiagnosticReports/Xcode-2023-01-02-090909.ips" 900 "700 days"
text "Library/Logs/com.example.sync/sync.log" 5000 "1 days"
blob "Library/Logs/com.example.sync/sync.log.1.gz" $((2 * MB)) "90 days"
text "Library/Logs/ログ 日本語.log" 50

# --- Xcode and the simulator ---
X=Library/Developer/Xcode
for project in "MyApp-abcdefghijklmnop" "WeatherKit Demo-qrstuvwxyzabcdef" "写真アプリ-ghijklmnopqrstuv"; do
  blob "$X/DerivedData/$project/Build/Intermediates.noindex/App.build/Objects-normal/arm64/App.o" $((9 * MB)) "5 days"
  blob "$X/DerivedData/$project/Build/Products/Debug-iphonesimulator/App.app/App" $((6 * MB))
  blob "$X/DerivedData/$project/Index.noindex/DataStore/v5/records.db" $((4 * MB)) "40 days"
  text "$X/DerivedData/$project/info.plist" 20
done
blob "$X/DerivedData/ModuleCache.noindex/Foundation-1X2Y3Z.pcm" $((5 * MB))
blob "$X/iOS DeviceSupport/17.2 (21C62)/Symbols/usr/lib/dyld" $((12 * MB)) "200 days"
blob "$X/iOS DeviceSupport/16.4 (20E247)/Symbols/usr/lib/dyld" $((10 * MB)) "600 days"
blob "$X/watchOS DeviceSupport/10.2 (21S364)/Symbols/usr/lib/dyld" $((4 * MB)) "300 days"
blob "$X/Archives/2024-01-15/MyApp 2024-01-15 10.00.xcarchive/Products/Applications/MyApp.app/MyApp" $((8 * MB)) "400 days"
blob "$X/Archives/2024-03-02/MyApp 2024-03-02 18.30.xcarchive/dSYMs/MyApp.app.dSYM/DWARF/MyApp" $((5 * MB)) "250 days"
blob "$X/UserData/Previews/Simulator Devices/1A2B/data/preview.img" $((3 * MB))
blob "$X/DocumentationCache/v2/index.db" $((2 * MB))
blob "Library/Developer/DVTDownloads/Xcode_15.3_Sim.dmg.part" $((4 * MB)) "15 days"
for device in 0F6E1D2C-3B4A-5968-7A8B-9C0D1E2F3A4B 5A6B7C8D-9E0F-1A2B-3C4D-5E6F7A8B9C0D D1E2F3A4-B5C6-D7E8-F9A0-B1C2D3E4F5A6; do
  blob "Library/Developer/CoreSimulator/Devices/$device/data/Containers/Data/Application/app.sqlite" $((6 * MB))
  text "Library/Developer/CoreSimulator/Devices/$device/device.plist" 30
done
blob "Library/Developer/CoreSimulator/Caches/dyld/23E214/dyld_sim_shared_cache_arm64" $((9 * MB))

# --- Containers, group containers, application support ---
blob "Library/Containers/com.example.notes/Data/Library/Caches/com.example.notes/Cache.db" $((3 * MB))
blob "Library/Containers/com.example.notes/Data/Documents/notes.sqlite" $((1 * MB)) "100 days"
blob "Library/Containers/com.example.reader/Data/Library/Caches/images/cover 1.png" $((2 * MB))
blob "Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw" $((25 * MB))
blob "Library/Group Containers/group.com.example.shared/Library/Caches/shared.db" $((2 * MB))
blob "Library/Group Containers/UBF8T346G9.Office/User Content/Templates/template.dotx" $((1 * MB)) "900 days"
blob "Library/Application Support/Code/CachedData/1a2b3c/chrome/js/index.code" $((3 * MB))
blob "Library/Application Support/MobileSync/Backup/00008030-001A2B3C4D5E802E/Manifest.db" $((6 * MB)) "365 days"
blob "Library/Application Support/MobileSync/Backup/00008030-001A2B3C4D5E802E/3f/3f1e2d" $((4 * MB)) "365 days"
blob "Library/Mail/V10/MailData/Envelope Index" $((2 * MB))
text "Library/Mail/V10/0A1B/INBOX.mbox/Messages/1234.emlx" 200 "50 days"
blob "Library/Messages/Attachments/ab/01/IMG_0001/IMG_0001.HEIC" $((3 * MB)) "700 days"
blob "Library/Messages/Attachments/cd/02/動画/動画 0002.mov" $((5 * MB)) "12 days"
blob "Library/iTunes/iPhone Software Updates/iPhone15,2_17.4_21E219_Restore.ipsw" $((15 * MB)) "150 days"
blob "Library/pnpm/store/v3/files/00/1a2b3c" $((1 * MB))
blob "Library/Android/sdk/system-images/android-34/google_apis/arm64-v8a/system.img" $((8 * MB))
blob ".cocoapods/repos/trunk/Specs/0/0/0/Alamofire/5.9.1/Alamofire.podspec.json" $((20 * KB))
else
blob ".local/share/pnpm/store/v3/files/00/1a2b3c" $((1 * MB))
blob "Android/Sdk/system-images/android-34/google_apis/x86_64/system.img" $((8 * MB))
fi

# --- package and tool caches in the home folder ---
many ".npm/_cacache/content-v2/sha512/3f" 80 $((50 * KB))
text ".npm/_cacache/index-v5/00/1a/entry" 10
blob ".yarn/cache/lodash-npm-4.17.21-6382451519-eb835a2e51.zip" $((2 * MB))
blob ".yarn/cache/react-npm-18.3.1-af38f3c1ae-a27bcfa8ff.zip" $((1 * MB)) "30 days"
blob ".cache/pip/http-v2/0/1/2/3/4/wheel" $((4 * MB))
blob ".cache/huggingface/hub/models--example--tiny-model/blobs/8d1e5f" $((7 * MB)) "20 days"
folders["$home/.cache/huggingface/hub/models--example--tiny-model/snapshots/0123abcd"]=1
blob ".cache/fontconfig/cache-7.bin" $((200 * KB))
blob ".gradle/caches/modules-2/files-2.1/com.squareup.okhttp3/okhttp/4.12.0/okhttp-4.12.0.jar" $((1 * MB))
blob ".gradle/caches/8.7/transforms/1a2b/transformed/classes.jar" $((4 * MB)) "80 days"
blob ".m2/repository/org/apache/commons/commons-lang3/3.14.0/commons-lang3-3.14.0.jar" $((700 * KB))
blob ".m2/repository/com/google/guava/guava/33.0.0-jre/guava-33.0.0-jre.jar" $((3 * MB)) "450 days"
blob ".cargo/registry/cache/index.crates.io-6f17d22bba15001f/serde-1.0.203.crate" $((800 * KB))
blob ".cargo/registry/src/index.crates.io-6f17d22bba15001f/tokio-1.38.0/src/lib.rs" $((2 * MB))
blob "go/pkg/mod/cache/download/github.com/example/lib/@v/v1.2.3.zip" $((1 * MB))
blob "go/pkg/mod/github.com/example/lib@v1.2.3/lib.go" $((60 * KB)) "120 days"
blob ".docker/buildx/cache/blobs/sha256/4e5f" $((3 * MB))
text ".docker/config.json" 5
blob ".android/avd/Pixel_7_API_34.avd/userdata-qemu.img" $((10 * MB)) "45 days"
text ".android/avd/Pixel_7_API_34.ini" 4

# --- Linux places in the home folder: thumbnails, browsers, Flatpak apps,
# Python and IDE caches, toolchains, containers ---
many ".cache/thumbnails/normal" 120 $((12 * KB))
many ".cache/thumbnails/large" 60 $((40 * KB))
blob ".cache/thumbnails/fail/gnome-thumbnail-factory/0f1e2d.png" $((1 * KB))
blob ".cache/mozilla/firefox/a1b2c3d4.default-release/cache2/entries/3F2A1B" $((9 * MB)) "5 days"
many ".cache/mozilla/firefox/a1b2c3d4.default-release/cache2/doomed" 40 $((20 * KB))
blob ".cache/google-chrome/Default/Cache/Cache_Data/data_3" $((12 * MB))
blob ".cache/google-chrome/Default/Code Cache/js/9a8b7c" $((3 * MB)) "40 days"
blob ".cache/chromium/Default/Cache/Cache_Data/data_1" $((4 * MB)) "200 days"
blob ".var/app/org.gimp.GIMP/cache/gimp/2.10/thumbnails/t1.png" $((2 * MB))
blob ".var/app/org.mozilla.firefox/cache/mozilla/firefox/x.default/cache2/entries/77" $((6 * MB)) "15 days"
text ".var/app/org.mozilla.firefox/config/mozilla/prefs.js" 40
text ".var/app/com.example.NoCache/config/settings.ini" 5
blob ".cache/uv/wheels-v1/pypi/numpy/numpy-2.0.0-cp312-linux_x86_64.whl" $((16 * MB)) "10 days"
blob ".cache/pypoetry/cache/repositories/PyPI/_http/a/b/c/d/e/1f2e" $((2 * MB)) "90 days"
blob "miniconda3/pkgs/python-3.12.3-h996f2a0_1.conda" $((20 * MB)) "60 days"
blob "miniconda3/pkgs/openssl-3.0.13-h7f8727e_2/lib/libssl.so.3" $((1 * MB))
blob ".cache/JetBrains/IntelliJIdea2024.1/caches/content.dat" $((8 * MB))
blob ".cache/JetBrains/IntelliJIdea2024.1/index/stubs/stubs.dat" $((5 * MB)) "30 days"
blob ".config/Code/Cache/Cache_Data/data_2" $((3 * MB))
blob ".config/Code/CachedData/89de5a8d4d/chrome/js/index.code" $((2 * MB)) "70 days"
blob ".config/Code/CachedExtensionVSIXs/ms-python.python-2024.6.0" $((9 * MB)) "20 days"
text ".config/Code/User/settings.json" 20
blob ".rustup/toolchains/stable-x86_64-unknown-linux-gnu/lib/librustc_driver.so" $((30 * MB)) "30 days"
blob ".rustup/toolchains/1.70.0-x86_64-unknown-linux-gnu/lib/librustc_driver.so" $((28 * MB)) "500 days"
blob ".nvm/versions/node/v20.14.0/bin/node" $((9 * MB)) "150 days"
blob ".nvm/versions/node/v16.20.2/bin/node" $((8 * MB)) "700 days"
blob ".local/share/containers/storage/overlay/4e5f6a/diff/usr/lib/libc.so.6" $((7 * MB)) "45 days"
text ".local/share/containers/storage/overlay-images/images.json" 30
blob ".local/share/flatpak/runtime/org.gnome.Platform/x86_64/46/active/files/lib/libgtk-4.so" $((11 * MB)) "25 days"
blob ".local/share/flatpak/app/org.gimp.GIMP/x86_64/stable/active/files/bin/gimp" $((6 * MB)) "25 days"

# --- the desktop Trash and some ordinary user files ---
trashed "old report.pdf" $((2 * MB)) "40 days" "Documents"
trashed "写真 2023.zip" $((6 * MB)) "2 days" "Pictures"
trashed "Old Project/build/out.bin" $((1 * MB)) "300 days" "Projects"
blob "Documents/資料/企画書 最終版.pdf" $((1 * MB)) "10 days"
blob "Downloads/installer.dmg" $((5 * MB)) "3 days"
text "Desktop/memo.txt" 10

build
links
H="$home/.cache/huggingface/hub/models--example--tiny-model"
ln -s "../../blobs/8d1e5f" "$H/snapshots/0123abcd/model.safetensors"
ln "$H/blobs/8d1e5f" "$H/model-copy.safetensors"

if ((big)); then
  # 100,000 small files in 100 folders, each written with a few bytes so it
  # takes a block of its own. One folder is written, the others copied from
  # it: far fewer system calls from the shell.
  many="$home/$C/com.example.many-files"
  mkdir -p "$many/shard-000"
  for ((i = 0; i < 1000; i++)); do
    printf 'x' >"$many/shard-000/item-$i"
  done
  for ((d = 1; d < 100; d++)); do
    printf -v shard '%s/shard-%03d' "$many" "$d"
    cp -r "$many/shard-000" "$shard"
  done
fi


if [[ -n "$owner" ]]; then
  chown -R "$owner:" "$home"
  chown -R root:root "$home/$C/com.example.system-owned"
fi

# Last, so nothing above needs to enter them.
chmod 000 "$home/$C/com.example.locked"
echo "demo home ready: $home ($(du -sh --apparent-size "$home" 2>/dev/null | cut -f1) apparent)"
