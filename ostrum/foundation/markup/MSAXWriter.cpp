#include "ostrum/foundation/markup/MSAXWriter.h"

#include <libxml/xmlwriter.h>

#include <charconv>
#include <cmath>
#include <vector>

#include "ostrum/foundation/markup/ISAXReference.h"
#include "ostrum/foundation/markup/private/FlatTable.h"

namespace {

// Appends `c` as UTF-8; false for what XML 1.0 cannot hold.
bool AppendUTF8(std::string& out, wchar_t wc) {
  auto const c = static_cast<std::uint32_t>(wc);
  if (c < 0x20) {
    if (c != 0x9 && c != 0xA && c != 0xD) return false;
    out += static_cast<char>(c);
  } else if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    if ((c >= 0xD800 && c <= 0xDFFF) || c == 0xFFFE || c == 0xFFFF) return false;
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c <= 0x10FFFF) {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    return false;
  }
  return true;
}

bool ToXmlText(std::string& out, std::wstring_view text) {
  out.clear();
  for (wchar_t c : text)
    if (!AppendUTF8(out, c)) return false;
  return true;
}

// A name as XML takes it, kept to what the framework's tags use: a letter or '_' first, then
// letters, digits, '_', '-' and '.'; characters beyond ASCII are letters here.
bool ToXmlName(std::string& out, std::wstring_view name) {
  if (name.empty()) return false;
  auto letter = [](wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' || c > 0x7F; };
  if (!letter(name[0])) return false;
  for (wchar_t c : name)
    if (!letter(c) && !(c >= L'0' && c <= L'9') && c != L'-' && c != L'.') return false;
  return ToXmlText(out, name);
}

xmlChar const* X(std::string const& s) { return reinterpret_cast<xmlChar const*>(s.c_str()); }

}  // namespace

struct MSAXWriter::Impl {
  xmlBufferPtr buffer = nullptr;
  xmlTextWriterPtr writer = nullptr;
  // The number of each object referred to, shifted left by one; the low bit says whether the
  // element defining the number has been written.
  Ostrum::Markup::Private::FlatTable<ISAXReference const*, std::uint32_t> ids;
  // Scratch conversions, kept so that a long write allocates only while they grow.
  std::string name, text;
  // Names already checked and converted: a file uses a handful of names over and over.
  struct KnownName {
    std::wstring wide;
    std::string utf8;
  };
  static constexpr std::size_t kKnownNames = 16;
  KnownName known[kKnownNames];
  std::size_t known_count = 0, next_known = 0;

  // `name` checked and converted, from the names already seen when it is one of them.
  std::string const* Name(std::wstring_view tag) {
    for (std::size_t i = 0; i < known_count; ++i)
      if (known[i].wide == tag) return &known[i].utf8;
    if (!ToXmlName(name, tag)) return nullptr;
    KnownName& slot = known[next_known];
    next_known = (next_known + 1) % kKnownNames;
    if (known_count < kKnownNames) ++known_count;
    slot.wide.assign(tag);
    slot.utf8 = name;
    return &slot.utf8;
  }
  // Names of the open elements; entries beyond the depth are kept for reuse.
  std::vector<std::string> open;
  ~Impl() {
    if (writer) xmlFreeTextWriter(writer);
    if (buffer) xmlBufferFree(buffer);
  }
};

MSAXWriter::MSAXWriter() : m_impl(std::make_unique<Impl>()) {
  m_impl->buffer = xmlBufferCreate();
  if (m_impl->buffer) m_impl->writer = xmlNewTextWriterMemory(m_impl->buffer, 0);
  if (!m_impl->writer || xmlTextWriterSetIndent(m_impl->writer, 1) < 0 ||
      xmlTextWriterSetIndentString(m_impl->writer, BAD_CAST " ") < 0 ||
      xmlTextWriterStartDocument(m_impl->writer, "1.0", "UTF-8", nullptr) < 0)
    m_failed = true;
}

MSAXWriter::~MSAXWriter() = default;

bool MSAXWriter::_Fail() {
  m_failed = true;
  return false;
}

bool MSAXWriter::WriteStartTag(std::wstring_view tag) {
  std::string const* const name = m_failed || m_ended ? nullptr : m_impl->Name(tag);
  if (!name) return _Fail();
  if (xmlTextWriterStartElement(m_impl->writer, X(*name)) < 0) return _Fail();
  if (m_impl->open.size() <= static_cast<std::size_t>(m_depth)) m_impl->open.resize(m_depth + 1);
  m_impl->open[m_depth].assign(*name);
  ++m_depth;
  return true;
}

