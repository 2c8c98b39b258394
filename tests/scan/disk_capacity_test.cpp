#include <sys/statvfs.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "scan/disk_capacity.h"
#include "support/scoped_mount.h"
#include "support/temp_tree.h"

using namespace kelvane;

TEST(DiskCapacity, FiguresAreThoseOfTheRootVolume) {
    struct statvfs before {};
    ASSERT_EQ(::statvfs("/", &before), 0);
    const auto disk = DiskCapacity::current();
    struct statvfs after {};
    ASSERT_EQ(::statvfs("/", &after), 0);
    ASSERT_TRUE(disk);

    EXPECT_EQ(disk->total, static_cast<std::int64_t>(before.f_blocks * before.f_frsize));
    // Others write to the disk meanwhile: the reading must lie between the two around it.
    const auto a = static_cast<std::int64_t>(before.f_bavail * before.f_frsize);
    const auto b = static_cast<std::int64_t>(after.f_bavail * after.f_frsize);
    EXPECT_GE(disk->available, std::min(a, b));
    EXPECT_LE(disk->available, std::max(a, b));
    EXPECT_EQ(disk->availableForImportant, disk->available);
    // The reserve is a fixed number of blocks, whatever others write meanwhile.
    EXPECT_EQ(disk->reservedForRoot,
              static_cast<std::int64_t>((before.f_bfree - before.f_bavail) * before.f_frsize));
    EXPECT_GT(disk->total, disk->available);
}

TEST(DiskCapacity, AHomeOnAnotherVolumeIsMeasuredAtItsMountPoint) {
    EXPECT_EQ(DiskCapacity::homeVolume("/"), std::nullopt);
    EXPECT_EQ(DiskCapacity::homeVolume("/no/such/home"), std::nullopt);
    test::TempTree dir;
    ASSERT_TRUE(dir.dir("vol"));
    const auto mount = test::ScopedMount::tmpfs(dir / "vol");
    if (mount.error() != 0) GTEST_SKIP() << "mounting needs root here";
    ASSERT_TRUE(dir.dir("vol/home") && dir.dir("vol/home/user"));
    const auto volume = DiskCapacity::homeVolume(dir / "vol/home/user");
    ASSERT_TRUE(volume);
    EXPECT_EQ(volume->mountPoint, dir / "vol");
    EXPECT_EQ(volume->disk.total, 64 << 20);  // the size the test mount was given
    EXPECT_LE(volume->disk.available, volume->disk.total);
    EXPECT_EQ(volume->disk.reservedForRoot, 0);  // tmpfs keeps nothing back for root
}
