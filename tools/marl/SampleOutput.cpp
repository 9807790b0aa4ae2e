// SPDX-License-Identifier: MIT
#include "marl/SampleOutput.h"

#include "marl/Output.h"
#include "marl/TemporaryFile.h"

#include <MarlCore/Files/writing/CAIFWriter.h>
#include <MarlCore/Files/writing/CQTWriter.h>
#include <MarlCore/Files/writing/CWAVWriter.h>
#include <MarlCore/foundation/FileUtilities.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <ostream>
#include <system_error>

#include <unistd.h>

namespace marl::tool {
namespace {

namespace fs = std::filesystem;

/// Runs what touches the output, so that its failures are told from those of the input.
template <typename Action>
auto blamingTheOutput(Action action) {
    try {
        return action();
    } catch (const std::exception& exception) {
        throw OutputError(messageOf(exception, "cannot be written"));
    }
}

[[noreturn]] void throwSystemError(int error) {
    throw std::system_error(error != 0 ? error : EIO, std::generic_category());
}

/// The file that `path` leads to, there or not: what replaces it must not take the place of a symbolic link.
fs::path withoutLinks(fs::path path) {
    constexpr int kMostLinks = 40;  // as the system itself follows
    for (int links = 0; fs::is_symlink(path); ++links) {
        if (links == kMostLinks) throwSystemError(ELOOP);
        path = path.parent_path() / fs::read_symlink(path);
    }
    return path;
}

/// Permissions of the file that is to be replaced: a regular one that this process may write to. Nothing when
/// there is none.
std::optional<fs::perms> permissionsOfReplaceable(const fs::path& path) {
    const fs::file_status status = fs::status(path);
    if (!fs::exists(status)) return std::nullopt;
    if (fs::is_directory(status)) throwSystemError(EISDIR);
    if (!fs::is_regular_file(status)) throw OutputError("pipes and devices cannot be replaced by a file");
    if (::access(path.c_str(), W_OK) != 0) throwSystemError(errno);
    return status.permissions();
}

std::string temporaryPathBeside(const fs::path& path) {
    const std::string folder = path.has_parent_path() ? path.parent_path().string() : ".";
    return halyard::FileUtilities::generateTemporaryFileName(halyard::CSTR(folder), halyard::CSTR(".marl"))
        ->getStringRef();
}

/// A file that takes its name only when it is complete; dropped before that, it leaves no trace.
class NewFile {
public:
    explicit NewFile(const std::string& path)
        : m_path(withoutLinks(path)),
          m_permissions(permissionsOfReplaceable(m_path)),
          m_temporary(temporaryPathBeside(m_path)) {}

    const std::string& temporaryPath() const noexcept { return m_temporary.path(); }

    void commit() const {
        if (m_permissions) fs::permissions(temporaryPath(), *m_permissions);
        fs::rename(temporaryPath(), m_path);
    }

private:
    fs::path m_path;
    std::optional<fs::perms> m_permissions;
    TemporaryFile m_temporary;
};

class LoopFileOutput : public SampleOutput {
public:
    LoopFileOutput(OutputType type, const std::string& path, const IFileParserRef& description)
        : m_file(path), m_writer(newWriter(type, m_file.temporaryPath(), description)) {
        IFileParser::FormatInfo format;
        description->getFormatInfo(format);
        m_bytesPerSample = format.mBitsPerChannel / 8;
    }

private:
    static IFileWriterRef newWriter(OutputType type, const std::string& path,
                                    const IFileParserRef& description) {
        const auto name = halyard::CSTR(path);
        if (type == OutputType::kAIFF) return IFileWriterRef(new CAIFWriter(name, description, false));
        if (type == OutputType::kQuickTime) return IFileWriterRef(new CQTWriter(name, description, false));
        return IFileWriterRef(new CWAVWriter(name, description, false));
    }

    void append(std::span<const std::byte> block) override {
        const unsigned long count = block.size() / m_bytesPerSample;
        m_writer->writeSamples(block.data(), m_position, count);
        m_position += count;
    }

    void complete() override {
        m_writer->finish();
        m_file.commit();
    }

    NewFile m_file;
    IFileWriterRef m_writer;
    unsigned long m_bytesPerSample = 0;
    unsigned long m_position = 0;  // samples
};

class RawFileOutput : public SampleOutput {
public:
    explicit RawFileOutput(const std::string& path)
        : m_file(path), m_raw(std::fopen(m_file.temporaryPath().c_str(), "wbx")) {
        if (!m_raw) throwSystemError(errno);
    }

private:
    struct Close {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };

    void append(std::span<const std::byte> block) override {
        if (std::fwrite(block.data(), 1, block.size(), m_raw.get()) != block.size()) throwSystemError(errno);
    }

    void complete() override {
        if (std::fclose(m_raw.release()) != 0) throwSystemError(errno);
        m_file.commit();
    }

    NewFile m_file;
    std::unique_ptr<std::FILE, Close> m_raw;
};

class StreamOutput : public SampleOutput {
public:
    explicit StreamOutput(std::ostream& out) : m_out(out) {}

private:
    void append(std::span<const std::byte> block) override {
        errno = 0;
        m_out.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(block.size()));
        if (!m_out) throwSystemError(errno);
    }

    void complete() override {
        errno = 0;
        m_out.flush();
        if (!m_out) throwSystemError(errno);
    }

    std::ostream& m_out;
};

std::unique_ptr<SampleOutput> newOutput(OutputType type, const std::string& path,
                                        const IFileParserRef& description, std::ostream& out) {
    if (type == OutputType::kStandardOutput) return std::make_unique<StreamOutput>(out);
    if (type == OutputType::kRaw) return std::make_unique<RawFileOutput>(path);
    return std::make_unique<LoopFileOutput>(type, path, description);
}

}  // namespace

OutputType outputTypeOf(const std::string& path) {
    if (path == "-") return OutputType::kStandardOutput;
    std::string extension = fs::path(path).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".aif" || extension == ".aiff") return OutputType::kAIFF;
    if (extension == ".wav") return OutputType::kWAV;
    if (extension == ".mov") return OutputType::kQuickTime;
    if (extension == ".raw") return OutputType::kRaw;
    return OutputType::kUnknown;
}

void SampleOutput::write(std::span<const std::byte> block) {
    blamingTheOutput([&] { append(block); });
}

void SampleOutput::finish() {
    blamingTheOutput([&] { complete(); });
}

std::unique_ptr<SampleOutput> newSampleOutput(OutputType type, const std::string& path,
                                              const IFileParserRef& description, std::ostream& out) {
    return blamingTheOutput([&] { return newOutput(type, path, description, out); });
}

}  // namespace marl::tool
