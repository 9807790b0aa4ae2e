# SPDX-License-Identifier: MIT
list(APPEND marl_sources
  # platform
  platform/AbsoluteTime.cpp
  platform/AudioStreamBasicDescription.cpp
  platform/Exception.cpp
  platform/URL.cpp
  # foundation
  foundation/CBuffer.cpp
  foundation/CException.cpp
  foundation/CMutex.cpp
  foundation/CSharedObject.cpp
  foundation/CString.cpp
  foundation/CThread.cpp
  foundation/CTimer.cpp
  foundation/CURL.cpp
  foundation/FileUtilities.cpp
  platform/AudioConverter.cpp
  platform/AudioStreamBasicDescription.cpp
  platform/LowPassKernel.cpp
  platform/PlanarSamples.cpp
  platform/PolyphaseFilter.cpp
  platform/PolyphaseKernels.cpp
  platform/PolyphaseKernelsAvx2.cpp
  platform/PolyphaseResampler.cpp
  platform/RateRatio.cpp
  platform/SimdLevel.cpp
  # Files
  Files/browsing/FileNode.cpp
  Files/browsing/HiddenFileList.cpp
  Files/browsing/NodeTypes.cpp
  Files/browsing/PathNames.cpp
  Files/conversion/SampleKernels.cpp
  Files/conversion/SampleKernelsAVX2.cpp
  Files/conversion/SampleKernelsPortable.cpp
)
