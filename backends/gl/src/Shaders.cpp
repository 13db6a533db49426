#include "Shaders.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace Ostrum::GL {

namespace {

// Matrices arrive row by row with column vectors (the framework's MMTransformMatrix
// convention); row_major makes GLSL read them as such, so M * v is what the framework means.
const char* const kSceneBlock = R"(
layout(std140, row_major) uniform Scene {
  mat4 u_model;
  mat4 u_view;
  mat4 u_projection;
  mat4 u_normal;
  vec4 u_planes[8];
  vec4 u_front;
  vec4 u_ambient;
  vec4 u_diffuse;
  vec4 u_specular;
  vec4 u_viewport;
  vec4 u_light;
  ivec4 u_flags;
};
)";

const char* const kSceneVertex = R"(
layout(location = 0) in vec3 a_position;
layout(location = 1) in vec3 a_normal;
layout(location = 2) in vec4 a_color;
uniform int u_vertex_color;
out vec3 v_eye;
out vec3 v_normal;
out vec4 v_color;
out vec4 v_world;
out float gl_ClipDistance[8];
void main() {
  vec4 world = u_model * vec4(a_position, 1.0);
  vec4 eye = u_view * world;
  v_eye = eye.xyz;
  v_world = world;
  v_normal = mat3(u_normal) * a_normal;
  v_color = u_vertex_color != 0 ? a_color : u_front;
  for (int i = 0; i < 8; ++i) gl_ClipDistance[i] = (u_flags.y & (1 << i)) != 0 ? dot(u_planes[i], world) : 1.0;
  gl_Position = u_projection * eye;
}
)";

// A headlight: directional, along the line of sight (u_light points to the viewer), with the
// viewer at infinity, so the half vector is the light's direction too. One-sided: a normal
// turned from the eye gets the ambient term only. Without normals, each triangle's own
// (counter-clockwise on the screen is its front).
const char* const kMeshFragment = R"(
uniform int u_flat;
in vec3 v_eye;
in vec3 v_normal;
in vec4 v_color;
out vec4 o_color;
void main() {
  vec4 c = v_color;
  if (u_flags.x != 0) {
    vec3 n;
    if (u_flat != 0) {
      n = normalize(cross(dFdx(v_eye), dFdy(v_eye)));
      if (dot(n, u_light.xyz) < 0.0) n = -n;
      if (!gl_FrontFacing) n = -n;
    } else {
      n = normalize(v_normal);
    }
    float d = max(dot(n, u_light.xyz), 0.0);
    float s = d > 0.0 ? pow(d, 32.0) : 0.0;
    c.rgb = c.rgb * (u_ambient.rgb + u_diffuse.rgb * d) + u_specular.rgb * s;
  }
  o_color = c;
}
)";

// Lines become quads `u_line_width` pixels wide, across the segment on the screen.
const char* const kLineGeometry = R"(
layout(lines) in;
layout(triangle_strip, max_vertices = 4) out;
uniform float u_line_width;
in vec4 v_color[];
in vec4 v_world[];
out vec4 g_color;
out float gl_ClipDistance[8];
void Emit(vec4 position, vec4 world, vec4 color) {
  gl_Position = position;
  g_color = color;
  for (int i = 0; i < 8; ++i) gl_ClipDistance[i] = (u_flags.y & (1 << i)) != 0 ? dot(u_planes[i], world) : 1.0;
  EmitVertex();
}
void main() {
  vec4 p0 = gl_in[0].gl_Position, p1 = gl_in[1].gl_Position;
  vec4 w0 = v_world[0], w1 = v_world[1];
  const float eps = 1e-5;
  if (p0.w < eps && p1.w < eps) return;
  if (p0.w < eps) { float t = (eps - p0.w) / (p1.w - p0.w); p0 = mix(p0, p1, t); w0 = mix(w0, w1, t); }
  if (p1.w < eps) { float t = (eps - p1.w) / (p0.w - p1.w); p1 = mix(p1, p0, t); w1 = mix(w1, w0, t); }
  vec2 half_size = 0.5 * u_viewport.xy;
  vec2 d = p1.xy / p1.w * half_size - p0.xy / p0.w * half_size;
  d = length(d) > 1e-6 ? normalize(d) : vec2(1.0, 0.0);
  vec2 off = vec2(-d.y, d.x) * (0.5 * max(u_line_width, 1.0)) / half_size;
  Emit(p0 + vec4(off * p0.w, 0.0, 0.0), w0, v_color[0]);
  Emit(p0 - vec4(off * p0.w, 0.0, 0.0), w0, v_color[0]);
  Emit(p1 + vec4(off * p1.w, 0.0, 0.0), w1, v_color[1]);
  Emit(p1 - vec4(off * p1.w, 0.0, 0.0), w1, v_color[1]);
  EndPrimitive();
}
)";

