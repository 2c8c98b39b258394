// kelvane-scan: Kelvane's tree walk without the window, for machines without a desktop.
//
//   kelvane-scan [-x] [--threads N] PATH      prints "BYTES<TAB>PATH", what `du -sB1 -x` prints
//   kelvane-scan [-x] -o FILE PATH            writes ncdu's JSON export of the tree (- = stdout)
//   kelvane-scan -f FILE                      reads an export (ncdu, gdu, kelvane-scan; - = stdin)
//                                             and prints the same line for its root
//
// The walk never leaves the root's file system, so -x is what it always does. Progress goes to
// standard error while it is a terminal. Exits 0 on success, 1 when the tree could not be read
// completely or the export not at all, 2 for a wrong command line.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "core/fmt.h"
#include "core/unique_fd.h"
#include "scan/export_walk.h"
#include "scan/exported_tree.h"
#include "scan/scanner.h"
#include "scan/size_store.h"

namespace {

using namespace kelvane;

constexpr std::string_view kUsage =
    "使い方: kelvane-scan [-x] [--threads N] [-o FILE] PATH\n"
    "        kelvane-scan -f FILE\n"
    "  PATH の使用領域（ハードリンクは 1 回）を「バイト数<TAB>PATH」で表示します。\n"
    "  -x            ひとつのファイルシステムだけを調べます（常にこの動作です）\n"
    "  --threads N   走査に使うスレッドの上限\n"
    "  -o FILE       ncdu の JSON エクスポート形式で FILE に書き出します（- は標準出力）\n"
    "  -f FILE       エクスポート（ncdu、gdu、kelvane-scan）を読み込みます（- は標準入力）\n";

struct Options {
    std::string path;
    std::optional<std::string> output;
    std::optional<std::string> input;
    int threads = 0;
};

void say(const std::string& text) {
    std::fputs(("kelvane-scan: " + text + "\n").c_str(), stderr);
}

std::string reason(int error) {
    switch (error) {
        case ENOENT:
            return "見つかりません";
        case EACCES:
            return "アクセスが拒否されました";
        case ENOTDIR:
            return "途中にフォルダでないものがあります";
        case ENOSPC:
            return "空き領域がありません";
        default:
            return std::strerror(error);
    }
}

// One line on standard error, redrawn at most ten times a second, and only on a terminal.
class ProgressLine {
  public:
    ProgressLine() : enabled_(::isatty(STDERR_FILENO) == 1) {}
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void show(std::int64_t items, std::int64_t bytes) {
        if (!enabled_) return;
        const auto now = std::chrono::steady_clock::now();
        if (shown_ && now - last_ < std::chrono::milliseconds(100)) return;
        last_ = now;
        shown_ = true;
        std::fprintf(stderr, "\r\033[K走査中: %lld 項目, %s", static_cast<long long>(items),
                     Fmt::bytes(bytes).c_str());
        std::fflush(stderr);
    }

    // Takes the line away before anything else is printed on the terminal it shares.
    void clear() {
        if (shown_) std::fputs("\r\033[K", stderr);
        shown_ = false;
    }

  private:
    const bool enabled_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point last_;
};

void printTotal(std::int64_t bytes, std::string_view path) {
    std::printf("%lld\t%.*s\n", static_cast<long long>(bytes), static_cast<int>(path.size()),
                path.data());
}

// The root's name in an export is an absolute path, as ncdu writes it.
std::string absoluteName(const std::string& path) {
    if (const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                               &std::free);
        real) {
        return real.get();
    }
    if (!path.empty() && path.front() == '/') return path;
    std::string cwd(4096, '\0');
    if (::getcwd(cwd.data(), cwd.size()) == nullptr) return path;
    cwd.resize(std::strlen(cwd.c_str()));
    return cwd + "/" + path;
}

// The root must exist and, when it is a folder, be listable: otherwise there is nothing to say.
bool rootUsable(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 && ::lstat(path.c_str(), &status) != 0) {
        say("「" + path + "」を調べられません: " + reason(errno));
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!fd.valid()) {
            say("「" + path + "」を読み取れません: " + reason(errno));
            return false;
        }
    }
    return true;
}

int reportUnreadable(std::int64_t unreadable) {
    if (unreadable == 0) return 0;
    say("読み取れなかった項目が " + std::to_string(unreadable) +
        " 個あります（合計に含まれません）");
    return 1;
}

int measure(const Options& options) {
    if (!rootUsable(options.path)) return 1;
    SizeStore store;
    ProgressLine progress;
    std::int64_t polls = 0;
    ScanOptions scanOptions;
    scanOptions.threads = options.threads;
    scanOptions.countMountPoints = false;
    const ScanStats stats = Scanner::scan(
        options.path, store,
        [&](std::int64_t bytes) { progress.show(++polls * Scanner::kPollInterval, bytes); }, {},
        scanOptions);
    progress.clear();
    printTotal(stats.bytes, options.path);
    return reportUnreadable(stats.unreadable);
}

