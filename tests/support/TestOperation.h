#pragma once
// TestOperation: an operation that logs its hooks and its death into a CallLog and records what
// it saw into a probe that outlives it, since the document deletes it inside DoOperation.

#include <cstdint>
#include <string>

#include "ostrum/operations/MOperation.h"
#include "support/CallLog.h"

struct OperationProbe {
  CallLog* log = nullptr;
  int destroyed = 0;
  uint32_t flags_at_prepare = 0;
  bool prepare_answer = true;
};

class TestOperation : public MOperation {
 public:
  /// Action 9 has no entry of its own: the default flags 0x770008 stand.
  TestOperation(std::string name, OperationProbe& probe) : MOperation(9), m_name(std::move(name)), m_probe(probe) {}
  ~TestOperation() override {
    ++m_probe.destroyed;
    Log("~");
  }

  bool _PrepareOperation() override {
    Log("_PrepareOperation");
    m_probe.flags_at_prepare = GetFlags();
    return MOperation::_PrepareOperation() && m_probe.prepare_answer;
  }
  bool _DoOperation() override {
    Log("_DoOperation");
    return MOperation::_DoOperation();
  }

 private:
  void Log(const char* call) { LogCall(m_probe.log, m_name + "." + call); }

  std::string m_name;
  OperationProbe& m_probe;
};
