#pragma once
// A repository of the application's kind that stands in for the process's one while a scope
// lives: the built-in checks make their cameras and systems in it. The process's instance and
// its listeners are set aside at the start and brought back at the end, so that neither the
// scratch repository's making nor its deletion reaches a host's cameras or database.

#include <vector>

#include "ostrum/Export.h"

class ITransformRepositoryNotifyDelete;
class MTransformRepository;
class MTransformRepositoryEx;

namespace Ostrum::Private {

class OSTRUM_API ScratchRepositoryScope {
 public:
  ScratchRepositoryScope();
  ScratchRepositoryScope(const ScratchRepositoryScope&) = delete;
  ScratchRepositoryScope& operator=(const ScratchRepositoryScope&) = delete;
  /// Deletes the scratch repository (its own listeners hear of it), then brings back the
  /// process's instance and listeners.
  ~ScratchRepositoryScope();

  MTransformRepositoryEx& Repository() { return *m_scratch; }

 private:
  MTransformRepository* m_saved_instance = nullptr;
  std::vector<ITransformRepositoryNotifyDelete*> m_saved_listeners;
  MTransformRepositoryEx* m_scratch = nullptr;
};

}  // namespace Ostrum::Private
