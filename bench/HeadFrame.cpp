// Measures the processor time of one frame of the head, compared with a bare draw of the same triangles with
// the same shaders into a target of the same kind. It is meant for software GL, where the processor does all
// the work.

#include <epoxy/gl.h>

#include <cstdio>
#include <glm/gtc/matrix_transform.hpp>
#include <memory>
#include <string>
#include <vector>

#include "Benchmark.h"
#include "Figures.h"
#include "ProcessCost.h"
#include "presence/HeadModel.h"
#include "presence/HeadRenderer.h"
#include "presence/HeadScene.h"
#include "presence/HeadShaders.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr int rounds = 100;

/// Draws the head from one buffer with one call.
class BareDraw {
public:
    BareDraw(const HeadModel& model, int width, int height) : width(width), height(height) {
        std::vector<HeadVertex> vertices;
        std::vector<uint32_t> indices;
        for (const HeadPart& part : model.parts) {
            const auto first = static_cast<uint32_t>(vertices.size());
            const glm::mat4& world = model.nodes[static_cast<size_t>(part.nodeIndex)].world;
            for (HeadVertex vertex : part.vertices) {
                vertex.position = glm::vec3(world * glm::vec4(vertex.position, 1));
                vertex.normal = glm::mat3(world) * vertex.normal;
                vertices.push_back(vertex);
            }
            for (const uint32_t index : part.indices)
                indices.push_back(first + index);
        }
        count = static_cast<GLsizei>(indices.size());
        glGenVertexArrays(1, &vertexArray);
        glBindVertexArray(vertexArray);
        GLuint buffers[3];
        glGenBuffers(3, buffers);
        glBindBuffer(GL_ARRAY_BUFFER, buffers[0]);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(HeadVertex)),
                     vertices.data(), GL_STATIC_DRAW);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers[1]);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(indices.size() * sizeof(uint32_t)),
                     indices.data(), GL_STATIC_DRAW);
        for (GLuint i = 0; i < 3; ++i) {
            glEnableVertexAttribArray(i);
            glVertexAttribPointer(i, i == 2 ? 2 : 3, GL_FLOAT, GL_FALSE, sizeof(HeadVertex),
                                  reinterpret_cast<const void*>(static_cast<size_t>(i) * 12));
        }

        HeadConstants values;
        values.world =
            glm::scale(glm::mat4(1), glm::vec3(model.scale)) * glm::translate(glm::mat4(1), -model.center);
        values.viewProj =
            glm::perspective(glm::radians(40.0F), static_cast<float>(width) / static_cast<float>(height),
                             0.1F, 20.0F) *
            glm::lookAt(glm::vec3(0, -0.1F, 2.2F), glm::vec3(0, -0.1F, 0), glm::vec3(0, 1, 0));
        values.misc = {0, 1, 0.35F, 0};
        constants = buffers[2];
        glBindBuffer(GL_UNIFORM_BUFFER, constants);
        glBufferData(GL_UNIFORM_BUFFER, sizeof values, &values, GL_STATIC_DRAW);

        GLuint targets[2];
        glGenRenderbuffers(2, targets);
        glGenFramebuffers(1, &frame);
        glBindFramebuffer(GL_FRAMEBUFFER, frame);
        const GLenum formats[] = {GL_RGBA8, GL_DEPTH_COMPONENT32F};
        const GLenum places[] = {GL_COLOR_ATTACHMENT0, GL_DEPTH_ATTACHMENT};
        for (int i = 0; i < 2; ++i) {
            glBindRenderbuffer(GL_RENDERBUFFER, targets[i]);
            glRenderbufferStorageMultisample(GL_RENDERBUFFER, 4, formats[i], width, height);
            glFramebufferRenderbuffer(GL_FRAMEBUFFER, places[i], GL_RENDERBUFFER, targets[i]);
        }
        program = buildHeadProgram();
    }

    void draw() const {
        glBindFramebuffer(GL_FRAMEBUFFER, frame);
        glViewport(0, 0, width, height);
        glClearColor(0, 0, 0, 0);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        glUseProgram(program);
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, constants);
        glBindVertexArray(vertexArray);
        glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_INT, nullptr);
    }

    [[nodiscard]] int triangles() const { return count / 3; }

private:
    int width, height;
    GLsizei count = 0;
    GLuint vertexArray = 0, constants = 0, frame = 0, program = 0;
};

/// Returns the processor time of one drawing in milliseconds.
template <typename Draw>
double cost(Draw draw) {
    const double before = ownProcessorMilliseconds();
    draw();
    glFinish();
    return ownProcessorMilliseconds() - before;
}

bool measure(const HeadSurface& surface, const HeadModel& model, int width, int height) {
    HeadRenderer renderer;
    if (!renderer.initialize(surface, width, height, HEAD_MODEL)) return false;
    const BareDraw bare(model, width, height);
    const HeadPose pose;
    std::vector<double> frames;
    std::vector<double> draws;
    for (int round = 0; round < rounds; ++round) {
        frames.push_back(cost([&] { renderer.render(pose); }));
        draws.push_back(cost([&] { bare.draw(); }));
    }
    const double frame = quantile(frames, 0.5);
    const double draw = quantile(draws, 0.5);
    const int triangles = bare.triangles();
    std::printf(
        "HeadFrame: %d x %d: %.2f ms of processor time for a frame, %.0f triangles per ms; "
        "bare draw %.2f ms, %.0f triangles per ms; ratio %.2f (target 1.3)\n",
        width, height, frame, triangles / frame, draw, triangles / draw, frame / draw);
    return true;
}

}  // namespace

int main() {
    const TemporaryFolder folder;
    setVariable("VELU_HOME", folder.path);
    std::string problem;
    const std::unique_ptr<HeadSurface> surface = HeadSurface::offscreen(problem);
    HeadModel model;
    if (!surface || !readHeadModel(HEAD_MODEL, model)) {
        std::printf("HeadFrame: not measured; %s\n", problem.c_str());
        return 1;
    }
    std::printf("HeadFrame: drawn by %s\n", reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    return measure(*surface, model, 204, 240) && measure(*surface, model, 357, 420) ? 0 : 1;
}
