// A Vulkan driver with five adapters that do nothing but describe themselves. The real loader loads it, so
// that the listing of adapters can be tested on a machine without any.
#include <vulkan/vk_icd.h>
#include <vulkan/vulkan.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

constexpr VkDeviceSize gib = 1ULL << 30;
constexpr VkMemoryHeapFlags own = VK_MEMORY_HEAP_DEVICE_LOCAL_BIT;

/// The loader keeps a pointer of its own at the beginning of each object.
struct Adapter {
    VK_LOADER_DATA loader;
    const char* name;
    uint32_t vendor;
    VkPhysicalDeviceType type;
    std::vector<VkMemoryHeap> heaps;
};

VK_LOADER_DATA theInstance = {ICD_LOADER_MAGIC};
constexpr VK_LOADER_DATA magic = {ICD_LOADER_MAGIC};
Adapter adapters[] = {
    {magic,
     "Card",
     0x10de,
     VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU,
     {{6 * gib, own}, {16 * gib, 0}, {gib / 4, own}}},
    {magic, "Inside", 0x8086, VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU, {{16 * gib, own}}},
    {magic, "Virtual", 0x1af4, VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU, {{4 * gib, own}, {gib, 0}}},
    {magic, "Software", 0x10005, VK_PHYSICAL_DEVICE_TYPE_CPU, {{8 * gib, own}}},
    {magic, "Other", 0x1234, VK_PHYSICAL_DEVICE_TYPE_OTHER, {{8 * gib, own}}}};
constexpr uint32_t adapterCount = sizeof adapters / sizeof adapters[0];

VKAPI_ATTR VkResult VKAPI_CALL createInstance(const VkInstanceCreateInfo*, const VkAllocationCallbacks*,
                                              VkInstance* instance) {
    *instance = reinterpret_cast<VkInstance>(&theInstance);
    return VK_SUCCESS;
}

VKAPI_ATTR VkResult VKAPI_CALL noExtensions(const char*, uint32_t* count, VkExtensionProperties*) {
    *count = 0;
    return VK_SUCCESS;
}

VKAPI_ATTR VkResult VKAPI_CALL noDeviceExtensions(VkPhysicalDevice, const char*, uint32_t* count,
                                                  VkExtensionProperties*) {
    *count = 0;
    return VK_SUCCESS;
}

VKAPI_ATTR VkResult VKAPI_CALL enumerateAdapters(VkInstance, uint32_t* count, VkPhysicalDevice* devices) {
    if (devices == nullptr) {
        *count = adapterCount;
        return VK_SUCCESS;
    }
    const bool fits = *count >= adapterCount;
    *count = fits ? adapterCount : *count;
    for (uint32_t index = 0; index < *count; ++index) {
        devices[index] = reinterpret_cast<VkPhysicalDevice>(&adapters[index]);
    }
    return fits ? VK_SUCCESS : VK_INCOMPLETE;
}

VKAPI_ATTR void VKAPI_CALL getProperties(VkPhysicalDevice device, VkPhysicalDeviceProperties* properties) {
    const auto& adapter = *reinterpret_cast<const Adapter*>(device);
    *properties = {};
    properties->apiVersion = VK_API_VERSION_1_0;
    properties->vendorID = adapter.vendor;
    properties->deviceType = adapter.type;
    std::snprintf(properties->deviceName, sizeof properties->deviceName, "%s", adapter.name);
}

VKAPI_ATTR void VKAPI_CALL getMemoryProperties(VkPhysicalDevice device,
                                               VkPhysicalDeviceMemoryProperties* memory) {
    const auto& adapter = *reinterpret_cast<const Adapter*>(device);
    *memory = {};
    memory->memoryHeapCount = static_cast<uint32_t>(adapter.heaps.size());
    std::copy(adapter.heaps.begin(), adapter.heaps.end(), memory->memoryHeaps);
}

/// For everything that the loader expects of a driver and that nobody calls here.
VKAPI_ATTR void VKAPI_CALL nothing() {}

template <typename Function>
PFN_vkVoidFunction generic(Function function) {
    return reinterpret_cast<PFN_vkVoidFunction>(function);
}

}  // namespace

extern "C" {

VKAPI_ATTR VkResult VKAPI_CALL vk_icdNegotiateLoaderICDInterfaceVersion(uint32_t* version) {
    *version = 5;
    return VK_SUCCESS;
}

VKAPI_ATTR PFN_vkVoidFunction VKAPI_CALL vk_icdGetInstanceProcAddr(VkInstance, const char* name) {
    static const std::map<std::string, PFN_vkVoidFunction> functions{
        {"vkCreateInstance", generic(createInstance)},
        {"vkEnumerateInstanceExtensionProperties", generic(noExtensions)},
        {"vkEnumerateDeviceExtensionProperties", generic(noDeviceExtensions)},
        {"vkEnumeratePhysicalDevices", generic(enumerateAdapters)},
        {"vkGetPhysicalDeviceProperties", generic(getProperties)},
        {"vkGetPhysicalDeviceMemoryProperties", generic(getMemoryProperties)}};
    // What the loader demands; a function of a newer version or an extension would be called if it were
    // there.
    static const std::regex demanded(
        "vk(DestroyInstance|CreateDevice|GetDeviceProcAddr|GetPhysicalDevice(Features|FormatProperties|"
        "ImageFormatProperties|QueueFamilyProperties|SparseImageFormatProperties))");
    const auto found = functions.find(name);
    if (found != functions.end()) return found->second;
    return std::regex_match(name, demanded) ? nothing : nullptr;
}
}