const char* const kLineFragment = R"(
in vec4 g_color;
out vec4 o_color;
void main() { o_color = g_color; }
)";

const char* const kPointVertexExtra = R"(
uniform float u_point_size;
)";

const char* const kPointFragment = R"(
in vec4 v_color;
out vec4 o_color;
void main() { o_color = v_color; }
)";

const char* const kFlatVertex = R"(
layout(location = 0) in vec2 a_pixel;
layout(location = 1) in vec2 a_uv;
uniform vec2 u_size;
uniform float u_depth;
out vec2 v_uv;
out float gl_ClipDistance[8];
void main() {
  v_uv = a_uv;
  for (int i = 0; i < 8; ++i) gl_ClipDistance[i] = 1.0;
  gl_Position = vec4(a_pixel.x * 2.0 / u_size.x - 1.0, 1.0 - a_pixel.y * 2.0 / u_size.y, u_depth, 1.0);
}
)";

const char* const kFlatFragment = R"(
uniform vec4 u_color;
uniform int u_textured;
uniform sampler2D u_texture;
in vec2 v_uv;
out vec4 o_color;
void main() {
  o_color = u_textured != 0 ? vec4(u_color.rgb, u_color.a * texture(u_texture, v_uv).r) : u_color;
}
)";

GLuint Compile(GLenum kind, const std::vector<const char*>& parts, std::string& log) {
  std::vector<const char*> sources{"#version 330 core\n"};
  sources.insert(sources.end(), parts.begin(), parts.end());
  GLuint shader = glCreateShader(kind);
  glShaderSource(shader, static_cast<GLsizei>(sources.size()), sources.data(), nullptr);
  glCompileShader(shader);
  GLint ok = GL_FALSE;
  glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
  if (!ok) {
    char text[4096] = {};
    glGetShaderInfoLog(shader, sizeof text, nullptr, text);
    log += text;
    glDeleteShader(shader);
    return 0;
  }
  return shader;
}

GLuint Link(const std::vector<const char*>& vertex, const std::vector<const char*>& geometry,
            const std::vector<const char*>& fragment, std::string& log) {
  GLuint shaders[3] = {Compile(GL_VERTEX_SHADER, vertex, log),
                       geometry.empty() ? 0 : Compile(GL_GEOMETRY_SHADER, geometry, log),
                       Compile(GL_FRAGMENT_SHADER, fragment, log)};
  GLuint program = 0;
  if (shaders[0] && shaders[2] && (geometry.empty() || shaders[1])) {
    program = glCreateProgram();
    for (GLuint s : shaders)
      if (s) glAttachShader(program, s);
    glLinkProgram(program);
    GLint ok = GL_FALSE;
    glGetProgramiv(program, GL_LINK_STATUS, &ok);
    if (!ok) {
      char text[4096] = {};
      glGetProgramInfoLog(program, sizeof text, nullptr, text);
      log += text;
      glDeleteProgram(program);
      program = 0;
    }
  }
  for (GLuint s : shaders)
    if (s) glDeleteShader(s);
  if (program) {
    const GLuint block = glGetUniformBlockIndex(program, "Scene");
    if (block != GL_INVALID_INDEX) glUniformBlockBinding(program, block, kSceneBinding);
  }
  return program;
}

}  // namespace

bool BuildMeshProgram(MeshProgram& out, std::string& log) {
  out.program = Link({kSceneBlock, kSceneVertex}, {}, {kSceneBlock, kMeshFragment}, log);
  if (!out.program) return false;
  out.vertex_color = glGetUniformLocation(out.program, "u_vertex_color");
  out.flat = glGetUniformLocation(out.program, "u_flat");
  return true;
}

bool BuildLineProgram(LineProgram& out, std::string& log) {
  out.program = Link({kSceneBlock, kSceneVertex}, {kSceneBlock, kLineGeometry}, {kLineFragment}, log);
  if (!out.program) return false;
  out.width = glGetUniformLocation(out.program, "u_line_width");
  return true;
}

