#include "ostrum/foundation/markup/MSAXTagWriter.h"

#include "ostrum/foundation/markup/MSAXWriter.h"

MSAXTagWriter::MSAXTagWriter(MSAXWriter& writer, std::wstring const& tag)
    : m_writer(writer), m_tag(tag), m_open(writer.WriteStartTag(tag)) {}

MSAXTagWriter::~MSAXTagWriter() {
  if (m_open) m_writer.WriteEndTag(m_tag);
}
