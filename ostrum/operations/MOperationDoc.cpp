#include "ostrum/operations/MOperationDoc.h"

namespace {
constexpr uint32_t kNotUndoableNoChange = MOperation::FLAG_CAN_BE_UNDONE | MOperation::FLAG_CAUSES_DOCUMENT_CHANGE;
}  // namespace

MOperationDoc::MOperationDoc() { RemoveFlags(kNotUndoableNoChange); }

MOperationDoc::MOperationDoc(uint32_t action) : MOperation(action) { RemoveFlags(kNotUndoableNoChange); }

MOperationDoc::~MOperationDoc() = default;
