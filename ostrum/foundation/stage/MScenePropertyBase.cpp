#include "ostrum/foundation/stage/MScenePropertyBase.h"

#include <mutex>

namespace {

// The list of every property; properties may be made on any thread, merges run on the
// document's.
constinit std::mutex g_lock;
constinit MScenePropertyBase* g_first = nullptr;

}  // namespace

// Constant-initialised: a static object of the host may ask before anything is made.
constinit MSceneManager* MScenePropertyBase::mgp_scene_manager = nullptr;

MScenePropertyBase::MScenePropertyBase() { _Link(); }

MScenePropertyBase::MScenePropertyBase(const MScenePropertyBase&) { _Link(); }

void MScenePropertyBase::_Link() {
  std::lock_guard<std::mutex> guard(g_lock);
  m_next = g_first;
  if (g_first) g_first->m_previous = this;
  g_first = this;
}

MScenePropertyBase::~MScenePropertyBase() {
  std::lock_guard<std::mutex> guard(g_lock);
  if (m_previous)
    m_previous->m_next = m_next;
  else
    g_first = m_next;
  if (m_next) m_next->m_previous = m_previous;
}

void MScenePropertyBase::MergeScenes(unsigned long long from, unsigned long long to) {
  if (from == to) return;
  std::lock_guard<std::mutex> guard(g_lock);
  for (MScenePropertyBase* property = g_first; property; property = property->m_next)
    property->_MergeScene(from, to);
}
