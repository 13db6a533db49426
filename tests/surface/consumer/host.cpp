// A small host of the installed framework: its own document, object and operation, one
// undoable change undone and redone through undo files in a directory of its own, and a query
// of the application's coordinate systems. Exit status 0 when everything answered as it must.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/MStreamUndo.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"

namespace {

class Document : public MDocument {};

class Counter : public MObject, public MSubject {
 public:
  int value = 0;
  bool PrepareOperation(MOperation*) override { return true; }
  bool DoOperation(MOperation&) override {
    ++value;
    return true;
  }
  bool UndoOperation(MOperation&) override { return true; }
  bool RedoOperation(MOperation&) override { return true; }
  using MObject::LoadState;
  using MObject::SaveState;
  void SaveState(const MOperation*, MStreamUndoOut& out) override { out << value; }
  void LoadState(const MOperation*, MStreamUndoIn& in) override { in >> value; }
  const wchar_t* GetUserInterfaceTypeName() const override { return L"Counter"; }
};

int failures = 0;

void Check(bool ok, const char* what) {
  std::printf("%s: %s\n", ok ? "ok" : "FAILED", what);
  failures += !ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) MUndoHandler::SetUndoTempDir(std::wstring(argv[1], argv[1] + std::strlen(argv[1])).c_str());
  Ostrum::DeferredTaskManager::StartDeferredTaskManagerSession();
  {
    Document document;
    Counter counter;
    auto* step = new MOperation(MOperation::ACTION_NONE);
    step->AddObject(&counter);
    Check(step->DoOperation(nullptr) && counter.value == 1, "an operation runs through the document");
    Check(document.UndoOperation() && counter.value == 0, "undo restores the state from its file");
    Check(document.RedoOperation() && counter.value == 1, "redo brings it back");
    MTransformRepositoryEx* repository = MDocument::GetTransformRep();
    Check(repository != nullptr && repository->GetSystemMm().IsDefined(),
          "the document made the application's coordinate systems");
    document.CleanUpUndoHandler();
  }
  Ostrum::DeferredTaskManager::EndDeferredTaskManagerSession();
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
