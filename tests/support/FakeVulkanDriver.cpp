// A Vulkan driver with five adapters that do nothing but describe themselves. The real loader loads it, so
// that the listing of adapters can be tested on a machine without any.
#include <vulkan/vk_icd.h>
#include <vulkan/vulkan.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr VkDeviceSize gib = 1ULL << 30;
constexpr VkMemoryHeapFlags own = VK_MEMORY_HEAP_DEVICE_LOCAL_BIT;

/// The loader keeps a pointer of its own at the beginning of each object.
struct Instance {
    VK_LOADER_DATA loader;
};
struct Adapter {
    VK_LOADER_DATA loader;
    const char* name;
    uint32_t vendor;
    VkPhysicalDeviceType type;
    uint32_t heapCount;
    VkMemoryHeap heaps[3];
};

Instance theInstance = {{ICD_LOADER_MAGIC}};
Adapter adapters[] = {
    {{ICD_LOADER_MAGIC},
     "Card",
     0x10de,
     VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU,
     3,
     {{6 * gib, own}, {16 * gib, 0}, {gib / 4, own}}},
    {{ICD_LOADER_MAGIC}, "Inside", 0x8086, VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU, 1, {{16 * gib, own}}},
    {{ICD_LOADER_MAGIC},
     "Virtual",
     0x1af4,
     VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU,
     2,
     {{4 * gib, own}, {gib, 0}}},
    {{ICD_LOADER_MAGIC}, "Software", 0x10005, VK_PHYSICAL_DEVICE_TYPE_CPU, 1, {{8 * gib, own}}},
    {{ICD_LOADER_MAGIC}, "Other", 0x1234, VK_PHYSICAL_DEVICE_TYPE_OTHER, 1, {{8 * gib, own}}},
};
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
    memory->memoryHeapCount = adapter.heapCount;
    std::memcpy(memory->memoryHeaps, adapter.heaps, sizeof adapter.heaps);
}

/// Stands for all that the loader wants to find in a driver and that nobody calls here.
VKAPI_ATTR void VKAPI_CALL nothing() {}

}  // namespace

extern "C" {

VKAPI_ATTR VkResult VKAPI_CALL vk_icdNegotiateLoaderICDInterfaceVersion(uint32_t* version) {
    *version = 5;
    return VK_SUCCESS;
}

VKAPI_ATTR PFN_vkVoidFunction VKAPI_CALL vk_icdGetInstanceProcAddr(VkInstance, const char* name) {
    const struct {
        const char* name;
        PFN_vkVoidFunction function;
    } functions[] = {
        {"vkCreateInstance", reinterpret_cast<PFN_vkVoidFunction>(createInstance)},
        {"vkEnumerateInstanceExtensionProperties", reinterpret_cast<PFN_vkVoidFunction>(noExtensions)},
        {"vkEnumerateDeviceExtensionProperties", reinterpret_cast<PFN_vkVoidFunction>(noDeviceExtensions)},
        {"vkEnumeratePhysicalDevices", reinterpret_cast<PFN_vkVoidFunction>(enumerateAdapters)},
        {"vkGetPhysicalDeviceProperties", reinterpret_cast<PFN_vkVoidFunction>(getProperties)},
        {"vkGetPhysicalDeviceMemoryProperties", reinterpret_cast<PFN_vkVoidFunction>(getMemoryProperties)},
        {"vkDestroyInstance", nothing},
        {"vkCreateDevice", nothing},
        {"vkGetDeviceProcAddr", nothing},
        {"vkGetPhysicalDeviceFeatures", nothing},
        {"vkGetPhysicalDeviceFormatProperties", nothing},
        {"vkGetPhysicalDeviceImageFormatProperties", nothing},
        {"vkGetPhysicalDeviceQueueFamilyProperties", nothing},
        {"vkGetPhysicalDeviceSparseImageFormatProperties", nothing},
    };
    for (const auto& known : functions) {
        if (std::strcmp(known.name, name) == 0) {
            return known.function;
        }
    }
    return nullptr;
}
}
