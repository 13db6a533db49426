#include "LifecycleScenario.h"

#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "PlannerTrace.h"
#include "ostrum/coordinates/MTransformRepositoryEx.h"
#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocManager.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/SafeFileWriter.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXTagWriter.h"
#include "ostrum/foundation/markup/MSAXWriter.h"
#include "ostrum/foundation/platform/MessageLoop.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/persistence/MSCObjectFactory.h"
#include "ostrum/undo/Manager.h"

namespace planner {

namespace {

namespace fs = std::filesystem;

// A part of the plan as the project file holds it: its label, a reference to its coordinate
// system and the references of its children.
class PlanPart : public UIObject, public ISAXPersist {
 public:
  bool Write(MSAXWriter& writer) const override {
    MSAXTagWriter element(writer, L"Part");
    writer.RegisterReference(this);
    writer.WriteValue(L"Label", GetLabel());
    GetCoordinateSystem().WriteCoordinateSystem(L"System", writer);
    _WriteChildrenIDs(writer);
    return writer.IsGood();
  }
  bool HandleTag(const std::wstring& tag, MSAXReader& reader) override {
    if (tag == L"Label") {
      std::wstring label;
      reader.ReadValue(label);
      SetLabel(label.c_str());
      return true;
    }
    if (tag == L"System") return _ReadCoordinateSystem(reader);
    return _HandleTagChildrenIDs(tag, reader);
  }
};

// The planner's reader of its project file: the coordinate systems go to the repository, each
// part is made by the factory from its tag and waits here until the whole file is in; only
// then do the parts enter the database (their tree is rebuilt by their child lists). A file
// that is refused leaves the document as it was, and the parts made for it are deleted.
class PlanReader : public ISAXPersist {
 public:
  explicit PlanReader(MDataBase& database) : m_database(database) {}
  ~PlanReader() override {
    for (UIObject* part : m_staged) delete part;
  }
  bool HandleTag(const std::wstring& tag, MSAXReader& reader) override {
    if (tag == L"Plan") return true;
    if (tag == L"Transforms") {
      reader.DelegateElement(MTransformRepositoryEx::GetInstance());
      return true;
    }
    ISAXPersist* made = Ostrum::MSCObjectFactory::CreateObjectForTag(tag, reader.GetParentTag(1));
    auto* part = dynamic_cast<UIObject*>(made);
    if (!part) {
      delete made;
      return false;
    }
    m_staged.push_back(part);
    reader.DelegateElement(made);
    return true;
  }
  void InitAfterLoading() override {
    for (UIObject* part : m_staged)
      if (!part->GetParent()) m_database.AddObject(part);
    m_staged.clear();
  }

 private:
  MDataBase& m_database;
  std::vector<UIObject*> m_staged;
};

// The planner's project document: its plan with the coordinate systems, as XML.
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
    auto* part = new PlanPart;
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
  const std::wstring& LoadError() const { return m_load_error; }

 protected:
  bool _CreateContents() override {
    if (!m_database) m_database = new MDataBase;
    _SetDataBasePointer(m_database);
    return true;
  }
  EResultIO _SaveDocument(const wchar_t* path) override {
    MSAXWriter writer;
    {
      MSAXTagWriter plan(writer, L"Plan");
      GetTransformRep()->Write(writer);
      for (size_t i = 0; i < m_database->GetNumObjects(); ++i)
        if (auto* part = dynamic_cast<PlanPart*>(m_database->GetObjectW(i))) part->Write(writer);
    }
    if (!writer.EndDocument()) return RESULT_IO_FAILED;
    Ostrum::SafeFileWriter file(path);
    return file.Write(writer.GetOutput()) && file.Commit() ? RESULT_IO_OK : RESULT_IO_FAILED;
  }
  bool _LoadDocument(const wchar_t* path) override {
    PlanReader plan(*m_database);
    MSAXReader reader;
    const bool read = reader.ReadFile(path, plan);
    m_load_error = reader.GetError();
    return read;
  }

 private:
  MDataBase* m_database = nullptr;
  std::wstring m_load_error;
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

void RegisterPlanParts() {
  Ostrum::MSCObjectFactory::RegisterCreatorForTag([] { return static_cast<ISAXPersist*>(new PlanPart); }, L"Part",
                                                  L"Plan");
}

void RunOpenPlan(const std::wstring& path) {
  RegisterPlanParts();
  ProjectDocument doc;
  Heading(L"a fresh run of the planner opens the project file");
  const bool opened = doc.OnOpenDocument(path.c_str());
  doc.SetTitle(L"plan.ostrum");
  if (!opened) Trace(L"the file was refused: " + doc.LoadError());
  TraceState(doc, L"opened");
}

void RunLifecycleScenario() {
  RegisterPlanParts();
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
    // A new process of the planner, which starts with nothing but its default systems.
    std::fflush(stdout);
    const std::string self = fs::read_symlink("/proc/self/exe").string();
    const std::string native = file.string();
    char* const arguments[] = {const_cast<char*>(self.c_str()), const_cast<char*>("--open-plan"),
                               const_cast<char*>(native.c_str()), nullptr};
    pid_t child = 0;
    int status = 0;
    if (posix_spawn(&child, self.c_str(), nullptr, nullptr, arguments, environ) == 0)
      waitpid(child, &status, 0);
    Trace(std::wstring(L"the fresh run ended ") + (WIFEXITED(status) && WEXITSTATUS(status) == 0 ? L"well" : L"badly"));
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