bool BuildPointProgram(PointProgram& out, std::string& log) {
  // The scene's vertex shader with the point size written as well.
  static const std::string vertex = [] {
    std::string s = kSceneVertex;
    s.replace(s.find("gl_Position ="), 0, "gl_PointSize = u_point_size;\n  ");
    return std::string(kPointVertexExtra) + s;
  }();
  out.program = Link({kSceneBlock, vertex.c_str()}, {}, {kPointFragment}, log);
  if (!out.program) return false;
  out.size = glGetUniformLocation(out.program, "u_point_size");
  return true;
}

bool BuildFlatProgram(FlatProgram& out, std::string& log) {
  out.program = Link({kFlatVertex}, {}, {kFlatFragment}, log);
  if (!out.program) return false;
  out.size = glGetUniformLocation(out.program, "u_size");
  out.depth = glGetUniformLocation(out.program, "u_depth");
  out.color = glGetUniformLocation(out.program, "u_color");
  out.textured = glGetUniformLocation(out.program, "u_textured");
  out.texture = glGetUniformLocation(out.program, "u_texture");
  return true;
}

void InitSceneBlock(SceneBlock& block) {
  std::memset(&block, 0, sizeof block);
  for (float* m : {block.model, block.view, block.projection, block.normal}) m[0] = m[5] = m[10] = m[15] = 1.0f;
  for (int i = 0; i < 4; ++i) block.front[i] = 1.0f;
  for (int i = 0; i < 3; ++i) {
    block.ambient[i] = 0.2f;
    block.diffuse[i] = 0.8f;
  }
  block.ambient[3] = block.diffuse[3] = block.specular[3] = 1.0f;
  UpdateLightDirection(block);
}

namespace {

// The inverse of a row-by-row 4x4 matrix by cofactors; false when singular.
bool Invert4(const float* m, double* inv) {
  double a[16];
  for (int i = 0; i < 16; ++i) a[i] = m[i];
  inv[0] = a[5] * a[10] * a[15] - a[5] * a[11] * a[14] - a[9] * a[6] * a[15] + a[9] * a[7] * a[14] + a[13] * a[6] * a[11] - a[13] * a[7] * a[10];
  inv[4] = -a[4] * a[10] * a[15] + a[4] * a[11] * a[14] + a[8] * a[6] * a[15] - a[8] * a[7] * a[14] - a[12] * a[6] * a[11] + a[12] * a[7] * a[10];
  inv[8] = a[4] * a[9] * a[15] - a[4] * a[11] * a[13] - a[8] * a[5] * a[15] + a[8] * a[7] * a[13] + a[12] * a[5] * a[11] - a[12] * a[7] * a[9];
  inv[12] = -a[4] * a[9] * a[14] + a[4] * a[10] * a[13] + a[8] * a[5] * a[14] - a[8] * a[6] * a[13] - a[12] * a[5] * a[10] + a[12] * a[6] * a[9];
  inv[1] = -a[1] * a[10] * a[15] + a[1] * a[11] * a[14] + a[9] * a[2] * a[15] - a[9] * a[3] * a[14] - a[13] * a[2] * a[11] + a[13] * a[3] * a[10];
  inv[5] = a[0] * a[10] * a[15] - a[0] * a[11] * a[14] - a[8] * a[2] * a[15] + a[8] * a[3] * a[14] + a[12] * a[2] * a[11] - a[12] * a[3] * a[10];
  inv[9] = -a[0] * a[9] * a[15] + a[0] * a[11] * a[13] + a[8] * a[1] * a[15] - a[8] * a[3] * a[13] - a[12] * a[1] * a[11] + a[12] * a[3] * a[9];
  inv[13] = a[0] * a[9] * a[14] - a[0] * a[10] * a[13] - a[8] * a[1] * a[14] + a[8] * a[2] * a[13] + a[12] * a[1] * a[10] - a[12] * a[2] * a[9];
  inv[2] = a[1] * a[6] * a[15] - a[1] * a[7] * a[14] - a[5] * a[2] * a[15] + a[5] * a[3] * a[14] + a[13] * a[2] * a[7] - a[13] * a[3] * a[6];
  inv[6] = -a[0] * a[6] * a[15] + a[0] * a[7] * a[14] + a[4] * a[2] * a[15] - a[4] * a[3] * a[14] - a[12] * a[2] * a[7] + a[12] * a[3] * a[6];
  inv[10] = a[0] * a[5] * a[15] - a[0] * a[7] * a[13] - a[4] * a[1] * a[15] + a[4] * a[3] * a[13] + a[12] * a[1] * a[7] - a[12] * a[3] * a[5];
  inv[14] = -a[0] * a[5] * a[14] + a[0] * a[6] * a[13] + a[4] * a[1] * a[14] - a[4] * a[2] * a[13] - a[12] * a[1] * a[6] + a[12] * a[2] * a[5];
  inv[3] = -a[1] * a[6] * a[11] + a[1] * a[7] * a[10] + a[5] * a[2] * a[11] - a[5] * a[3] * a[10] - a[9] * a[2] * a[7] + a[9] * a[3] * a[6];
  inv[7] = a[0] * a[6] * a[11] - a[0] * a[7] * a[10] - a[4] * a[2] * a[11] + a[4] * a[3] * a[10] + a[8] * a[2] * a[7] - a[8] * a[3] * a[6];
  inv[11] = -a[0] * a[5] * a[11] + a[0] * a[7] * a[9] + a[4] * a[1] * a[11] - a[4] * a[3] * a[9] - a[8] * a[1] * a[7] + a[8] * a[3] * a[5];
  inv[15] = a[0] * a[5] * a[10] - a[0] * a[6] * a[9] - a[4] * a[1] * a[10] + a[4] * a[2] * a[9] + a[8] * a[1] * a[6] - a[8] * a[2] * a[5];
  const double det = a[0] * inv[0] + a[1] * inv[4] + a[2] * inv[8] + a[3] * inv[12];
  if (det == 0.0 || !std::isfinite(det)) return false;
  for (int i = 0; i < 16; ++i) inv[i] /= det;
  return true;
}

}  // namespace

