#pragma once
// UIOperation: the operations of what the user sees: selection, showing and hiding in a scene,
// and plain steps that only carry their flags.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"
#include "ostrum/operations/MOperation.h"

class OSTRUM_API UIOperation : public MOperation {
 public:
  /// Action numbers; any other number is MOperation's.
  enum : uint32_t {
    ACTION_SELECT = 60000,        ///< AddSelectedObject for each object; not undoable
    ACTION_DESELECT = 60001,      ///< RemoveSelectedObject for each object
    ACTION_DESELECT_ALL = 60002,  ///< the prepare fills it from the selection, then as 60001
    ACTION_SHOW = 60003,          ///< visible in the scene id; undoable by reversal
    ACTION_HIDE = 60004,          ///< invisible in the scene id
    ACTION_UI_UNDOABLE = 60005,   ///< nothing of its own, undoable
    ACTION_UI_PLAIN = 60006,      ///< nothing of its own, flags as they were
    ACTION_UI_QUIET = 60007,      ///< nothing of its own, prepared and done only
  };

  /// Action 0xFFFFFFFF (none), default flags, the default scene.
  UIOperation();
  /// The action, with its flags.
  explicit UIOperation(uint32_t action);
  UIOperation(const UIOperation&) = default;
  UIOperation& operator=(const UIOperation&) = default;
  ~UIOperation() override;

  /// MOperation's action, then the flags of the user-interface actions over its own.
  void SetAction(uint32_t action) override;
  uint32_t GetInverseAction() override;
  /// The record of MOperation, then the saved value (4 bytes); true only if both were written.
  bool Save(MFile& file) override;
  /// Mirrors Save; a record cut short leaves the saved value as it was.
  bool Load(MFile& file) override;

  /// The scene that show and hide act on; the default scene unless set.
  void SetSceneID(unsigned long long id) { m_scene_id = id; }
  unsigned long long GetSceneID() const { return m_scene_id; }
  /// The one value the record carries besides the action; the library gives it no meaning.
  uint32_t GetSavedValue() const { return m_saved_value; }
  void SetSavedValue(uint32_t value) { m_saved_value = value; }

  /// The text id of a user-interface action (MOperation's for the others).
  static uint32_t GetUIActionTextID(uint32_t action);

 protected:
  const wchar_t* _GetActionString() override;

 private:
  uint32_t m_saved_value = 0;
  unsigned long long m_reserved = 0;
  unsigned long long m_scene_id = 0xFFFFFFFF;
};
