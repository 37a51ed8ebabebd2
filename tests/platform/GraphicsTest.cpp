#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <map>

#include "platform/system.h"
#include "support/TemporaryFolder.h"

// NOLINTBEGIN(concurrency-mt-unsafe): each test is alone in its process.

namespace {

/// Lets the loader see this driver and no other.
void useDriver(const TemporaryFolder& folder, const std::string& library) {
    const std::string manifest = folder.path + "/driver.json";
    std::ofstream(manifest) << R"({"file_format_version": "1.0.0", "ICD": {"library_path": ")" << library
                            << R"(", "api_version": "1.0.0"}})";
    setenv("VK_ICD_FILENAMES", manifest.c_str(), 1);
    setenv("VK_DRIVER_FILES", manifest.c_str(), 1);
}

}  // namespace

TEST(GraphicsAdapters, CountTheMemoryThatIsTheirOwn) {
    if (!hasVulkanLoader()) {
        GTEST_SKIP() << "There is no Vulkan loader on this machine.";
    }
    const TemporaryFolder folder;
    useDriver(folder, FAKE_VULKAN_DRIVER);
    const auto adapters = graphicsAdapters();
    ASSERT_TRUE(adapters);
    std::map<std::string, GraphicsAdapter> byName;
    for (const GraphicsAdapter& adapter : *adapters) {
        byName[adapter.name] = adapter;
    }
    constexpr uint64_t gib = 1ULL << 30;
    const GraphicsAdapter expected[] = {
        {"Card", 0x10de, 6 * gib + gib / 4, false},
        {"Inside", 0x8086, 0, false},
        {"Virtual", 0x1af4, 4 * gib, false},
        {"Software", 0x10005, 0, true},
        {"Other", 0x1234, 0, false},
    };
    EXPECT_EQ(adapters->size(), std::size(expected));
    for (const GraphicsAdapter& adapter : expected) {
        SCOPED_TRACE(adapter.name);
        ASSERT_EQ(byName.count(adapter.name), 1U);
        EXPECT_EQ(byName[adapter.name].vendor, adapter.vendor);
        EXPECT_EQ(byName[adapter.name].dedicatedMemory, adapter.dedicatedMemory);
        EXPECT_EQ(byName[adapter.name].isSoftware, adapter.isSoftware);
    }
}

TEST(GraphicsAdapters, CannotBeListedWithoutADriver) {
    const TemporaryFolder folder;
    useDriver(folder, folder.path + "/missing.so");
    EXPECT_FALSE(graphicsAdapters());
}

// NOLINTEND(concurrency-mt-unsafe)