int exportTo(const Options& options) {
    if (!rootUsable(options.path)) return 1;
    const bool toStdout = *options.output == "-";
    UniqueFd file;
    if (!toStdout) {
        file = UniqueFd(
            ::open(options.output->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
        if (!file.valid()) {
            say("「" + *options.output + "」に書き込めません: " + reason(errno));
            return 1;
        }
    }
    ProgressLine progress;
    const ExportWalkResult result = exportTree(
        options.path, absoluteName(options.path), toStdout ? STDOUT_FILENO : file.get(),
        [&](std::int64_t items, std::int64_t bytes) {
            progress.show(items, bytes);
            return true;
        },
        options.threads);
    progress.clear();
    if (result.rootErrno != 0) {
        say("「" + options.path + "」を調べられません: " + reason(result.rootErrno));
        return 1;
    }
    int writeErrno = result.writeErrno;
    if (file.valid() && file.reset() != 0 && writeErrno == 0) writeErrno = errno;
    if (writeErrno != 0) {
        say("エクスポートを書き込めません: " + reason(writeErrno));
        return 1;
    }
    // With the export on standard output, the total would only get in its way.
    if (!toStdout) printTotal(result.stats.bytes, options.path);
    return reportUnreadable(result.stats.unreadable);
}

int importFrom(const Options& options) {
    const bool fromStdin = *options.input == "-";
    UniqueFd file;
    if (!fromStdin) {
        file = UniqueFd(::open(options.input->c_str(), O_RDONLY | O_CLOEXEC));
        if (!file.valid()) {
            say("「" + *options.input + "」を開けません: " + reason(errno));
            return 1;
        }
    }
    std::variant<ExportedTree, ExportError> loaded =
        ExportedTree::read(fromStdin ? STDIN_FILENO : file.get());
    if (const ExportError* error = std::get_if<ExportError>(&loaded)) {
        say("「" + *options.input + "」をエクスポートとして読み込めません（" +
            std::to_string(error->offset) + " バイト目）: " + error->message);
        return 1;
    }
    const ExportedTree& tree = std::get<ExportedTree>(loaded);
    printTotal(tree.bytes(tree.root()), tree.name(tree.root()));
    return 0;
}

// Returns the options, or the exit status when the command line says to stop.
std::variant<Options, int> parse(int argc, char** argv) {
    Options options;
    bool havePath = false;
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        const auto value = [&](std::string_view flag) -> const char* {
            if (i + 1 < argc) return argv[++i];
            say(std::string(flag) + " には値が必要です");
            return nullptr;
        };
        if (arg == "-h" || arg == "--help") {
            std::fputs(kUsage.data(), stdout);
            return 0;
        } else if (arg == "-x" || arg == "--one-file-system") {
            // Always so: Kelvane's walk never enters another mount.
        } else if (arg == "--cross-mounts" || arg == "--cross-file-system") {
            say("マウントポイントを越えた走査には対応していません（Kelvane の走査は常にひとつの"
                "ファイルシステムの中だけを調べます）");
            return 2;
        } else if (arg == "--threads" || arg == "-t" || arg.starts_with("--threads=")) {
            const char* text = arg.starts_with("--threads=") ? argv[i] + 10 : value(arg);
            if (text == nullptr) return 2;
            char* end = nullptr;
            errno = 0;
            const long threads = std::strtol(text, &end, 10);
            if (*text == '\0' || *end != '\0' || errno != 0 || threads < 1 || threads > 1024) {
                say("--threads には 1 から 1024 までの整数を指定してください");
                return 2;
            }
            options.threads = static_cast<int>(threads);
        } else if (arg == "-o" || arg == "-f") {
            const char* text = value(arg);
            if (text == nullptr) return 2;
            (arg == "-o" ? options.output : options.input) = text;
        } else if (arg.size() > 1 && arg.front() == '-' && arg != "--") {
            say("不明なオプションです: " + std::string(arg));
            std::fputs(kUsage.data(), stderr);
            return 2;
        } else {
            if (arg == "--" && i + 1 < argc) ++i;
            if (havePath) {
                say("PATH はひとつだけ指定してください");
                return 2;
            }
            options.path = argv[i];
            havePath = true;
        }
    }
    if (options.input ? (havePath || options.output) : !havePath) {
        std::fputs(kUsage.data(), stderr);
        return 2;
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const std::variant<Options, int> parsed = parse(argc, argv);
    if (const int* status = std::get_if<int>(&parsed)) return *status;
    const Options& options = std::get<Options>(parsed);
    int status = 0;
    if (options.input) {
        status = importFrom(options);
    } else if (options.output) {
        status = exportTo(options);
    } else {
        status = measure(options);
    }
    if (std::fflush(stdout) != 0) {
        say("標準出力に書き込めません: " + reason(errno));
        return 1;
    }
    return status;
}
