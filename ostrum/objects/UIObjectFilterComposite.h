#pragma once
// UIObjectFilterComposite: filters combined by and, or, or not; each either attached (the
// caller keeps it) or owned (the composite deletes it).

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/objects/IUIObjectFilter.h"

class OSTRUM_API UIObjectFilterComposite : public IUIObjectFilter {
 public:
  enum EBooleanOperation : int32_t {
    BOOLEAN_AND = 0,  ///< all filters match (true without filters)
    BOOLEAN_OR = 1,   ///< at least one matches (false without filters)
    BOOLEAN_NOT = 2,  ///< the first does not match; the others are not asked (true without)
  };
  /// A filter and whether the composite owns it.
  using Entry = std::pair<const IUIObjectFilter*, bool>;

  explicit UIObjectFilterComposite(EBooleanOperation operation) : m_operation(operation) {}
  UIObjectFilterComposite(const UIObjectFilterComposite&) = delete;
  UIObjectFilterComposite& operator=(const UIObjectFilterComposite&) = delete;
  /// Clear.
  ~UIObjectFilterComposite() override;

  bool IsObjectMatched(const UIObject* object) const override;
  /// The same operation; owned filters cloned, attached ones shared, flags kept.
  IUIObjectFilter* Clone() const override;

  /// Adds a filter the caller keeps; nothing if it is in the list already.
  void Attach(const IUIObjectFilter* filter);
  /// Adds a filter the composite deletes; nothing if it is in the list already.
  void AddOwned(IUIObjectFilter* filter);
  /// Deletes the owned filters and keeps the attached ones, in their order.
  void DestroyAllOwnedFilters();
  /// Deletes the owned filters and empties the list.
  void Clear();
  std::size_t GetNumberOfFilters() const { return m_filters.size(); }
  /// A copy of the list.
  std::vector<Entry> GetFilters() const { return m_filters; }

 protected:
  /// Deletes an owned filter and answers true; false for an attached one.
  static bool ErasePredicate(const Entry& entry);

 private:
  bool _Contains(const IUIObjectFilter* filter) const;

  std::vector<Entry> m_filters;
  EBooleanOperation m_operation;
};
