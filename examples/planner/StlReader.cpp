#include "StlReader.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace planner {

namespace {

constexpr std::size_t kHeader = 80;
constexpr std::size_t kRecord = 50;  // normal, three corners (12 floats), attribute bytes

float FloatAt(const unsigned char* p) {
  float value;
  std::memcpy(&value, p, sizeof value);  // STL is little-endian, as this machine
  return value;
}

void AddTriangle(StlMesh& mesh, const float* corners, const float* normal) {
  float n[3] = {normal[0], normal[1], normal[2]};
  const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  if (!(length > 1e-12f)) {
    // No usable normal in the file: the face's own.
    const float u[3] = {corners[3] - corners[0], corners[4] - corners[1], corners[5] - corners[2]};
    const float v[3] = {corners[6] - corners[0], corners[7] - corners[1], corners[8] - corners[2]};
    n[0] = u[1] * v[2] - u[2] * v[1];
    n[1] = u[2] * v[0] - u[0] * v[2];
    n[2] = u[0] * v[1] - u[1] * v[0];
    const float l = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    for (float& c : n) c = l > 0 ? c / l : 0.0f;
  } else {
    for (float& c : n) c /= length;
  }
  mesh.positions.insert(mesh.positions.end(), corners, corners + 9);
  for (int i = 0; i < 3; ++i) mesh.normals.insert(mesh.normals.end(), n, n + 3);
}

bool Finite(const float* values, int count) {
  for (int i = 0; i < count; ++i)
    if (!std::isfinite(values[i])) return false;
  return true;
}

bool ReadBinary(const unsigned char* data, std::size_t size, StlMesh& mesh, std::string& error) {
  std::uint32_t count = 0;
  std::memcpy(&count, data + kHeader, sizeof count);
  const std::size_t available = (size - kHeader - 4) / kRecord;
  if (count == 0) {
    error = "binary STL without triangles";
    return false;
  }
  if (count > available) {
    error = "binary STL cut short: " + std::to_string(count) + " triangles announced, room for " +
            std::to_string(available);
    return false;
  }
  if (count > kMaxStlTriangles) {
    error = "binary STL of " + std::to_string(count) + " triangles is more than the planner reads";
    return false;
  }
  mesh.positions.reserve(9 * std::size_t{count});
  mesh.normals.reserve(9 * std::size_t{count});
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char* record = data + kHeader + 4 + i * kRecord;
    float values[12];
    for (int k = 0; k < 12; ++k) values[k] = FloatAt(record + 4 * k);
    if (!Finite(values, 12)) {
      error = "binary STL: triangle " + std::to_string(i + 1) + " has a number that is not finite";
      return false;
    }
    AddTriangle(mesh, values + 3, values);
  }
  return true;
}

