#pragma once
// The doer of one MDocument::DoOperation call. It lives on the stack for the call, runs the
// stages in their order and, whatever the way out, disposes of what it still holds: the
// caller never gets the operation back.

#include "ostrum/document/MDocument.h"

class OSTRUM_LOCAL MDocument::_UndoRedo::OperationDoer {
 public:
  OperationDoer(MDocument* document, MOperation* operation, void* param);
  OperationDoer(const OperationDoer&) = delete;
  OperationDoer& operator=(const OperationDoer&) = delete;
  /// Discards the wrapper if it was never registered (it owns the operation), otherwise
  /// deletes the operation if the doer still owns it. When an exception passes through, a
  /// transaction still open is terminated: its actions are dropped unperformed and destroyed at
  /// idle time, and the history does not stay inside a transaction nobody will end.
  ~OperationDoer();

  /// Runs every stage in order and answers the result of DoOperation.
  bool Do();

  // The stages, in their order.
  void CheckUndoAbility();
  void EnforceUndoDiskLimit();
  bool Prepare();
  bool StoreUndoState();
  void Execute();
  void Publish();
  void Finish();
  void RecycleGarbage();

  /// Undoes what the stages did so far and drops the operation; the result becomes false.
  void Rollback();

  /// Takes every action out of `manager`'s undo and redo history whose operation names one of
  /// the objects in [begin, end) (sorted by address); they go to the deferred discard, and
  /// groups left empty leave the history. Nothing while the manager is busy.
  static void RemoveStepsNaming(Ostrum::Undo::Manager& manager, const IObject* const* begin, const IObject* const* end);
  /// Takes out of `document`'s history the steps naming objects that died while its manager was
  /// busy (see RecycleGarbage); nothing while it still is. Called wherever the manager may have
  /// become free: at the end of each operation's recycling, of a group, of an undo and a redo.
  static void RemoveStepsOfTheDead(MDocument* document);
  /// Drops what is remembered of `document`'s dead, as the document goes.
  static void ForgetTheDeadOf(const MDocument* document);

 private:
  /// True if this call leaves an undo entry: the operation can be undone and the document
  /// has an undo manager to take it.
  bool _IsUndoable() const;
  void _RegisterUndoAction();

  MDocument* m_document;
  bool m_result = true;
  MOperation* m_operation;
  void* m_param;
  Ostrum::Undo::Transaction* m_transaction = nullptr;
  MDocument::_UndoRedo::OperationWrapper* m_wrapper = nullptr;
  // False once the operation belongs to a wrapper, so that it is never deleted twice.
  bool m_owns_operation = true;
  int m_exceptions_at_start;
};
