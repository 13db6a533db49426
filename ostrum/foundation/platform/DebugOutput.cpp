#include "ostrum/foundation/platform/DebugOutput.h"

#include "ostrum/foundation/platform/private/Utf8.h"

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

std::string Utf8(const wchar_t* text) {
  std::string bytes;
  for (; *text; ++text) Ostrum::Desktop::Private::AppendUtf8(bytes, static_cast<std::uint32_t>(*text));
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
