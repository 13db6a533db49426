#include "ostrum/foundation/markup/MSAXReader.h"

#include <fcntl.h>
#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/markup/ISAXPersist.h"
#include "ostrum/foundation/markup/MStreamTextIn.h"
#include "ostrum/foundation/markup/private/FlatTable.h"

using Ostrum::Markup::Private::FlatTable;

// Reference numbers as the framework's writer gives them run from 1 up to at most the number
// of elements, so most live in a plain array indexed by the number; larger ones (a host's own
// numbering, or a hostile file) go to a table. An entry made null by SetReference is kept as
// kNullEntry, so that it still counts as defined.
struct MSAXReader::Tables {
  std::vector<ISAXReference*> dense;
  FlatTable<std::uint32_t, ISAXReference*> sparse;
  FlatTable<ISAXPersist const*, std::uint8_t> roles;

  static inline ISAXReference* const kNullEntry = reinterpret_cast<ISAXReference*>(alignof(std::max_align_t));

  void Clear() {
    std::vector<ISAXReference*>().swap(dense);
    sparse.Clear();
    roles.Clear();
  }
  // The entry of `id` (not 0), made empty when there is none.
  ISAXReference*& Entry(std::uint32_t id) { return id < dense.size() ? dense[id] : sparse[id]; }
  ISAXReference* Find(std::uint32_t id) const {
    ISAXReference* found = nullptr;
    if (id < dense.size()) {
      found = dense[id];
    } else if (ISAXReference* const* entry = sparse.Find(id)) {
      found = *entry;
    }
    return found == kNullEntry ? nullptr : found;
  }
};

namespace {

std::wstring Wide(char const* text) { return CharacterSetConversions::FromUTF8(text ? text : ""); }

bool IsBlank(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
}

// libxml2 reports a few faults (input in an encoding it cannot convert) on its generic
// channel, which prints to stderr; the framework has no log of its own, and the parser's own
// error callback already gives the reader its reason. Quiet for the length of one parse, on
// this thread (libxml2 keeps the channel per thread).
class QuietGenericErrors {
 public:
  QuietGenericErrors() : m_handler(xmlGenericError), m_context(xmlGenericErrorContext) {
    xmlSetGenericErrorFunc(nullptr, &Ignore);
  }
  ~QuietGenericErrors() { xmlSetGenericErrorFunc(m_context, m_handler); }
  QuietGenericErrors(QuietGenericErrors const&) = delete;
  QuietGenericErrors& operator=(QuietGenericErrors const&) = delete;

 private:
  static void Ignore(void*, char const*, ...) {}
  xmlGenericErrorFunc m_handler;
  void* m_context;
};

std::wstring const& EmptyText() {
  static std::wstring const empty;
  return empty;
}

}  // namespace

// Step 0: the SAX callbacks that build the element list. Every refusal stops the parser at
// once, so that nothing beyond a limit is ever buffered.
struct MSAXReader::Parse {
  explicit Parse(MSAXReader& r) : reader(r) {}
  MSAXReader& reader;
  xmlParserCtxtPtr context = nullptr;
  std::vector<std::uint32_t> open;  // indices of the open elements
  FlatTable<xmlChar const*, std::uint32_t> tag_of_name;
  // The last name met: elements of one kind often follow each other.
  xmlChar const* last_name = nullptr;
  std::uint32_t last_tag = 0;
  std::wstring failure;

  void Stop(std::wstring why) {
    if (failure.empty()) {
      failure = std::move(why);
      if (context) failure += L" (line " + std::to_wstring(xmlSAX2GetLineNumber(context)) + L")";
    }
    if (context) xmlStopParser(context);
  }

  static Parse& Of(void* user) { return *static_cast<Parse*>(user); }

