#pragma once
// The planner's host of a 3D window: a document with a database of its own (the one before is
// put back when it goes), and a view that hands the document's operations to its 3D window,
// which then draws anew, counting the view operations among them.

#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MView.h"
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

}  // namespace planner
