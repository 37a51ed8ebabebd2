#include "presence/HeadRenderer.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "foundation/Png.h"
#include "presence/HeadPicture.h"
#include "presence/HeadScene.h"
#include "presence/HeadShaders.h"

namespace {

constexpr int32_t wantedSamples = 4;
/// The least alpha of a head pixel where no compositor blends windows.
constexpr uint8_t outlineAlpha = 128;

uint32_t createTexture(int32_t width, int32_t height, GLint format, const void* pixels) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, format, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    glGenerateMipmap(GL_TEXTURE_2D);
    return texture;
}

HeadPrimitive createPrimitive(const HeadPart& part, uint32_t texture) {
    HeadPrimitive primitive;
    glGenVertexArrays(1, &primitive.vertexArray);
    glBindVertexArray(primitive.vertexArray);
    glGenBuffers(1, &primitive.vertexBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, primitive.vertexBuffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(part.vertices.size() * sizeof(HeadVertex)),
                 part.vertices.data(), GL_STATIC_DRAW);
    glGenBuffers(1, &primitive.indexBuffer);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, primitive.indexBuffer);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(part.indices.size() * sizeof(uint32_t)),
                 part.indices.data(), GL_STATIC_DRAW);
    const struct {
        GLint floats;
        size_t offset;
    } attributes[] = {{3, offsetof(HeadVertex, position)},
                      {3, offsetof(HeadVertex, normal)},
                      {2, offsetof(HeadVertex, texture)}};
    for (GLuint location = 0; location < std::size(attributes); ++location) {
        glEnableVertexAttribArray(location);
        // NOLINTNEXTLINE(performance-no-int-to-ptr): GL takes an offset for a pointer here
        const auto* const offset = reinterpret_cast<const void*>(attributes[location].offset);
        glVertexAttribPointer(location, attributes[location].floats, GL_FLOAT, GL_FALSE, sizeof(HeadVertex),
                              offset);
    }
    primitive.indexCount = static_cast<uint32_t>(part.indices.size());
    primitive.texture = texture;
    primitive.baseColor = part.baseColor;
    primitive.glow = part.glow;
    primitive.nodeIndex = part.nodeIndex;
    primitive.isJaw = part.isJaw;
    return primitive;
}

}  // namespace

HeadRenderer::~HeadRenderer() {
    if (surface == nullptr || !surface->makeCurrent()) return;
    releaseTargets();
    for (const HeadPrimitive& primitive : primitives) {
        glDeleteVertexArrays(1, &primitive.vertexArray);
        glDeleteBuffers(1, &primitive.vertexBuffer);
        glDeleteBuffers(1, &primitive.indexBuffer);
    }
    glDeleteTextures(static_cast<GLsizei>(textures.size()), textures.data());
    glDeleteTextures(1, &whiteTexture);
    glDeleteSamplers(1, &sampler);
    glDeleteBuffers(1, &constants);
    glDeleteProgram(program);
}

bool HeadRenderer::initialize(const HeadSurface& target, int32_t newWidth, int32_t newHeight,
                              const std::string& modelPath) {
    width = newWidth;
    height = newHeight;
    if (!target.makeCurrent()) return false;
    program = buildHeadProgram();
    if (program == 0) return false;
    surface = &target;

    glGenBuffers(1, &constants);
    glBindBuffer(GL_UNIFORM_BUFFER, constants);
    glBufferData(GL_UNIFORM_BUFFER, sizeof(HeadConstants), nullptr, GL_DYNAMIC_DRAW);
    glGenSamplers(1, &sampler);
    glSamplerParameteri(sampler, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glSamplerParameteri(sampler, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glSamplerParameteri(sampler, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glSamplerParameteri(sampler, GL_TEXTURE_WRAP_T, GL_REPEAT);
    constexpr uint32_t white = 0xFFFFFFFF;
    whiteTexture = createTexture(1, 1, GL_RGBA8, &white);
    if (!createTargets()) return false;

    HeadModel model;
    if (!readHeadModel(modelPath, model)) return false;
    upload(model);
    return true;
}

void HeadRenderer::upload(const HeadModel& model) {
    for (const HeadImage& image : model.images) {
        textures.push_back(createTexture(image.width, image.height, GL_SRGB8_ALPHA8, image.pixels.data()));
    }
    for (const HeadPart& part : model.parts) {
        primitives.push_back(
            createPrimitive(part, part.image < 0 ? 0 : textures[static_cast<size_t>(part.image)]));
    }
    nodes = model.nodes;
    scale = model.scale;
    center = model.center;
}

bool HeadRenderer::createTargets() {
    // The window's own multisampling ignores alpha, which gives hard edges. So the frame is drawn to targets
    // of our own.
    GLint mostSamples = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &mostSamples);
    const GLsizei samples = mostSamples >= wantedSamples ? wantedSamples : 0;
    const auto makeTarget = [this](uint32_t& target, GLsizei targetSamples, GLenum format,
                                   GLenum attachment) {
        glGenRenderbuffers(1, &target);
        glBindRenderbuffer(GL_RENDERBUFFER, target);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, targetSamples, format, width, height);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, target);
    };
    glGenFramebuffers(1, &frame);
    glBindFramebuffer(GL_FRAMEBUFFER, frame);
    makeTarget(colorTarget, samples, GL_RGBA8, GL_COLOR_ATTACHMENT0);
    makeTarget(depthTarget, samples, GL_DEPTH_COMPONENT32F, GL_DEPTH_ATTACHMENT);
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) return false;
    glGenFramebuffers(1, &resolvedFrame);
    glBindFramebuffer(GL_FRAMEBUFFER, resolvedFrame);
    makeTarget(resolvedColor, 0, GL_RGBA8, GL_COLOR_ATTACHMENT0);
    return glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