bool MSAXWriter::WriteEndTag(std::wstring_view tag) {
  std::string const* const name = m_failed || m_depth == 0 ? nullptr : m_impl->Name(tag);
  if (!name) return _Fail();
  // A different name than the open element's means the caller lost count.
  if (m_impl->open[m_depth - 1] != *name) return _Fail();
  if (xmlTextWriterEndElement(m_impl->writer) < 0) return _Fail();
  --m_depth;
  return true;
}

bool MSAXWriter::_EndElementOpenedAt(int depth) {
  if (m_failed || m_depth != depth + 1) return _Fail();
  if (xmlTextWriterEndElement(m_impl->writer) < 0) return _Fail();
  --m_depth;
  return true;
}

bool MSAXWriter::WriteValue(std::wstring_view tag, std::wstring_view value) {
  std::string const* const name = m_failed || m_ended ? nullptr : m_impl->Name(tag);
  if (!name || !ToXmlText(m_impl->text, value)) return _Fail();
  if (xmlTextWriterWriteElement(m_impl->writer, X(*name), X(m_impl->text)) < 0) return _Fail();
  return true;
}

std::uint32_t MSAXWriter::_Id(ISAXReference const* reference) {
  auto const [entry, inserted] = m_impl->ids.Insert(reference, m_next_id << 1);
  if (inserted) ++m_next_id;
  return *entry >> 1;
}

bool MSAXWriter::RegisterReference(ISAXReference const* reference) {
  if (m_failed || m_ended || !reference || m_depth == 0) return _Fail();
  auto const [slot, inserted] = m_impl->ids.Insert(reference, m_next_id << 1);
  if (inserted) ++m_next_id;
  std::uint32_t& entry = *slot;
  std::uint32_t const id = entry >> 1;
  if (entry & 1) return _Fail();
  char digits[16];
  auto const end = std::to_chars(digits, digits + sizeof digits - 1, id).ptr;
  *end = 0;
  // Fails once the element has content: the number must sit on its start tag.
  if (xmlTextWriterWriteAttribute(m_impl->writer, BAD_CAST "id", BAD_CAST digits) < 0) return _Fail();
  entry |= 1;
  ++m_defined;
  return true;
}

bool MSAXWriter::WriteReference(std::wstring_view tag, ISAXReference const* reference) {
  std::string const* const name = m_failed || m_ended ? nullptr : m_impl->Name(tag);
  if (!name) return _Fail();
  std::uint32_t const id = reference ? _Id(reference) : 0;
  char digits[16];
  auto const end = std::to_chars(digits, digits + sizeof digits - 1, id).ptr;
  *end = 0;
  if (xmlTextWriterWriteElement(m_impl->writer, X(*name), BAD_CAST digits) < 0) return _Fail();
  return true;
}

bool MSAXWriter::_WriteTrimmedCharData(std::wstring_view text) {
  if (m_failed || m_ended || m_depth == 0) return _Fail();
  auto blank = [](wchar_t c) { return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r'; };
  std::size_t begin = 0, end = text.size();
  while (begin < end && blank(text[begin])) ++begin;
  while (end > begin && blank(text[end - 1])) --end;
  if (!ToXmlText(m_impl->text, text.substr(begin, end - begin))) return _Fail();
  if (xmlTextWriterWriteString(m_impl->writer, X(m_impl->text)) < 0) return _Fail();
  return true;
}

void MSAXWriter::AppendNumber(std::wstring& text, double value) const {
  char digits[64];
  std::to_chars_result result;
  if (m_precision == 0)
    result = std::to_chars(digits, digits + sizeof digits, value);
  else
    result = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general,
                           m_precision > 40 ? 40 : m_precision);
  text.append(digits, result.ptr);
}

bool MSAXWriter::EndDocument() {
  if (m_failed || m_ended || m_depth != 0) return _Fail();
  if (m_defined != GetNumberOfReferences()) return _Fail();
  if (xmlTextWriterEndDocument(m_impl->writer) < 0 || xmlTextWriterFlush(m_impl->writer) < 0) return _Fail();
  m_ended = true;
  m_output.assign(reinterpret_cast<char const*>(xmlBufferContent(m_impl->buffer)),
                  static_cast<std::size_t>(xmlBufferLength(m_impl->buffer)));
  return true;
}
