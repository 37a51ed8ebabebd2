#include "presence/GltfAccessor.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>

#include "presence/GltfFile.h"

namespace {

/// Returns the size in bytes, or 0 for a type that glTF 2.0 doesn't have.
size_t componentSize(int type) {
    switch (type) {
        case TINYGLTF_COMPONENT_TYPE_BYTE:
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
            return 1;
        case TINYGLTF_COMPONENT_TYPE_SHORT:
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
            return 2;
        case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        case TINYGLTF_COMPONENT_TYPE_FLOAT:
            return 4;
        default:
            return 0;
    }
}

bool isUnsigned(int type) {
    return type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE || type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ||
           type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
}

template <typename Stored, typename Out>
Out load(const char* at, bool normalized) {
    Stored value;
    std::memcpy(&value, at, sizeof value);
    if constexpr (std::is_integral_v<Stored> && std::is_floating_point_v<Out>) {
        if (normalized) {
            return std::max(static_cast<Out>(value) / static_cast<Out>(std::numeric_limits<Stored>::max()),
                            Out{-1});
        }
    }
    return static_cast<Out>(value);
}

/// Reads one component. `Out` is an integer type only for unsigned components.
template <typename Out>
Out component(const char* at, int type, bool normalized) {
    if (type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE) return load<uint8_t, Out>(at, normalized);
    if (type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT) return load<uint16_t, Out>(at, normalized);
    if (type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT) return load<uint32_t, Out>(at, normalized);
    if constexpr (std::is_floating_point_v<Out>) {
        if (type == TINYGLTF_COMPONENT_TYPE_BYTE) return load<int8_t, Out>(at, normalized);
        if (type == TINYGLTF_COMPONENT_TYPE_SHORT) return load<int16_t, Out>(at, normalized);
        if (type == TINYGLTF_COMPONENT_TYPE_FLOAT) return load<float, Out>(at, normalized);
    }
    return {};
}

/// Elements of one size at equal distances.
struct Elements {
    std::string_view bytes;
    size_t size = 0;
    size_t stride = 0;

    /// `elementSize` isn't 0. A `distance` of 0 means that there are no gaps.
    Elements(std::string_view all, size_t offset, size_t elementSize, size_t distance)
        : bytes(all.substr(std::min(offset, all.size()))),
          size(elementSize),
          stride(distance == 0 ? elementSize : distance) {}

    [[nodiscard]] bool holds(size_t count) const {
        return count == 0 || (bytes.size() >= size && count - 1 <= (bytes.size() - size) / stride);
    }
    [[nodiscard]] const char* at(size_t index) const { return bytes.data() + index * stride; }
};

template <typename Out>
void copyElement(const char* from, const tinygltf::Accessor& accessor, size_t width, Out* to) {
    const size_t size = componentSize(accessor.componentType);
    for (size_t i = 0; i < width; ++i)
        to[i] = component<Out>(from + i * size, accessor.componentType, accessor.normalized);
}

/// Puts the elements that a sparse accessor replaces over those in `out`.
template <typename Out>
bool applySparse(const GltfFile& file, const tinygltf::Accessor& accessor, size_t width,
                 std::vector<Out>& out) {
    const auto& sparse = accessor.sparse;
    const int indexType = sparse.indices.componentType;
    if (!isUnsigned(indexType) || sparse.count < 0 || sparse.indices.byteOffset < 0 ||
        sparse.values.byteOffset < 0) {
        return false;
    }
    const size_t count = static_cast<size_t>(sparse.count);
    const Elements indices(file.viewBytes(sparse.indices.bufferView),
                           static_cast<size_t>(sparse.indices.byteOffset), componentSize(indexType), 0);
    const Elements values(file.viewBytes(sparse.values.bufferView),
                          static_cast<size_t>(sparse.values.byteOffset),
                          width * componentSize(accessor.componentType), 0);
    if (count > accessor.count || !indices.holds(count) || !values.holds(count)) return false;
    // The indices must rise. This also bounds the work.
    size_t next = 0;
    for (size_t i = 0; i < count; ++i) {
        const size_t index = component<uint32_t>(indices.at(i), indexType, false);
        if (index < next || index >= accessor.count) return false;
        if (index >= out.size() / width) break;
        copyElement(values.at(i), accessor, width, &out[index * width]);
        next = index + 1;
    }
    return true;
}

template <typename Out>
bool readElements(const GltfFile& file, const tinygltf::Accessor& accessor, size_t width, size_t most,
                  std::vector<Out>& out) {
    const size_t size = width * componentSize(accessor.componentType);
    if (size == 0) return false;
    const size_t count = std::min(accessor.count, most);
    out.assign(count * width, Out{});
    if (accessor.bufferView != -1) {
        const Elements elements(file.viewBytes(accessor.bufferView), accessor.byteOffset, size,
                                file.lists.bufferViews[accessor.bufferView].byteStride);
        if (!elements.holds(accessor.count)) return false;
        for (size_t i = 0; i < count; ++i)
            copyElement(elements.at(i), accessor, width, &out[i * width]);
    }
    return !accessor.sparse.isSparse || applySparse(file, accessor, width, out);
}

}  // namespace

bool readVectors(const GltfFile& file, int32_t accessor, int32_t width, size_t most,
                 std::vector<float>& out) {
    const tinygltf::Accessor& entry = file.lists.accessors[accessor];
    static_assert(TINYGLTF_TYPE_VEC2 == 2 && TINYGLTF_TYPE_VEC3 == 3 && TINYGLTF_TYPE_VEC4 == 4);
    return entry.type == width && readElements(file, entry, static_cast<size_t>(width), most, out);
}

bool readIndices(const GltfFile& file, int32_t accessor, size_t most, std::vector<uint32_t>& out) {
    const tinygltf::Accessor& entry = file.lists.accessors[accessor];
    return entry.type == TINYGLTF_TYPE_SCALAR && isUnsigned(entry.componentType) &&
           readElements(file, entry, 1, most, out);
}
