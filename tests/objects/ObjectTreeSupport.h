#pragma once
// Shared by the object-tree tests: a node that logs its hooks and draws itself on a renderer,
// trees built from a short text, and the application's repository for the life of a test.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/foundation/render/IVRender.h"
#include "ostrum/foundation/render/IVRenderBuffer.h"
#include "ostrum/objects/UIObject.h"
#include "support/CallLog.h"

namespace tree_test {

inline std::string Narrow(const wchar_t* text) {
  std::string out;
  for (; text && *text; ++text) out += static_cast<char>(*text);
  return out;
}

// A tree object named by its label. It logs the tree's hooks, can be told it is selected, and
// draws itself as one text (its label) after setting its model transform; it keeps a mesh
// buffer as its render optimisation once drawn.
class Node : public UIObject {
 public:
  explicit Node(const std::string& name, CallLog* log = nullptr, int32_t priority = 0) : m_log(log) {
    SetLabel(std::wstring(name.begin(), name.end()).c_str());
    SetPriority(priority);
  }
  Node(const Node& other) = default;
  ~Node() override { delete m_buffer; }

  std::string Name() const { return Narrow(GetLabel()); }
  bool selected = false;
  int destroyed_optimisations = 0;

  UIObject* Clone() const override { return new Node(*this); }
  using UIObject::Render;
  using UIObject::RenderFast;
  bool IsSelected() const override { return selected; }
  bool HasBuffer() const { return m_buffer != nullptr; }

  void Render(IVRender& renderer, const MCoordinateSystem& system) override {
    _SetRenderTransformObjectWorld(renderer);
    if (!m_buffer) {
      const float triangle[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
      IVMesh mesh;
      mesh.positions = triangle;
      mesh.vertex_count = 3;
      m_buffer = renderer.CreateMeshBuffer(mesh);
    }
    renderer.DrawText(MMPoint3d<float>(0, 0, 0), GetLabel(), 12);
    UIObject::Render(renderer, system);
  }
  void RenderFast(IVRender& renderer, const MCoordinateSystem& system) override {
    renderer.DrawText(MMPoint3d<float>(0, 0, 0), (std::wstring(L"fast ") + GetLabel()).c_str(), 12);
    UIObject::RenderFast(renderer, system);
  }
  void DestroyRenderOptimisations() override {
    ++destroyed_optimisations;
    delete m_buffer;
    m_buffer = nullptr;
    UIObject::DestroyRenderOptimisations();
  }
  using UIObject::_DestroyRenderOptimisationsIfInvisibleInAllScenes;

 protected:
  void _OnChildRemoved(UIObject* child) override { Log("removed " + Narrow(child->GetLabel())); }
  void _OnChildAdded(UIObject* child) override { Log("added " + Narrow(child->GetLabel())); }
  void _OnParentChanged() override {
    const UIObject* parent = GetParent();
    Log("parent " + (parent ? Narrow(parent->GetLabel()) : std::string("none")));
  }

 private:
  void Log(const std::string& what) { LogCall(m_log, Name() + ": " + what); }

  CallLog* m_log;
  IVRenderBuffer* m_buffer = nullptr;
};

// A forest of Nodes under a root, owning them.
struct Forest {
  explicit Forest(CallLog* log = nullptr) : root("root", log), m_log(log) {}
  ~Forest() {
    for (auto it = nodes.rbegin(); it != nodes.rend(); ++it) (*it)->MoveToParent(nullptr);
    for (Node* node : nodes) delete node;
  }
  Node* Add(const std::string& name, UIObject* parent, int32_t priority = 0) {
    auto* node = new Node(name, m_log, priority);
    nodes.push_back(node);
    node->MoveToParent(parent ? parent : &root);
    return node;
  }
  Node* Find(const std::string& name) {
    for (Node* node : nodes)
      if (node->Name() == name) return node;
    return nullptr;
  }
  // A random tree of `count` nodes, each under a node made before it (or the root).
  void Random(size_t count, unsigned seed, size_t max_fan_out = 0) {
    std::mt19937 random(seed);
    for (size_t i = 0; i < count; ++i) {
      UIObject* parent = &root;
      if (!nodes.empty()) {
        size_t pick = std::uniform_int_distribution<size_t>(0, nodes.size())(random);
        parent = pick == nodes.size() ? static_cast<UIObject*>(&root) : nodes[pick];
        if (max_fan_out && parent->GetNumChildren(false) >= max_fan_out) parent = nodes.back();
      }
      Add("n" + std::to_string(i), parent, std::uniform_int_distribution<int>(-2, 2)(random));
    }
  }

  Node root;
  std::vector<Node*> nodes;

 private:
  CallLog* m_log;
};

// The subtree below `start` as names in pre-order, by plain recursion.
inline void ReferenceWalk(const UIObject& start, std::vector<std::string>& out,
                          const std::function<bool(const UIObject*)>& keep = nullptr) {
  for (UIObject* child : start.GetChildren()) {
    if (!keep || keep(child)) out.push_back(Narrow(child->GetLabel()));
    ReferenceWalk(*child, out, keep);
  }
}

// The walk of an iterator as names.
template <typename Iterator>
std::vector<std::string> Walk(Iterator it, const UIObjectIterator& end) {
  std::vector<std::string> names;
  for (; it != end; ++it) names.push_back(Narrow(it->GetLabel()));
  return names;
}

// The application's repository (millimetre, STL and user-interface systems) for one test.
struct WithRepository : testing::Test {
  WithRepository() { repository = MTransformRepositoryEx::CreateInstance(); }
  ~WithRepository() override { MTransformRepositoryEx::DeleteInstance(); }
  MTransformRepositoryEx* repository;
};

}  // namespace tree_test
