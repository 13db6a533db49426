#include "PlannerTrace.h"

#include <cstdio>

namespace planner {

namespace {
int g_depth = 0;
}

std::string Narrow(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) {
    auto u = static_cast<char32_t>(c);
    if (u < 0x80) {
      out += static_cast<char>(u);
    } else if (u < 0x800) {
      out += static_cast<char>(0xC0 | (u >> 6));
      out += static_cast<char>(0x80 | (u & 0x3F));
    } else if (u < 0x10000) {
      out += static_cast<char>(0xE0 | (u >> 12));
      out += static_cast<char>(0x80 | ((u >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (u & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (u >> 18));
      out += static_cast<char>(0x80 | ((u >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((u >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (u & 0x3F));
    }
  }
  return out;
}

void Trace(const std::wstring& line) {
  std::printf("%*s%s\n", 2 + 4 * g_depth, "", Narrow(line).c_str());
}

void Heading(const std::wstring& title) { std::printf("\n== %s ==\n", Narrow(title).c_str()); }

TraceScope::TraceScope() { ++g_depth; }
TraceScope::~TraceScope() { --g_depth; }

}  // namespace planner
