#pragma once
// CallLog: one list of calls that every test double of a test writes into, so that a test can
// compare the whole sequence at once; GoogleTest prints both sequences when they differ.

#include <string>
#include <vector>

using CallLog = std::vector<std::string>;
using Calls = std::vector<std::string>;

/// Writes `entry` into `log`, if there is one.
inline void LogCall(CallLog* log, std::string entry) {
  if (log) log->push_back(std::move(entry));
}
