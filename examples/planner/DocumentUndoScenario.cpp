#include "DocumentUndoScenario.h"

#include <unistd.h>

#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "PlannerModel.h"
#include "PlannerTrace.h"
#include "ostrum/deferred/DeferredTaskManager.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/undo/MUndoHandler.h"
#include "ostrum/undo/Manager.h"

namespace planner {

namespace {

namespace fs = std::filesystem;

std::wstring Point(const MMPoint3d<double>& p) {
  wchar_t buffer[96];
  std::swprintf(buffer, 96, L"(%.1f, %.1f, %.1f)", p.x, p.y, p.z);
  return buffer;
}

// The undo files of this process in the undo directory, with their sizes. Beside them stands
// the process's own directory, VarnUndo[<pid>], whose lock tells later processes that these
// files are still in use.
void ShowFiles(const fs::path& directory, const std::wstring& when) {
  std::vector<std::pair<std::string, uintmax_t>> files;
  uintmax_t total = 0;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory, error)) {
    if (!entry.is_regular_file(error)) continue;
    files.emplace_back(entry.path().filename().string(), entry.file_size(error));
    total += files.back().second;
  }
  std::sort(files.begin(), files.end());
  Trace(L"undo files " + when + L": " + std::to_wstring(files.size()) + L" files, " + std::to_wstring(total) +
        L" bytes");
  TraceScope scope;
  for (const auto& [name, size] : files)
    Trace(CharacterSetConversions::FromNativePath(name) + L"  " + std::to_wstring(size) + L" bytes");
}

// Actions leaving the history are destroyed at idle time; their files go with them.
void RunUntilIdle() { Ostrum::Desktop::RunUntilIdle(); }

bool Move(PlanObject* object, double dx, uint32_t temporary_key = MOperation::NO_TEMPORARY_KEY) {
  auto* op = new PlannerOperation(ACTION_MOVE);
  op->offset = MMPoint3d<double>{dx, 0, 0};
  op->AddObject(object);
  op->SetTemporaryOperation(temporary_key);
  return op->DoOperation(nullptr);
}

std::wstring Top(PlannerDocument& doc) {
  const wchar_t* undo = doc.GetUndoManager()->GetUndoActionString();
  const wchar_t* redo = doc.GetUndoManager()->GetRedoActionString();
  return L"undo \"" + std::wstring(undo ? undo : L"-") + L"\", redo \"" + std::wstring(redo ? redo : L"-") + L"\"";
}

}  // namespace

void RunDocumentUndoScenario() {
  // A directory of its own in the system's temporary directory, so its files can be listed.
  std::string pattern =
      CharacterSetConversions::ToNativePath(MFileName::GET_TEMP_DIRECTORY()) + "ostrum-planner-undo-XXXXXX";
  if (!mkdtemp(pattern.data())) {
    Trace(L"no undo directory could be made; undo scenario skipped");
    return;
  }
  const fs::path directory = pattern;
  MUndoHandler::SetUndoTempDir(CharacterSetConversions::FromNativePath(directory.native()).c_str());
  const bool tracing = HookTracing();
  SetHookTracing(false);
  {
    PlannerDocument doc;
    doc.MarkLoaded();
    // 64k vertices of three floats: 768 KiB of state per object.
    PlanObject* implant = doc.Make(L"Implant", L"implant A", 3 * 65536);
    PlanObject* screw = doc.Make(L"Screw", L"screw 1", 3 * 65536);

    Heading(L"undo files: done, undone, redone");
    Trace(L"undo directory " + CharacterSetConversions::FromNativePath(directory.native()));
    auto* rename = new PlannerOperation(MOperation::ACTION_NONE);
    rename->ChangeLabel(L"implant A, 4.5 mm");
    rename->AddObject(implant);
    rename->DoOperation(nullptr);
    Move(screw, 12.5);
    Trace(L"implant \"" + implant->Label() + L"\", screw at " + Point(screw->Position()) + L"; " + Top(doc));
    ShowFiles(directory, L"after two operations");
    doc.UndoOperation();
    Trace(L"undo: screw back at " + Point(screw->Position()) + L"; " + Top(doc));
    doc.UndoOperation();
    Trace(L"undo: implant \"" + implant->Label() + L"\"; " + Top(doc));
    ShowFiles(directory, L"after two undos (each undo wrote its redo file)");
    doc.RedoOperation();
    doc.RedoOperation();
    Trace(L"redo twice: implant \"" + implant->Label() + L"\", screw at " + Point(screw->Position()) + L"; " +
          Top(doc));

    Heading(L"an operation group undone as one step");
    long long group = doc.BeginOperationGroup(L"Align implant", false);
    Move(implant, 5);
    Move(implant, -2);
    Move(implant, 0.5);
    doc.EndOperationGroup(group);
    Trace(L"three moves in a group: implant at " + Point(implant->Position()) + L"; " + Top(doc));
    doc.UndoOperation();
    Trace(L"one undo: implant at " + Point(implant->Position()) + L"; " + Top(doc));
    doc.RedoOperation();
    Trace(L"one redo: implant at " + Point(implant->Position()));

    Heading(L"a drag: temporary steps purged at its end");
    const uint32_t key = MDocument::GetUniqueTemporaryOperationKey();
    for (int step = 1; step <= 4; ++step) Move(screw, 1.0, key);
    Trace(L"four drag steps with key " + Hex(key) + L": screw at " + Point(screw->Position()) + L"; " + Top(doc));
    doc.RemoveTemporaryOperations(key);
    RunUntilIdle();
    Trace(L"drag ends, its steps removed: " + Top(doc));
    Move(screw, 4.0);
    Trace(L"the whole drag as one step: screw at " + Point(screw->Position()) + L"; " + Top(doc));
    ShowFiles(directory, L"after the drag");

    Heading(L"the disk budget trims the oldest steps");
    const long long budget = 2 * 1024 * 1024;
    MDocument::SetUndoDiskSpace(budget);
    Trace(L"budget set to " + std::to_wstring(budget) + L" bytes");
    ShowFiles(directory, L"before the next operation");
    Move(implant, 1.0);
    ShowFiles(directory, L"after it (the oldest groups went, with their files, before it wrote its own)");
    Trace(L"history now: " + Top(doc));
    MDocument::SetUndoDiskSpace(104857600);
  }
  ShowFiles(directory, L"after the document closed");
  RunUntilIdle();
  SetHookTracing(tracing);
  std::error_code ignored;
  fs::remove_all(directory, ignored);
  MUndoHandler::SetUndoTempDir(L"");
}

}  // namespace planner
