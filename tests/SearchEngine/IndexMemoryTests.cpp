// SPDX-License-Identifier: MIT
// A file with holes can be as long as the greatest lie of its header; reading it takes little memory all the
// same.
#include "Files/AllocationMeter.h"
#include "IndexedLoops.h"
#include "support/Bytes.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

namespace {

using support::Bytes;

TEST(IndexFileMemory, IsNotTakenForWhatAForgedFileClaims) {
    constexpr std::int64_t kFiles = std::numeric_limits<std::int32_t>::max();
    constexpr auto kLocation = static_cast<std::uint64_t>(1064 + 1464 * kFiles);
    const support::TemporaryFolder folder;
    for (const std::int32_t entries : {0, 1, std::numeric_limits<std::int32_t>::max()}) {
        Bytes header;
        header.big32(2).big32(0xABCDDCBA).big32(1).big32(1).big32(kFiles).big32(0x10000).big64(kLocation);
        const std::string path = folder.write("index", header.big32(entries).zeros(1028));
        std::filesystem::resize_file(path,
                                     kLocation + std::uint64_t{40} * static_cast<std::uint32_t>(entries));
        const support::AllocationMeter meter;
        const marl::CIndexFileRef file = support::openIndex(path);
        EXPECT_EQ(file->getState(), marl::kIndexIsDamaged);
        marl::CFileIndexInfo record;
        file->writeFileInfo(1, record);
        EXPECT_LT(meter.mostLiveBytes(), std::size_t{1} << 20) << entries;
    }
}

}  // namespace