  static void StartElement(void* user, xmlChar const* localname, xmlChar const* prefix, xmlChar const* uri,
                           int /*nb_namespaces*/, xmlChar const** /*namespaces*/, int nb_attributes,
                           int /*nb_defaulted*/, xmlChar const** attributes) {
    Parse& p = Of(user);
    if (!p.failure.empty()) return;
    MSAXReader& r = p.reader;
    if (prefix || uri) return p.Stop(L"an element in a namespace");
    if (p.open.size() >= r.m_limits.max_depth) return p.Stop(L"elements nested too deeply");
    if (r.m_elements.size() >= r.m_limits.max_elements) return p.Stop(L"too many elements");
    // Text before a child is the parent's; it must be white space only.
    if (!p.open.empty()) {
      Element const& parent = r.m_elements[p.open.back()];
      if (!IsBlank(std::string_view(r.m_text).substr(parent.text_offset, parent.text_length)))
        return p.Stop(L"text mixed with elements");
    }
    Element e{};
    // The parser keeps each name once in its dictionary, so the pointer identifies the name.
    if (localname != p.last_name) {
      auto const [tag, inserted] = p.tag_of_name.Insert(localname, static_cast<std::uint32_t>(r.m_tags.size()));
      if (inserted) r.m_tags.push_back(Wide(reinterpret_cast<char const*>(localname)));
      p.last_name = localname;
      p.last_tag = *tag;
    }
    e.tag = p.last_tag;
    e.parent = p.open.empty() ? kNone : p.open.back();
    e.text_offset = static_cast<std::uint32_t>(r.m_text.size());
    e.line = static_cast<std::uint32_t>(xmlSAX2GetLineNumber(p.context));
    for (int i = 0; i < nb_attributes; ++i) {
      xmlChar const* const* a = attributes + 5 * i;  // name, prefix, URI, value, end of value
      std::size_t const length = static_cast<std::size_t>(a[4] - a[3]);
      if (length > r.m_limits.max_attribute_bytes) return p.Stop(L"an attribute too long");
      if (a[1] || std::strcmp(reinterpret_cast<char const*>(a[0]), "id") != 0) continue;
      std::uint32_t id = 0;
      if (!Ostrum::Markup::ParseNumber(std::string_view(reinterpret_cast<char const*>(a[3]), length), id) || id == 0)
        return p.Stop(L"an id that is no reference number");
      e.id = id;
    }
    p.open.push_back(static_cast<std::uint32_t>(r.m_elements.size()));
    r.m_elements.push_back(e);
  }

  static void EndElement(void* user, xmlChar const*, xmlChar const*, xmlChar const*) {
    Parse& p = Of(user);
    if (!p.failure.empty() || p.open.empty()) return;
    p.reader.m_elements[p.open.back()].end = static_cast<std::uint32_t>(p.reader.m_elements.size());
    p.open.pop_back();
  }

  static void Characters(void* user, xmlChar const* text, int length) {
    Parse& p = Of(user);
    if (!p.failure.empty() || p.open.empty()) return;
    MSAXReader& r = p.reader;
    std::string_view const chunk(reinterpret_cast<char const*>(text), static_cast<std::size_t>(length));
    Element& e = r.m_elements[p.open.back()];
    // Only the innermost element that has no child yet collects text; after a child, text
    // of a container must be white space (the element's own text stays before its children).
    if (p.open.back() + 1 != r.m_elements.size()) {
      if (!IsBlank(chunk)) p.Stop(L"text mixed with elements");
      return;
    }
    if (e.text_length + chunk.size() > r.m_limits.max_text_bytes) return p.Stop(L"the text of an element too long");
    r.m_text.append(chunk);
    e.text_length += static_cast<std::uint32_t>(chunk.size());
  }

  // A DOCTYPE is where entities, external subsets and DTDs come from: none is accepted.
  static void InternalSubset(void* user, xmlChar const*, xmlChar const*, xmlChar const*) {
    Of(user).Stop(L"a document type declaration");
  }
  static void EntityDecl(void* user, xmlChar const*, int, xmlChar const*, xmlChar const*, xmlChar*) {
    Of(user).Stop(L"an entity declaration");
  }
  static xmlEntityPtr GetEntity(void* user, xmlChar const* name) {
    // The five predefined entities never get here; any other is undeclared.
    Of(user).Stop(L"a reference to the entity \"" + Wide(reinterpret_cast<char const*>(name)) + L"\"");
    return nullptr;
  }
  static xmlParserInputPtr ResolveEntity(void* user, xmlChar const*, xmlChar const*) {
    Of(user).Stop(L"a reference to an external resource");
    return nullptr;
  }
  static void Error(void* user, xmlErrorPtr error) {
    Parse& p = Of(user);
    if (!error || error->level < XML_ERR_ERROR || !p.failure.empty()) return;
    std::wstring message = Wide(error->message);
    while (!message.empty() && (message.back() == L'\n' || message.back() == L' ')) message.pop_back();
    p.failure = L"not well-formed XML: " + message + L" (line " + std::to_wstring(error->line) + L")";
  }
};

