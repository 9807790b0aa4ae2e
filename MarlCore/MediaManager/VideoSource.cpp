// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/VideoSource.h>

#include <MarlCore/Common/MarlPreferenceKeys.h>
#include <MarlCore/platform/NotificationCenter.h>

namespace marl {
namespace {

void post(std::string_view name, const MediaSource* source) {
    platform::NotificationCenter::defaultCenter().postNotification(name, source);
}

}  // namespace

void VideoSource::wrappedObjectWillChange() {
    if (!isOffline()) post(MarlCoreVideoSourceWillGoOfflineNotification, this);
}

void VideoSource::wrappedObjectDidChange() {
    if (!isOffline()) post(MarlCoreVideoSourceDidGoOnlineNotification, this);
}

}  // namespace marl
