#include "ostrum/document/MDocument.h"

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <typeinfo>
#include <utility>
#include <vector>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MApplicationController.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/document/private/MouseHandlerLink.h"
#include "ostrum/document/private/OperationDoer.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/objects/IObject.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/private/ObserverWalk.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/operations/UIOperation.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/private/ObserverCollection.h"
#include "ostrum/document/private/OperationWrapper.h"
#include "ostrum/document/private/UndoBudget.h"
#include "ostrum/document/private/UndoFiles.h"
#include "ostrum/foundation/platform/DebugOutput.h"
#include "ostrum/undo/IActionFilter.h"
#include "ostrum/undo/Manager.h"
#include "ostrum/undo/Transaction.h"

MDocument* MDocument::mgp_doc_instance = nullptr;
MDataBase* MDocument::mgp_database = nullptr;
long long MDocument::m_undo_disk_space = 104857600;
uint32_t MDocument::mg_temporary_key = 0;
uint32_t MDocument::mg_living_documents = 0;

namespace {

// The key of a temporary operation as its undo tag: radix 16, lower case, no prefix.
void FormatTemporaryKey(uint32_t key, char (&buffer)[16]) {
  std::snprintf(buffer, sizeof buffer, "%x", static_cast<unsigned>(key));
}

using Ostrum::Undo::Transaction;

Transaction* AsTransaction(long long handle) { return reinterpret_cast<Transaction*>(static_cast<intptr_t>(handle)); }

}  // namespace

IMPLEMENT_DYNCREATE(MDocument, CDocument)

MDocument::MDocument() {
  mgp_doc_instance = this;
  m_doc_loaded = false;
  m_mouse_handler = nullptr;
  mgp_database = nullptr;
  m_render_type = IVRenderFactory::GetCurrentRendererType();
  MOperation::mgp_document = this;
  m_undo_files = std::make_shared<_UndoRedo::UndoFiles>();
  m_undo_manager = new Ostrum::Undo::Manager;
  // The application has one repository at a time: the first living document makes it and the
  // last one to die deletes it, so documents alive together share one tree.
  if (mg_living_documents++ == 0 || !MTransformRepositoryEx::GetInstance()) MTransformRepositoryEx::CreateInstance();
}

MDocument::~MDocument() {
  _UndoRedo::OperationDoer::ForgetTheDeadOf(this);
  delete m_undo_manager;
  m_undo_manager = nullptr;
  // A handler that DeleteContents did not take goes with the document.
  if (UIMouseHandler* handler = std::exchange(m_mouse_handler, nullptr))
    if (Ostrum::Private::g_mouse_handler_link.destroy) Ostrum::Private::g_mouse_handler_link.destroy(handler);
  if (mgp_doc_instance == this) mgp_doc_instance = nullptr;
  // Operations sent after the document died must not reach it.
  if (MOperation::mgp_document == this) MOperation::mgp_document = nullptr;
  if (--mg_living_documents == 0) MTransformRepositoryEx::DeleteInstance();
}

MTransformRepositoryEx* MDocument::GetTransformRep() { return MTransformRepositoryEx::GetInstance(); }

bool MDocument::GoToOperation(int32_t, bool) { return false; }

bool MDocument::DoOperation(MOperation* operation, void* param) {
  if (!operation) return false;
  _UndoRedo::OperationDoer doer(this, operation, param);
  return doer.Do();
}

bool MDocument::UndoOperation() {
  if (!m_undo_manager) return false;
  // Steps naming objects that died since are never run (a group ended through the manager).
  _UndoRedo::OperationDoer::RemoveStepsOfTheDead(this);
  // Room for the redo state the step is about to write, without the step itself.
  if (m_undo_manager->CanUndo())
    Ostrum::Private::TrimUndoFiles(*m_undo_manager, m_undo_files->bytes, GetUndoDiskSpace(), true);
  m_undo_files->failed_run = nullptr;
  m_undo_manager->Undo();
  const bool failed = _TakeBackFailedRun(true);
  _UndoRedo::OperationDoer::RemoveStepsOfTheDead(this);
  return !failed;
}

bool MDocument::PurgeUndoStack() { return false; }

bool MDocument::RedoOperation() {
  if (!m_undo_manager) return false;
  _UndoRedo::OperationDoer::RemoveStepsOfTheDead(this);
  m_undo_files->failed_run = nullptr;
  m_undo_manager->Redo();
  const bool failed = _TakeBackFailedRun(false);
  _UndoRedo::OperationDoer::RemoveStepsOfTheDead(this);
  return !failed;
}

bool MDocument::_TakeBackFailedRun(bool undo) {
  if (!m_undo_files->failed_run) return false;
  // The steps done before the failure are performed the other way; the failed one and those
  // after it were passed over and are passed over again. Group and document end as before.
  m_undo_files->failed_run = nullptr;
  if (undo)
    m_undo_manager->Redo();
  else
    m_undo_manager->Undo();
  if (m_undo_files->failed_run) {
    // A second fault while taking the first back: the history no longer matches the document.
    m_undo_files->failed_run = nullptr;
    m_undo_manager->Cleanup();
    OutputDebugStringW(L"Ostrum: an undo step failed while a failed run was taken back; the undo history was emptied");
  }
  return true;
}