void HeadRenderer::releaseTargets() {
    for (uint32_t* target : {&colorTarget, &depthTarget, &resolvedColor}) {
        glDeleteRenderbuffers(1, target);
        *target = 0;
    }
    for (uint32_t* framebuffer : {&frame, &resolvedFrame}) {
        glDeleteFramebuffers(1, framebuffer);
        *framebuffer = 0;
    }
}

void HeadRenderer::resize(int32_t newWidth, int32_t newHeight) {
    if (surface == nullptr || newWidth < 1 || newHeight < 1) return;
    if ((newWidth == width && newHeight == height) || !surface->makeCurrent()) return;
    width = newWidth;
    height = newHeight;
    releaseTargets();
    // Without targets nothing is drawn, but everything else works; the next size may succeed.
    (void)createTargets();
}

void HeadRenderer::draw(const HeadPose& pose) {
    glBindFramebuffer(GL_FRAMEBUFFER, frame);
    glViewport(0, 0, width, height);
    glClearColor(0, 0, 0, 0);
    glClearDepth(1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LESS);
    glEnable(GL_MULTISAMPLE);
    glUseProgram(program);
    glBindBufferBase(GL_UNIFORM_BUFFER, 0, constants);
    glActiveTexture(GL_TEXTURE0);
    glBindSampler(0, sampler);

    const HeadScene scene(pose, static_cast<float>(width) / static_cast<float>(height), scale, center);
    for (const HeadPrimitive& primitive : primitives) {
        const HeadConstants values =
            scene.constantsOf(primitive, nodes[static_cast<size_t>(primitive.nodeIndex)].world);
        glBufferSubData(GL_UNIFORM_BUFFER, 0, sizeof values, &values);
        glBindTexture(GL_TEXTURE_2D, primitive.texture != 0 ? primitive.texture : whiteTexture);
        glBindVertexArray(primitive.vertexArray);
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(primitive.indexCount), GL_UNSIGNED_INT, nullptr);
    }
}

void HeadRenderer::resolve() const {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, frame);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolvedFrame);
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, resolvedFrame);
}

void HeadRenderer::cutToOutline() {
    pixels.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    std::vector<Rect> rows;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* row = &pixels[static_cast<size_t>(height - 1 - y) * static_cast<size_t>(width) * 4];
        const auto isHead = [row](int32_t x) { return row[static_cast<size_t>(x) * 4 + 3] >= outlineAlpha; };
        for (int32_t x = 0; x < width; ++x) {
            if (!isHead(x)) continue;
            const int32_t from = x;
            while (x < width && isHead(x))
                ++x;
            rows.push_back({from, y, x, y + 1});
        }
    }
    surface->setOutline(rows);
}

void HeadRenderer::render(const HeadPose& pose) {
    if (surface == nullptr || !surface->isShown() || !surface->makeCurrent()) return;
    draw(pose);
    resolve();
    if (surface->needsOutline()) cutToOutline();
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    glClear(GL_COLOR_BUFFER_BIT);  // a window manager may have made the window larger
    glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    surface->present();
}

bool HeadRenderer::capture(const std::string& path, const HeadPose& pose, bool withAlpha) {
    if (surface == nullptr || !surface->makeCurrent()) return false;
    draw(pose);
    resolve();
    const size_t rowBytes = static_cast<size_t>(width) * 4;
    std::vector<uint8_t> bottomUp(rowBytes * static_cast<size_t>(height));
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, bottomUp.data());
    if (glGetError() != GL_NO_ERROR) return false;
    std::vector<uint8_t> drawn;
    drawn.reserve(bottomUp.size());
    for (size_t row = static_cast<size_t>(height); row-- > 0;) {
        const uint8_t* start = bottomUp.data() + row * rowBytes;
        drawn.insert(drawn.end(), start, start + rowBytes);
    }
    return withAlpha ? writePng(path, width, height, 4, withStraightAlpha(drawn))
                     : writePng(path, width, height, 3, overGrey(drawn));
}
