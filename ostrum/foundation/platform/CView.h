#pragma once
// CView: a window that shows a document.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CWnd.h"

class CDocument;

class OSTRUM_API CView : public CWnd {
  DECLARE_DYNAMIC(CView)
 public:
  ~CView() override;

  /// The document the view shows; null until a document adds the view.
  CDocument* GetDocument() const { return m_document; }

  /// Called when the document changed. `hint` and `hint_object` are the sender's: the
  /// framework's documents pass the operation as `hint` and the caller's parameter as
  /// `hint_object`. The default does nothing.
  virtual void OnUpdate(CView* sender, LPARAM hint, CObject* hint_object);

 private:
  friend class CDocument;
  CDocument* m_document = nullptr;
};
