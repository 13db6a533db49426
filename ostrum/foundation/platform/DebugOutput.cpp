#include "ostrum/foundation/platform/DebugOutput.h"

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <mutex>
#include <string>

namespace {

// Constant-initialised and never destroyed: a static object may report at exit.
constinit std::mutex g_lock;
constinit Ostrum::Desktop::DebugOutputSink g_sink = nullptr;
constinit void* g_context = nullptr;

// UTF-8 of the text, without the core module's conversions (which stand above this one).
std::string Utf8(const wchar_t* text) {
  std::string bytes;
  for (; *text; ++text) {
    auto c = static_cast<std::uint32_t>(*text);
    if (c > 0x10FFFF) c = 0xFFFD;
    if (c < 0x80) {
      bytes.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      bytes.push_back(static_cast<char>(0xC0 | (c >> 6)));
      bytes.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      bytes.push_back(static_cast<char>(0xE0 | (c >> 12)));
      bytes.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      bytes.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      bytes.push_back(static_cast<char>(0xF0 | (c >> 18)));
      bytes.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      bytes.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      bytes.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return bytes;
}

}  // namespace

void OutputDebugStringW(const wchar_t* text) {
  if (!text) return;
  Ostrum::Desktop::DebugOutputSink sink;
  void* context;
  {
    std::lock_guard<std::mutex> lock(g_lock);
    sink = g_sink;
    context = g_context;
  }
  if (sink) {
    sink(text, context);
    return;
  }
  std::string line = Utf8(text);
  if (line.empty() || line.back() != '\n') line.push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stderr);
}

namespace Ostrum::Desktop {

DebugOutputSink SetDebugOutput(DebugOutputSink sink, void* context, void** old_context) {
  std::lock_guard<std::mutex> lock(g_lock);
  DebugOutputSink old = g_sink;
  if (old_context) *old_context = g_context;
  g_sink = sink;
  g_context = sink ? context : nullptr;
  return old;
}

}  // namespace Ostrum::Desktop