void UpdateLightDirection(SceneBlock& block) {
  double inv[16];
  double dir[3] = {0, 0, 1};
  if (Invert4(block.projection, inv)) {
    // The centre of the near (NDC z = -1) and far (z = 1) ends of the view, back in the eye.
    double near_point[4], far_point[4];
    for (int r = 0; r < 4; ++r) {
      near_point[r] = -inv[4 * r + 2] + inv[4 * r + 3];
      far_point[r] = inv[4 * r + 2] + inv[4 * r + 3];
    }
    if (std::abs(near_point[3]) > 1e-12 && std::abs(far_point[3]) > 1e-12) {
      double length = 0;
      for (int i = 0; i < 3; ++i) {
        dir[i] = near_point[i] / near_point[3] - far_point[i] / far_point[3];
        length += dir[i] * dir[i];
      }
      length = std::sqrt(length);
      if (length > 0)
        for (double& d : dir) d /= length;
      else
        dir[0] = dir[1] = 0, dir[2] = 1;
    }
  }
  for (int i = 0; i < 3; ++i) block.light[i] = static_cast<float>(dir[i]);
  block.light[3] = 0.0f;
}

void UpdateNormalMatrix(SceneBlock& block) {
  // mv = view * model (upper 3x3 is all the normals need), then its inverse transposed.
  double mv[3][3];
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) {
      double sum = 0;
      for (int k = 0; k < 4; ++k) sum += double(block.view[4 * r + k]) * block.model[4 * k + c];
      mv[r][c] = sum;
    }
  const double cof[3][3] = {
      {mv[1][1] * mv[2][2] - mv[1][2] * mv[2][1], mv[1][2] * mv[2][0] - mv[1][0] * mv[2][2], mv[1][0] * mv[2][1] - mv[1][1] * mv[2][0]},
      {mv[0][2] * mv[2][1] - mv[0][1] * mv[2][2], mv[0][0] * mv[2][2] - mv[0][2] * mv[2][0], mv[0][1] * mv[2][0] - mv[0][0] * mv[2][1]},
      {mv[0][1] * mv[1][2] - mv[0][2] * mv[1][1], mv[0][2] * mv[1][0] - mv[0][0] * mv[1][2], mv[0][0] * mv[1][1] - mv[0][1] * mv[1][0]}};
  // The cofactor matrix is the inverse transposed times the determinant; the shader
  // normalises, so only the determinant's sign matters.
  const double det = mv[0][0] * cof[0][0] + mv[0][1] * cof[0][1] + mv[0][2] * cof[0][2];
  const double sign = det < 0 ? -1.0 : 1.0;
  std::memset(block.normal, 0, sizeof block.normal);
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) block.normal[4 * r + c] = static_cast<float>(sign * cof[r][c]);
  block.normal[15] = 1.0f;
}

}  // namespace Ostrum::GL
