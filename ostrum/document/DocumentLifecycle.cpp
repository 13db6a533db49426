// MDocument's life: making and emptying its contents, new, open and save, the renderer switch
// and the bridge to the host's old mouse-state interface.

#include <string>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/IOldApplicationController.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MLocker.h"
#include "ostrum/document/private/MouseHandlerLink.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/foundation/core/StringResources.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/CWnd.h"
#include "ostrum/foundation/platform/MessageBox.h"
#include "ostrum/foundation/platform/MessageDispatch.h"
#include "ostrum/foundation/platform/MessageQueue.h"
#include "ostrum/foundation/platform/Paint.h"
#include "ostrum/notification/NotificationCenter.h"
#include "ostrum/operations/MOperationDoc.h"
#include "ostrum/scene/MOperationView.h"
#include "ostrum/undo/Manager.h"

namespace Ostrum::Private {
constinit MouseHandlerLink g_mouse_handler_link;
}  // namespace Ostrum::Private

namespace {

using Ostrum::Private::g_mouse_handler_link;

constexpr uint32_t kTextFileMissing = 381;
constexpr uint32_t kTextSaveFailed = 382;

// The text `id` with its first "%s" replaced by `argument` ("%%" is a percent sign); the host's
// texts are never used as a printf format. A text the host did not give reads as a plain
// sentence of our own.
std::wstring FormatText(uint32_t id, const wchar_t* fallback, const std::wstring& argument) {
  std::wstring format;
  if (!VarnResLoadStringEx(id, format) || format.empty()) format = fallback;
  std::wstring text;
  bool placed = false;
  for (size_t i = 0; i < format.size(); ++i) {
    if (format[i] == L'%' && i + 1 < format.size()) {
      if (format[i + 1] == L'%') {
        text += L'%';
        ++i;
        continue;
      }
      if (format[i + 1] == L's' && !placed) {
        text += argument;
        placed = true;
        ++i;
        continue;
      }
    }
    text += format[i];
  }
  return text;
}

// Repaints the main window and lets what waits run before a long load.
void FlushPendingMessages() {
  CWinThread* thread = AfxGetThread();
  CWnd* main = thread ? thread->m_pMainWnd : nullptr;
  if (main && main->GetSafeHwnd()) UpdateWindow(main->GetSafeHwnd());
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {  // for the loop outside, which ends the program
      PostQuitMessage(static_cast<int>(message.wParam));
      break;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

// The wait cursor for the life of a scope.
class WaitCursor {
 public:
  explicit WaitCursor(CCmdTarget& target) : m_target(target) { m_target.BeginWaitCursor(); }
  ~WaitCursor() { m_target.EndWaitCursor(); }
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  CCmdTarget& m_target;
};

}  // namespace

int MDocument::CreateContents() {
  // 1.
  m_doc_loaded = false;
  if (m_undo_manager) m_undo_manager->Cleanup();
  // 2.
  if (!m_mouse_handler && g_mouse_handler_link.make) m_mouse_handler = g_mouse_handler_link.make();
  // 3, 4.
  if (!_CreateContents()) return 0;
  if (mgp_database) mgp_database->Initialise();
  // 5. The cameras start anew; the step stays out of the log.
  auto* reset = new MOperationView;
  reset->SetAction(MOperationView::ViewActionResetCamera);
  reset->AddFlags(MOperation::FLAG_NO_UPDATE_LOG);
  DoOperation(reset, nullptr);
  // 6, 7.
  MOperationDoc created(MOperationDoc::ACTION_DOC_CREATED);
  DoUpdateUI(&created, nullptr, 0);
  return 1;
}

void MDocument::DeleteContents() {
  // 1.
  MOperationDoc notification(MOperationDoc::ACTION_DOC_CLOSING);
  DoUpdateUI(&notification, nullptr, 0);
  // 2-5.
  _DeleteContents();
  if (m_undo_manager) m_undo_manager->Cleanup();
  if (UIMouseHandler* handler = std::exchange(m_mouse_handler, nullptr))
    if (g_mouse_handler_link.destroy) g_mouse_handler_link.destroy(handler);
  if (mgp_database) mgp_database->ClearAll();
  // 6-8.
  m_doc_loaded = false;
  SetTitle(L"Untitled");
  MDocumentBase::DeleteContents();
  notification.SetAction(MOperationDoc::ACTION_DOC_CLOSED);
  DoUpdateUI(&notification, nullptr, 0);
}

int MDocument::OnNewDocument() {
  if (!MDocumentBase::OnNewDocument()) return 0;
  if (!CreateContents()) return 0;
  SetTitle(GetTitle());
  return 1;
}

int MDocument::OnOpenDocument(const wchar_t* path) {
  // 1. Nothing done while loading is undoable.
  MLocker undo_lock(m_undo_lock);
  // 2.
  FlushPendingMessages();
  // 3.
  const std::wstring name = path ? path : L"";
  if (!MFileName(name).DOES_EXIST()) {
    AfxMessageBox(FormatText(kTextFileMissing, L"The file %s cannot be found.", name).c_str(), MB_ICONHAND);
    return 0;
  }
  // 4, 5.
  DeleteContents();
  if (!CreateContents()) return 0;
  WaitCursor wait(*this);
  // 6, 7.
  MDataBase::SetIsLoading(true);
  const bool loaded = _LoadDocument(name.c_str());
  MDataBase::SetIsLoading(false);
  if (MTransformRepositoryEx* repository = GetTransformRep()) repository->DeleteUnreferencedSystems();
  // 8-11.
  if (!loaded) return 0;
  // A loaded document tracks its changes from now on (the first change marks the title).
  m_doc_loaded = true;
  SetModifiedFlag(false);
  auto* opened = new MOperationDoc(MOperationDoc::ACTION_DOC_OPENED);
  if (mgp_database)
    for (size_t i = 0; i < mgp_database->GetNumObjects(); ++i) opened->AddObject(mgp_database->GetObjectW(i));
  opened->DoOperation(nullptr);
  return 1;
}

int MDocument::OnSaveDocument(const wchar_t* path) {
  // 1, 2.
  MLocker undo_lock(m_undo_lock);
  MOperationDoc notification(MOperationDoc::ACTION_DOC_SAVING);
  DoUpdateUI(&notification, nullptr, 0);
  // 3-6.
  const std::wstring name = path ? path : L"";
  switch (_SaveDocument(name.c_str())) {
    case RESULT_IO_OK:
      SetModifiedFlag(false);
      m_doc_loaded = true;
      notification.SetAction(MOperationDoc::ACTION_DOC_SAVED);
      DoUpdateUI(&notification, nullptr, 0);
      return 1;
    case RESULT_IO_QUIET_FAILURE:
      return 0;
    case RESULT_IO_FAILED:
      AfxMessageBox(FormatText(kTextSaveFailed, L"The document could not be saved to %s.", name).c_str(),
                    MB_ICONEXCLAMATION);
      return 0;
  }
  return 0;
}

bool MDocument::_SwitchRenderer(ERenderType type, bool force) {
  // 1.
  if (!force && type == m_render_type) return true;
  // 2. Between the hardware and the software renderer the buffers carry over.
  const bool keeps_buffers = (m_render_type == 2 && type == 1) || (m_render_type == 1 && type == 2);
  if (!keeps_buffers) DestroyAllRenderOptimisations();
  // 3.
  bool first_attempt = true;
  if (!IVRenderFactory::SelectIVRender(type, force)) {
    first_attempt = false;
    if (IVRenderFactory::SelectIVRender(m_render_type, false)) {
      type = m_render_type;
    } else if (IVRenderFactory::SelectIVRender(static_cast<ERenderType>(1), false)) {
      type = static_cast<ERenderType>(1);
    } else {
      return false;
    }
  }
  // 4, 5.
  auto* switched = new MOperationView;
  switched->SetAction(MOperationView::ViewActionSwitchRenderer);
  DoOperation(switched, nullptr);
  m_render_type = type;
  return first_attempt;
}

// ---- the old mouse-state interface ----

Ostrum::IOldApplicationController::~IOldApplicationController() = default;

MDocument::MouseCompatibilityProvider::~MouseCompatibilityProvider() { delete m_controller; }

void MDocument::MouseCompatibilityProvider::SetOldApplicationController(Ostrum::IOldApplicationController* controller) {
  if (controller == m_controller) return;
  delete m_controller;
  m_controller = controller;
}

UIMouseHandler* MDocument::MouseCompatibilityProvider::GetMouseHandler() {
  return m_controller ? m_controller->GetMouseHandler() : nullptr;
}

bool MDocument::MouseCompatibilityProvider::SelectMouseState(MOperationState* state) {
  const bool answer = m_controller && m_controller->SelectMouseState(state);
  _Notify();
  return answer;
}

bool MDocument::MouseCompatibilityProvider::RevertMouseState() {
  const bool answer = m_controller && m_controller->RevertMouseState();
  _Notify();
  return answer;
}

uint32_t MDocument::MouseCompatibilityProvider::GetCurrentMouseState() const {
  return m_controller ? m_controller->GetCurrentMouseState() : 0;
}

void MDocument::MouseCompatibilityProvider::MatchMouseStateToDatabase() {
  if (m_controller) m_controller->MatchMouseStateToDatabase();
}

void MDocument::MouseCompatibilityProvider::DetachObjectFromMouse(MOperation* operation) {
  if (m_controller) m_controller->DetachObjectFromMouse(operation);
}

void MDocument::MouseCompatibilityProvider::_Notify() const {
  Ostrum::NotificationCenter::GetDefaultCenter().NotifyObservers(nullptr,
                                                                 MouseSelectNotification(GetCurrentMouseState()));
}
