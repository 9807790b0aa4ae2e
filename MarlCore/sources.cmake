# SPDX-License-Identifier: MIT
list(APPEND marl_sources
  # platform
  platform/AbsoluteTime.cpp
  platform/AudioConverter.cpp
  platform/AudioStreamBasicDescription.cpp
  platform/Bundle.cpp
  platform/Exception.cpp
  platform/LowPassKernel.cpp
  platform/PlanarSamples.cpp
  platform/PolyphaseFilter.cpp
  platform/PolyphaseKernels.cpp
  platform/PolyphaseKernelsAvx2.cpp
  platform/PolyphaseResampler.cpp
  platform/PropertyList.cpp
  platform/PropertyListReader.cpp
  platform/PropertyListText.cpp
  platform/PropertyListWriter.cpp
  platform/RateRatio.cpp
  platform/SimdLevel.cpp
  platform/URL.cpp
  platform/UTF8.cpp
  platform/XMLScanner.cpp
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
  # Files
  Files/CMemoryFileData.cpp
  Files/CUnixFileData.cpp
  Files/IFile.cpp
  Files/IFileData.cpp
  Files/browsing/FileNode.cpp
  Files/browsing/HiddenFileList.cpp
  Files/browsing/NodeTypes.cpp
  Files/browsing/PathNames.cpp
  Files/conversion/SampleKernels.cpp
  Files/conversion/SampleKernelsAVX2.cpp
  Files/conversion/SampleKernelsPortable.cpp
  Files/parsing/CAIFFileParser.cpp
  Files/parsing/CWAVFileParser.cpp
  Files/parsing/IFileParser.cpp
  Files/parsing/LoopMetadata.cpp
  Files/streaming/CSharedOffline.cpp
  Files/writing/CAIFWriter.cpp
  Files/writing/CSampleFileWriter.cpp
  Files/writing/CWAVWriter.cpp
  Files/writing/ChunkBuilderImpl.cpp
  Files/writing/MetadataImpl.cpp
  Files/writing/OutputFileImpl.cpp
  # SearchEngine
  SearchEngine/CFileIndexInfo.cpp
  SearchEngine/CIndexFile.cpp
  SearchEngine/CIndexFileHeader.cpp
  SearchEngine/CIndexFileSearch.cpp
  SearchEngine/CSearchKeySet.cpp
  SearchEngine/KeywordDictionary.cpp
  SearchEngine/LocalizedKeyword.cpp
  SearchEngine/OrganizedSearchResults.cpp
  SearchEngine/SearchKey.cpp
  SearchEngine/WholeTransfersImpl.cpp
)
