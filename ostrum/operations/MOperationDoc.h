#pragma once
// MOperationDoc: a notification that the document went through a stage of its life (made,
// closing, closed, opened, saved, saving). It is neither undoable nor a change of the document:
// its flags are the defaults without 0x20008.

#include <cstdint>

#include "ostrum/Export.h"
#include "ostrum/operations/MOperation.h"

class OSTRUM_API MOperationDoc : public MOperation {
 public:
  enum : uint32_t {
    ACTION_DOC_CREATED = 50,  ///< end of MDocument::CreateContents, by DoUpdateUI
    ACTION_DOC_CLOSING = 51,  ///< start of MDocument::DeleteContents, by DoUpdateUI
    ACTION_DOC_CLOSED = 52,   ///< end of MDocument::DeleteContents, by DoUpdateUI
    ACTION_DOC_OPENED = 53,   ///< end of MDocument::OnOpenDocument, with every live object, by DoOperation
    ACTION_DOC_SAVED = 54,    ///< a successful MDocument::OnSaveDocument, by DoUpdateUI
    ACTION_DOC_SAVING = 56,   ///< start of MDocument::OnSaveDocument, by DoUpdateUI
  };

  MOperationDoc();
  explicit MOperationDoc(uint32_t action);
  ~MOperationDoc() override;
};