MSAXReader::MSAXReader() : m_tables(std::make_unique<Tables>()) {}

MSAXReader::MSAXReader(Limits const& limits) : m_limits(limits), m_tables(std::make_unique<Tables>()) {}

MSAXReader::~MSAXReader() = default;

bool MSAXReader::_Parse(std::string_view document) {
  if (document.size() > m_limits.max_file_bytes || document.size() > 0xFFFFFF00u) {
    m_error = L"the file is larger than a project file may be";
    return false;
  }
  // Compressed input would let a short file announce any amount of text.
  if (document.size() >= 2 && static_cast<unsigned char>(document[0]) == 0x1F &&
      static_cast<unsigned char>(document[1]) == 0x8B) {
    m_error = L"a compressed file";
    return false;
  }
  QuietGenericErrors const quiet;
  Parse p(*this);
  xmlSAXHandler sax;
  std::memset(&sax, 0, sizeof sax);
  sax.initialized = XML_SAX2_MAGIC;
  sax.startElementNs = &Parse::StartElement;
  sax.endElementNs = &Parse::EndElement;
  sax.characters = &Parse::Characters;
  sax.cdataBlock = &Parse::Characters;
  sax.internalSubset = &Parse::InternalSubset;
  sax.externalSubset = &Parse::InternalSubset;
  sax.entityDecl = &Parse::EntityDecl;
  sax.getEntity = &Parse::GetEntity;
  sax.getParameterEntity = &Parse::GetEntity;
  sax.resolveEntity = &Parse::ResolveEntity;
  sax.serror = &Parse::Error;

  p.context = xmlCreatePushParserCtxt(&sax, &p, nullptr, 0, nullptr);
  if (!p.context) {
    m_error = L"out of memory";
    return false;
  }
  // No network, no DTD, no entity substitution, no size beyond the library's own safe limits.
  xmlCtxtUseOptions(p.context, XML_PARSE_NONET | XML_PARSE_NOCDATA);
  p.context->replaceEntities = 0;
  p.context->loadsubset = 0;
  p.context->validate = 0;
  // Fed in pieces so that the callbacks see a limit broken early rather than after the whole.
  constexpr std::size_t kChunk = 1 << 16;
  std::size_t offset = 0;
  int status = 0;
  do {
    std::size_t const n = std::min(kChunk, document.size() - offset);
    bool const last = offset + n == document.size();
    status = xmlParseChunk(p.context, document.data() + offset, static_cast<int>(n), last ? 1 : 0);
    offset += n;
    if (!p.failure.empty() || status != 0) break;
  } while (offset < document.size());
  bool const well_formed = p.context->wellFormed != 0;
  xmlFreeParserCtxt(p.context);
  p.context = nullptr;
  if (p.failure.empty() && (status != 0 || !well_formed)) p.failure = L"not well-formed XML";
  if (p.failure.empty() && (m_elements.empty() || !p.open.empty())) p.failure = L"not well-formed XML: no complete document";
  if (!p.failure.empty()) {
    m_error = std::move(p.failure);
    return false;
  }
  return true;
}

void MSAXReader::_Reset() {
  m_elements.clear();
  m_tags.clear();
  m_text.clear();
  m_current = kNone;
  m_delegate = nullptr;
  m_root_handler = nullptr;
  m_refused = false;
  m_committing = false;
  m_tables->Clear();
  m_resolvers.clear();
  m_participants.clear();
  m_checks.clear();
  m_refusal_actions.clear();
  m_owned.clear();
  m_load_data.clear();
}

