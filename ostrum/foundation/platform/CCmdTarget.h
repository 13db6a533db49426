#pragma once
// CCmdTarget: a framework object that receives commands (documents, windows, the application),
// through its class's message map.

#include "ostrum/Export.h"
#include "ostrum/foundation/platform/CObject.h"
#include "ostrum/foundation/platform/MessageMap.h"
#include "ostrum/foundation/platform/WinTypes.h"

/// Who would handle a command, for OnCmdMsg's question without running it.
struct AFX_CMDHANDLERINFO {
  CCmdTarget* pTarget = nullptr;
  ::Ostrum::Desktop::MessageThunk thunk = nullptr;
};

class OSTRUM_API CCmdTarget : public CObject {
  DECLARE_DYNAMIC(CCmdTarget)
 public:
  ~CCmdTarget() override;

  /// Looks for a command entry for `id` and `code` in the class's message map, derived classes
  /// first. With `info`, answers who would handle it without running the handler; otherwise
  /// runs it. TRUE if an entry was found. `extra` is the command's data (unused by CN_COMMAND).
  virtual BOOL OnCmdMsg(UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info);

  /// Shows the wait cursor until the matching EndWaitCursor (counted per thread).
  void BeginWaitCursor();
  void EndWaitCursor();

 protected:
  /// The class's own message map (empty here); DECLARE_MESSAGE_MAP declares one per class.
  static const ::Ostrum::Desktop::MessageMap* GetThisMessageMap();
  /// The message map of the object's dynamic class.
  virtual const ::Ostrum::Desktop::MessageMap* GetMessageMap() const;
  /// The first entry for `message` (and, for WM_COMMAND, `code` and `id`) along the maps of the
  /// object's class and its bases; null if there is none.
  const ::Ostrum::Desktop::MessageMapEntry* FindMessageEntry(UINT message, UINT code, UINT id) const;
};
