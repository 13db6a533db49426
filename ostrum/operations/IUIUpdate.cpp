// The update interface of frame and views: which of the three hooks follows OnUpdateUI depends
// on process-wide flags that the pipeline sets before it publishes.

#include "ostrum/operations/IUIUpdate.h"

bool IUIUpdate::mg_done = false;
bool IUIUpdate::mg_undone = false;
bool IUIUpdate::mg_redone = false;

IUIUpdate::~IUIUpdate() = default;

void IUIUpdate::DoUpdateUI(MOperation& operation, void* param) {
  OnUpdateUI(operation, param);
  if (mg_done)
    OnUpdateUIDo(operation, param);
  else if (mg_undone)
    OnUpdateUIUndo(operation, param);
  else if (mg_redone)
    OnUpdateUIRedo(operation, param);
}

void IUIUpdate::OnUpdateUI(MOperation&, void*) {}
void IUIUpdate::OnUpdateUIDo(MOperation&, void*) {}
void IUIUpdate::OnUpdateUIUndo(MOperation&, void*) {}
void IUIUpdate::OnUpdateUIRedo(MOperation&, void*) {}

void IUIUpdate::_SetOperationBeingDone() {
  mg_done = true;
  mg_undone = mg_redone = false;
}

void IUIUpdate::_SetOperationBeingUndone() {
  mg_undone = true;
  mg_done = mg_redone = false;
}

void IUIUpdate::_SetOperationBeingRedone() {
  mg_redone = true;
  mg_done = mg_undone = false;
}