bool MSAXReader::ReadFile(std::wstring const& path, ISAXPersist& handler) {
  _Reset();
  m_error.clear();
  std::string const native = CharacterSetConversions::ToNativePath(path);
  int const fd = ::open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    m_error = L"the file cannot be opened: " + Wide(std::strerror(errno));
    return false;
  }
  struct stat status {};
  std::string bytes;
  bool ok = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
  if (!ok) m_error = L"not a regular file";
  if (ok && static_cast<std::uint64_t>(status.st_size) > m_limits.max_file_bytes) {
    ok = false;
    m_error = L"the file is larger than a project file may be";
  }
  if (ok) {
    // The size is only a hint: read to the end, never beyond the limit.
    bytes.resize(static_cast<std::size_t>(status.st_size) + 1);
    std::size_t used = 0;
    for (;;) {
      if (used == bytes.size()) {
        if (bytes.size() > m_limits.max_file_bytes) break;
        bytes.resize(std::min(bytes.size() * 2, m_limits.max_file_bytes + 1));
      }
      ssize_t const n = ::read(fd, bytes.data() + used, bytes.size() - used);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        ok = false;
        m_error = L"the file cannot be read: " + Wide(std::strerror(errno));
        break;
      }
      if (n == 0) break;
      used += static_cast<std::size_t>(n);
    }
    bytes.resize(used);
  }
  ::close(fd);
  if (!ok) return false;
  return _Run(bytes, handler);
}

bool MSAXReader::ReadMemory(std::string_view document, ISAXPersist& handler) {
  _Reset();
  m_error.clear();
  return _Run(document, handler);
}

bool MSAXReader::_Run(std::string_view document, ISAXPersist& handler) {
  if (!_Parse(document)) {
    _Reset();
    return false;
  }
  m_root_handler = &handler;
  // Any element may define a number; objects taking part are a fraction of the elements (an
  // object's element holds a few more), and the table grows if not.
  m_tables->dense.assign(m_elements.size() + 1, nullptr);
  m_tables->roles.Reserve(m_elements.size() / 4);
  try {
    if (!_Dispatch(handler)) {
      _TakeBack();
      return false;
    }
  } catch (...) {
    _TakeBack();
    throw;
  }
  _Reset();
  return true;
}

void MSAXReader::_TakeBack() {
  if (m_error.empty()) m_error = L"the file was refused";
  // Newest first: what was staged last may stand on what was staged before.
  std::vector<std::function<void()>> actions;
  actions.swap(m_refusal_actions);
  for (auto it = actions.rbegin(); it != actions.rend(); ++it) (*it)();
  _Reset();
}

bool MSAXReader::_Dispatch(ISAXPersist& handler) {
  // 1. Offer every element to the handler in charge. A frame is an open element with the
  //    object that handles what lies inside it.
  struct Frame {
    std::uint32_t element;
    ISAXPersist* in_charge;
  };
  std::vector<Frame> frames;
  frames.reserve(m_limits.max_depth + 1);
  auto close_until = [&](std::uint32_t next) {
    while (!frames.empty() && next >= m_elements[frames.back().element].end) {
      Frame const f = frames.back();
      frames.pop_back();
      f.in_charge->HandleEndTag(m_tags[m_elements[f.element].tag]);
    }
  };
  std::uint32_t const count = static_cast<std::uint32_t>(m_elements.size());
  for (std::uint32_t i = 0; i < count; ++i) {
    close_until(i);
    if (m_refused) return false;
    ISAXPersist* const offered_to = frames.empty() ? &handler : frames.back().in_charge;
    m_current = i;
    m_delegate = nullptr;
    bool const taken = offered_to->HandleTag(m_tags[m_elements[i].tag], *this);
    if (m_refused) return false;
    if (!taken) {
      if (m_skip_unknown) {
        i = m_elements[i].end - 1;
        continue;
      }
      std::wstring const& parent = GetParentTag(1);
      Refuse(L"the element \"" + m_tags[m_elements[i].tag] + L"\" is not expected " +
             (parent.empty() ? std::wstring(L"as the document") : L"inside \"" + parent + L"\"") + L" (line " +
             std::to_wstring(m_elements[i].line) + L")");
      return false;
    }
    frames.push_back({i, m_delegate ? m_delegate : offered_to});
  }
  close_until(count);
  m_current = kNone;
  m_delegate = nullptr;
  if (m_refused) return false;

  // 2. References, then the checks of the whole.
  for (std::size_t i = 0; i < m_resolvers.size() && !m_refused; ++i) m_resolvers[i]->ResolveReferences(*this);
  for (std::size_t i = 0; i < m_checks.size() && !m_refused; ++i)
    if (!m_checks[i]()) Refuse(L"the file's contents do not fit together");
  if (m_refused) return false;

  // 3. The commit.
  m_committing = true;
  m_refusal_actions.clear();
  // Newest first: an object is initialised before whatever took part before it (the container
  // that made it, the repository that staged it), whose own initialisation may delete what
  // it no longer needs.
  for (std::size_t i = m_participants.size(); i-- > 0;) m_participants[i]->InitAfterLoading();
  handler.InitAfterLoading();
  m_error.clear();
  return true;
}

