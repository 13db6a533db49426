#pragma once
// The planner's console trace: indented lines, one level deeper for each operation running.

#include <string>

namespace planner {

/// Prints one line of the trace at the current depth.
void Trace(const std::wstring& line);
/// Prints a heading that opens a scenario.
void Heading(const std::wstring& title);

/// Deepens the trace for the life of the scope (a nested operation).
class TraceScope {
 public:
  TraceScope();
  ~TraceScope();
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;
};

}  // namespace planner