MMainFrame* MDocument::GetMainFrame() {
  CWnd* window = AfxGetThread()->m_pMainWnd;
  if (!window || !window->GetSafeHwnd()) return nullptr;
  for (; window; window = window->GetParent())
    if (auto* frame = dynamic_cast<CFrameWnd*>(window)) return dynamic_cast<MMainFrame*>(frame);
  return nullptr;
}

CView* MDocument::GetActiveView() {
  MMainFrame* frame = GetMainFrame();
  return frame ? frame->GetActiveView() : nullptr;
}

void MDocument::DoUpdateUI(MOperation* operation, void* param, uint32_t) {
  MMainFrame* frame = GetMainFrame();
  if (!frame) return;
  if (operation->NeedsUpdateFrame()) frame->DoUpdateUI(*operation, param);
  if (operation->NeedsUpdateView()) {
    // The active view first, then every other view of the document; the operation travels
    // as the hint.
    const auto hint = reinterpret_cast<LPARAM>(operation);
    auto* hint_object = static_cast<CObject*>(param);
    CView* active = GetActiveView();
    if (auto* view = dynamic_cast<MView*>(active)) view->OnUpdate(nullptr, hint, hint_object);
    for (POSITION pos = GetFirstViewPosition(); pos;) {
      CView* next = GetNextView(pos);
      if (next == active) continue;
      if (auto* view = dynamic_cast<MView*>(next)) view->OnUpdate(nullptr, hint, hint_object);
    }
  }
}

void MDocument::CleanUpObjectList() {}

void MDocument::DestroyAllRenderOptimisations() {
  if (mgp_database) mgp_database->GetRootUIObject().DestroyRenderOptimisations();
}

MDocument::EResultIO MDocument::_SaveDocument(const wchar_t*) { return RESULT_IO_OK; }

bool MDocument::_LoadDocument(const wchar_t*) { return true; }

namespace {

// Calls `verb` of the database for each object of the operation.
template <typename Verb>
void ForEachObject(MOperation& operation, Verb verb) {
  for (size_t i = 0; i < operation.GetNumObjects(); ++i) verb(operation.GetObjectW(i));
}

// The same, for the tree objects only.
template <typename Verb>
void ForEachTreeObject(MOperation& operation, Verb verb) {
  for (size_t i = 0; i < operation.GetNumObjects(); ++i)
    if (auto* object = dynamic_cast<UIObject*>(operation.GetObjectW(i))) verb(object);
}

}  // namespace

bool MDocument::_DoOperation(MOperation* operation) {
  MDataBase* database = mgp_database;
  if (!database) return true;
  switch (operation->GetAction()) {
    case MOperation::ACTION_ADD:
      ForEachObject(*operation, [database](IObject* object) { database->AddObject(object); });
      break;
    case MOperation::ACTION_REMOVE:
      ForEachObject(*operation, [database](IObject* object) { database->RemoveObject(object); });
      break;
    case MOperation::ACTION_DELETE:
      ForEachTreeObject(*operation, [database](UIObject* object) { database->DeleteObject(object); });
      break;
    case UIOperation::ACTION_SELECT:
      ForEachObject(*operation, [database](IObject* object) { database->AddSelectedObject(object); });
      break;
    case UIOperation::ACTION_DESELECT:
    case UIOperation::ACTION_DESELECT_ALL:
      ForEachObject(*operation, [database](IObject* object) { database->RemoveSelectedObject(object); });
      break;
    default:
      break;
  }
  return true;
}

bool MDocument::_UndoOperation(uint32_t action, MOperation* operation) {
  // `action` is what the operation did; its own action field holds the inverse now.
  MDataBase* database = mgp_database;
  if (!database) return true;
  if (action == MOperation::ACTION_REMOVE) {
    ForEachTreeObject(*operation, [database](UIObject* object) { database->RestoreObject(object); });
  } else if (action == MOperation::ACTION_ADD) {
    ForEachTreeObject(*operation, [database](UIObject* object) {
      object->DestroyRenderOptimisations();
      database->RemoveObject(object);
    });
  }
  return true;
}

bool MDocument::_RedoOperation(MOperation* operation) {
  MDataBase* database = mgp_database;
  if (!database) return true;
  if (operation->GetAction() == MOperation::ACTION_REMOVE) {
    ForEachTreeObject(*operation, [database](UIObject* object) {
      object->DestroyRenderOptimisations();
      database->RemoveObject(object);
    });
  } else if (operation->GetAction() == MOperation::ACTION_ADD) {
    ForEachTreeObject(*operation, [database](UIObject* object) { database->RestoreObject(object); });
  }
  return true;
}

