#pragma once
// The planner's model: its document, its planning objects with real state (a label, a
// placement and a block of vertex data), its operation and its observer. Every hook traces
// what the pipeline asks of it while hook tracing is on.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ostrum/database/MDataBase.h"
#include "ostrum/document/MDocument.h"
#include "ostrum/foundation/geometry/MMPoint3d.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"
#include "ostrum/objects/IObserver.h"
#include "ostrum/objects/MDefinedObject.h"
#include "ostrum/objects/MObject.h"
#include "ostrum/objects/MSubject.h"
#include "ostrum/operations/MOperation.h"

namespace planner {

/// The planner's own action: move objects by the operation's offset (millimetres).
constexpr uint32_t ACTION_MOVE = 1000;

/// Whether the model's hooks trace each call (on by default).
void SetHookTracing(bool on);
bool HookTracing();

std::wstring Hex(uint32_t value);
/// The flags of an operation in hexadecimal and by name.
std::wstring Flags(const MOperation& op);

/// The planner's operation: it numbers itself, says when it dies (so that the trace shows where
/// each operation went) and carries an offset for moves.
class PlannerOperation : public MOperation {
 public:
  explicit PlannerOperation(uint32_t action);
  ~PlannerOperation() override;
  int Number() const { return m_number; }
  MMPoint3d<double> offset{0, 0, 0};

 protected:
  bool _PrepareOperation() override;
  bool _DoOperation() override;
  /// Moves have a text of their own (id 1000 of the planner's string table).
  const wchar_t* _GetActionString() override;

 private:
  static inline int s_count = 0;
  std::wstring m_move_text;
  int m_number;
};

/// A planning object: an implant, a screw, a landmark. Its state is what undo saves: the label,
/// the placement and the vertex data. It can be told to refuse.
class PlanObject : public MObject, public MSubject, public MDefinedObject {
 public:
  PlanObject(std::wstring type, std::wstring label, size_t vertex_floats = 0);

  bool refuse_prepare = false;
  bool refuse_do = false;
  const std::wstring& Label() const { return m_label; }
  /// Where the object's origin is, in millimetres.
  MMPoint3d<double> Position() const;
  std::vector<float>& Vertices() { return m_vertices; }

  bool PrepareOperation(MOperation* op) override;
  bool DoOperation(MOperation& op) override;
  bool UndoOperation(MOperation&) override { return true; }
  bool RedoOperation(MOperation&) override { return true; }
  using MObject::LoadState;
  using MObject::SaveState;
  void SaveState(const MOperation* op, MStreamUndoOut& out) override;
  void LoadState(const MOperation* op, MStreamUndoIn& in) override;
  const wchar_t* GetUserInterfaceTypeName() const override { return m_type.c_str(); }

 private:
  std::wstring m_type;
  std::wstring m_label;
  MMTransformMatrix m_placement;
  std::vector<float> m_vertices;
};

/// The planner's document: it makes its database, where its objects live, and traces its own
/// hooks of the pipeline.
class PlannerDocument : public MDocument {
 public:
  PlannerDocument();
  ~PlannerDocument() override;

  /// The planner works on an opened plan, so that changes get the modified mark.
  void MarkLoaded() { m_doc_loaded = true; }
  /// A new object, registered in the database (which owns it) but not live until added.
  PlanObject* Make(const std::wstring& type, const std::wstring& label, size_t vertex_floats = 0);
  MDataBase& Database() { return *m_database; }
  /// The planner's document, while there is one.
  static PlannerDocument* Active() { return static_cast<PlannerDocument*>(GetActiveDocument()); }

  void DoUpdateUI(MOperation* op, void* param, uint32_t unused) override;

 protected:
  bool _PrepareOperation(MOperation* op) override;
  bool _DoOperation(MOperation* op) override;

 private:
  std::unique_ptr<MDataBase> m_database;
};

/// A view of the plan's objects, told of every operation that changes one of them.
class Inspector : public IObserver {
 public:
  explicit Inspector(std::wstring name) : m_name(std::move(name)) {}
  void Update(const MOperation& op) override;

 private:
  std::wstring m_name;
};

/// The texts of the actions, as a host fills the string table at start-up.
void FillStringTable();

}  // namespace planner
