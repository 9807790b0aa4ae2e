// SPDX-License-Identifier: MIT
/// \file
/// Where converted samples go: a loop file, a raw file, or a stream.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace marl::tool {

enum class OutputType { kAIFF, kWAV, kQuickTime, kRaw, kStandardOutput, kUnknown };

/// By the extension, in letters of either case; "-" is standard output.
OutputType outputTypeOf(const std::string& path);

/// AIFF, WAV or QuickTime: the types that have a header.
constexpr bool isLoopFile(OutputType type) noexcept {
    return type == OutputType::kAIFF || type == OutputType::kWAV || type == OutputType::kQuickTime;
}

/// The types that can hold 32-bit floats, and more than 2 GiB of samples.
constexpr bool holdsFloats(OutputType type) noexcept {
    return type != OutputType::kAIFF && type != OutputType::kWAV;
}

/// The output, not the input, is at fault. The message is for the user and names no file.
class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Takes all samples of one output, block by block. A file appears complete under its name when it is
/// finished, or not at all: one of that name that exists is untouched until then, and is then replaced, with
/// its permissions; an output that is dropped before leaves no trace. Every operation throws `OutputError`.
class SampleOutput {
public:
    virtual ~SampleOutput() = default;

    /// Whole samples, interleaved, in host order.
    void write(std::span<const std::byte> block);
    void finish();

private:
    virtual void append(std::span<const std::byte> block) = 0;
    virtual void complete() = 0;
};

/// `description` has the format and metadata of the new file; raw outputs have neither. `out` is standard
/// output, and outlives the result.
std::unique_ptr<SampleOutput> newSampleOutput(OutputType type, const std::string& path,
                                              const IFileParserRef& description, std::ostream& out);

}  // namespace marl::tool
