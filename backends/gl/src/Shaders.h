#pragma once
// The renderer's shaders and the block of scene state they share. This file and Shaders.cpp
// need nothing but OpenGL, so that the render benchmark's bare program can build the very same
// programs.

#include <epoxy/gl.h>

#include <cstdint>
#include <string>

namespace Ostrum::GL {

/// The uniform block "Scene" (std140, matrices row by row as the framework gives them).
struct SceneBlock {
  float model[16];
  float view[16];
  float projection[16];
  float normal[16];      ///< upper 3x3: inverse transpose of view * model
  float planes[8][4];    ///< clipping planes in render-world coordinates
  float front[4];        ///< colour of what has none of its own
  float ambient[4];
  float diffuse[4];
  float specular[4];
  float viewport[4];     ///< width, height in pixels
  float light[4];        ///< towards the viewer along the line of sight, in eye coordinates
  std::int32_t flags[4]; ///< [0]: lighting on; [1]: bit n set when plane n is enabled
};
static_assert(sizeof(SceneBlock) == 496, "SceneBlock must match the std140 layout of the shaders");

/// The binding point of the Scene block in every program.
constexpr GLuint kSceneBinding = 0;
/// How many clipping planes the shaders write.
constexpr int kMaxPlanes = 8;

/// Vertex attributes of meshes, lines and points.
enum Attribute : GLuint { kPosition = 0, kNormal = 1, kColor = 2 };

struct MeshProgram {
  GLuint program = 0;
  GLint vertex_color = -1;  ///< int: colours per vertex (1) or the front colour (0)
  GLint flat = -1;          ///< int: normals from each triangle (1) or per vertex (0)
};
struct LineProgram {
  GLuint program = 0;
  GLint width = -1;
};
struct PointProgram {
  GLuint program = 0;
  GLint size = -1;
};
/// Window pixels, y down; a uniform colour, optionally times a one-channel texture's coverage.
struct FlatProgram {
  GLuint program = 0;
  GLint size = -1;      ///< vec2 viewport
  GLint depth = -1;     ///< float normalised depth of everything drawn
  GLint color = -1;     ///< vec4
  GLint textured = -1;  ///< int
  GLint texture = -1;   ///< sampler2D
};

/// Each builds its program in the current context; false, with the compiler's or linker's
/// log in `log`, on failure.
bool BuildMeshProgram(MeshProgram& out, std::string& log);
bool BuildLineProgram(LineProgram& out, std::string& log);
bool BuildPointProgram(PointProgram& out, std::string& log);
bool BuildFlatProgram(FlatProgram& out, std::string& log);

/// Fills the block's defaults: identity matrices, white front colour, ambient 0.2, diffuse
/// 0.8, no specular, lighting off, planes zero.
void InitSceneBlock(SceneBlock& block);

/// Sets block.normal from block.model and block.view.
void UpdateNormalMatrix(SceneBlock& block);
/// Sets block.light from block.projection: the direction from the far to the near end of the
/// central line of sight, in eye coordinates. So the headlight works whichever way a
/// projection makes the eye look (+z or -z).
void UpdateLightDirection(SceneBlock& block);

}  // namespace Ostrum::GL
