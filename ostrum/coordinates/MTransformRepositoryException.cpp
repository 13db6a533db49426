#include "ostrum/coordinates/MTransformRepositoryException.h"

MTransformRepositoryException::~MTransformRepositoryException() = default;

char const* MTransformRepositoryException::what() const noexcept {
  switch (m_exception) {
    case RepExceptionDefaultSystem: return "a default coordinate system cannot be moved";
  }
  return "coordinate repository rule broken";
}
