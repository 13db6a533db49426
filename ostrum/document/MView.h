#pragma once
// MView: the host's view of the document. Operations that ask for a view update reach it
// through OnUpdate, with the operation as the hint. Made from its run-time record (class name
// "MView").

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CView.h"

class MOperation;

class OSTRUM_API MView : public CView {
  DECLARE_DYNCREATE(MView)

 public:
  MView();
  ~MView() override;

  /// The view's own operations (camera moves) come here; false by default.
  virtual bool DoOperation(MOperation& operation);

  /// `hint` carries the MOperation* of the update, `hint_object` the caller's parameter.
  void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object) override;

 protected:
  /// Key presses and releases go on to the window's default handling.
  void OnKeyDown(UINT key, UINT repeat, UINT flags);
  void OnKeyUp(UINT key, UINT repeat, UINT flags);

  DECLARE_MESSAGE_MAP()
};
