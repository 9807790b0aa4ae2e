// SPDX-License-Identifier: MIT
/// docs/index-file-format.md shows a file byte for byte; this is what the library writes.
#include "IndexFilePlaces.h"
#include "IndexedLoops.h"
#include "support/DocumentedFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace support {
namespace {

TEST(IndexFilePage, ShowsTheFileThatIsWritten) {
    const TemporaryFolder folder;
    const std::string path = folder.path("Search Index.txt");
    buildExample(path);
    EXPECT_EQ(indexDifference("docs/index-file-format.md", contentsOf(path)), "");
}

}  // namespace
}  // namespace support
