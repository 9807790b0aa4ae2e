// SPDX-License-Identifier: MIT
/// In test programs for PowerPC only. The C library's sine asks for the rounding mode with an instruction
/// (mffscrn) that processors without it execute as mffs; qemu before 8.0 takes it for illegal instead
/// (corrected there by "target/ppc: Fix fallback to MFSS for MFFS* instructions on pre 3.0 ISAs"). This
/// signal handler writes the mffs in its place. On a real processor it never runs.
#include <csignal>
#include <cstdint>

#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t kOperation = 0xFC0007FE, kTarget = 0x03E00000;  // fields of an instruction
constexpr std::uint32_t kMoveFromFPSCR = 0xFC00048E;
constexpr int kNextInstruction = 32;  // index among the saved general registers

void replaceByMoveFromFPSCR(int signal, siginfo_t*, void* context) {
    const std::uintptr_t address =
        static_cast<ucontext_t*>(context)->uc_mcontext.uc_regs->gregs[kNextInstruction];
    auto* const instruction = reinterpret_cast<std::uint32_t*>(address);
    const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    void* const page = reinterpret_cast<void*>(address / pageSize * pageSize);
    if ((*instruction & kOperation) != kMoveFromFPSCR ||
        ::mprotect(page, pageSize, PROT_READ | PROT_WRITE | PROT_EXEC) != 0) {
        std::signal(signal, SIG_DFL);  // really illegal: run into it again
        return;
    }
    *instruction &= kOperation | kTarget;
    __builtin___clear_cache(reinterpret_cast<char*>(instruction), reinterpret_cast<char*>(instruction + 1));
}

[[maybe_unused]] const bool installed = [] {
    struct sigaction action = {};
    action.sa_sigaction = replaceByMoveFromFPSCR;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    return ::sigaction(SIGILL, &action, nullptr) == 0;
}();

}  // namespace
