#include "engines/GpuProbe.h"

#include <gtest/gtest.h>

TEST(GpuProbe, TakesTheFirstHardwareAdapterWithThreeGibibytes) {
    constexpr uint64_t enough = 3221225472;
    const GraphicsAdapter software{"software", 0, 8 * enough, true};
    const GraphicsAdapter weak{"weak", 0x8086, enough - 1, false};
    const GraphicsAdapter exact{"exact", 0x1002, enough, false};
    const GraphicsAdapter strong{"strong", 0x10DE, 8 * enough, false};
    const std::pair<std::vector<GraphicsAdapter>, std::string> cases[] = {
        {{software, weak}, ""},
        {{weak, exact, strong}, "exact"},
        {{software, strong, exact}, "strong"},
    };
    for (const auto& [adapters, expected] : cases) {
        const GraphicsAdapter* chosen = capableAdapter(adapters);
        EXPECT_EQ(chosen == nullptr ? "" : chosen->name, expected);
    }
}
