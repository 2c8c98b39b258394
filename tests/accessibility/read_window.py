#!/usr/bin/python3
"""Reads the running Kelvane window the way a screen reader does (AT-SPI),
presses its "すべて再スキャン" button, then opens a category as a map and reads
its tiles. Over a Linux home, in Japanese, nothing it reads (names and
descriptions, on the overview and with a category open) may name a facility
of the other platform the design came from.

Usage: read_window.py KELVANE_BINARY HOME_FOLDER
Run inside a D-Bus session and an X server (see run_check.sh).
Exits non-zero with a message on the first thing a screen reader could not read.
"""
import os
import subprocess
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

TIMEOUT = 30

# Words that name the other platform's places, tools and settings.
FOREIGN = ("macOS", "Mac ", "Finder", "Time Machine", "Xcode", "iOS", "simctl", "Library",
           "シミュレータ", "パージ可能", "フルディスクアクセス", "Safari")


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def find_app(name):
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(i)
        if child is not None and child.get_name() == name:
            return child
    return None


def walk(node, depth=0, limit=40):
    """Yields every accessible below `node`, depth first."""
    if node is None or depth > limit:
        return
    yield node
    try:
        count = node.get_child_count()
    except Exception:  # a node that vanished while we read the tree
        return
    for i in range(count):
        yield from walk(node.get_child_at_index(i), depth + 1, limit)


def everything(app):
    nodes = []
    for node in walk(app):
        try:
            nodes.append((node.get_role_name(), node.get_name() or "", node))
        except Exception:
            pass
    return nodes


def texts(app):
    """Every name and description the window gives a screen reader."""
    read = []
    for node in walk(app):
        try:
            read.append(node.get_name() or "")
            read.append(node.get_description() or "")
        except Exception:
            pass
    return [t for t in read if t]


def check_no_foreign_words(app, where):
    read = texts(app)
    found = sorted({"%s: %r" % (word, t) for t in read for word in FOREIGN if word in t})
    if found:
        fail("%s names the other platform: %s" % (where, found[:10]))
    print("%s: %d texts read, none names the other platform" % (where, len(read)))


def application_names():
    desktop = Atspi.get_desktop(0)
    return [desktop.get_child_at_index(i).get_name() for i in range(desktop.get_child_count())]


def wait_for(predicate, what):
    deadline = time.time() + TIMEOUT
    while time.time() < deadline:
        result = predicate()
        if result:
            return result
        time.sleep(0.3)
    fail("timed out waiting for %s (applications: %s)" % (what, application_names()))


