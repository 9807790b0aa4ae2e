# SPDX-License-Identifier: MIT
list(APPEND marl_sources
  # platform
  platform/AudioStreamBasicDescription.cpp
)
