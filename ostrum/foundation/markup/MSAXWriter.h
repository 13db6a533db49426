#pragma once
// MSAXWriter: writes a project file's XML element by element, and numbers the objects that the
// file refers to.
//
// An object that can be referred to is written once as an element that carries its number in
// an attribute "id" (RegisterReference, right after its start tag); every mention of it is an
// element whose text is that number (WriteReference). Numbers start at 1; 0 is the null
// reference. A mention may come before the element that defines the number, since readers
// resolve references once the whole file is in.
//
// The text is UTF-8, indented. Text that XML cannot hold (control characters other than tab
// and line breaks, lone surrogates) and names that are no XML names are refused rather than
// written into a file no reader could open, and so is a document whose references are not all
// defined (EndDocument). The writer fails for good at the first refusal.
//
//   MSAXWriter writer;
//   { MSAXTagWriter plan(writer, L"Plan"); repository->Write(writer); }
//   if (!writer.EndDocument()) return RESULT_IO_FAILED;
//   save(writer.GetOutput());

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "ostrum/Export.h"

class ISAXReference;

class OSTRUM_API MSAXWriter {
 public:
  /// A new document in memory, with its XML declaration.
  MSAXWriter();
  MSAXWriter(MSAXWriter const&) = delete;
  MSAXWriter& operator=(MSAXWriter const&) = delete;
  ~MSAXWriter();

  /// Opens the element `tag`; false for a name that is no XML name.
  bool WriteStartTag(std::wstring_view tag);
  /// Closes the innermost open element, which must be `tag`.
  bool WriteEndTag(std::wstring_view tag);
  /// Writes the element `tag` with `value` as its text (escaped as XML needs).
  bool WriteValue(std::wstring_view tag, std::wstring_view value);
  /// Gives `reference` its number, if it has none yet, and writes it as the attribute "id" of
  /// the element just opened. False without an open element whose content has not started, for
  /// a null reference, and for one already defined in this document.
  bool RegisterReference(ISAXReference const* reference);
  /// Writes the element `tag` whose text is the number of `reference` (given now if it has
  /// none yet); a null reference is written as 0.
  bool WriteReference(std::wstring_view tag, ISAXReference const* reference);
  /// Writes `text` without its leading and trailing white space as the text of the open element.
  bool _WriteTrimmedCharData(std::wstring_view text);

  /// Significant digits of the numbers written by AppendNumber; 0 (the default) means as many
  /// as it takes to read back the same double.
  void SetPrecision(int digits) { m_precision = digits < 0 ? 0 : digits; }
  int GetPrecision() const { return m_precision; }
  /// Appends `value` to `text` in the writer's precision, without regard to the locale.
  void AppendNumber(std::wstring& text, double value) const;

  /// Ends the document. False when an element is still open, when a reference was written
  /// whose element never was (a reader would refuse the file), or when anything failed before.
  bool EndDocument();
  /// False once anything failed.
  bool IsGood() const { return !m_failed; }
  /// The document's bytes, complete after EndDocument answered true.
  std::string const& GetOutput() const { return m_output; }
  /// Number of references given so far.
  std::size_t GetNumberOfReferences() const { return m_next_id - 1; }

 private:
  friend class MSAXTagWriter;
  struct Impl;
  // Closes the innermost open element, which the caller opened at `depth` (its depth before).
  bool _EndElementOpenedAt(int depth);
  // The number of `reference`, new if it has none.
  std::uint32_t _Id(ISAXReference const* reference);
  bool _Fail();

  std::unique_ptr<Impl> m_impl;  // the XML writer, the reference numbers, scratch text
  std::size_t m_defined = 0;
  std::uint32_t m_next_id = 1;
  int m_precision = 0;
  int m_depth = 0;
  bool m_failed = false;
  bool m_ended = false;
  std::string m_output;
};
