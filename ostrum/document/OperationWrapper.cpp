#include "ostrum/document/private/OperationWrapper.h"

#include <utility>

#include "ostrum/document/private/UndoFiles.h"
#include "ostrum/operations/IUIUpdate.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"
#include "ostrum/undo/private/DiscardActionsTask.h"
#include "ostrum/undo/private/UndoDirectory.h"

using Wrapper = MDocument::_UndoRedo::OperationWrapper;

namespace {

// Buffer of every undo and redo file.
constexpr size_t kStateFileBuffer = 0x40000;

// A step leaves the history into the deferred disposal; its files go at that moment.
const bool kLinked = (Ostrum::Undo::Private::DiscardActionsTask::SetLeftHistoryHook(&Wrapper::OnLeftHistory), true);

}  // namespace

Wrapper::OperationWrapper(MDocument* document, MOperation* operation, std::shared_ptr<UndoFiles> files)
    : m_document(document), m_operation(operation), m_files(std::move(files)) {
  (void)kLinked;
}

Wrapper::~OperationWrapper() {
  delete m_operation;
  ReleaseFiles();
}

void Wrapper::OnLeftHistory(Ostrum::IAction* action) {
  if (auto* wrapper = dynamic_cast<Wrapper*>(action)) wrapper->ReleaseFiles();
}

void Wrapper::ReleaseFiles() {
  _RemoveFile(m_undo_file, m_undo_identity, m_undo_size);
  _RemoveFile(m_redo_file, m_redo_identity, m_redo_size);
}

void Wrapper::_RemoveFile(MFileName& name, MFileIdentity& identity, uint32_t& size) {
  if (name.IS_EMPTY()) return;
  name.REMOVE();
  m_files->bytes -= size;
  name = MFileName();
  identity = MFileIdentity();
  size = 0;
}

bool Wrapper::_WriteStateFile(MFileName& name, MFileIdentity& identity, uint32_t& size, const wchar_t* prefix,
                              bool with_state) {
  // Made and opened in one step: the file is created exclusively and not opened a second time.
  MFile file(kStateFileBuffer);
  auto* directory = Ostrum::Undo::Private::UndoDirectory::ForSetting(MUndoHandler::GetUndoTempDir().GET_PATH());
  if (!directory || !directory->MakeFile(file, name, prefix)) {
    name = MFileName();
    return false;
  }
  if (with_state) {
    MStreamUndoOut out(&file);
    m_document->_SaveState(m_operation, out);
  }
  // A file cut short by a full disk holds no usable state (it would restore half a state): it
  // goes, and its name with it.
  if (!file.CLOSE(identity)) {
    name.REMOVE();
    name = MFileName();
    return false;
  }
  size = static_cast<uint32_t>(identity.size);
  m_files->bytes += identity.size;
  return true;
}

bool Wrapper::StoreUndoState() {
  return _WriteStateFile(m_undo_file, m_undo_identity, m_undo_size, L"~varn_undo",
                         !m_operation->CanBeReversed() && m_operation->GetAction() != MOperation::ACTION_ADD);
}

bool Wrapper::_LoadState(const MFileName& name, const MFileIdentity& identity) {
  MFile file(kStateFileBuffer);
  if (!file.OPEN_READ(name, identity)) return false;
  MStreamUndoIn in(&file);
  m_document->_LoadState(m_operation, in);
  // Cut short after it was opened: the objects may hold part of a state now.
  return !file.HAS_SHORT_READ();
}

void Wrapper::_Perform() {
  Ostrum::Undo::Manager* manager = m_document->GetUndoManager();
  bool done = false;
  if (m_skip_next) {
    // Its run failed and is being taken back: nothing was done, so nothing is taken back.
    m_skip_next = false;
  } else if (m_files->failed_run && manager && m_files->failed_run == manager->GetPrimaryTransaction()) {
    // An earlier step of this run could not go ahead: this one is left as it is too.
    m_skip_next = true;
  } else {
    // Once performed, the wrapper is its own: the manager drops an action that throws from here
    // without touching it again, so it goes itself, and its files with it.
    try {
      done = m_undo_next ? _Undo() : _Redo();
    } catch (...) {
      Discard();
      throw;
    }
    if (!done) {
      m_skip_next = true;
      if (manager) m_files->failed_run = manager->GetPrimaryTransaction();
    }
  }
  if (done) m_undo_next = !m_undo_next;
  if (manager && manager->IsUndoRegistrationEnabled())
    manager->RegisterAction(this, nullptr);  // keeps the running transaction's id
  else
    Discard();
}

bool Wrapper::_Undo() {
  MOperation& op = *m_operation;
  // 1. The redo state: what the objects hold now, written once, at the first undo. Without it
  // the step could never be redone, so the undo does not go ahead.
  if (m_redo_file.IS_EMPTY() &&
      !_WriteStateFile(m_redo_file, m_redo_identity, m_redo_size, L"~varn_redo",
                       !op.CanBeReversed() && op.GetAction() != MOperation::ACTION_REMOVE))
    return false;
  // 2. A step made without an undo file (to be undone once at most) has nothing to restore:
  // it ends quietly, and the wrapper still changes stacks. One whose file is no longer the one
  // written does not go ahead.
  if (m_undo_file.IS_EMPTY()) return true;
  MFile file(kStateFileBuffer);
  if (!file.OPEN_READ(m_undo_file, m_undo_identity)) return false;
  // 3, 4. Back to the state before, then turn the action into its inverse.
  const uint32_t action = op.GetAction();
  if (op.CanBeReversed()) {
    op.Reverse();
  } else {
    if (op.GetAction() != MOperation::ACTION_ADD) {
      MStreamUndoIn in(&file);
      m_document->_LoadState(m_operation, in);
      if (file.HAS_SHORT_READ()) {
        // Cut short after it was opened: the objects get back what they held, which the redo
        // file has just recorded.
        file.CLOSE();
        if (action != MOperation::ACTION_REMOVE) _LoadState(m_redo_file, m_redo_identity);
        return false;
      }
    }
    op._SetAction(op.GetInverseAction());
  }
  // 5.
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
  return true;
}

bool Wrapper::_Redo() {
  MOperation& op = *m_operation;
  // 1. Without a redo file the step ends quietly; one that is no longer the file written stops
  // the redo.
  if (m_redo_file.IS_EMPTY()) return true;
  MFile file(kStateFileBuffer);
  if (!file.OPEN_READ(m_redo_file, m_redo_identity)) return false;
  // 2, 3.
  if (!op.CanBeReversed() && op.GetAction() != MOperation::ACTION_REMOVE) {
    MStreamUndoIn in(&file);
    m_document->_LoadState(m_operation, in);
    if (file.HAS_SHORT_READ()) {
      // Cut short after it was opened: the objects get back the state they had, the undo
      // file's.
      file.CLOSE();
      if (op.GetAction() != MOperation::ACTION_ADD && !m_undo_file.IS_EMPTY()) _LoadState(m_undo_file, m_undo_identity);
      return false;
    }
  }
  file.CLOSE();
  // 4.
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
  return true;
}

void Wrapper::_Publish() {
  m_document->_MarkModified(*m_operation);
  if (m_operation->NeedsUpdateObservers()) m_document->_UpdateObservers(*m_operation);
  m_document->DoUpdateUI(m_operation, nullptr, 0);
}
