// SPDX-License-Identifier: MIT
/// \file libsndfile as a witness of written files: it shares no code with this library. A foreign host may
/// lack it, and then nobody witnesses.
#pragma once

#include "WrittenFiles.h"

#include <cstddef>
#include <string>

#ifdef MARL_HAS_LIBSNDFILE
#include <gtest/gtest.h>
#include <sndfile.h>

#include <memory>

namespace support {

struct SoundFileCloser {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, SoundFileCloser>;

/// Checks that libsndfile opens the file and finds `frames` frames of `format`'s channels in it.
inline void expectWitnessAgrees(const std::string& path, const WrittenFormat& format, std::size_t frames) {
    SF_INFO info = {};
    const SoundFile file(sf_open(path.c_str(), SFM_READ, &info));
    ASSERT_TRUE(file) << sf_strerror(nullptr);
    EXPECT_EQ(static_cast<std::size_t>(info.frames), frames);
    EXPECT_EQ(info.channels, format.channels);
}

}  // namespace support
#else
namespace support {

inline void expectWitnessAgrees(const std::string&, const WrittenFormat&, std::size_t) {}

}  // namespace support
#endif
