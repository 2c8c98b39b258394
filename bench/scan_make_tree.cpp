// kelvane-scan-make-tree [--files N] [--folders N] [--seed N] DIR
// kelvane-scan-make-tree --flat N DIR
// kelvane-scan-make-tree --depth N DIR
//
// Builds a reproducible synthetic home-like tree under DIR (which must not exist yet) for
// kelvane-scan-bench: by default 300,000 files in 30,000 folders, nesting up to 12 levels, about
// 1% of the files extra hard links to other files, a few hundred symbolic links (some dangling,
// some to folders), mostly small files with a long tail of big ones, and some names with spaces,
// Japanese text or bytes that are not UTF-8. The same seed gives the same tree.
//
// --flat N makes one folder of N empty files instead (a wide folder); --depth N a chain of N
// nested folders with a small file in each (deeper than PATH_MAX lets a path name). Both create
// every item relative to an open folder, the fastest way the kernel offers.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int kMaxDepth = 12;

struct Folder {
    std::string path;
    int depth;
};

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    int run(const std::string& root, int folderCount, int fileCount) {
        if (::mkdir(root.c_str(), 0755) != 0) return fail("mkdir " + root);
        folders_.push_back({root, 0});
        for (int i = 1; i < folderCount; ++i) {
            // Prefer recent folders as parents so chains grow deep, as real caches do.
            const std::size_t parent = pickParent();
            const Folder& up = folders_[parent];
            Folder made{up.path + "/" + name("d", i), up.depth + 1};
            if (::mkdir(made.path.c_str(), 0755) != 0) return fail("mkdir " + made.path);
            folders_.push_back(std::move(made));
        }
        const std::string block(1 << 20, 'k');
        for (int i = 0; i < fileCount; ++i) {
            const std::string path = folders_[anyFolder()].path + "/" + name("f", i);
            if (chance(0.01) && !files_.empty()) {  // another name for an existing file
                const std::string& existing = files_[index(files_.size())];
                if (::link(existing.c_str(), path.c_str()) != 0) return fail("link " + path);
                ++links_;
                continue;
            }
            if (chance(0.001)) {
                const bool toFolder = chance(0.5);
                const std::string target =
                    toFolder ? folders_[anyFolder()].path : path + ".missing";
                if (::symlink(target.c_str(), path.c_str()) != 0) return fail("symlink " + path);
                ++symlinks_;
                continue;
            }
            if (!writeFile(path, fileSize(), block)) return 1;
            files_.push_back(path);
        }
        std::printf(
            "root=%s\nfolders=%zu\nfiles=%zu\nhard_links=%d\nsymlinks=%d\nbytes_written=%lld\n",
            root.c_str(), folders_.size(), files_.size(), links_, symlinks_,
            static_cast<long long>(written_));
        return 0;
    }

  private:
    std::size_t index(std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_);
    }
    bool chance(double p) { return std::bernoulli_distribution(p)(random_); }

    std::size_t pickParent() {
        for (int attempt = 0; attempt < 8; ++attempt) {
            const std::size_t n = folders_.size();
            const std::size_t candidate =
                chance(0.6) ? n - 1 - index(std::min<std::size_t>(n, 20)) : index(n);
            if (folders_[candidate].depth < kMaxDepth) return candidate;
        }
        return 0;
    }

    std::size_t anyFolder() { return index(folders_.size()); }

    std::string name(const char* kind, int i) {
        std::string n = std::string(kind) + std::to_string(i);
        const int style = static_cast<int>(index(100));
        if (style < 3) n += " copy (2)";
        if (style == 3) n += "_キャッシュ";
        if (style == 4) n += "\xff\xfe";  // not UTF-8
        if (style >= 5 && style < 15) n = "." + n;
        return n;
    }

    // Mostly small files, a long tail of large ones: about 3.5 KB on average.
    std::size_t fileSize() {
        const double r = std::uniform_real_distribution<double>(0, 1)(random_);
        if (r < 0.45) return index(1024);
        if (r < 0.95) return 1024 + index(7 * 1024);
        if (r < 0.995) return 8 * 1024 + index(56 * 1024);
        return 64 * 1024 + index(960 * 1024);
    }

    bool writeFile(const std::string& path, std::size_t size, const std::string& block) {
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd < 0) return fail("open " + path) == 0;
        bool ok = true;
        for (std::size_t left = size; left > 0 && ok;) {
            const std::size_t chunk = std::min(left, block.size());
            const ssize_t n = ::write(fd, block.data(), chunk);
            ok = n > 0;
            if (ok) left -= static_cast<std::size_t>(n);
        }
        if (::close(fd) != 0) ok = false;
        if (!ok) return fail("write " + path) == 0;
        written_ += static_cast<long long>(size);
        return true;
    }

    int fail(const std::string& what) {
        std::fprintf(stderr, "%s: %s\n", what.c_str(), std::strerror(errno));
        return 1;
    }

    std::mt19937_64 random_;
    std::vector<Folder> folders_;
    std::vector<std::string> files_;
    int links_ = 0;
    int symlinks_ = 0;
    long long written_ = 0;
};

int failed(const char* what) {
    std::fprintf(stderr, "%s: %s\n", what, std::strerror(errno));
    return 1;
}

int makeFlat(const std::string& root, int files) {
    if (::mkdir(root.c_str(), 0755) != 0) return failed("mkdir");
    const int dir = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0) return failed("open");
    for (int i = 0; i < files; ++i) {
        const std::string name = "file-" + std::to_string(i);
        const int fd = ::openat(dir, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (fd < 0 || ::close(fd) != 0) return failed(name.c_str());
    }
    std::printf("root=%s\nfiles=%d\n", root.c_str(), files);
    return ::close(dir) == 0 ? 0 : failed("close");
}

int makeChain(const std::string& root, int depth) {
    if (::mkdir(root.c_str(), 0755) != 0) return failed("mkdir");
    int dir = ::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int level = 0; level < depth && dir >= 0; ++level) {
        const int file = ::openat(dir, "file", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (file < 0 || ::write(file, "kelvane", 7) != 7 || ::close(file) != 0)
            return failed("file");
        if (::mkdirat(dir, "level", 0755) != 0) return failed("mkdirat");
        const int next = ::openat(dir, "level", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (::close(dir) != 0) return failed("close");
        dir = next;
    }
    if (dir < 0) return failed("openat");
    std::printf("root=%s\nfolders=%d\nfiles=%d\n", root.c_str(), depth + 1, depth);
    return ::close(dir) == 0 ? 0 : failed("close");
}

}  // namespace

int main(int argc, char** argv) {
    int files = 300'000;
    int folders = 30'000;
    int flat = 0;
    int depth = 0;
    unsigned seed = 20240601;
    std::string root;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--flat" && i + 1 < argc) {
            flat = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--depth" && i + 1 < argc) {
            depth = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--files" && i + 1 < argc) {
            files = std::atoi(argv[++i]);
        } else if (arg == "--folders" && i + 1 < argc) {
            folders = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--seed" && i + 1 < argc) {
            seed = static_cast<unsigned>(std::strtoul(argv[++i], nullptr, 10));
        } else {
            root = arg;
        }
    }
    if (root.empty()) {
        std::fprintf(stderr,
                     "usage: kelvane-scan-make-tree [--files N] [--folders N] [--seed N] DIR\n"
                     "       kelvane-scan-make-tree --flat N DIR\n"
                     "       kelvane-scan-make-tree --depth N DIR\n");
        return 2;
    }
    if (flat > 0) return makeFlat(root, flat);
    if (depth > 0) return makeChain(root, depth);
    return Generator(seed).run(root, folders, files);
}
