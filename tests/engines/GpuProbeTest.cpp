#include "engines/GpuProbe.h"

#include <gtest/gtest.h>

TEST(GpuProbe, TakesTheFirstHardwareAdapterWithThreeGibibytes) {
    constexpr uint64_t enough = 3221225472;
    const GraphicsAdapter software{"software", 0, 8 * enough, true};
    const GraphicsAdapter weak{"weak", 0x8086, enough - 1, false};
    const GraphicsAdapter exact{"exact", 0x1002, enough, false};
    const GraphicsAdapter strong{"strong", 0x10DE, 8 * enough, false};
    EXPECT_EQ(capableAdapter({software, weak}), nullptr);
    const std::vector<GraphicsAdapter> adapters = {software, weak, exact, strong};
    EXPECT_EQ(capableAdapter(adapters), &adapters[2]);
}
