#include "presence/HeadShaders.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <string>

#include "foundation/Log.h"

namespace {

/// The source of both stages. Each stage is compiled with its own name defined.
constexpr const char* shaderText = R"(
layout(std140) uniform HeadConstants {
    mat4 world;
    mat4 viewProj;
    vec4 baseColor;
    vec4 emissive;
    vec4 misc;
};

#ifdef VERTEX_STAGE
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec2 texturePlace;
out vec3 worldPosition;
out vec3 worldNormal;
out vec2 uv;

void main() {
    vec4 place = world * vec4(position, 1.0);
    worldPosition = place.xyz;
    worldNormal = mat3(world) * normal;
    uv = texturePlace;
    gl_Position = viewProj * place;
}
#endif

#ifdef PIXEL_STAGE
uniform sampler2D baseTexture;
in vec3 worldPosition;
in vec3 worldNormal;
in vec2 uv;
out vec4 pixel;

const vec3 eye = vec3(0.0, -0.1, 2.2);

float saturate(float x) {
    return clamp(x, 0.0, 1.0);
}

// Products are far cheaper than pow() on a software renderer.
float power48(float x) {
    float x2 = x * x;
    float x4 = x2 * x2;
    float x8 = x4 * x4;
    float x16 = x8 * x8;
    return x16 * x16 * x16;
}

void main() {
    vec3 albedo = baseColor.rgb;
    if (misc.x > 0.5) albedo *= texture(baseTexture, uv).rgb;
    vec3 n = normalize(worldNormal);
    vec3 v = normalize(eye - worldPosition);
    vec3 keyLight = normalize(vec3(-0.45, 0.65, 0.75));
    vec3 fillLight = normalize(vec3(0.8, -0.2, 0.4));

    vec3 ambient = mix(vec3(0.10, 0.10, 0.14), vec3(0.30, 0.32, 0.40), n.y * 0.5 + 0.5);
    float key = saturate(dot(n, keyLight));
    float fill = saturate(dot(n, fillLight)) * 0.35;
    vec3 h = normalize(keyLight + v);
    float shine = power48(saturate(dot(n, h))) * misc.z;
    float edge = 1.0 - saturate(dot(n, v));
    float rim = edge * edge * edge * 0.25;

    vec3 color = albedo * (ambient + key * vec3(1.0, 0.97, 0.95) * 0.95 + fill * vec3(0.45, 0.55, 1.0));
    color += shine + rim * vec3(0.2, 0.55, 0.9);
    color = color * misc.y + emissive.rgb;
    pixel = vec4(pow(clamp(color, 0.0, 1.0), vec3(1.0 / 2.2)), 1.0);
}
#endif
)";

/// Returns the compiler's or linker's message.
template <typename GetLength, typename GetText>
std::string message(uint32_t name, GetLength getLength, GetText getText) {
    GLint length = 0;
    getLength(name, GL_INFO_LOG_LENGTH, &length);
    std::string text(static_cast<size_t>(std::max(length, 0)), '\0');
    GLsizei written = 0;
    if (length > 0) getText(name, length, &written, text.data());
    text.resize(static_cast<size_t>(written));
    return text.empty() ? "?" : text;
}

uint32_t compile(GLenum stage, const char* define) {
    const uint32_t shader = glCreateShader(stage);
    const char* texts[] = {"#version 330 core\n#define ", define, "\n", shaderText};
    glShaderSource(shader, 4, texts, nullptr);
    glCompileShader(shader);
    return shader;
}

bool compiled(uint32_t shader) {
    GLint good = GL_FALSE;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &good);
    return good == GL_TRUE;
}

}  // namespace

uint32_t buildHeadProgram() {
    const uint32_t vertexShader = compile(GL_VERTEX_SHADER, "VERTEX_STAGE");
    const uint32_t pixelShader = compile(GL_FRAGMENT_SHADER, "PIXEL_STAGE");
    uint32_t program = 0;
    if (!compiled(vertexShader)) {
        logLine("VS compile: %s", message(vertexShader, glGetShaderiv, glGetShaderInfoLog).c_str());
    } else if (!compiled(pixelShader)) {
        logLine("PS compile: %s", message(pixelShader, glGetShaderiv, glGetShaderInfoLog).c_str());
    } else {
        program = glCreateProgram();
        glAttachShader(program, vertexShader);
        glAttachShader(program, pixelShader);
        glLinkProgram(program);
        GLint linked = GL_FALSE;
        glGetProgramiv(program, GL_LINK_STATUS, &linked);
        if (linked != GL_TRUE) {
            logLine("PS compile: %s", message(program, glGetProgramiv, glGetProgramInfoLog).c_str());
            glDeleteProgram(program);
            program = 0;
        }
    }
    glDeleteShader(vertexShader);
    glDeleteShader(pixelShader);
    if (program == 0) return 0;
    glUseProgram(program);
    glUniformBlockBinding(program, glGetUniformBlockIndex(program, "HeadConstants"), 0);
    glUniform1i(glGetUniformLocation(program, "baseTexture"), 0);
    return program;
}
