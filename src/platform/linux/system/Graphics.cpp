#include <dlfcn.h>

#include <algorithm>

#include "platform/system.h"

// The loader is looked for at run time: a machine without it still runs the program, on its processor.
#define VK_NO_PROTOTYPES
#include <vulkan/vulkan.h>

namespace {

constexpr const char* loaderName = "libvulkan.so.1";

/// The calls of the loader that we need. Those above the line are there from the start, those below it come
/// with an instance.
struct Vulkan {
    PFN_vkGetInstanceProcAddr getInstanceProcAddr = nullptr;
    PFN_vkCreateInstance createInstance = nullptr;
    // ----
    PFN_vkDestroyInstance destroyInstance = nullptr;
    PFN_vkEnumeratePhysicalDevices enumeratePhysicalDevices = nullptr;
    PFN_vkGetPhysicalDeviceProperties getProperties = nullptr;
    PFN_vkGetPhysicalDeviceMemoryProperties getMemoryProperties = nullptr;
};

bool isLoadable(const char* name) {
    void* const library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return false;
    }
    dlclose(library);
    return true;
}

template <typename Function>
bool find(const Vulkan& vulkan, VkInstance instance, const char* name, Function& function) {
    function = reinterpret_cast<Function>(vulkan.getInstanceProcAddr(instance, name));
    return function != nullptr;
}

VkInstance createInstance(const Vulkan& vulkan) {
    VkApplicationInfo application = {};
    application.sType = VK_STRUCTURE_TYPE_APPLICATION_INFO;
    application.apiVersion = VK_API_VERSION_1_0;
    VkInstanceCreateInfo wanted = {};
    wanted.sType = VK_STRUCTURE_TYPE_INSTANCE_CREATE_INFO;
    wanted.pApplicationInfo = &application;
    VkInstance instance = nullptr;
    return vulkan.createInstance(&wanted, nullptr, &instance) == VK_SUCCESS ? instance : nullptr;
}

/// A card counts its own memory. Graphics inside a processor calls the main memory its own, which it isn't; a
/// virtual adapter has what it was given.
uint64_t dedicatedMemory(const VkPhysicalDeviceMemoryProperties& memory, VkPhysicalDeviceType type) {
    if (type != VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU && type != VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU) {
        return 0;
    }
    uint64_t bytes = 0;
    for (uint32_t index = 0; index < std::min<uint32_t>(memory.memoryHeapCount, VK_MAX_MEMORY_HEAPS);
         ++index) {
        if ((memory.memoryHeaps[index].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) != 0) {
            bytes += memory.memoryHeaps[index].size;
        }
    }
    return bytes;
}

GraphicsAdapter describe(const Vulkan& vulkan, VkPhysicalDevice device) {
    VkPhysicalDeviceProperties properties = {};
    VkPhysicalDeviceMemoryProperties memory = {};
    vulkan.getProperties(device, &properties);
    vulkan.getMemoryProperties(device, &memory);
    GraphicsAdapter adapter;
    adapter.name = properties.deviceName;
    adapter.vendor = properties.vendorID;
    adapter.dedicatedMemory = dedicatedMemory(memory, properties.deviceType);
    adapter.isSoftware = properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU;
    return adapter;
}

std::optional<std::vector<GraphicsAdapter>> listAdapters(const Vulkan& vulkan, VkInstance instance) {
    uint32_t count = 0;
    if (vulkan.enumeratePhysicalDevices(instance, &count, nullptr) != VK_SUCCESS) {
        return std::nullopt;
    }
    std::vector<VkPhysicalDevice> devices(count);
    const VkResult result = vulkan.enumeratePhysicalDevices(instance, &count, devices.data());
    // Incomplete: a card was plugged in between the two calls; the others still count.
    if (result != VK_SUCCESS && result != VK_INCOMPLETE) {
        return std::nullopt;
    }
    devices.resize(count);
    std::vector<GraphicsAdapter> adapters;
    adapters.reserve(devices.size());
    for (VkPhysicalDevice device : devices) {
        adapters.push_back(describe(vulkan, device));
    }
    return adapters;
}

}  // namespace

bool hasVulkanLoader() {
    return isLoadable(loaderName);
}

bool hasNvidiaDriver() {
    return isLoadable("libcuda.so.1");
}

std::optional<std::vector<GraphicsAdapter>> graphicsAdapters() {
    // Kept loaded to the end of the process: drivers leave threads and thread-local data behind that would
    // call into code that is gone.
    void* const library = dlopen(loaderName, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr) {
        return std::nullopt;
    }
    Vulkan vulkan;
    vulkan.getInstanceProcAddr =
        reinterpret_cast<PFN_vkGetInstanceProcAddr>(dlsym(library, "vkGetInstanceProcAddr"));
    dlclose(library);
    if (vulkan.getInstanceProcAddr == nullptr ||
        !find(vulkan, nullptr, "vkCreateInstance", vulkan.createInstance)) {
        return std::nullopt;
    }
    VkInstance const instance = createInstance(vulkan);
    if (instance == nullptr) {
        return std::nullopt;
    }
    std::optional<std::vector<GraphicsAdapter>> adapters;
    const bool hasDestroy = find(vulkan, instance, "vkDestroyInstance", vulkan.destroyInstance);
    if (find(vulkan, instance, "vkEnumeratePhysicalDevices", vulkan.enumeratePhysicalDevices) &&
        find(vulkan, instance, "vkGetPhysicalDeviceProperties", vulkan.getProperties) &&
        find(vulkan, instance, "vkGetPhysicalDeviceMemoryProperties", vulkan.getMemoryProperties)) {
        adapters = listAdapters(vulkan, instance);
    }
    if (hasDestroy) {
        vulkan.destroyInstance(instance, nullptr);
    }
    return adapters;
}
