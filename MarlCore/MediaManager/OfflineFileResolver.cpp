// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/OfflineFileResolver.h>

namespace marl {

bool OfflineFileResolver::willSearchFolder(const std::string&) {
    return true;
}
void OfflineFileResolver::folderIsUnreadable(const std::string&) {}
void OfflineFileResolver::searchWasInVain(const MissingFile&, const std::vector<std::string>&, bool) {}
void OfflineFileResolver::fileIsNotUsable(const MissingFile&, const std::string&, const std::string&) {}
void OfflineFileResolver::didReconnect(const MissingFile&, const platform::URL&) {}

}  // namespace marl
