#pragma once
// The planner's host of a 3D window: a document with a database of its own (the one before is
// put back when it goes), and a view that hands the document's operations to its 3D window,
// which then draws anew, counting the view operations among them.

#include <utility>

#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MMainFrame.h"
#include "ostrum/document/MView.h"
#include "ostrum/foundation/platform/CWinThread.h"
#include "ostrum/foundation/platform/WindowClass.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/scene/MOperationView.h"

namespace planner {

class Window3DDocument : public MDocument {
 public:
  Window3DDocument() : m_previous(GetDataBase()) { _SetDataBasePointer(&m_database); }
  ~Window3DDocument() override {
    DeleteContents();
    MDataBase::RecycleGarbage();
    _SetDataBasePointer(m_previous);
  }
  MDataBase& Database() { return m_database; }

 private:
  MDataBase* m_previous;
  MDataBase m_database;
};

class Window3DView : public MView {
 public:
  UIWnd3D* window = nullptr;
  int view_operations = 0;
  void OnUpdate(CView*, LPARAM hint, CObject*) override {
    auto* operation = reinterpret_cast<MOperation*>(hint);
    if (!operation || !window) return;
    if (dynamic_cast<MOperationView*>(operation)) ++view_operations;
    window->DoOperation(*operation);
    window->InvalidateDisplaySurface();
  }
};

// The frame of a 3D scenario: a window class of its own, a main frame of `width` x `height`
// with one view filling it (less the frame's borders and caption), made the thread's main
// window while it lives. At the end the main window before is put back and both windows go.
class Window3DFrame {
 public:
  Window3DFrame(const wchar_t* window_class, int width, int height) {
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof wc;
    wc.lpfnWndProc = DefWindowProcW;
    wc.lpszClassName = window_class;
    RegisterClassExW(&wc);
    frame.CreateEx(0, window_class, L"Planner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 20, 20, width, height, nullptr, 0);
    view.CreateEx(0, window_class, L"view", WS_CHILD | WS_VISIBLE, 0, 0, width - 40, height - 60, frame.GetSafeHwnd(), 1);
    frame.SetActiveView(&view);
    m_previous_main = std::exchange(AfxGetThread()->m_pMainWnd, &frame);
  }
  ~Window3DFrame() {
    AfxGetThread()->m_pMainWnd = m_previous_main;
    view.DestroyWindow();
    frame.DestroyWindow();
  }
  Window3DFrame(const Window3DFrame&) = delete;
  Window3DFrame& operator=(const Window3DFrame&) = delete;

  MMainFrame frame;
  Window3DView view;

 private:
  CWnd* m_previous_main;
};

}  // namespace planner
