// A model file: whatever is in it, a head that comes out can be drawn without another look. An input that
// isn't a file's beginning is the text of one and, after a zero byte, its binary part: lengths that are right
// by themselves lead deeper.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

#include "fuzz/Require.h"
#include "presence/HeadModel.h"

namespace {

template <typename Vector>
bool isFinite(const Vector& vector) {
    for (int i = 0; i < Vector::length(); ++i) {
        if (!std::isfinite(vector[i])) return false;
    }
    return true;
}

void checkPart(const HeadModel& model, const HeadPart& part) {
    require(part.nodeIndex >= 0 && part.nodeIndex < static_cast<int32_t>(model.nodes.size()),
            "a part has its node");
    require(part.isJaw == (model.nodes[part.nodeIndex].name == "Jaw"), "the jaw is the jaw's node");
    require(part.image >= -1 && part.image < static_cast<int32_t>(model.images.size()),
            "a part's image is there");
    require(!part.indices.empty() && part.indices.size() % 3 == 0, "a part is made of triangles");
    for (const uint32_t index : part.indices)
        require(index < part.vertices.size(), "every corner is there");
    for (const HeadVertex& vertex : part.vertices)
        require(isFinite(vertex.position) && isFinite(vertex.normal) && isFinite(vertex.texture),
                "a corner is somewhere");
    require(isFinite(part.baseColor), "a colour is one");
}

std::string number(size_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(value >> 8 * i);
    return bytes;
}

std::string chunk(std::string_view type, std::string content, char padding) {
    content.resize((content.size() + 3) / 4 * 4, padding);
    return number(content.size()).append(type).append(content);
}

std::string asFile(const std::string& input) {
    if (input.starts_with("glTF")) return input;
    const size_t end = std::min(input.find('\0'), input.size());
    std::string chunks = chunk("JSON", input.substr(0, end), ' ');
    if (end + 1 < input.size()) chunks += chunk({"BIN", 4}, input.substr(end + 1), 0);
    return "glTF" + number(2) + number(12 + chunks.size()) + chunks;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // What is logged must not fill the disk.
    return setenv("VELU_HOME", "/dev/null/none", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    HeadModel model;
    const std::string file = asFile({reinterpret_cast<const char*>(data), size});
    const bool isHead = parseHeadModel(file, model);
    require(isHead == !model.parts.empty(), "a head has parts");
    for (const HeadPart& part : model.parts)
        checkPart(model, part);
    for (const HeadNode& node : model.nodes)
        for (int i = 0; i < 4; ++i)
            require(isFinite(node.world[i]), "a node is somewhere");
    for (const HeadImage& image : model.images)
        require(!image.pixels.empty() && image.pixels.size() == size_t{4} * image.width * image.height,
                "an image is whole");
    require(isFinite(model.center) && std::isfinite(model.scale) && model.scale > 0, "the head has a size");
    return 0;
}
