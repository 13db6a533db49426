#include "LifecycleScenario.h"

#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "PlannerTrace.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/SafeFileWriter.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/undo/Manager.h"

namespace planner {

namespace {

namespace fs = std::filesystem;

// The planner's project document: each part a line "label x y z" (its place in millimetres,
// under the part above it when indented), written safely and read back by add operations.
class ProjectDocument : public MDocument {
 public:
  ~ProjectDocument() override {
    DeleteContents();
    if (GetDataBase() == m_database) _SetDataBasePointer(nullptr);
    delete m_database;
  }
  MDataBase& Database() { return *m_database; }

  UIObject* Add(const std::wstring& label, double x, double y, double z, UIObject* parent) {
    MTransformRepositoryEx* repository = GetTransformRep();
    auto* part = new UIObject;
    part->SetLabel(label.c_str());
    MMTransformMatrix place;
    place.MakeTranslation(x, y, z);
    part->SetCoordinateSystem(
        repository->CreateNewSystem(place, parent ? parent->GetCoordinateSystem() : repository->GetSystemMm()));
    auto* add = new MOperation(MOperation::ACTION_ADD);
    add->AddObject(part);
    add->DoOperation(nullptr);
    if (parent) part->MoveToParent(parent);
    return part;
  }

 protected:
  bool _CreateContents() override {
    if (!m_database) m_database = new MDataBase;
    _SetDataBasePointer(m_database);
    return true;
  }
  EResultIO _SaveDocument(const wchar_t* path) override {
    Ostrum::SafeFileWriter file(path);
    std::string text = "ostrum-plan 1\n";
    Write(m_database->GetRootUIObject(), 0, text);
    return file.Write(text) && file.Commit() ? RESULT_IO_OK : RESULT_IO_FAILED;
  }
  bool _LoadDocument(const wchar_t* path) override {
    std::ifstream in{fs::path(path)};
    std::string line;
    if (!std::getline(in, line) || line != "ostrum-plan 1") return false;
    UIObject* last_at_depth[16] = {};
    while (std::getline(in, line)) {
      size_t depth = 0;
      while (depth < line.size() && line[depth] == ' ') ++depth;
      std::istringstream fields(line.substr(depth));
      std::string label;
      double x = 0, y = 0, z = 0;
      if (!(fields >> label >> x >> y >> z) || depth / 2 >= 15) return false;
      UIObject* parent = depth >= 2 ? last_at_depth[depth / 2 - 1] : nullptr;
      last_at_depth[depth / 2] =
          Add(std::wstring(label.begin(), label.end()), x, y, z, parent);
    }
    return true;
  }

 private:
  void Write(const UIObject& parent, int depth, std::string& text) {
    MTransformRepositoryEx* repository = GetTransformRep();
    for (UIObject* part : parent.GetChildren()) {
      const MCoordinateSystem& system = part->GetCoordinateSystem();
      const MCoordinateSystem& above =
          part->GetParent() && part->GetParent() != &m_database->GetRootUIObject() ? part->GetParent()->GetCoordinateSystem()
                                                                                   : repository->GetSystemMm();
      const MMPoint3d<double> p = repository->GetTransform(system, above)(MMPoint3d<double>());
      const std::wstring label = part->GetLabel();
      char numbers[96];
      std::snprintf(numbers, sizeof numbers, " %g %g %g\n", p.x, p.y, p.z);
      text += std::string(2 * static_cast<size_t>(depth), ' ') + std::string(label.begin(), label.end()) + numbers;
      Write(*part, depth + 1, text);
    }
  }

  MDataBase* m_database = nullptr;
};

std::wstring Where(MDocument& doc, UIObject* part) {
  MTransformRepositoryEx* repository = doc.GetTransformRep();
  const MMPoint3d<double> p =
      repository->GetTransform(part->GetCoordinateSystem(), repository->GetSystemMm())(MMPoint3d<double>());
  wchar_t text[80];
  std::swprintf(text, 80, L"(%.1f, %.1f, %.1f) mm", p.x, p.y, p.z);
  return text;
}

void TraceState(ProjectDocument& doc, const wchar_t* when) {
  MDataBase& database = doc.Database();
  std::wstring parts;
  for (UIObjectIterator it = database.GetBeginUIObject(); it != database.GetEndUIObject(); ++it)
    parts += std::wstring(parts.empty() ? L"" : L", ") + it->GetLabel() + L" at " + Where(doc, it);
  Trace(std::wstring(when) + L": title \"" + doc.GetTitle().Str() + L"\", " +
        (doc.GetUndoManager()->CanUndo() ? L"a history to undo" : L"no history") + L"; " +
        (parts.empty() ? L"no parts" : parts));
}

}  // namespace

void RunLifecycleScenario() {
  char pattern[] = "/tmp/ostrum-planner-project-XXXXXX";
  if (!mkdtemp(pattern)) return;
  const fs::path directory = pattern;
  const fs::path file = directory / "plan.ostrum";
  {
    ProjectDocument doc;
    Heading(L"a project: made, saved, closed and opened again");
    doc.OnNewDocument();
    doc.SetTitle(L"plan.ostrum");
    UIObject* implant = doc.Add(L"implant", 40, 0, 0, nullptr);
    doc.Add(L"screw", 0, 5, 0, implant);
    doc.Add(L"landmark", 0, 0, 25, nullptr);
    TraceState(doc, L"made");
    doc.OnSaveDocument(file.wstring().c_str());
    std::ifstream saved(file);
    Trace(L"saved to " + CharacterSetConversions::FromNativePath(file.native()) + L":");
    {
      TraceScope scope;
      for (std::string line; std::getline(saved, line);) Trace(std::wstring(line.begin(), line.end()));
    }
    doc.DeleteContents();
    Ostrum::Desktop::RunUntilIdle();
    TraceState(doc, L"closed");
    doc.OnOpenDocument(file.wstring().c_str());
    doc.SetTitle(L"plan.ostrum");
    TraceState(doc, L"opened");
  }
  {
    Heading(L"the planner's file type, known to the desktop");
    MDocManager manager;
    manager.AddDocTemplate(new CDocTemplate(L"Planner\nPlan\nPlan\nPlans (*.ostrum)\n.ostrum\nOstrum.Plan\nSurgical plan"));
    const fs::path share = directory / "share";
    const bool published = manager.PublishFileTypes(share.wstring(), L"org.ostrum.Planner", L"Ostrum Planner");
    Trace(std::wstring(L"written into ") + CharacterSetConversions::FromNativePath(share.native()) + L": " +
          (published ? L"yes" : L"no"));
    for (const char* name : {"mime/packages/org.ostrum.Planner.xml", "applications/org.ostrum.Planner.desktop"}) {
      Trace(CharacterSetConversions::FromNativePath(name) + L":");
      TraceScope scope;
      std::ifstream in(share / name);
      for (std::string line; std::getline(in, line);) Trace(CharacterSetConversions::FromNativePath(line));
    }
  }
  std::error_code ignored;
  fs::remove_all(directory, ignored);
}

}  // namespace planner
