#pragma once
// MSAXTagWriter: an element open for the life of a scope.

#include <string_view>

#include "ostrum/Export.h"

class MSAXWriter;

/// Opens `tag` on construction and closes it on destruction, also when the code between leaves
/// by an early return or an exception, so that a failed write never leaves an element open.
class OSTRUM_API MSAXTagWriter {
 public:
  MSAXTagWriter(MSAXWriter& writer, std::wstring_view tag);
  MSAXTagWriter(MSAXTagWriter const&) = delete;
  MSAXTagWriter& operator=(MSAXTagWriter const&) = delete;
  /// Closes the element if it was opened.
  ~MSAXTagWriter();
  /// Whether the element was opened.
  bool IsOpen() const { return m_open; }

 private:
  MSAXWriter& m_writer;
  int m_depth;  // the writer's depth before the element was opened
  bool m_open;
};
