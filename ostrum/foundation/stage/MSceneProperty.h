#pragma once
// MSceneProperty<T>: one value of T for each scene id, with a default for scenes that have none:
// an ordered map from scene id to value, walked in ascending id. Objects keep their visibility
// per scene in one.

#include <algorithm>
#include <cstddef>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "ostrum/foundation/stage/MScenePropertyBase.h"

template <class T>
class MSceneProperty : public MScenePropertyBase {
 public:
  using SceneID = unsigned long long;
  /// One instance: a scene id and its value.
  using Instance = std::pair<SceneID, T>;
  using const_iterator = typename boost::container::small_vector<Instance, 2>::const_iterator;

  /// No instances; GetValue answers `default_value` for every scene.
  explicit MSceneProperty(const T& default_value = T()) : m_default(default_value) {}
  MSceneProperty(const MSceneProperty&) = default;
  MSceneProperty& operator=(const MSceneProperty&) = default;
  ~MSceneProperty() override = default;

  /// Sets the value of scene `id`, making its instance if there is none.
  void SetValue(const T& value, SceneID id) {
    auto it = _Find(id);
    if (it != m_instances.end() && it->first == id)
      it->second = value;
    else
      m_instances.insert(it, Instance(id, value));
  }
  /// The value of scene `id`, or the default when it has no instance.
  const T& GetValue(SceneID id) const {
    auto it = _Find(id);
    return it != m_instances.end() && it->first == id ? it->second : m_default;
  }
  /// Whether scene `id` has a value of its own.
  bool HasInstance(SceneID id) const {
    auto it = _Find(id);
    return it != m_instances.end() && it->first == id;
  }
  /// Takes scene `id`'s value away; false if it had none.
  bool RemoveInstance(SceneID id) {
    auto it = _Find(id);
    if (it == m_instances.end() || it->first != id) return false;
    m_instances.erase(it);
    return true;
  }
  /// Takes every instance away; the default stays.
  void RemoveAllInstances() { m_instances.clear(); }
  const T& GetDefaultValue() const { return m_default; }
  void SetDefaultValue(const T& value) { m_default = value; }

  /// The instances in ascending scene id.
  std::size_t GetNumInstances() const { return m_instances.size(); }
  const_iterator begin() const { return m_instances.begin(); }
  const_iterator end() const { return m_instances.end(); }

 protected:
  void _MergeScene(SceneID from, SceneID to) override {
    auto it = _Find(from);
    if (it == m_instances.end() || it->first != from) return;
    const T value = it->second;
    m_instances.erase(it);
    if (!HasInstance(to)) SetValue(value, to);
  }

 private:
  // Most objects know one or two scenes: up to two instances live inside the property.
  auto _Find(SceneID id) const {
    return std::lower_bound(m_instances.begin(), m_instances.end(), id,
                            [](const Instance& instance, SceneID key) { return instance.first < key; });
  }
  auto _Find(SceneID id) {
    return std::lower_bound(m_instances.begin(), m_instances.end(), id,
                            [](const Instance& instance, SceneID key) { return instance.first < key; });
  }

  T m_default;
  boost::container::small_vector<Instance, 2> m_instances;
};
