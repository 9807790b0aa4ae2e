// SPDX-License-Identifier: MIT
/// \file
/// The file classes of the formats, which `IFile::New` chooses from.
#pragma once

#include <MarlCore/Files/IFile.h>

namespace marl {

/// Base of the plain audio formats.
class MARLCORE_EXPORT CSoundFile : public IFile {
protected:
    using IFile::IFile;
};

/// Base of files that are containers of media tracks.
class MARLCORE_EXPORT CMovieFile : public IFile {
protected:
    using IFile::IFile;
};

// The constructors take the URL and the creation flag for the sake of one shape; the file data uses them.

class MARLCORE_EXPORT CAIFFile : public CSoundFile {
public:
    CAIFFile(const CURLRef& url, bool create, bool dataIsBigEndian);
    IFileParserRef makeFileParser() override;
};

class MARLCORE_EXPORT CWAVFile : public CSoundFile {
public:
    CWAVFile(const CURLRef& url, bool create, bool dataIsBigEndian);
    IFileParserRef makeFileParser() override;
};

/// A QuickTime movie. Its data is a `CQTDiskFileData` from the start.
class MARLCORE_EXPORT CQTFile : public CMovieFile {
public:
    CQTFile(const CURLRef& url, bool create, bool dataIsBigEndian);
    IFileParserRef makeFileParser() override;
};

}  // namespace marl
