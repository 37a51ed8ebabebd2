// The listing of graphics adapters by the real Vulkan loader, with a driver of the test's own.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <set>

#include "platform/system.h"
#include "support/TemporaryFolder.h"

namespace {

/// Lets the loader see this driver and no other.
void useDriver(const TemporaryFolder& folder, const std::string& library) {
    const std::string manifest = folder.path + "/driver.json";
    std::ofstream(manifest) << R"({"file_format_version": "1.0.0", "ICD": {"library_path": ")" << library
                            << R"(", "api_version": "1.0.0"}})";
    for (const char* variable : {"VK_ICD_FILENAMES", "VK_DRIVER_FILES"})
        setenv(variable, manifest.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other thread runs
}

TEST(GraphicsAdapters, CountTheMemoryThatIsTheirOwn) {
    if (!hasVulkanLoader()) GTEST_SKIP() << "There is no Vulkan loader on this machine.";
    const TemporaryFolder folder;
    useDriver(folder, FAKE_VULKAN_DRIVER);
    const auto adapters = graphicsAdapters();
    ASSERT_TRUE(adapters);
    std::set<std::string> found;
    for (const auto& [name, vendor, memory, isSoftware] : *adapters) {
        found.insert(name + " " + std::to_string(vendor) + " " + std::to_string(memory >> 20) + " MiB" +
                     (isSoftware ? " software" : ""));
    }
    EXPECT_EQ(found,
              (std::set<std::string>{"Card 4318 6400 MiB", "Inside 32902 0 MiB", "Virtual 6900 4096 MiB",
                                     "Software 65541 0 MiB software", "Other 4660 0 MiB"}));
}

TEST(GraphicsAdapters, CannotBeListedWithoutADriver) {
    const TemporaryFolder folder;
    useDriver(folder, folder.path + "/missing.so");
    EXPECT_FALSE(graphicsAdapters());
}

}  // namespace
