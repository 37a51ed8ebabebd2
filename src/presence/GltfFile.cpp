#include "presence/GltfFile.h"

#include <exception>
#include <nlohmann/json.hpp>
#include <string>

#include "foundation/Json.h"

using nlohmann::json;

namespace {

uint32_t numberAt(std::string_view bytes, size_t offset) {
    const auto byte = [&](size_t i) {
        return static_cast<uint32_t>(static_cast<uint8_t>(bytes[offset + i]));
    };
    return byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
}

/// Removes the next chunk from `rest`. Returns false when it has another type or isn't complete.
bool takeChunk(std::string_view& rest, uint32_t type, std::string_view& content) {
    if (rest.size() < 8 || numberAt(rest, 4) != type) return false;
    const size_t length = numberAt(rest, 0);
    if (length > rest.size() - 8) return false;
    content = rest.substr(8, length);
    rest.remove_prefix(8 + length);
    return true;
}

/// Splits the file into its JSON text and its binary chunk, which is empty when the file has none.
bool splitFile(std::string_view bytes, std::string_view& text, std::string_view& binary) {
    constexpr uint32_t jsonChunk = 0x4E4F534A;
    constexpr uint32_t binaryChunk = 0x004E4942;
    if (bytes.size() < 12 || bytes.size() > GltfFile::mostBytes || !bytes.starts_with("glTF")) return false;
    const size_t length = numberAt(bytes, 8);
    if (numberAt(bytes, 4) != 2 || length < 12 || length > bytes.size()) return false;
    std::string_view rest = bytes.substr(12, length - 12);
    if (!takeChunk(rest, jsonChunk, text) || text.size() > GltfFile::mostJsonBytes) return false;
    return rest.empty() || takeChunk(rest, binaryChunk, binary);
}

/// Lets the library parse the descriptive lists. It doesn't get buffers and images: it would copy the binary
/// chunk for each buffer, and trust the images' entries.
bool readLists(json& document, tinygltf::Model& lists) {
    json kept = {{"asset", document["asset"]}};
    for (const char* key : {"accessors", "bufferViews", "materials", "meshes", "nodes", "textures"}) {
        if (document.contains(key)) kept[key] = std::move(document[key]);
    }
    const std::string text = kept.dump();
    std::string error;
    std::string warning;
    try {
        return tinygltf::TinyGLTF().LoadASCIIFromString(&lists, &error, &warning, text.data(),
                                                        static_cast<unsigned int>(text.size()), "") &&
               lists.asset.version.starts_with("2.");
    } catch (const std::exception&) {
        return false;
    }
}

bool areListsSound(const json& document) {
    if (!document.is_object()) return false;
    for (const char* key :
         {"accessors", "buffers", "bufferViews", "images", "materials", "meshes", "nodes", "textures"}) {
        const auto list = document.find(key);
        if (list == document.end()) continue;
        if (!list->is_array() || list->size() > GltfFile::mostEntries) return false;
        for (const json& entry : *list) {
            if (!entry.is_object()) return false;
        }
    }
    return true;
}

bool isIndex(int64_t index, size_t count) {
    return index >= 0 && static_cast<uint64_t>(index) < count;
}

bool isIndexOrNone(int64_t index, size_t count) {
    return index == -1 || isIndex(index, count);
}

bool readImages(const json& document, GltfFile& file) {
    const auto images = document.find("images");
    if (images == document.end()) return true;
    if (images->size() > GltfFile::mostImages) return false;
    for (const json& image : *images) {
        const auto view = image.find("bufferView");
        int64_t index = -1;
        if (view != image.end()) {
            if (!view->is_number_integer()) return false;
            index = view->get<int64_t>();
            if (!isIndex(index, file.lists.bufferViews.size())) return false;
        }
        file.imageViews.push_back(static_cast<int32_t>(index));
    }
    return true;
}

bool areAccessorsSound(const tinygltf::Model& lists, size_t buffers) {
    const size_t views = lists.bufferViews.size();
    for (const tinygltf::BufferView& view : lists.bufferViews) {
        if (!isIndex(view.buffer, buffers)) return false;
    }
    for (const tinygltf::Accessor& accessor : lists.accessors) {
        if (!isIndexOrNone(accessor.bufferView, views)) return false;
        if (accessor.sparse.isSparse && !(isIndex(accessor.sparse.indices.bufferView, views) &&
                                          isIndex(accessor.sparse.values.bufferView, views))) {
            return false;
        }
    }
    return true;
}

bool areMeshesSound(const tinygltf::Model& lists) {
    for (const tinygltf::Mesh& mesh : lists.meshes) {
        for (const tinygltf::Primitive& primitive : mesh.primitives) {
            if (!isIndexOrNone(primitive.indices, lists.accessors.size())) return false;
            if (!isIndexOrNone(primitive.material, lists.materials.size())) return false;
            for (const auto& [name, accessor] : primitive.attributes) {
                if (!isIndex(accessor, lists.accessors.size())) return false;
            }
        }
    }
    return true;
}

bool areMaterialsSound(const tinygltf::Model& lists, size_t images) {
    for (const tinygltf::Material& material : lists.materials) {
        if (!isIndexOrNone(material.pbrMetallicRoughness.baseColorTexture.index, lists.textures.size())) {
            return false;
        }
    }
    for (const tinygltf::Texture& texture : lists.textures) {
        if (!isIndexOrNone(texture.source, images)) return false;
    }
    return true;
}

bool isLength(const std::vector<double>& numbers, size_t length) {
    return numbers.empty() || numbers.size() == length;
}

bool orderNodes(GltfFile& file) {
    const std::vector<tinygltf::Node>& nodes = file.lists.nodes;
    file.parents.assign(nodes.size(), -1);
    for (size_t i = 0; i < nodes.size(); ++i) {
        const tinygltf::Node& node = nodes[i];
        if (!isIndexOrNone(node.mesh, file.lists.meshes.size()) || !isLength(node.matrix, 16) ||
            !isLength(node.translation, 3) || !isLength(node.rotation, 4) || !isLength(node.scale, 3)) {
            return false;
        }
        for (const int child : node.children) {
            if (!isIndex(child, nodes.size()) || file.parents[child] != -1) return false;
            file.parents[child] = static_cast<int32_t>(i);
        }
    }
    for (size_t i = 0; i < nodes.size(); ++i) {
        if (file.parents[i] == -1) file.topDown.push_back(static_cast<int32_t>(i));
    }
    for (size_t i = 0; i < file.topDown.size(); ++i) {
        const std::vector<int>& children = nodes[file.topDown[i]].children;
        file.topDown.insert(file.topDown.end(), children.begin(), children.end());
    }
    // Every node has at most one parent, so the nodes that weren't reached form cycles.
    return file.topDown.size() == nodes.size();
}

struct BufferEntry {
    size_t length = 0;
    std::string address;  ///< empty: the binary chunk
};

bool readBufferEntries(const json& document, std::vector<BufferEntry>& entries) {
    const auto buffers = document.find("buffers");
    if (buffers == document.end()) return true;
    for (const json& buffer : *buffers) {
        const auto length = buffer.find("byteLength");
        const auto address = buffer.find("uri");
        if (length == buffer.end() || !length->is_number_unsigned()) return false;
        if (address != buffer.end() && !address->is_string()) return false;
        entries.push_back(
            {length->get<size_t>(), address == buffer.end() ? "" : address->get<std::string>()});
    }
    return true;
}

bool loadBuffers(const std::vector<BufferEntry>& entries, std::string_view binary, GltfFile& file) {
    for (const BufferEntry& entry : entries) {
        if (entry.address.empty()) {
            // Only the first buffer can be the file's own.
            if (!file.buffers.empty() || entry.length > binary.size()) return false;
            file.buffers.push_back(binary.substr(0, entry.length));
            continue;
        }
        std::vector<unsigned char> data;
        std::string kind;
        if (!tinygltf::DecodeDataURI(&data, kind, entry.address, entry.length, true)) return false;
        file.buffers.emplace_back(reinterpret_cast<const char*>(data.data()), data.size());
        file.decodedBuffers.push_back(std::move(data));
    }
    return true;
}

}  // namespace

GltfResult GltfFile::open(std::string_view bytes) {
    std::string_view text;
    std::string_view binary;
    if (!splitFile(bytes, text, binary)) return GltfResult::invalid;
    json document = parseJson(text);
    std::vector<BufferEntry> entries;
    if (!areListsSound(document) || !readLists(document, lists) || !readImages(document, *this) ||
        !readBufferEntries(document, entries) || !areAccessorsSound(lists, entries.size()) ||
        !areMeshesSound(lists) || !areMaterialsSound(lists, imageViews.size()) || !orderNodes(*this)) {
        return GltfResult::invalid;
    }
    return loadBuffers(entries, binary, *this) ? GltfResult::ok : GltfResult::buffersMissing;
}

std::string_view GltfFile::viewBytes(int32_t view) const {
    const tinygltf::BufferView& entry = lists.bufferViews[view];
    const std::string_view buffer = buffers[entry.buffer];
    if (entry.byteOffset > buffer.size() || entry.byteLength > buffer.size() - entry.byteOffset) return {};
    return buffer.substr(entry.byteOffset, entry.byteLength);
}
