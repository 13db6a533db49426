#pragma once
// CDocTemplate and CDocManager: the kinds of document an application opens, each described by
// its strings (window title, document name, new-file name, filter name, file extension, file
// type id and type name, separated by '\n'), and the manager that keeps them.

#include <string>
#include <vector>

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CCmdTarget.h"
#include "ostrum/foundation/platform/CString.h"
#include "ostrum/foundation/platform/WinTypes.h"

class OSTRUM_API CDocTemplate : public CCmdTarget {
 public:
  enum DocStringIndex {
    windowTitle = 0,      ///< set for a single-document application
    docName = 1,          ///< the base of new documents' names
    fileNewName = 2,      ///< the name in the File New list
    filterName = 3,       ///< the file dialog's filter name
    filterExt = 4,        ///< the extension, with its dot
    regFileTypeId = 5,    ///< the file type's id in the registry
    regFileTypeName = 6,  ///< the file type's name shown to the user
  };

  /// `strings`: the seven strings separated by '\n'; missing ones are empty.
  explicit CDocTemplate(const wchar_t* strings);
  /// The string `index` (empty when the template leaves it out); false past the seventh.
  virtual BOOL GetDocString(CString& text, DocStringIndex index) const;

 private:
  std::vector<std::wstring> m_strings;
};

class OSTRUM_API CDocManager : public CObject {
 public:
  CDocManager() = default;
  CDocManager(const CDocManager&) = delete;
  CDocManager& operator=(const CDocManager&) = delete;
  /// Deletes the templates.
  ~CDocManager() override;

  /// Keeps `document_template` (owned from now on), after the others.
  virtual void AddDocTemplate(CDocTemplate* document_template);
  POSITION GetFirstDocTemplatePosition() const;
  CDocTemplate* GetNextDocTemplate(POSITION& position) const;
  std::size_t GetDocTemplateCount() const { return m_templates.size(); }
  /// Makes the file types known to the desktop; nothing here.
  virtual void RegisterShellFileTypes(BOOL compatible);

 private:
  std::vector<CDocTemplate*> m_templates;
};
