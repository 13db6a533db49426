#pragma once
// MObject: the do-nothing IObject, for objects that are not in the object tree.

#include "ostrum/Export.h"
#include "ostrum/objects/IObject.h"

/// Every answer is the neutral one. Its false results are meant: an operation naming an
/// MObject that does not override DoOperation reports failure.
class OSTRUM_API MObject : public IObject {
 public:
  ~MObject() override;

  bool PrepareOperation(MOperation*) override { return false; }
  bool DoOperation(MOperation&) override { return false; }
  bool UndoOperation(MOperation&) override { return false; }
  bool RedoOperation(MOperation&) override { return false; }
  void LoadState(MStreamUndoIn&) override {}
  void LoadState(const MOperation*, MStreamUndoIn&) override {}
  void SaveState(MStreamUndoOut&) override {}
  void SaveState(const MOperation*, MStreamUndoOut&) override {}
  void OnRemove() override {}
  void OnRestore() override {}
  bool IsRemoved() const override { return false; }
  bool IsRegistered() const override { return false; }
  bool IsSelected() const override { return false; }
  const wchar_t* GetUserInterfaceTypeName() const override { return L""; }
  bool MustBeSavedInRoot() const override { return false; }
};
