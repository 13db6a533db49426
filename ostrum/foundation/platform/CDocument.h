#pragma once
// CDocument: the desktop framework's document, with its title, modified mark and views.

#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CCmdTarget.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/WinTypes.h"

class CView;

class OSTRUM_API CDocument : public CCmdTarget {
  DECLARE_DYNAMIC(CDocument)
 public:
  CDocument() = default;
  CDocument(const CDocument&) = delete;
  CDocument& operator=(const CDocument&) = delete;
  /// Detaches the views still attached; it does not destroy them.
  ~CDocument() override;

  /// Starts a new, empty document: clears the contents and the modified mark. True on success.
  virtual int OnNewDocument();
  /// Empties the document's data; the default holds none.
  virtual void DeleteContents();
  /// Opens the document at `path`: the default empties it and clears the modified mark (it
  /// reads nothing). True on success.
  virtual int OnOpenDocument(const wchar_t* path);
  /// Saves the document to `path`: the default writes nothing and clears the modified mark.
  virtual int OnSaveDocument(const wchar_t* path);
  /// Sets the title shown in the frame.
  virtual void SetTitle(const wchar_t* title);
  const CString& GetTitle() const { return m_title; }

  /// Marks the document modified (or not); the mark asks whether to save on close.
  virtual void SetModifiedFlag(bool modified = true) { m_modified = modified; }
  virtual bool IsModified() { return m_modified; }

  /// Attaches a view; a view belongs to at most one document. Does not take ownership.
  void AddView(CView* view);
  /// Detaches a view; nothing if it is not attached.
  void RemoveView(CView* view);
  /// Start of a walk over the views in the order they were added; null if there are none.
  POSITION GetFirstViewPosition() const;
  /// The view at `pos`, advancing `pos`; `pos` becomes null after the last view.
  CView* GetNextView(POSITION& pos) const;

 private:
  CString m_title;
  bool m_modified = false;
  std::vector<CView*> m_views;
};
