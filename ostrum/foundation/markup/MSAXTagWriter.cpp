#include "ostrum/foundation/markup/MSAXTagWriter.h"

#include "ostrum/foundation/markup/MSAXWriter.h"

MSAXTagWriter::MSAXTagWriter(MSAXWriter& writer, std::wstring_view tag)
    : m_writer(writer), m_depth(writer.m_depth), m_open(writer.WriteStartTag(tag)) {}

MSAXTagWriter::~MSAXTagWriter() {
  // The element opened here is the innermost one again; closing it needs no name.
  if (m_open) m_writer._EndElementOpenedAt(m_depth);
}