def main():
    binary, home = sys.argv[1], sys.argv[2]
    env = dict(os.environ, HOME=home, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb",
               XDG_DATA_HOME=os.path.join(home, ".local/share"), LANG="ja_JP.UTF-8",
               LC_ALL="ja_JP.UTF-8")
    app_process = subprocess.Popen([binary], env=env)
    try:
        app = wait_for(lambda: find_app("kelvane"),
                       'an application named "kelvane" on the bus')
        print("application on the bus:", app.get_name())

        def sidebar_rows():
            return [name for role, name, _ in everything(app)
                    if role in ("table cell", "tree item", "list item") and name]

        # The launch scan must finish: every sized row then reads "name, size".
        def scanned_rows():
            rows = sidebar_rows()
            sized = [r for r in rows if r.startswith("~/.cache, ") and not r.endswith("…")]
            return rows if sized else None

        rows = wait_for(scanned_rows, "the sidebar rows with their sizes")
        print("sidebar rows read:", len(rows))
        for expected in ("概要", "ゴミ箱", "一時ファイル (/tmp)", "Flatpak / Snap ランタイム",
                         "スナップショット (Snapper / Timeshift)"):
            if not any(r == expected or r.startswith(expected + ",") for r in rows):
                fail("sidebar row %r not readable; rows: %s" % (expected, rows[:12]))
        if not any(r.startswith("~/.cache, ") and ("B" in r or "バイト" in r) for r in rows):
            fail("the ~/.cache row does not read its size: %s" % rows[:8])
        # The other platform's rows stay out where their folders are absent.
        for absent in ("ユーザーキャッシュ", "DerivedData", "メール"):
            if any(r == absent or r.startswith(absent + ",") for r in rows):
                fail("sidebar lists %r over a Linux home" % absent)
        overview = [name for _, name, _ in everything(app)]
        for expected in ("root 用の予約領域", "~/.local/share", "/var"):
            if expected not in overview:
                fail("overview text %r not readable" % expected)
        check_no_foreign_words(app, "the overview")

        buttons = {name: node for role, name, node in everything(app)
                   if role in ("push button", "tool bar button", "button") and name}
        for label in ("フォルダを追加", "すべて再スキャン"):
            if label not in buttons:
                fail("toolbar button %r not found; buttons: %s" % (label, sorted(buttons)))
        rescan = buttons["すべて再スキャン"]
        action = rescan.get_action_iface() if hasattr(rescan, "get_action_iface") else rescan
        if not action.do_action(0):
            fail("pressing すべて再スキャン did nothing")

        # Pressing starts the scans again: the footer announces them running
        # or, on a fast machine, the rows are read again after it.
        def rescanned():
            names = [name for _, name, _ in everything(app)]
            return any(n.endswith(" 件スキャン中") for n in names) or any(n.endswith("…") for n in names)

        deadline = time.time() + 5
        saw_scan = False
        while time.time() < deadline and not saw_scan:
            saw_scan = rescanned()
            time.sleep(0.1)
        wait_for(scanned_rows, "the sidebar rows after the rescan")
        print("rescan observed while running:", saw_scan)
    finally:
        stop(app_process)

    # A folder grows between two launches: the second one's card says by how much.
    grown = os.path.join(home, ".cache", "a11y-grew")
    os.makedirs(grown, exist_ok=True)
    with open(os.path.join(grown, "blob"), "wb") as f:
        f.write(os.urandom(5 * 1000 * 1000))
    app_process = subprocess.Popen([binary], env=env)
    try:
        app = wait_for(lambda: find_app("kelvane"), "the application for the growth card")

        # New since the launch before: "~/.cache/a11y-grew 新規 +5 MB、現在 5 MB".
        def grown_row():
            return [name for _, name, _ in everything(app)
                    if name.startswith("~/.cache/a11y-grew 新規 +5") and "現在 5" in name]

        rows = wait_for(grown_row, "the card's row for the grown folder")
        print("growth card row:", rows[0])
        if "増えた場所" not in [name for _, name, _ in everything(app)]:
            fail("the card's title 増えた場所 is not readable")
        check_no_foreign_words(app, "the overview with the growth card")
    finally:
        stop(app_process)

    # Once more, opening on ~/.cache, whose map reads each tile's name and size.
    config = os.path.join(home, ".config", "Kelvane")
    os.makedirs(config, exist_ok=True)
    with open(os.path.join(config, "Kelvane.conf"), "w") as f:
        f.write("[General]\ninitialSelection=dot_cache\n")
    app_process = subprocess.Popen([binary], env=env)
    try:
        app = wait_for(lambda: find_app("kelvane"), "the application again")
        # The list's rows read "name, date, size" once the listing is in.
        wait_for(lambda: any(role == "list item" and name.startswith("Homebrew, ")
                             for role, name, _ in everything(app)), "the category's listing")
        names = [name for _, name, _ in everything(app)]
        # The list's row of the grown folder reads its change since the launch before.
        if not any(n.startswith("a11y-grew, ") and "増減 " in n for n in names):
            fail("the list does not read the change of a11y-grew: %s" %
                 [n for n in names if n.startswith("a11y-grew")])
        if "ファイルマネージャで表示" not in names:
            fail("the toolbar's ファイルマネージャで表示 is not readable")
        check_no_foreign_words(app, "the category ~/.cache")
        switch = wait_for(lambda: [n for _, name, n in everything(app) if name == "マップ"],
                          "the マップ switch")[0]
        action = switch.get_action_iface() if hasattr(switch, "get_action_iface") else switch
        if not action.do_action(0):
            fail("pressing マップ did nothing")

        # A tile reads "name size"; the list's rows (hidden now) read "name, date, size".
        def tiles():
            names = [name for role, name, _ in everything(app)
                     if role == "list item" and ", " not in name]
            return [n for n in names if n.startswith("Homebrew ") and "MB" in n] and names

        names = wait_for(tiles, "the map's tiles")
        print("map tiles read:", len(names), names[:3])
    finally:
        stop(app_process)

    # The two screens that are not folders speak of Linux's own facilities.
    for category, expected in (("snapshots", "スナップショット (Snapper / Timeshift)"),
                               ("sim_runtimes", "Flatpak / Snap ランタイム")):
        with open(os.path.join(config, "Kelvane.conf"), "w") as f:
            f.write("[General]\ninitialSelection=%s\n" % category)
        app_process = subprocess.Popen([binary], env=env)
        try:
            app = wait_for(lambda: find_app("kelvane"), "the application again")
            # The window's title names the screen shown; its list must be in.
            wait_for(lambda: any(role == "frame" and name.startswith(expected + " — ")
                                 for role, name, _ in everything(app)) and
                     "取得中…" not in [name for _, name, _ in everything(app)],
                     "the %s screen" % category)
            check_no_foreign_words(app, "the %s screen" % category)
        finally:
            stop(app_process)
    print("OK")


def stop(process):
    process.terminate()
    try:
        process.wait(5)
    except subprocess.TimeoutExpired:
        process.kill()


if __name__ == "__main__":
    main()
