#include "hearing/CudaProbe.h"

#include <gtest/gtest.h>

TEST(CudaProbe, WantsACardOfTheRightMakerAndSize) {
    constexpr uint64_t enough = 3221225472;
    const GraphicsAdapter small{"small", 0x10DE, enough - 1, false};
    const GraphicsAdapter other{"other", 0x1002, 8 * enough, false};
    const GraphicsAdapter software{"software", 0x10DE, enough, true};
    const GraphicsAdapter good{"good", 0x10DE, enough, false};
    EXPECT_FALSE(hasCudaCard({small, other, software}));
    EXPECT_TRUE(hasCudaCard({other, small, software, good}));
}
