#pragma once
// IObject: the interface through which operations reach any object of a document.

#include "ostrum/Export.h"
#include "ostrum/notification/NotificationCenter.h"
#include "ostrum/foundation/markup/ISAXReference.h"

class MOperation;
class MStreamUndoIn;
class MStreamUndoOut;

class OSTRUM_API IObject : public virtual ISAXReference,
                           public virtual Ostrum::NotificationCenter::ISubject {
 public:
  ~IObject() override;

  /// Asked before the operation is done; false cancels the whole operation.
  virtual bool PrepareOperation(MOperation* operation) = 0;
  /// Does this object's share of the operation; false makes the operation report failure,
  /// but the other objects and the later stages still run.
  virtual bool DoOperation(MOperation& operation) = 0;
  /// Undoes this object's share, after its state was loaded back.
  virtual bool UndoOperation(MOperation& operation) = 0;
  /// Redoes this object's share, after its state was loaded back.
  virtual bool RedoOperation(MOperation& operation) = 0;
  /// Reads back what SaveState wrote.
  virtual void LoadState(MStreamUndoIn& in) = 0;
  /// Reads back what SaveState(operation, out) wrote for this operation.
  virtual void LoadState(const MOperation* operation, MStreamUndoIn& in) = 0;
  /// Writes the state that undo needs to restore this object.
  virtual void SaveState(MStreamUndoOut& out) = 0;
  /// Writes the state that undoing `operation` needs.
  virtual void SaveState(const MOperation* operation, MStreamUndoOut& out) = 0;
  /// Called when the object leaves the document (it stays alive for undo).
  virtual void OnRemove() = 0;
  /// Called when a removed object comes back.
  virtual void OnRestore() = 0;
  virtual bool IsRemoved() const = 0;
  virtual bool IsRegistered() const = 0;
  virtual bool IsSelected() const = 0;
  /// Type name shown to the user in undo texts; never null.
  virtual const wchar_t* GetUserInterfaceTypeName() const = 0;
  /// True if the object must be written at the root of a project file.
  virtual bool MustBeSavedInRoot() const = 0;
};
