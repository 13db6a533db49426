#pragma once
// PtrHolder, IPtrStrategy and PtrStrategy: a held pointer whose disposal is left to a strategy,
// so that whoever holds tools decides how they are freed (deleted, pooled, handed back).

#include <cstdint>

#include <boost/shared_ptr.hpp>

template <class T>
class PtrHolder;

/// Decides what becomes of the pointers of holders. The stock strategy deletes.
template <class T>
class IPtrStrategy {
 public:
  virtual ~IPtrStrategy() = default;
  /// Told that `holder` took a pointer; a strategy may record it in m_strategy_data.
  virtual void OnAttach(PtrHolder<T>& holder) = 0;
  /// Told that `holder` lets go of its pointer without disposing of it.
  virtual void OnDetach(PtrHolder<T>& holder) = 0;
  /// Disposes of the holder's pointer; afterwards the holder should hold null.
  virtual void Destroy(PtrHolder<T>& holder) = 0;
};

/// A small value holding a pointer and the strategy that disposes of it. Copies hold the same
/// pointer: disposing of it is the business of exactly one of them.
template <class T>
class PtrHolder {
 public:
  PtrHolder() = default;
  PtrHolder(T* ptr, const boost::shared_ptr<IPtrStrategy<T>>& strategy) : m_ptr(ptr), m_strategy(strategy) {}
  PtrHolder(const PtrHolder&) = default;
  PtrHolder& operator=(const PtrHolder&) = default;
  virtual ~PtrHolder() = default;

  T* Get() const { return m_ptr; }
  T* operator->() const { return m_ptr; }
  /// Hands the pointer to the strategy for disposal (nothing without a strategy).
  void Destroy() {
    if (m_strategy) m_strategy->Destroy(*this);
  }

  T* m_ptr = nullptr;
  /// For the strategy's own use; 0 at construction, copied with the holder, never read here.
  uintptr_t m_strategy_data = 0;
  boost::shared_ptr<IPtrStrategy<T>> m_strategy;
};

/// The stock strategy: Destroy deletes the pointer and nulls it; attaching and detaching do
/// nothing.
template <class T>
class PtrStrategy : public IPtrStrategy<T> {
 public:
  void OnAttach(PtrHolder<T>&) override {}
  void OnDetach(PtrHolder<T>&) override {}
  void Destroy(PtrHolder<T>& holder) override {
    delete holder.m_ptr;
    holder.m_ptr = nullptr;
  }
};
