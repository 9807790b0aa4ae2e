// SPDX-License-Identifier: MIT
/// \file
/// The interface through which samples go into a new audio file.
#pragma once

#include <MarlCore/foundation/CSharedObject.h>
#include <MarlCore/foundation/CSharedObjectRef.h>

namespace marl {

/// Writes the samples of one new file, block by block.
///
/// A *sample* is one value of one channel; positions and counts are interleaved samples: frame times channels
/// plus channel. Samples come in the host's byte order and in the width of the file, as
/// `IFileData::readSamples` delivers them: 16-bit integers, 24-bit integers in 3 packed bytes, 8-bit ones as
/// they lie in WAV files, offset by 128.
///
/// After every `writeSamples` the file on disk is complete: its header states all that was written, so a
/// program that is killed, or a disk that is full, costs at most the block being written.
///
/// Throws `halyard::CException` (file error, the code is errno) for what the system refuses, with operation,
/// byte count and path; `halyard::CParamException` for what the caller got wrong. After either the file is
/// sound, holds what it held before the call (a block that was to replace samples may have replaced some of
/// them), and writing may go on. [one thread at a time]
class MARLCORE_EXPORT IFileWriter : public halyard::CSharedObject {
public:
    /// Writes `count` samples from `data` so that the first becomes sample `position`. Positions may come in
    /// any order and again; between what was written and a later `position` lies silence, and so it does to
    /// the end of a frame that is begun. A count of 0 does nothing.
    virtual void writeSamples(const void* data, unsigned long position, unsigned long count) = 0;

    /// Returns when all that was written is on the disk itself: a power failure later on costs nothing of it.
    /// Takes as long as the disk does, so not for a thread that must keep a pace.
    virtual void flush() = 0;

    /// Closes the file, which is complete already; reports what the system says only then (network disks).
    /// Afterwards only `finish`, which then does nothing, may be called. The destructor finishes a file that
    /// is not, and ignores errors.
    virtual void finish() = 0;
};

using IFileWriterRef = halyard::CSharedObjectRef<IFileWriter>;

}  // namespace marl
