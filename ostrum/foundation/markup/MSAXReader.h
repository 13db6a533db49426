#pragma once
// MSAXReader: reads a project file into the objects that handle its elements, all or nothing.
//
// A read runs in steps, and nothing reaches a handler before the whole file has passed the first:
//
//   0. The file is parsed and checked: well-formed XML within the limits (depth, number of
//      elements, size of the file, of an attribute and of an element's text), no DOCTYPE (so no
//      entity can be declared or expanded and no DTD or external file is loaded), no network
//      access, no compressed input, no element names with a namespace prefix, no text mixed
//      with elements. The file is read by the framework itself, never by the XML library.
//   1. Its elements are offered, in document order, to the handler in charge: the handler given
//      to Read for the document element, and below an element whoever was given charge of it
//      (DelegateElement) or else the handler that took it. An element nobody takes refuses the
//      file (or is skipped with its content, when the host asks for that).
//   2. ResolveReferences is called once on every object that asked (AddToReferenceResolver), in
//      the order they first asked; then the load checks run.
//   3. InitAfterLoading is called once on every object that was given charge of an element or
//      asked for resolution, the newest first (an object before the container that made it,
//      which may then delete what it no longer needs), and last on the handler given to Read.
//
// A handler refuses the file with Refuse, at any time before step 3. A refused read calls the
// refusal actions the handlers registered (AddRefusalAction), newest first, so that each takes
// back what it staged, and answers false with the reason in GetError. Step 3 is the commit and
// cannot fail. An exception from a handler takes the same way back and then passes on.
//
// Numbers ("id" attributes, references) are decimal, parsed without the locale, 1 to 2^32-1;
// 0 is the null reference. The handlers' objects that the reader is given to own (helpers that
// handle an element for another object) live until the end of the read.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ostrum/Export.h"

class ISAXPersist;
class ISAXReference;

class OSTRUM_API MSAXReader {
 public:
  /// What a file may hold; a file beyond any limit is refused before any handler sees it.
  struct Limits {
    std::size_t max_file_bytes = std::size_t(512) << 20;  ///< the whole file
    std::size_t max_depth = 128;                          ///< elements open at once
    std::size_t max_elements = 10'000'000;                ///< elements in the file
    std::size_t max_attribute_bytes = 4096;               ///< one attribute's value
    std::size_t max_text_bytes = std::size_t(16) << 20;   ///< the text of one element
  };

  MSAXReader();
  explicit MSAXReader(Limits const& limits);
  MSAXReader(MSAXReader const&) = delete;
  MSAXReader& operator=(MSAXReader const&) = delete;
  ~MSAXReader();

  /// Reads the file at `path` with `handler` in charge of the document element. False when the
  /// file cannot be read or is refused; then the handlers have taken back what they staged.
  bool ReadFile(std::wstring const& path, ISAXPersist& handler);
  /// The same for a document in memory.
  bool ReadMemory(std::string_view document, ISAXPersist& handler);
  /// Why the last read failed, with the line where that is known; empty after a good read.
  std::wstring const& GetError() const { return m_error; }
  /// When true, an element no handler takes is passed over with everything in it instead of
  /// refusing the file. Default: false.
  void SetSkipUnknownTags(bool skip) { m_skip_unknown = skip; }
  Limits const& GetLimits() const { return m_limits; }

  // --- for handlers, in HandleTag: the element being offered ---

  /// The text of the element being offered, as it stands in the file; false if it is empty.
  bool ReadValue(std::wstring& value) const;
  /// The same text as UTF-8, without a copy; valid until the next element is offered. For
  /// numbers, which MStreamTextIn reads straight from it.
  std::string_view GetValueUTF8() const;
  /// The name of the element being offered (0), of its parent (1), and so on; empty above the
  /// document element or outside HandleTag.
  std::wstring const& GetParentTag(int level) const;
  /// The number in the "id" attribute of the element being offered; 0 if it has none.
  std::uint32_t GetElementId() const;
  /// The line of the element being offered, for messages.
  int GetLineNumber() const;
  /// Puts `handler` in charge of the element being offered: its SetDefaults is called now, its
  /// identity (GetObjectReference, when not null) is entered under the element's "id", and the
  /// elements inside are offered to it. With `owned`, the reader deletes it at the end of the
  /// read. A second number for the same element or a number defined twice refuses the file.
  void DelegateElement(ISAXPersist* handler, bool owned = false);

  // --- references and the steps after reading ---

  /// Asks for `object`'s ResolveReferences once the whole file is in (once, however often it
  /// asks).
  void AddToReferenceResolver(ISAXPersist* object);
  /// Whether `object` has asked for its ResolveReferences in the read under way.
  bool IsReferenceResolver(ISAXPersist const* object) const;
  /// The object entered under `id`; null for 0 and for numbers no element defined.
  ISAXReference* FindReference(std::uint32_t id) const;
  /// Enters `reference` under `id`, replacing what stood there (0 is refused).
  void SetReference(std::uint32_t id, ISAXReference* reference);
  /// A check that runs after every ResolveReferences and before any InitAfterLoading; false
  /// refuses the file.
  void AddLoadCheck(std::function<bool()> check);
  /// Called, newest first, if the read is refused after it was registered.
  void AddRefusalAction(std::function<void()> action);
  /// Refuses the file with `why` (the first reason is kept). Has no effect once the objects are
  /// being initialised.
  void Refuse(std::wstring const& why);
  /// Whether the read under way has been refused.
  bool IsRefused() const { return m_refused; }
  /// State a handler keeps for the length of one read, found by `key` (the address of
  /// something of the handler's own); empty at first and dropped at the end of the read.
  std::shared_ptr<void>& GetLoadData(void const* key) { return m_load_data[key]; }

 private:
  struct Parse;
  struct Element {
    std::uint32_t tag;          // index into m_tags
    std::uint32_t parent;       // index of the parent element, kNone for the document element
    std::uint32_t end;          // index after the last element inside
    std::uint32_t id;           // the "id" attribute, 0 if none
    std::uint32_t text_offset;  // the element's text in m_text
    std::uint32_t text_length;
    std::uint32_t line;
  };
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  bool _Parse(std::string_view document);
  bool _Dispatch(ISAXPersist& handler);
  bool _Run(std::string_view document, ISAXPersist& handler);
  void _TakeBack();
  void _Reset();
  void _AddParticipant(ISAXPersist* object);

  Limits m_limits;
  bool m_skip_unknown = false;

  // The parsed file.
  std::vector<Element> m_elements;
  std::vector<std::wstring> m_tags;
  std::string m_text;

  // The read under way.
  std::uint32_t m_current = kNone;
  ISAXPersist* m_delegate = nullptr;
  ISAXPersist* m_root_handler = nullptr;
  bool m_refused = false;
  bool m_committing = false;
  std::wstring m_error;
  // The reference table and the roles of the objects taking part (bit 0 resolver, bit 1
  // participant), in flat tables of the reader's own.
  struct Tables;
  std::unique_ptr<Tables> m_tables;
  std::vector<ISAXPersist*> m_resolvers;
  std::vector<ISAXPersist*> m_participants;
  std::vector<std::function<bool()>> m_checks;
  std::vector<std::function<void()>> m_refusal_actions;
  std::vector<std::unique_ptr<ISAXPersist>> m_owned;
  std::unordered_map<void const*, std::shared_ptr<void>> m_load_data;
};