bool MDocument::_PrepareOperation(MOperation* operation) {
  switch (operation->GetAction()) {
    case MOperation::ACTION_REMOVE:
      operation->StoreObservers();
      return true;
    case 60002: {  // deselect all
      // The selected objects, in the database's order; a document without a database has
      // none selected.
      std::vector<UIObject*> selected;
      if (mgp_database) {
        const UIObjectList& list = mgp_database->GetUIObjectListSelected();
        selected.assign(list.begin(), list.end());
      }
      if (operation->GetNumObjects() == 0) {
        for (IObject* object : selected) operation->AddObject(object);
        return true;
      }
      // The objects given serve as examples: select-alike. Every selected object of the
      // type of one example joins the operation.
      const size_t examples = operation->GetNumObjects();
      bool matched = false;
      for (IObject* object : selected) {
        for (size_t i = 0; i < examples; ++i) {
          if (typeid(*object) == typeid(*operation->GetObjectW(i))) {
            operation->AddObject(object);
            matched = true;
            break;
          }
        }
      }
      return matched;
    }
    default:
      return true;
  }
}

void MDocument::_SaveState(MOperation* operation, MStreamUndoOut& out) { operation->_SaveState(out); }

void MDocument::_LoadState(MOperation* operation, MStreamUndoIn& in) { operation->_LoadState(in); }

void MDocument::SetTitle(const wchar_t* title) {
  std::wstring text = title ? title : L"";
  if (IsModified()) text += L'*';
  CDocument::SetTitle(text.c_str());
}

bool MDocument::CleanUpUndoHandler() {
  if (m_undo_manager) m_undo_manager->Cleanup();
  return true;
}

bool MDocument::IsUndoRedo() const {
  return m_undo_manager && (m_undo_manager->IsUndoing() || m_undo_manager->IsRedoing());
}

void MDocument::_MarkModified(const MOperation& operation) {
  if (!operation.CausesDocumentChange() || !IsDocLoaded()) return;
  SetModifiedFlag(true);
  SetTitle(GetTitle());
}

long long MDocument::_BeginOperationGroup(const wchar_t* name, const char* tag, bool no_group) {
  if (no_group || !m_undo_manager) return -1;
  return static_cast<long long>(reinterpret_cast<intptr_t>(m_undo_manager->BeginTransaction(name, tag)));
}

long long MDocument::BeginOperationGroup(const wchar_t* name, bool no_group) {
  return _BeginOperationGroup(name, nullptr, no_group);
}

long long MDocument::BeginTemporaryOperationGroup(const wchar_t* name, uint32_t key, bool no_group) {
  char tag[16] = {};
  FormatTemporaryKey(key, tag);
  return _BeginOperationGroup(name, tag, no_group);
}

namespace {

// The ends of a group: the caller's handle goes to -1 first, then the transaction behind the
// old value ends. A stale handle finds no transaction and answers false. Objects that died
// inside the group take their steps out of the history as it ends.
bool EndGroup(MDocument* document, long long& handle, bool (Transaction::*end)()) {
  if (handle == -1) return false;
  Transaction* transaction = AsTransaction(handle);
  handle = -1;
  const bool ended = transaction && (transaction->*end)();
  MDocument::_UndoRedo::OperationDoer::RemoveStepsOfTheDead(document);
  return ended;
}

}  // namespace

bool MDocument::EndOperationGroup(long long& handle) { return EndGroup(this, handle, &Transaction::Commit); }

bool MDocument::AbortOperationGroup(long long& handle) { return EndGroup(this, handle, &Transaction::Rollback); }

bool MDocument::KillOperationGroup(long long& handle) { return EndGroup(this, handle, &Transaction::Terminate); }

uint32_t MDocument::GetUniqueTemporaryOperationKey() { return ++mg_temporary_key; }

void MDocument::RemoveAllOperationsForObject(const IObject* object) {
  if (m_undo_manager) _UndoRedo::OperationDoer::RemoveStepsNaming(*m_undo_manager, &object, &object + 1);
}

void MDocument::RemoveTemporaryOperations(uint32_t key) {
  // Matches the actions tagged with the key's text.
  class Filter : public Ostrum::Undo::IActionFilter {
   public:
    explicit Filter(uint32_t key) { FormatTemporaryKey(key, m_key); }
    bool IsActionMatched(Ostrum::IAction const*, char const* id) const override {
      return id && std::strcmp(id, m_key) == 0;
    }

   private:
    char m_key[16] = {};
  };
  if (!m_undo_manager) return;
  Filter filter(key);
  m_undo_manager->ExtractUndoActions(nullptr, &filter);
  m_undo_manager->ExtractRedoActions(nullptr, &filter);
}

void MDocument::_UpdateObservers(const MOperation& operation) {
  Ostrum::Private::ObserverBuffer observers;
  Ostrum::Private::CollectObservers(operation, observers);
  Ostrum::ObserverWalk walk;
  for (IObserver* observer : observers)
    if (walk.IsAlive(observer)) observer->Update(operation);
}

BOOL MDocument::OnCmdMsg(UINT id, int code, void* extra, AFX_CMDHANDLERINFO* info) {
  return Ostrum::MApplicationController::GetInstance()->ProcessCmdMessage(*this, id, code, extra, info);
}
