#include "scan/folder_stream.h"

#include <dirent.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

namespace kelvane {
namespace {

// Large enough that a folder of a few hundred names is read in one call, small enough that a
// walker keeping a window of open folders stays in the hundreds of kilobytes.
constexpr std::size_t kBufferBytes = 32 * 1024;

// The fixed head of a linux_dirent64 record: d_ino (8 bytes), d_off (8), d_reclen (2),
// d_type (1), then the NUL-terminated name. Read field by field, since the buffer holds
// records of varying length that no C++ type describes.
constexpr std::size_t kInoAt = 0;
constexpr std::size_t kOffAt = 8;
constexpr std::size_t kLengthAt = 16;
constexpr std::size_t kTypeAt = 18;
constexpr std::size_t kNameAt = 19;
// The longest record a name of NAME_MAX bytes takes, padded to 8 bytes.
constexpr std::size_t kLongestRecord = (kNameAt + 255 + 1 + 7) / 8 * 8;

template <typename T>
T field(const std::byte* record, std::size_t at) {
    T value;
    std::memcpy(&value, record + at, sizeof value);
    return value;
}

bool isDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

FolderStream::FolderStream(UniqueFd fd, bool fillsEachRead, Buffer buffer)
    : fd_(std::move(fd)),
      buffer_(buffer ? std::move(buffer)
                     : std::make_unique_for_overwrite<std::byte[]>(kBufferBytes)),
      fillsEachRead_(fillsEachRead) {}

bool FolderStream::fillsEachRead(int fd) {
    struct statfs info {};
    if (::fstatfs(fd, &info) != 0) return false;
    switch (static_cast<unsigned long>(info.f_type)) {
        case EXT4_SUPER_MAGIC:  // also ext2 and ext3, which share the magic and the code
        case XFS_SUPER_MAGIC:
        case BTRFS_SUPER_MAGIC:
        case TMPFS_MAGIC:
            return true;
        default:
            return false;
    }
}

bool FolderStream::fill() {
    const ssize_t got = ::getdents64(fd_.get(), buffer_.get(), kBufferBytes);
    if (got < 0) return false;
    filled_ = static_cast<std::size_t>(got);
    used_ = 0;
    if (got == 0) ended_ = true;
    lastBatch_ = fillsEachRead_ && filled_ + kLongestRecord <= kBufferBytes;
    return true;
}

FolderStream::Step FolderStream::next(FolderItem& item) {
    for (;;) {
        if (ended_) return Step::end;
        if (used_ >= filled_) {
            if (lastBatch_) {
                ended_ = true;
                continue;
            }
            if (!fill()) {
                ended_ = true;
                return Step::failed;
            }
            continue;
        }
        const std::byte* const record = buffer_.get() + used_;
        const auto length = field<std::uint16_t>(record, kLengthAt);
        if (length <= kNameAt || used_ + length > filled_) {  // never from a sane kernel
            ended_ = true;
            return Step::failed;
        }
        const std::size_t at = used_;
        used_ += length;
        const off_t start = position_;
        position_ = static_cast<off_t>(field<std::int64_t>(record, kOffAt));
        const char* const name = reinterpret_cast<const char*>(record + kNameAt);
        if (isDot(name)) continue;
        lastStart_ = start;
        lastAt_ = at;
        returnedAny_ = true;
        item.name = name;
        item.room = length - kNameAt;
        item.ino = static_cast<ino_t>(field<std::uint64_t>(record, kInoAt));
        item.type = field<std::uint8_t>(record, kTypeAt);
        return Step::item;
    }
}

void FolderStream::park() {
    if (parked()) return;
    mark_ = Mark{};
    if (returnedAny_) {
        const std::byte* const record = buffer_.get() + lastAt_;
        const char* const name = reinterpret_cast<const char*>(record + kNameAt);
        const auto length = field<std::uint16_t>(record, kLengthAt);
        mark_ = Mark{lastStart_, static_cast<ino_t>(field<std::uint64_t>(record, kInoAt)),
                     std::string(name, ::strnlen(name, length - kNameAt))};
    }
    fd_.reset();
    buffer_.reset();
}

bool FolderStream::seekTo(off_t position) {
    if (::lseek(fd_.get(), position, SEEK_SET) < 0) return false;
    position_ = position;
    filled_ = used_ = 0;
    ended_ = false;
    lastBatch_ = false;
    return true;
}

bool FolderStream::skipPastMark() {
    FolderItem item;
    while (next(item) == Step::item) {
        if (item.ino == mark_.ino && item.view() == mark_.name) return true;
    }
    return false;
}

bool FolderStream::resume(UniqueFd fd) {
    fd_ = std::move(fd);
    buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBufferBytes);
    if (!returnedAny_) {
        if (seekTo(0)) return true;
        ended_ = true;
        return false;
    }
    // Normally the remembered cookie leads straight to the marked name; when the file system
    // does not keep cookies across descriptors, reading again from the start finds it.
    if (seekTo(mark_.start) && skipPastMark()) return true;
    if (seekTo(0) && skipPastMark()) return true;
    ended_ = true;
    return false;
}

}  // namespace kelvane
