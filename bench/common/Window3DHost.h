#pragma once
// The host a 3D-window benchmark runs in: a document with its own database, and a view that
// hands the document's operations to its one 3D window, which then draws anew.

#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/document/MView.h"
#include "ostrum/interaction/UIWnd3D.h"
#include "ostrum/operations/MOperation.h"

namespace ostrum_bench {

class Window3DDocument : public MDocument {
 public:
  Window3DDocument() { _SetDataBasePointer(&m_database); }
  ~Window3DDocument() override {
    DeleteContents();
    MDataBase::RecycleGarbage();
    _SetDataBasePointer(nullptr);
  }
  MDataBase& Database() { return m_database; }

 private:
  MDataBase m_database;
};

class Window3DView : public MView {
 public:
  UIWnd3D* window = nullptr;
  void OnUpdate(CView*, LPARAM hint, CObject*) override {
    auto* operation = reinterpret_cast<MOperation*>(hint);
    if (!operation || !window) return;
    window->DoOperation(*operation);
    window->InvalidateDisplaySurface();
  }
};

}  // namespace ostrum_bench
