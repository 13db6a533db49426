#include "ostrum/coordinates/private/ScratchRepository.h"

#include "ostrum/coordinates/MTransformRepositoryEx.h"

namespace Ostrum::Private {

ScratchRepositoryScope::ScratchRepositoryScope() {
  // The process's instance and listeners out of the way; the scratch repository becomes the
  // instance as it is made.
  MTransformRepository::_SwapProcessState(m_saved_instance, m_saved_listeners);
  m_scratch = new MTransformRepositoryEx;
}

ScratchRepositoryScope::~ScratchRepositoryScope() {
  delete m_scratch;
  MTransformRepository* scratch_instance = m_saved_instance;  // the instance goes back in
  std::vector<ITransformRepositoryNotifyDelete*> scratch_listeners = std::move(m_saved_listeners);
  MTransformRepository::_SwapProcessState(scratch_instance, scratch_listeners);
}

}  // namespace Ostrum::Private
