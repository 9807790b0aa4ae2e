// SPDX-License-Identifier: MIT
/// \file
/// The names of settings and of notifications.
#pragma once

#include <string_view>

namespace marl {

// ---- Keys of `MarlPreferences` ----
//
// Meanings, units and default values stand in the resource "Default Values.plist".

inline constexpr std::string_view MarlDefaultSampleRateKey = "Default Sample Rate";
inline constexpr std::string_view MarlDefaultBitDepthKey = "Default Bit Depth";
inline constexpr std::string_view MarlDefaultSongDurationKey = "Default Song Duration";
inline constexpr std::string_view MarlDefaultPatternDurationKey = "Default Pattern Duration";
inline constexpr std::string_view MarlNumberOfBeatsPerMeasureKey = "Number Of Beats Per Measure";
inline constexpr std::string_view MarlDefaultNumberOfRowsKey = "Default Number Of Rows";
inline constexpr std::string_view MarlDefaultRowGainKey = "Default Row Gain";
inline constexpr std::string_view MarlDefaultRowPanKey = "Default Row Pan";
inline constexpr std::string_view MarlDefaultMasterGainKey = "Default Master Gain";
inline constexpr std::string_view MarlDefaultMasterPanKey = "Default Master Pan";
inline constexpr std::string_view MarlDefaultTransposeKey = "Default Transpose";
inline constexpr std::string_view MarlMinimumTransposeKey = "Minimum Transpose";
inline constexpr std::string_view MarlMaximumTransposeKey = "Maximum Transpose";
inline constexpr std::string_view MarlMinimumGainKey = "Minimum Gain";
inline constexpr std::string_view MarlMaximumGainKey = "Maximum Gain";
inline constexpr std::string_view MarlMinimumPanKey = "Minimum Pan";
inline constexpr std::string_view MarlMaximumPanKey = "Maximum Pan";
inline constexpr std::string_view MarlMinimumTempoKey = "Minimum Tempo";
inline constexpr std::string_view MarlMaximumTempoKey = "Maximum Tempo";
inline constexpr std::string_view MarlDefaultTempoKey = "Default Tempo";
inline constexpr std::string_view MarlDefaultBaseKeyKey = "Default Base Key";
inline constexpr std::string_view MarlDefaultTimeSignatureTopKey = "Default Time Signature Top";
inline constexpr std::string_view MarlDefaultTimeSignatureBottomKey = "Default Time Signature Bottom";
inline constexpr std::string_view MarlDefaultLoopRangeStartKey = "Default Loop Range Start";
inline constexpr std::string_view MarlDefaultLoopRangeEndKey = "Default Loop Range End";
inline constexpr std::string_view MarlHorizontalZoomFactorKey = "Horizontal Zoom Factor";
inline constexpr std::string_view MarlVerticalZoomFactorKey = "Vertical Zoom Factor";
inline constexpr std::string_view MarlMinimumPixelsPerBeatKey = "Minimum Pixels Per Beat";
inline constexpr std::string_view MarlDefaultPixelsPerBeatKey = "Default Pixels Per Beat";
inline constexpr std::string_view MarlDefaultVerticalZoomKey = "Default Vertical Zoom";
inline constexpr std::string_view MarlDefaultPatternRowHeightKey = "Default Pattern Row Height";
inline constexpr std::string_view MarlDefaultTrackHeightKey = "Default Track Height";
inline constexpr std::string_view MarlTruncateSectionNamesKey = "Truncate Section Names";
inline constexpr std::string_view MarlScaleMovieViewKey = "Scale Movie View";
inline constexpr std::string_view MarlAudioSectionMarginKey = "Audio Section Margin";
inline constexpr std::string_view MarlAudioSectionGrowMarginKey = "Audio Section Grow Margin";
inline constexpr std::string_view MarlDefaultQuantizationKey = "Default Quantization";
inline constexpr std::string_view MarlDefaultSnapToMarkersKey = "Snap to Markers";
inline constexpr std::string_view MarlDefaultSnappingKey = "Snapping";
inline constexpr std::string_view MarlAudioSectionLabelFontSizeKey = "Audio Section Label Font Size";
inline constexpr std::string_view MarlPeaksTableIntervalKey = "Peaks Table Interval";
inline constexpr std::string_view MarlWaveformOpacityKey = "Waveform Opacity";
inline constexpr std::string_view MarlGhostedAudioSectionOpacityKey = "Ghosted Audio Section Opacity";
inline constexpr std::string_view MarlPatternRowHeightKey = "Pattern Row Height";
inline constexpr std::string_view MarlPatternMarginKey = "Pattern Instance Margin";
inline constexpr std::string_view MarlPatternGrowMarginKey = "Pattern Instance Grow Margin";
inline constexpr std::string_view MarlPatternLabelFontSizeKey = "Pattern Instance Label Font Size";
inline constexpr std::string_view MarlVideoRowHeightKey = "Video Row Height";
inline constexpr std::string_view MarlBeatsRulerHeightKey = "Beats Ruler Height";
inline constexpr std::string_view MarlBeatsLabelFontSizeKey = "Beats Label Font Size";
inline constexpr std::string_view MarlTickHeightKey = "Tick Height";
inline constexpr std::string_view MarlSecondsRulerHeightKey = "Seconds Ruler Height";
inline constexpr std::string_view MarlSecondsLabelFontSizeKey = "Seconds Label Font Size";
inline constexpr std::string_view MarlTimelineAutoScrollRateKey = "Timeline AutoScroll Rate";
inline constexpr std::string_view MarlHorizontalArrowScrollAmountKey = "Horizontal Arrow Scroll Amount";
inline constexpr std::string_view MarlVerticalArrowScrollAmountKey = "Vertical Arrow Scroll Amount";
inline constexpr std::string_view MarlFileBrowserSelectedTabKey = "File Browser Selected Tab";
inline constexpr std::string_view MarlFileBrowserSelectedSearchTypeKey = "File Browser Search Type";
inline constexpr std::string_view MarlFileBrowserCustomButtonsKey = "File Browser Custom Buttons";
inline constexpr std::string_view MarlFileBrowserFavoritesKey = "FileBrowser Favorites";
inline constexpr std::string_view MarlFileBrowserFileInfoVisibleKey = "FileBrowser File Info Visible";
inline constexpr std::string_view MarlSearchResultCountKey = "Search Results Count";
inline constexpr std::string_view MarlSearchKeepCloseToProjectKeyKey = "Search Keep Close to Project Key";
inline constexpr std::string_view EffectParameterTextFieldWidth = "Effect Parameter Text Field Width";
inline constexpr std::string_view MarlOpenEffectWindowKey = "Open Effect Window";
inline constexpr std::string_view MarlDocumentStartupBehaviorKey = "Document Startup Behavior";
inline constexpr std::string_view MarlLastUsedDocumentPathKey = "Last Used Document";
inline constexpr std::string_view MarlWindowLayoutKey = "Window Layout";
inline constexpr std::string_view MarlDefaultRecordingPathKey = "Default Recording Path";
inline constexpr std::string_view MarlInputDeviceNameKey = "Input Device Name";
inline constexpr std::string_view MarlMonitorDeviceNameKey = "Monitor Device Name";
inline constexpr std::string_view MarlFadeTimeKey = "Fade Time";
inline constexpr std::string_view MarlMaxRecordingDurationKey = "Max Recording Duration";
inline constexpr std::string_view BPOpenPanelOnLaunchKey = "BP Open Panel On Launch";
inline constexpr std::string_view BPSwitchAfterConvertKey = "BP Switch Editing After Converting WAV";
inline constexpr std::string_view MarlExportStyle = "Export Style";

// What "Document Startup Behavior" may be.

inline constexpr std::string_view kMarlDocumentStartupLastUsed = "Open Last Used";
inline constexpr std::string_view kMarlDocumentStartupOpenUntitled = "Open Untitled";

// ---- Notifications, through `platform::NotificationCenter::defaultCenter` ----
//
// The host posts the first four; the object of the others is what changed.

inline constexpr std::string_view xMarlWillStartTransport = "Will Start Transport";
inline constexpr std::string_view xMarlDidPauseTransport = "Did Pause Transport";
inline constexpr std::string_view xMarlDidResumeTransport = "Did Resume Transport";
inline constexpr std::string_view xMarlDidStopTransport = "Did Stop Transport";
inline constexpr std::string_view MarlCoreVideoSourceWillGoOfflineNotification =
    "Video Source Will Go Offline";
inline constexpr std::string_view MarlCoreVideoSourceDidGoOnlineNotification = "Video Source Did Go Online";
inline constexpr std::string_view MarlMarlMovieWillGoOffline = "MarlMovie Will Go Offline";
inline constexpr std::string_view MarlMarlMovieDidGoOnline = "MarlMovie Did Go Online";
inline constexpr std::string_view MarlFileSystemChangedNotification = "File System Changed";
inline constexpr std::string_view MarlLayoutWillChangeNotification = "Layout Will Change";
inline constexpr std::string_view MarlLayoutDidChangeNotification = "Layout Did Change";
inline constexpr std::string_view MarlDidUpdateAudioWaveform = "Audio Waveform Did Change";
inline constexpr std::string_view MarlDidReconnectMediaSource = "Did Reconnect Media Source";
inline constexpr std::string_view MarlDidChangeKeyNotification = "Did Change Key";

}  // namespace marl