// The ASCII form, read word by word over the bytes given (no terminator is assumed).
class Words {
 public:
  Words(const unsigned char* data, std::size_t size) : m_data(reinterpret_cast<const char*>(data)), m_size(size) {}
  /// The next word; empty at the end.
  std::string Next() {
    while (m_pos < m_size && std::isspace(static_cast<unsigned char>(m_data[m_pos]))) {
      if (m_data[m_pos] == '\n') ++m_line;
      ++m_pos;
    }
    const std::size_t start = m_pos;
    while (m_pos < m_size && !std::isspace(static_cast<unsigned char>(m_data[m_pos])) && m_pos - start < 64) ++m_pos;
    return std::string(m_data + start, m_pos - start);
  }
  /// The rest of the line, trimmed, at most 80 characters.
  std::string RestOfLine() {
    std::string text;
    while (m_pos < m_size && m_data[m_pos] != '\n') {
      if (text.size() < 80) text += m_data[m_pos];
      ++m_pos;
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.erase(text.begin());
    return text;
  }
  bool Number(float& value) {
    const std::string word = Next();
    if (word.empty()) return false;
    char* end = nullptr;
    errno = 0;
    value = std::strtof(word.c_str(), &end);
    return end == word.c_str() + word.size() && errno == 0 && std::isfinite(value);
  }
  int Line() const { return m_line; }

 private:
  const char* m_data;
  std::size_t m_size;
  std::size_t m_pos = 0;
  int m_line = 1;
};

bool ReadAscii(const unsigned char* data, std::size_t size, StlMesh& mesh, std::string& error) {
  Words words(data, size);
  auto fail = [&](const std::string& what) {
    error = "ASCII STL, line " + std::to_string(words.Line()) + ": " + what;
    return false;
  };
  auto expect = [&](const char* word) {
    const std::string got = words.Next();
    if (got == word) return true;
    return fail(std::string("expected \"") + word + "\", found \"" + got.substr(0, 20) + "\"");
  };
  if (!expect("solid")) return false;
  mesh.name = words.RestOfLine();
  for (;;) {
    const std::string word = words.Next();
    if (word == "endsolid") break;
    if (word != "facet") return fail(word.empty() ? "the file ends before \"endsolid\"" : "expected \"facet\", found \"" + word.substr(0, 20) + "\"");
    if (mesh.TriangleCount() >= kMaxStlTriangles) return fail("more triangles than the planner reads");
    float normal[3], corners[9];
    if (!expect("normal")) return false;
    for (float& n : normal)
      if (!words.Number(n)) return fail("a facet normal that is not three finite numbers");
    if (!expect("outer") || !expect("loop")) return false;
    for (int corner = 0; corner < 3; ++corner) {
      if (!expect("vertex")) return false;
      for (int k = 0; k < 3; ++k)
        if (!words.Number(corners[3 * corner + k])) return fail("a vertex that is not three finite numbers");
    }
    if (!expect("endloop") || !expect("endfacet")) return false;
    AddTriangle(mesh, corners, normal);
  }
  if (mesh.TriangleCount() == 0) return fail("no triangles");
  return true;
}

}  // namespace

bool ReadStl(const unsigned char* data, std::size_t size, StlMesh& mesh, std::string& error) {
  mesh = StlMesh();
  error.clear();
  if (!data || size < 6) {
    error = "too short for an STL file";
    return false;
  }
  // A binary file may begin with "solid" too: one whose size matches its triangle count is binary.
  bool binary = true;
  if (size >= 5 && std::memcmp(data, "solid", 5) == 0) {
    binary = false;
    if (size >= kHeader + 4) {
      std::uint32_t count = 0;
      std::memcpy(&count, data + kHeader, sizeof count);
      binary = (size - kHeader - 4) / kRecord == count && (size - kHeader - 4) % kRecord == 0;
    }
  }
  bool ok;
  if (binary) {
    if (size < kHeader + 4) {
      error = "binary STL shorter than its header";
      return false;
    }
    ok = ReadBinary(data, size, mesh, error);
  } else {
    ok = ReadAscii(data, size, mesh, error);
  }
  if (!ok) mesh = StlMesh();
  return ok;
}

bool ReadStlFile(const std::string& path, StlMesh& mesh, std::string& error) {
  mesh = StlMesh();
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  if (!file) {
    error = "cannot open " + path;
    return false;
  }
  const std::streamoff length = file.tellg();
  // ASCII takes some 250 bytes a triangle.
  if (length < 0 || static_cast<unsigned long long>(length) > 260ull * kMaxStlTriangles) {
    error = path + " is larger than the planner reads";
    return false;
  }
  std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
  file.seekg(0);
  if (!bytes.empty() && !file.read(reinterpret_cast<char*>(bytes.data()), length)) {
    error = "cannot read " + path;
    return false;
  }
  if (!ReadStl(bytes.data(), bytes.size(), mesh, error)) {
    error = path + ": " + error;
    return false;
  }
  return true;
}

bool WriteStlBinary(const std::string& path, const StlMesh& mesh) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) return false;
  char header[kHeader] = {};
  std::snprintf(header, sizeof header, "binary STL written by ostrum-planner: %s", mesh.name.c_str());
  file.write(header, kHeader);
  const auto count = static_cast<std::uint32_t>(mesh.TriangleCount());
  file.write(reinterpret_cast<const char*>(&count), 4);
  for (std::size_t i = 0; i < count; ++i) {
    file.write(reinterpret_cast<const char*>(&mesh.normals[9 * i]), 12);
    file.write(reinterpret_cast<const char*>(&mesh.positions[9 * i]), 36);
    const std::uint16_t attribute = 0;
    file.write(reinterpret_cast<const char*>(&attribute), 2);
  }
  return static_cast<bool>(file.flush());
}

}  // namespace planner
