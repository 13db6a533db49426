// The operation's way to its document: running, commands and groups all go to the document
// of operations. Compiled with the document, as they call into it.

#include "ostrum/document/MDocument.h"
#include "ostrum/objects/UIObject.h"
#include "ostrum/operations/MOperation.h"
#include "ostrum/operations/MOperationContext.h"
#include "ostrum/scene/MOperationView.h"

bool MOperation::DoOperation(void* param) {
  if (!mgp_document) {
    delete this;
    return false;
  }
  return mgp_document->DoOperation(this, param);
}

bool MOperation::IsExecutePossible(const MOperationContext& context, uint32_t action) {
  return !context.GetObjects().empty() && action == ACTION_REMOVE;
}

bool MOperation::Execute(const MOperationContext& context, uint32_t action) {
  auto* operation = new MOperation;
  operation->SetAction(action);
  for (UIObject* object : context.GetObjects()) operation->AddObject(object);
  operation->DoOperation(nullptr);
  return false;
}

bool MOperationView::Execute(const MOperationContext&, uint32_t action) {
  auto* operation = new MOperationView;
  operation->SetAction(action);
  return operation->DoOperation(nullptr);
}

long long MOperation::BeginOperationGroup(const wchar_t* name, bool no_group) {
  return mgp_document ? mgp_document->BeginOperationGroup(name, no_group) : -1;
}

bool MOperation::EndOperationGroup(long long& handle) {
  return mgp_document && mgp_document->EndOperationGroup(handle);
}

bool MOperation::AbortOperationGroup(long long& handle) {
  return mgp_document && mgp_document->AbortOperationGroup(handle);
}

bool MOperation::KillOperationGroup(long long& handle) {
  return mgp_document && mgp_document->KillOperationGroup(handle);
}

long long MOperation::BeginTemporaryOperationGroup(const wchar_t* name, uint32_t key, bool no_group) {
  return mgp_document ? mgp_document->BeginTemporaryOperationGroup(name, key, no_group) : -1;
}

uint32_t MOperation::GetUniqueTemporaryOperationKey() { return MDocument::GetUniqueTemporaryOperationKey(); }
