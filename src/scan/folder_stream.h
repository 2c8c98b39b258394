#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "core/unique_fd.h"

namespace kelvane {

// One name in a folder, as the kernel lists it.
struct FolderItem {
    const char* name = nullptr;  // NUL-terminated; valid until the stream's next call
    std::size_t room = 0;        // bytes the name may take in its record, its NUL included
    ino_t ino = 0;
    // What the folder says the item is (DT_DIR, DT_REG, ...); DT_UNKNOWN where the file
    // system does not say. Only a hint: the item may change before anyone looks at it.
    unsigned char type = 0;

    // Measured only when asked: most items are examined by name and never need the length.
    std::string_view view() const { return {name, ::strnlen(name, room)}; }
};

// Reads the names of one open folder with getdents64 into a fixed buffer, a batch at a time, so
// a folder of any width costs the same memory; "." and ".." are left out. A walk that must give
// its descriptor back can park the stream (descriptor closed, buffer freed) and later resume it
// on a fresh descriptor of the same folder, just after the last name it had returned.
class FolderStream {
  public:
    enum class Step { item, end, failed };
    using Buffer = std::unique_ptr<std::byte[]>;

    // `fillsEachRead`: the folder's file system is one whose kernel code hands out names until
    // the buffer is full or the folder has ended (ext4, XFS, Btrfs, tmpfs), so a read that left
    // room for the longest possible name was the last, and the read that would only confirm the
    // end is saved: one call per small folder instead of two. Elsewhere (FUSE, NFS, ...) a short
    // read proves nothing and the stream reads on until the kernel returns nothing.
    // `buffer`, when given, is one that another stream gave back with takeBuffer(): a walk
    // that opens folder after folder reuses a few instead of allocating one per folder.
    explicit FolderStream(UniqueFd fd, bool fillsEachRead = false, Buffer buffer = {});

    // Whether the file system of the folder open as `fd` is one that fills each read.
    static bool fillsEachRead(int fd);

    // The next name, the end of the folder, or a failed read (the folder is then cut short).
    Step next(FolderItem& item);

    int fd() const { return fd_.get(); }
    bool parked() const { return !fd_.valid(); }

    // Keeps only where to go on, and gives the descriptor and the buffer back. Called before
    // next() is called again, so the last returned record is still in the buffer.
    void park();

    // Gives the buffer to whoever opens the next stream; this one is not read again.
    Buffer takeBuffer() { return std::move(buffer_); }

    // Continues on `fd`, a new descriptor of the parked folder. False when the folder no longer
    // lists the last name returned before parking (it changed meanwhile): the stream then ends.
    bool resume(UniqueFd fd);

  private:
    bool fill();
    bool seekTo(off_t position);
    bool skipPastMark();

    UniqueFd fd_;
    Buffer buffer_;
    std::size_t filled_ = 0;
    std::size_t used_ = 0;
    bool ended_ = false;
    bool fillsEachRead_ = false;
    bool lastBatch_ = false;  // the batch in the buffer is the folder's last
    // Directory positions are cookies the file system hands out (d_off): `position_` is where
    // the next record begins, `lastStart_` where the last returned one began.
    off_t position_ = 0;
    off_t lastStart_ = 0;
    std::size_t lastAt_ = 0;  // where the last returned record sits in the buffer
    bool returnedAny_ = false;
    // While parked: the last returned name, to find the place again. The cookie alone is not
    // trusted across descriptors, so the name and inode confirm it.
    struct Mark {
        off_t start = 0;
        ino_t ino = 0;
        std::string name;
    };
    Mark mark_;
};

}  // namespace kelvane
