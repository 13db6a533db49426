#pragma once
// MTransformRepositoryException: a broken rule of the coordinate tree, thrown by the
// repository. The only one in use: an attempt to move a default system under another.

#include <exception>

#include "ostrum/Export.h"

class OSTRUM_API MTransformRepositoryException : public std::exception {
 public:
  enum RepExceptions {
    RepExceptionDefaultSystem = 0,  ///< a default system was to be moved
  };

  explicit MTransformRepositoryException(RepExceptions what) : m_exception(what) {}
  MTransformRepositoryException(MTransformRepositoryException const&) = default;
  MTransformRepositoryException& operator=(MTransformRepositoryException const&) = default;
  ~MTransformRepositoryException() override;

  /// The rule that was broken.
  RepExceptions GetException() const { return m_exception; }
  /// A short English text naming the rule, for logs.
  char const* what() const noexcept override;

 private:
  RepExceptions m_exception;
};
