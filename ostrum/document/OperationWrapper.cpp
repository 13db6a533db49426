#include "ostrum/document/private/OperationWrapper.h"

#include "ostrum/foundation/core/MFile.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"

using Wrapper = MDocument::_UndoRedo::OperationWrapper;

namespace {
// Buffer of every undo and redo file.
constexpr size_t kStateFileBuffer = 0x40000;
}  // namespace

Wrapper::OperationWrapper(MDocument* document, MOperation* operation)
    : m_document(document), m_operation(operation) {}

Wrapper::~OperationWrapper() {
  delete m_operation;
  m_undo_file.REMOVE();
  m_redo_file.REMOVE();
}

bool Wrapper::_WriteStateFile(MFileName& name, uint32_t& size, const wchar_t* prefix, bool with_state) {
  // Made and opened in one step: the file is created exclusively and not opened a second time.
  MFile file(kStateFileBuffer);
  const std::wstring directory = MUndoHandler::GetUndoTempDir().GET_DRIVE_DIR_PARTS(true);
  if (!file.OPEN_WRITE_TEMP(name, directory, prefix, nullptr, 65535)) return false;
  if (with_state) {
    MStreamUndoOut out(&file);
    m_document->_SaveState(m_operation, out);
  }
  // A file cut short by a full disk holds no usable state (it would restore half a state): it
  // goes, and its name with it.
  if (!file.CLOSE()) {
    name.REMOVE();
    name = MFileName();
    return false;
  }
  size = static_cast<uint32_t>(file.GET_WRITTEN());  // what is on disk after the close
  return true;
}

bool Wrapper::StoreUndoState() {
  return _WriteStateFile(m_undo_file, m_undo_size, L"~varn_undo",
                         !m_operation->CanBeReversed() && m_operation->GetAction() != MOperation::ACTION_ADD);
}

void Wrapper::_Perform() {
  // Once performed, the wrapper is its own: the manager drops an action that throws from here
  // without touching it again, so it goes itself, and its files with it.
  try {
    if (m_undo_next)
      _Undo();
    else
      _Redo();
  } catch (...) {
    Discard();
    throw;
  }
  m_undo_next = !m_undo_next;
  Ostrum::Undo::Manager* manager = m_document->GetUndoManager();
  if (manager && manager->IsUndoRegistrationEnabled())
    manager->RegisterAction(this, nullptr);  // keeps the running transaction's id
  else
    Discard();
}

void Wrapper::_Undo() {
  MOperation& op = *m_operation;
  // 1. The redo state: what the objects hold now, written once, at the first undo.
  if (m_redo_file.IS_EMPTY())
    _WriteStateFile(m_redo_file, m_redo_size, L"~varn_redo",
                    !op.CanBeReversed() && op.GetAction() != MOperation::ACTION_REMOVE);
  // 2. Without the undo file the step ends quietly; the wrapper still changes stacks.
  MFile file(kStateFileBuffer);
  if (m_undo_file.IS_EMPTY() || !file.OPEN_READ(m_undo_file)) return;
  // 3, 4. Back to the state before, then turn the action into its inverse.
  const uint32_t action = op.GetAction();
  if (op.CanBeReversed()) {
    op.Reverse();
  } else {
    if (op.GetAction() != MOperation::ACTION_ADD) {
      MStreamUndoIn in(&file);
      m_document->_LoadState(m_operation, in);
    }
    op._SetAction(op.GetInverseAction());
  }
  file.CLOSE();
  // 6. The objects' and the document's share of undoing.
  if (!op.CanBeReversed()) {
    op._UndoOperation();
    IUIUpdate::_SetOperationBeingUndone();
    m_document->_UndoOperation(action, m_operation);
  } else {
    op._DoOperation();
    IUIUpdate::_SetOperationBeingDone();
    m_document->_DoOperation(m_operation);
  }
  _Publish();
  // 10, 11. The operation goes back to its forward form.
  if (!op.CanBeReversed())
    op._SetAction(action);
  else
    op.Reverse();
  if (op.GetAction() == MOperation::ACTION_REMOVE) op.RestoreObservers();
}

void Wrapper::_Redo() {
  MOperation& op = *m_operation;
  MFile file(kStateFileBuffer);
  if (m_redo_file.IS_EMPTY() || !file.OPEN_READ(m_redo_file)) return;
  if (!op.CanBeReversed() && op.GetAction() != MOperation::ACTION_REMOVE) {
    MStreamUndoIn in(&file);
    m_document->_LoadState(m_operation, in);
  }
  file.CLOSE();
  if (op.CanBeReversed()) {
    op._DoOperation();
    IUIUpdate::_SetOperationBeingDone();
    m_document->_DoOperation(m_operation);
  } else {
    op._RedoOperation();
    IUIUpdate::_SetOperationBeingRedone();
    m_document->_RedoOperation(m_operation);
  }
  _Publish();
}

void Wrapper::_Publish() {
  m_document->_MarkModified(*m_operation);
  if (m_operation->NeedsUpdateObservers()) m_document->_UpdateObservers(*m_operation);
  m_document->DoUpdateUI(m_operation, nullptr, 0);
}
