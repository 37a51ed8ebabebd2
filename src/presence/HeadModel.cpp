#include "presence/HeadModel.h"

#include <algorithm>
#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/quaternion.hpp>
#include <limits>
#include <optional>

#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Text.h"
#include "presence/GltfAccessor.h"
#include "presence/GltfFile.h"
#include "presence/ImageDecoder.h"

namespace {

/// Converts with clamping to a float's range, so that the model stays finite.
float toFloat(double number) {
    constexpr double largest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(number, -largest, largest));
}

glm::vec3 toVector(const std::vector<double>& numbers, const glm::vec3& otherwise) {
    if (numbers.empty()) return otherwise;
    return {toFloat(numbers[0]), toFloat(numbers[1]), toFloat(numbers[2])};
}

glm::mat4 localTransform(const tinygltf::Node& node) {
    glm::mat4 matrix(1);
    if (!node.matrix.empty()) {
        for (int i = 0; i < 16; ++i)
            matrix[i / 4][i % 4] = toFloat(node.matrix[i]);
        return matrix;
    }
    matrix = glm::translate(matrix, toVector(node.translation, glm::vec3(0)));
    if (!node.rotation.empty()) {
        const std::vector<double>& turn = node.rotation;  // x, y, z, w
        matrix *=
            glm::mat4_cast(glm::quat(toFloat(turn[3]), toFloat(turn[0]), toFloat(turn[1]), toFloat(turn[2])));
    }
    return glm::scale(matrix, toVector(node.scale, glm::vec3(1)));
}

bool isFinite(const glm::mat4& matrix) {
    for (int i = 0; i < 16; ++i) {
        if (!std::isfinite(matrix[i / 4][i % 4])) return false;
    }
    return true;
}

std::vector<glm::mat4> worldTransforms(const GltfFile& file) {
    std::vector<glm::mat4> worlds(file.parents.size());
    for (const int32_t node : file.topDown) {
        const int32_t parent = file.parents[node];
        worlds[node] = localTransform(file.lists.nodes[node]);
        if (parent != -1) worlds[node] = worlds[parent] * worlds[node];
    }
    return worlds;
}

HeadGlow glowOf(const tinygltf::Material& material) {
    const std::string name = toLowerAscii(material.name);
    if (name.find("eyeglow") != std::string::npos) return HeadGlow::eye;
    return name.find("earglow") != std::string::npos ? HeadGlow::ear : HeadGlow::none;
}

/// Reads the parts of one file.
struct PartReader {
    const GltfFile& file;
    HeadModel& model;
    std::vector<HeadGlow> glows;                 ///< of each material
    std::vector<std::optional<int32_t>> images;  ///< each image's index in the model; -1: can't be decoded
    ImageDecoder decoder;
    // Corners of the box that decides the head's size.
    glm::dvec3 low{1e9};
    glm::dvec3 high{-1e9};
    // Many nodes may draw one mesh, so a small file can ask for any amount of work. A part that exceeds these
    // limits is left out. Parts that can't be drawn count too.
    size_t partsLeft = 1 << 16;
    size_t verticesLeft = 1 << 22;
    size_t indicesLeft = 1 << 22;

    PartReader(const GltfFile& openFile, HeadModel& target)
        : file(openFile), model(target), images(openFile.imageViews.size()) {
        for (const tinygltf::Material& material : file.lists.materials)
            glows.push_back(glowOf(material));
    }

    void readNode(int32_t nodeIndex);
    bool readGeometry(const tinygltf::Primitive& primitive, HeadPart& part);
    bool readPositions(int32_t accessor, HeadPart& part);
    bool readTriangles(int32_t accessor, HeadPart& part);
    void readNormals(int32_t accessor, HeadPart& part) const;
    void readTexturePlaces(int32_t accessor, HeadPart& part) const;
    void readMaterial(int32_t materialIndex, HeadPart& part);
    int32_t imagePlace(int32_t image);
    void fitModel();
};

void PartReader::readNode(int32_t nodeIndex) {
    const tinygltf::Node& node = file.lists.nodes[nodeIndex];
    if (node.mesh == -1) return;
    const bool isJaw = node.name == "Jaw";
    for (const tinygltf::Primitive& primitive : file.lists.meshes[node.mesh].primitives) {
        if (partsLeft == 0) return;
        --partsLeft;
        HeadPart part;
        if (!readGeometry(primitive, part)) continue;
        if (!isJaw && node.name != "MouthInterior") {
            for (const HeadVertex& vertex : part.vertices) {
                low = glm::min(low, glm::dvec3(vertex.position));
                high = glm::max(high, glm::dvec3(vertex.position));
            }
        }
        if (primitive.material != -1) readMaterial(primitive.material, part);
        part.nodeIndex = nodeIndex;
        part.isJaw = isJaw;
        model.parts.push_back(std::move(part));
    }
}

