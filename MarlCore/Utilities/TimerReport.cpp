// SPDX-License-Identifier: MIT
#include <MarlCore/Utilities/TimerReport.h>

#include <array>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace marl {
namespace {

// Programs read these lines: their text, tabs and digits stay.

/// Seconds from which a call, or its error, is worth a line.
constexpr double kNoticeable = 0.0005;

constexpr double kTicksInSecond = 60;

/// What no other thread prints in between.
class OutputLock {
public:
    OutputLock() noexcept { ::flockfile(stdout); }
    OutputLock(const OutputLock&) = delete;
    OutputLock& operator=(const OutputLock&) = delete;
    ~OutputLock() { ::funlockfile(stdout); }
};

/// Points in the numbers that this thread prints, whatever locale the host has set.
class PlainNumbers {
public:
    PlainNumbers() noexcept : m_plain(::newlocale(LC_NUMERIC_MASK, "C", nullptr)) {
        if (m_plain) m_ofHost = ::uselocale(m_plain);
    }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
    ~PlainNumbers() {
        if (!m_plain) return;
        ::uselocale(m_ofHost);
        ::freelocale(m_plain);
    }

private:
    locale_t m_plain, m_ofHost = nullptr;
};

struct Counts {
    int missed = 0, tooLong = 0;
};

void printInvocation(unsigned number, const InvocationEntry& invocation, bool isMissed, bool isTooLong) {
    std::printf("\t#%u.\tduration = %.5f secs.\terror = ", number, invocation.delta());
    if (std::abs(invocation.error) >= kNoticeable) {
        std::printf("%.5f secs.", invocation.error);
    } else {
        std::printf("--");
    }
    std::printf("\t%s\t%s\n", isMissed ? "MISSED" : "", isTooLong ? "TOO LONG" : "");
}

Counts printEntry(const TimerSetEntry& entry) {
    std::printf("* Selector = %s\tinterval = %.5f secs.\t(every %.1f/60 seconds)\n",
                entry.action()->selectorName().c_str(), entry.interval(), entry.interval() * kTicksInSecond);
    Counts counts;
    unsigned number = 0;
    for (const InvocationEntry& invocation : entry.invocations()) {
        const bool isMissed = invocation.error > entry.interval();
        const bool isTooLong = invocation.delta() > entry.interval();
        ++number;
        if (isMissed || invocation.delta() >= kNoticeable)
            printInvocation(number, invocation, isMissed, isTooLong);
        counts.missed += isMissed;
        counts.tooLong += isTooLong;
    }
    return counts;
}

/// Of no calls, 0 percent.
double percentage(int count, std::size_t all) noexcept {
    return all == 0 ? 0 : static_cast<double>(count) / static_cast<double>(all) * 100;
}

std::string summaryOf(const TimerSetEntry& entry, const Counts& counts) {
    const std::size_t all = entry.invocations().size();
    std::array<char, 512> text;  // an interval may have 300 digits
    std::snprintf(text.data(), text.size(),
                  " : every %.1f/60 sec.\n\t# missed = %d\t# too long = %d\n"
                  "\tmissed = %.2f pct.\ttoo long = %.2f pct.\n",
                  entry.interval() * kTicksInSecond, counts.missed, counts.tooLong,
                  percentage(counts.missed, all), percentage(counts.tooLong, all));
    return entry.action()->selectorName() + text.data();
}

}  // namespace

std::string printTimerReport(const MarlTimer* timer, std::span<const TimerSetEntry> entries,
                             bool withSummary) {
    const auto address = static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(timer));
    std::string summary;
    Counts total;
    const OutputLock lock;
    const PlainNumbers numbers;
    std::printf("--Dumping Results for MarlTimer = %lx\n", address);
    for (const TimerSetEntry& entry : entries) {
        const Counts counts = printEntry(entry);
        total.missed += counts.missed;
        total.tooLong += counts.tooLong;
        if (withSummary) summary += summaryOf(entry, counts);
    }
    std::printf("\n RESULTS: %d were called too late, %d selectors ran too long\n", total.missed,
                total.tooLong);
    std::printf("--Done dumping Results for MarlTimer = %lx\n", address);
    return summary;
}

}  // namespace marl
