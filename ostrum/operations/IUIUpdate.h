#pragma once
// IUIUpdate: how a window receives an operation and learns whether it was done, undone or
// redone. Override OnUpdateUI for what holds in all three cases, and the others for what
// differs.

#include "ostrum/Export.h"

class MOperation;

class OSTRUM_API IUIUpdate {
 public:
  virtual ~IUIUpdate();

  /// OnUpdateUI, then the one of OnUpdateUIDo, OnUpdateUIUndo, OnUpdateUIRedo that the
  /// current mark names.
  virtual void DoUpdateUI(MOperation& operation, void* param);
  virtual void OnUpdateUI(MOperation& operation, void* param);
  virtual void OnUpdateUIDo(MOperation& operation, void* param);
  virtual void OnUpdateUIUndo(MOperation& operation, void* param);
  virtual void OnUpdateUIRedo(MOperation& operation, void* param);

  /// How the current operation runs; the marks stay until the next one is set.
  static bool IsOperationBeingDone() { return mg_done; }
  static bool IsOperationBeingUndone() { return mg_undone; }
  static bool IsOperationBeingRedone() { return mg_redone; }

 private:
  // Set by the document's pipeline only, after the operation's hook and before the
  // document's, so that they stand during the whole update that follows.
  friend class MDocument;
  static void _SetOperationBeingDone();
  static void _SetOperationBeingUndone();
  static void _SetOperationBeingRedone();

  static bool mg_done;
  static bool mg_undone;
  static bool mg_redone;
};
