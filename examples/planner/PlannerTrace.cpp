#include "PlannerTrace.h"

#include <cstdio>

#include "ostrum/foundation/core/CharacterSetConversions.h"

namespace planner {

namespace {
int g_depth = 0;
}

void Trace(const std::wstring& line) {
  std::printf("%*s%s\n", 2 + 4 * g_depth, "", CharacterSetConversions::ToUTF8(line).c_str());
}

void Heading(const std::wstring& title) { std::printf("\n== %s ==\n", CharacterSetConversions::ToUTF8(title).c_str()); }

TraceScope::TraceScope() { ++g_depth; }
TraceScope::~TraceScope() { --g_depth; }

}  // namespace planner
