# SPDX-License-Identifier: MIT
# What the tests need to know of the host that they run on: itself, or an emulator of the target.
#   marl_test_timeout  seconds for a test case
#   marl_program       what tests execute as the program marl
#   marl_test_filter   of GoogleTest: the cases that this host cannot run; empty: it can run all
if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
  set(marl_test_timeout 600)  # on a busy machine, under a sanitizer
  set(marl_program $<TARGET_FILE:marl>)
  set(marl_test_filter "")
  target_compile_definitions(test_support PUBLIC MARL_DEATH_TEST_STYLE="threadsafe")
  return()
endif()

# An emulated program is slow, and cannot execute itself as "threadsafe" death tests do: the kernel does not know
# its format. "fast" ones fork only; under ctest, where each case has a process of its own, they check the same.
set(marl_test_timeout 1200)
target_compile_definitions(test_support PUBLIC MARL_DEATH_TEST_STYLE="fast")

set(emulator ${CMAKE_CROSSCOMPILING_EMULATOR})
if(CMAKE_SYSTEM_PROCESSOR STREQUAL ppc)
  target_sources(test_support PRIVATE support/PowerPCEmulation.cpp)
  add_library(powerpc_emulation SHARED support/PowerPCEmulation.cpp)
  target_link_libraries(powerpc_emulation PRIVATE marl_options)
  list(APPEND emulator -E LD_PRELOAD=$<TARGET_FILE:powerpc_emulation>)
  foreach(example player recorder)  # which tests start as they are
    if(TARGET ${example})
      target_sources(${example} PRIVATE support/PowerPCEmulation.cpp)
    endif()
  endforeach()
endif()

# For the kernel a script is a program.
set(marl_program ${CMAKE_CURRENT_BINARY_DIR}/marl)
list(JOIN emulator " " emulator)
file(GENERATE OUTPUT ${marl_program}
  CONTENT "#!/bin/sh\nexec ${emulator} -0 marl $<TARGET_FILE:marl> \"$@\"\n"
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

# Minutes of floating point each, which is emulated operation by operation. Their neighbours count, convert, stream,
# fail and render over short signals.
set(beyond_emulation
  Convert.CountsFramesInSinglePrecision
  Convert.GivesTheSameSamplesStreamed
  LoopMaker.RendersLoopsWithoutSilenceClippingOffsetOrClick
  StreamedRates.EqualTheConversionInMemoryAtEveryRate
  StreamedRates.HaveNoSeamInAMinute
  StreamingFaults.OfHarmlessKindsAreNotHeard
  StreamingFaults.ReachTheCallerAndLeaveTheSliceUnloaded
)
list(JOIN beyond_emulation ":" marl_test_filter)
string(PREPEND marl_test_filter "-")
