#pragma once
// CWinApp: the application object. A host makes at most one; while it lives, AfxGetApp answers
// it. The model's application is a thread record with the application's services: help.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/Help.h"

class OSTRUM_API CWinApp : public CWinThread {
 public:
  /// Becomes the application that AfxGetApp answers (the last one made wins).
  CWinApp();
  /// AfxGetApp answers null again if it answered this object.
  ~CWinApp() override;
  CWinApp(const CWinApp&) = delete;
  CWinApp& operator=(const CWinApp&) = delete;

  /// Shows help: `data` is the context for HELP_CONTEXT. The default records the request in the
  /// model's help log (Ostrum::Desktop::TakeHelpRequests).
  virtual void WinHelp(UINT_PTR data, UINT command = HELP_CONTEXT);
};

/// The application object, or null while there is none.
OSTRUM_API CWinApp* AfxGetApp();