/// Returns false for a part that can't be drawn.
bool PartReader::readGeometry(const tinygltf::Primitive& primitive, HeadPart& part) {
    const auto attribute = [&](const char* name) {
        const auto found = primitive.attributes.find(name);
        return found == primitive.attributes.end() ? -1 : found->second;
    };
    const int32_t positions = attribute("POSITION");
    const int32_t normals = attribute("NORMAL");
    const int32_t places = attribute("TEXCOORD_0");
    if (positions == -1 || primitive.indices == -1) return false;
    if (!readPositions(positions, part) || !readTriangles(primitive.indices, part)) return false;
    if (normals != -1) readNormals(normals, part);
    if (places != -1) readTexturePlaces(places, part);
    return true;
}

bool PartReader::readPositions(int32_t accessor, HeadPart& part) {
    const size_t count = file.lists.accessors[accessor].count;
    if (count > verticesLeft) return false;
    verticesLeft -= count;
    std::vector<float> numbers;
    if (!readVectors(file, accessor, 3, count, numbers)) return false;
    // A stray number in one part must not spoil the size of the whole head.
    if (!std::all_of(numbers.begin(), numbers.end(), [](float number) { return std::isfinite(number); })) {
        return false;
    }
    part.vertices.resize(count);
    for (size_t i = 0; i < count; ++i)
        part.vertices[i].position = {numbers[3 * i], numbers[3 * i + 1], numbers[3 * i + 2]};
    return true;
}

bool PartReader::readTriangles(int32_t accessor, HeadPart& part) {
    const size_t count = file.lists.accessors[accessor].count;
    if (count > indicesLeft) return false;
    indicesLeft -= count;
    if (!readIndices(file, accessor, count, part.indices)) return false;
    part.indices.resize(count - count % 3);
    return !part.indices.empty() &&
           *std::max_element(part.indices.begin(), part.indices.end()) < part.vertices.size();
}

void PartReader::readNormals(int32_t accessor, HeadPart& part) const {
    std::vector<float> numbers;
    if (!readVectors(file, accessor, 3, part.vertices.size(), numbers)) return;
    for (size_t i = 0; i < numbers.size() / 3; ++i) {
        const glm::vec3 normal(numbers[3 * i], numbers[3 * i + 1], numbers[3 * i + 2]);
        if (std::isfinite(normal.x) && std::isfinite(normal.y) && std::isfinite(normal.z)) {
            part.vertices[i].normal = normal;
        }
    }
}

void PartReader::readTexturePlaces(int32_t accessor, HeadPart& part) const {
    std::vector<float> numbers;
    if (!readVectors(file, accessor, 2, part.vertices.size(), numbers)) return;
    for (size_t i = 0; i < numbers.size() / 2; ++i) {
        const glm::vec2 place(numbers[2 * i], numbers[2 * i + 1]);
        if (std::isfinite(place.x) && std::isfinite(place.y)) part.vertices[i].texture = place;
    }
}

void PartReader::readMaterial(int32_t materialIndex, HeadPart& part) {
    const tinygltf::PbrMetallicRoughness& look = file.lists.materials[materialIndex].pbrMetallicRoughness;
    part.glow = glows[materialIndex];
    for (int i = 0; i < 4; ++i)
        part.baseColor[i] = toFloat(look.baseColorFactor[i]);
    if (look.baseColorTexture.index == -1) return;
    const int32_t image = file.lists.textures[look.baseColorTexture.index].source;
    if (image != -1) part.image = imagePlace(image);
}

int32_t PartReader::imagePlace(int32_t image) {
    std::optional<int32_t>& place = images[image];
    if (place) return *place;
    place = -1;
    HeadImage decoded;
    if (file.imageViews[image] != -1 && decoder.decode(file.viewBytes(file.imageViews[image]), decoded)) {
        place = static_cast<int32_t>(model.images.size());
        model.images.push_back(std::move(decoded));
    }
    return *place;
}

void PartReader::fitModel() {
    const glm::dvec3 size = high - low;
    const double longest = std::max({size.x, size.y, size.z});
    model.center = glm::vec3((low + high) / 2.0);
    if (longest > 0) model.scale = toFloat(1.2 / longest);
}

}  // namespace

bool readHeadModel(const std::string& path, HeadModel& model) {
    std::string bytes;
    if (fileSize(path) > GltfFile::mostBytes || !readWholeFile(path, bytes)) {
        logLine("cannot read model");
        return false;
    }
    return parseHeadModel(bytes, model);
}

bool parseHeadModel(std::string_view bytes, HeadModel& model) {
    model = {};
    GltfFile file;
    const GltfResult opened = file.open(bytes);
    if (opened != GltfResult::ok) {
        logLine(opened == GltfResult::invalid ? "gltf parse failed" : "gltf buffers failed");
        return false;
    }
    PartReader reader(file, model);
    const std::vector<glm::mat4> worlds = worldTransforms(file);
    for (size_t i = 0; i < worlds.size(); ++i) {
        // A node with a transform that isn't finite keeps its index, but isn't drawn.
        const bool isPlaced = isFinite(worlds[i]);
        model.nodes.push_back({isPlaced ? worlds[i] : glm::mat4(1), file.lists.nodes[i].name});
        if (isPlaced) reader.readNode(static_cast<int32_t>(i));
    }
    reader.fitModel();
    logLine("model loaded: %zu prims, scale %.3f", model.parts.size(), static_cast<double>(model.scale));
    return !model.parts.empty();
}