bool MSAXReader::ReadValue(std::wstring& value) const {
  if (m_current == kNone) return false;
  Element const& e = m_elements[m_current];
  if (e.text_length == 0) {
    value.clear();
    return false;
  }
  std::string_view const text = std::string_view(m_text).substr(e.text_offset, e.text_length);
  // Text of ASCII only (labels and numbers, mostly) is widened in place, into the caller's
  // storage; anything else is decoded.
  if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; }))
    value.assign(text.begin(), text.end());
  else
    value = CharacterSetConversions::FromUTF8(text);
  return true;
}

std::string_view MSAXReader::GetValueUTF8() const {
  if (m_current == kNone) return {};
  Element const& e = m_elements[m_current];
  return std::string_view(m_text).substr(e.text_offset, e.text_length);
}

std::wstring const& MSAXReader::GetParentTag(int level) const {
  std::uint32_t e = m_current;
  for (; e != kNone && level > 0; --level) e = m_elements[e].parent;
  return e == kNone || level < 0 ? EmptyText() : m_tags[m_elements[e].tag];
}

std::uint32_t MSAXReader::GetElementId() const { return m_current == kNone ? 0 : m_elements[m_current].id; }

int MSAXReader::GetLineNumber() const {
  return m_current == kNone ? 0 : static_cast<int>(m_elements[m_current].line);
}

void MSAXReader::_AddParticipant(ISAXPersist* object) {
  if (object == m_root_handler) return;
  std::uint8_t& role = m_tables->roles[object];
  if (!(role & 2)) m_participants.push_back(object);
  role |= 2;
}

void MSAXReader::DelegateElement(ISAXPersist* handler, bool owned) {
  if (!handler) return;
  if (owned) m_owned.emplace_back(handler);
  if (m_current == kNone || m_committing) return Refuse(L"an element handed over outside its reading");
  if (m_delegate) return Refuse(L"an element handed over twice");
  m_delegate = handler;
  _AddParticipant(handler);
  handler->SetDefaults();
  std::uint32_t const id = m_elements[m_current].id;
  if (id == 0) return;
  if (ISAXReference* const identity = handler->GetObjectReference()) {
    ISAXReference*& entry = m_tables->Entry(id);
    if (!entry)
      entry = identity;
    else
      Refuse(L"the reference number " + std::to_wstring(id) + L" is defined twice (line " +
             std::to_wstring(m_elements[m_current].line) + L")");
  }
}

void MSAXReader::AddToReferenceResolver(ISAXPersist* object) {
  if (!object || m_committing) return;
  // An object asks once per reference it reads, mostly several times in a row.
  if (!m_resolvers.empty() && m_resolvers.back() == object) return;
  std::uint8_t& role = m_tables->roles[object];
  if (!(role & 1)) m_resolvers.push_back(object);
  role |= 1;
  _AddParticipant(object);
}

bool MSAXReader::IsReferenceResolver(ISAXPersist const* object) const {
  std::uint8_t const* const role = m_tables->roles.Find(object);
  return role && (*role & 1);
}

ISAXReference* MSAXReader::FindReference(std::uint32_t id) const {
  return id ? m_tables->Find(id) : nullptr;
}

void MSAXReader::SetReference(std::uint32_t id, ISAXReference* reference) {
  if (id == 0) return Refuse(L"the reference number 0 defined");
  m_tables->Entry(id) = reference ? reference : Tables::kNullEntry;
}

void MSAXReader::AddLoadCheck(std::function<bool()> check) {
  if (!m_committing) m_checks.push_back(std::move(check));
}

void MSAXReader::AddRefusalAction(std::function<void()> action) {
  if (!m_committing) m_refusal_actions.push_back(std::move(action));
}

void MSAXReader::Refuse(std::wstring const& why) {
  if (m_committing) return;
  if (!m_refused) {
    m_error = why;
    if (m_current != kNone && why.find(L"(line ") == std::wstring::npos)
      m_error += L" (line " + std::to_wstring(m_elements[m_current].line) + L")";
  }
  m_refused = true;
}
