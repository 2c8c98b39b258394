// kelvane-admin: does, with the rights it was started with (root, through
// pkexec), exactly what the app asks and nothing more.
//
// Without arguments it deletes the paths the app hands it on standard
// input, each followed by a NUL byte. Every path goes through the same rules
// and the same remover as the user's own deletion; symbolic links among a
// path's parent folders are trusted only when root or the user who asked for
// the deletion (PKEXEC_UID) owns them. It answers one line per path on
// standard output (see system/admin_protocol.h).
//
// "list-snapshots" prints the local snapshots only root can list;
// "delete-snapshots" deletes the snapshots given on standard input (a
// Snapper configuration's number, a Timeshift name, or a path that must be
// a read-only Btrfs snapshot) and answers one result per snapshot (see
// system/snapshot_tools.h).
//
// Exits 0 when everything asked for was done, 1 when some was not, 2 when
// it could not read its request.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <string>

#include "system/admin_protocol.h"
#include "system/fd_io.h"
#include "system/snapshot_tools.h"
#include "system/tree_remover.h"

namespace {

using kelvane::DeletionRules::LinkTrust;

// The user on whose behalf we run: pkexec names them; run directly, we act
// for whoever started us.
LinkTrust askingUser() {
    LinkTrust trust{::getuid()};
    if (const char* text = std::getenv("PKEXEC_UID")) {
        const std::string_view value(text);
        uid_t uid = 0;
        const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), uid);
        if (ec == std::errc() && end == value.data() + value.size()) trust.user = uid;
    }
    return trust;
}

int snapshots(const std::string& what) {
    using namespace kelvane;
    if (what == "list-snapshots") {
        const std::string list = SnapshotTools::encode(SnapshotTools::listAsRoot());
        return FdIo::writeAll(STDOUT_FILENO, list) ? 0 : 2;
    }
    std::string request;
    if (!FdIo::readAll(STDIN_FILENO, request)) return 2;
    const auto wanted = SnapshotTools::decode(request);
    if (!wanted) return 2;
    DeletionRules::Locator locator(askingUser());
    const std::vector<std::optional<std::string>> errors =
        SnapshotTools::deleteAllAsRoot(*wanted, locator);
    const std::string answer = SnapshotTools::encodeResults(errors, SnapshotTools::listAsRoot());
    if (!FdIo::writeAll(STDOUT_FILENO, answer)) return 2;
    return std::all_of(errors.begin(), errors.end(), [](const auto& e) { return !e; }) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace kelvane;
    if (argc == 2 && (std::string_view(argv[1]) == "list-snapshots" ||
                      std::string_view(argv[1]) == "delete-snapshots")) {
        return snapshots(argv[1]);
    }
    if (argc != 1) return 2;
    std::string request;
    if (!FdIo::readAll(STDIN_FILENO, request)) return 2;
    DeletionRules::Locator locator(askingUser());
    bool allGone = true;
    const std::vector<std::string> paths = AdminProtocol::decodeRequest(request);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        // The app only sends absolute paths; anything else would be resolved
        // against whatever folder pkexec left us in.
        const std::optional<FileError> error = paths[i].starts_with('/')
                                                   ? TreeRemover::remove(paths[i], locator)
                                                   : FileError::fromErrno(EINVAL);
        allGone = allGone && !error;
        // Answer as we go, so that a helper stopped half way still tells
        // what it did.
        if (!FdIo::writeAll(STDOUT_FILENO, AdminProtocol::encodeResult(i, error))) return 2;
    }
    return allGone ? 0 : 1;
}
