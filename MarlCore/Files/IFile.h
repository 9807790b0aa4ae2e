// SPDX-License-Identifier: MIT
/// \file
/// An audio or movie file: its data and its parser, and the factory that pairs them.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>
#include <MarlCore/foundation/CURL.h>

namespace marl {

/// One file on disk, opened through `IFile::New`. Complete only when both its file data and its parser are
/// set; the parser reads through the same file data. [one thread at a time]
class MARLCORE_EXPORT IFile : public halyard::CSharedObject {
public:
    /// Opens the file at `url` with the class that its type asks for, and returns it complete, owned by
    /// nobody yet: put it into an `IFileRef` at once. `create`: a missing file is created empty. `offline`:
    /// nothing is opened, and the one silent stand-in for missing files is returned. Throws "Error: fileURL
    /// is null!", "was not able to allocate IFile subclass for URL = '%s'" for what is no audio or movie
    /// file, and what opening throws.
    static IFile* New(const CURLRef& url, bool create, bool offline);
    static IFile* New(const CURLRef& url, bool create) { return New(url, create, false); }

    ~IFile() override;

    /// Makes the data strategy that a file of this kind starts with.
    virtual IFileDataRef makeFileData(const CURLRef& url, bool create, bool isQuickTime);
    /// Makes the parser of this format over the current file data.
    virtual IFileParserRef makeFileParser() = 0;

    IFileDataRef& getFileDataRef() noexcept { return m_fileData; }
    void setFileDataRef(const IFileDataRef& fileData) noexcept { m_fileData = fileData; }
    IFileParserRef& getFileParserRef() noexcept { return m_fileParser; }
    void setFileParserRef(const IFileParserRef& fileParser) noexcept { m_fileParser = fileParser; }

    /// True for a one-shot, which includes every file shorter than 0.5 s or longer than 30 s that no tag
    /// calls a loop: it is to be streamed instead of being held in memory.
    bool isDiskFileDataNeeded();
    /// Streams the file from now on: opens `url` as a `CDiskFileData` (of a movie as a new
    /// `CQTDiskFileData`), which takes the place of the data strategy here and in the parser. A conversion
    /// that was set is to be set again. Throws what opening throws; everything then stays as it is.
    void useDiskFileData(const CURLRef& url, bool create);

protected:
    /// `dataIsBigEndian`: the byte order of the format, handed on to every data strategy that the file makes.
    explicit IFile(bool dataIsBigEndian) noexcept : m_dataIsBigEndian(dataIsBigEndian) {}

private:
    // In this order: the parser, which reads through the data, goes first.
    IFileDataRef m_fileData;
    IFileParserRef m_fileParser;
    bool m_dataIsBigEndian;
};

using IFileRef = halyard::CSharedObjectRef<IFile>;

}  // namespace marl
