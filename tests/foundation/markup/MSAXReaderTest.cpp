// The reader: the order of its steps, hand-over of elements, reference numbers, refusal with
// everything taken back, and hostile documents that must never reach a handler.

#include "ostrum/foundation/markup/MSAXReader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/markup/ISAXPersist.h"

namespace {

using Log = std::vector<std::wstring>;

// Takes every element (or those it is told to), hands elements named "Item" to a new Recorder,
// and logs each call as "name: call tag".
class Recorder : public ISAXPersist {
 public:
  Recorder(std::wstring name, Log& log, bool owned_children = false)
      : m_name(std::move(name)), m_log(log), m_owned_children(owned_children) {}
  ~Recorder() override { m_log.push_back(m_name + L": ~"); }

  std::wstring refuse_on;  // a tag whose offer refuses the file
  std::wstring ignore;     // a tag not taken
  bool resolve = false;    // asks for resolution at each element
  std::vector<std::unique_ptr<Recorder>> children;

  void SetDefaults() override { m_log.push_back(m_name + L": SetDefaults"); }
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    std::wstring value;
    reader.ReadValue(value);
    m_log.push_back(m_name + L": " + tag + (value.empty() ? L"" : L"=" + value));
    if (tag == refuse_on) reader.Refuse(L"no " + tag);
    if (tag == ignore) return false;
    if (resolve) reader.AddToReferenceResolver(this);
    if (tag == L"Item") {
      auto* child = new Recorder(m_name + L"." + std::to_wstring(children.size() + (m_owned_children ? 100 : 0)), m_log);
      child->resolve = resolve;
      child->ignore = ignore;
      if (m_owned_children) {
        reader.DelegateElement(child, true);
      } else {
        children.emplace_back(child);
        reader.DelegateElement(child);
      }
    }
    return true;
  }
  void HandleEndTag(std::wstring const& tag) override { m_log.push_back(m_name + L": end " + tag); }
  void ResolveReferences(MSAXReader&) override { m_log.push_back(m_name + L": Resolve"); }
  void InitAfterLoading() override { m_log.push_back(m_name + L": Init"); }

 private:
  std::wstring m_name;
  Log& m_log;
  bool m_owned_children;
};

std::wstring Joined(Log const& log) {
  std::wstring all;
  for (auto const& line : log) all += line + L"\n";
  return all;
}

TEST(MSAXReader, OffersElementsToTheHandlerInChargeThenResolvesThenInitialisesRootLast) {
  Log log;
  Recorder root(L"root", log);
  root.resolve = true;
  MSAXReader reader;
  ASSERT_TRUE(reader.ReadMemory("<Plan><Item id='3'><Label>a &amp; b</Label></Item><Note>x</Note></Plan>", root))
      << reader.GetError();
  EXPECT_EQ(Joined(log),
            L"root: Plan\n"
            L"root: Item\n"
            L"root.0: SetDefaults\n"
            L"root.0: Label=a & b\n"
            L"root.0: end Label\n"
            L"root.0: end Item\n"
            L"root: Note=x\n"
            L"root: end Note\n"
            L"root: end Plan\n"
            L"root: Resolve\n"
            L"root.0: Resolve\n"
            L"root.0: Init\n"
            L"root: Init\n");
  EXPECT_TRUE(reader.GetError().empty());
}

TEST(MSAXReader, ReferenceNumbersNameTheObjectsInChargeAndOneNumberIsDefinedOnce) {
  struct Probe : ISAXPersist {
    std::vector<std::unique_ptr<ISAXPersist>> made;
    ISAXReference* seen_for_7 = nullptr;
    bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
      if (tag == L"Object") {
        made.emplace_back(new ISAXPersist);
        reader.DelegateElement(made.back().get());
      }
      reader.AddToReferenceResolver(this);
      return true;
    }
    void ResolveReferences(MSAXReader& reader) override { seen_for_7 = reader.FindReference(7); }
  };
  Probe probe;
  MSAXReader reader;
  ASSERT_TRUE(reader.ReadMemory("<Doc><Object id='9'/><Object id='7'/></Doc>", probe)) << reader.GetError();
  ASSERT_EQ(probe.made.size(), 2u);
  EXPECT_EQ(probe.seen_for_7, probe.made[1].get());

  Probe twice;
  EXPECT_FALSE(reader.ReadMemory("<Doc><Object id='7'/><Object id='7'/></Doc>", twice));
  EXPECT_NE(reader.GetError().find(L"defined twice"), std::wstring::npos) << reader.GetError();
  EXPECT_EQ(twice.seen_for_7, nullptr);
  for (char const* bad : {"<Doc><Object id='0'/></Doc>", "<Doc><Object id='-1'/></Doc>",
                          "<Doc><Object id='4294967296'/></Doc>", "<Doc><Object id=' 7'/></Doc>"}) {
    Probe probe_bad;
    EXPECT_FALSE(reader.ReadMemory(bad, probe_bad)) << bad;
    EXPECT_TRUE(probe_bad.made.empty()) << bad;
  }
}

// Small numbers (up to the number of elements) and large ones are kept apart inside the
// reader; both must define once, be found, be replaced by SetReference, and a number entered
// as null still counts as defined.
TEST(MSAXReader, SmallAndLargeReferenceNumbersBehaveAlike) {
  struct Probe : ISAXPersist {
    std::vector<std::unique_ptr<ISAXPersist>> made;
    std::vector<ISAXReference*> found;
    bool asked_before = true, asked_after = false, made_asked = true;
    bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
      if (tag == L"Object") {
        made.emplace_back(new ISAXPersist);
        reader.DelegateElement(made.back().get());
      }
      if (tag == L"Null") reader.SetReference(3, nullptr);
      if (tag == L"Doc") {
        asked_before = reader.IsReferenceResolver(this);
        reader.AddToReferenceResolver(this);
        asked_after = reader.IsReferenceResolver(this);
      }
      return true;
    }
    void ResolveReferences(MSAXReader& reader) override {
      made_asked = reader.IsReferenceResolver(made.front().get());
      for (std::uint32_t id : {1u, 5u, 6u, 7u, 4000000000u, 2u}) found.push_back(reader.FindReference(id));
      reader.SetReference(5, made[4].get());
      reader.SetReference(4000000000u, nullptr);
      found.push_back(reader.FindReference(5));
      found.push_back(reader.FindReference(4000000000u));
    }
  };
  // Six elements: 1, 5 and 6 are small numbers here, 7 and 4000000000 large ones.
  std::string const doc =
      "<Doc><Object id='1'/><Object id='5'/><Object id='6'/><Object id='4000000000'/><Object id='7'/></Doc>";
  Probe probe;
  MSAXReader reader;
  ASSERT_TRUE(reader.ReadMemory(doc, probe)) << reader.GetError();
  ASSERT_EQ(probe.made.size(), 5u);
  auto m = [&](int i) -> ISAXReference* { return probe.made[i].get(); };
  EXPECT_EQ(probe.found, (std::vector<ISAXReference*>{m(0), m(1), m(2), m(4), m(3), nullptr, m(4), nullptr}));
  EXPECT_FALSE(probe.asked_before);
  EXPECT_TRUE(probe.asked_after);
  EXPECT_FALSE(probe.made_asked);
  for (std::string bad : {"<Doc><Object id='6'/><Object id='6'/><A/><A/><A/><A/><A/><A/></Doc>",
                          "<Doc><Object id='4000000000'/><Object id='4000000000'/></Doc>",
                          "<Null><Object id='3'/><A/><A/></Null>", "<Null><Object id='3'/></Null>"}) {
    Probe twice;
    EXPECT_FALSE(reader.ReadMemory(bad, twice)) << bad;
    EXPECT_NE(reader.GetError().find(L"defined twice"), std::wstring::npos) << bad << ": " << reader.GetError().c_str();
  }
}

TEST(MSAXReader, ARefusedReadTakesBackNewestFirstInitialisesNothingAndFreesWhatItOwns) {
  for (bool unknown_tag : {false, true}) {
    Log log;
    Recorder root(L"root", log, /*owned_children=*/true);
    root.resolve = true;
    if (unknown_tag)
      root.ignore = L"Stray";
    else
      root.refuse_on = L"Stray";
    MSAXReader reader;
    reader.AddRefusalAction([] {});  // dropped by the read: every read starts afresh
    bool const read = reader.ReadMemory("<Doc><Item/><Stray/><Item/></Doc>", root);
    EXPECT_FALSE(read);
    std::wstring const all = Joined(log);
    EXPECT_EQ(all.find(L"Init"), std::wstring::npos) << all;
    EXPECT_EQ(all.find(L"Resolve"), std::wstring::npos) << all;
    EXPECT_NE(all.find(L"root.100: ~"), std::wstring::npos) << all;  // the helper it owned
    EXPECT_EQ(all.find(L"root.101"), std::wstring::npos) << all;     // nothing after the refusal
    EXPECT_NE(reader.GetError().find(unknown_tag ? L"\"Stray\" is not expected inside \"Doc\"" : L"no Stray"),
              std::wstring::npos)
        << reader.GetError();
    EXPECT_NE(reader.GetError().find(L"line 1"), std::wstring::npos) << reader.GetError();
  }

  struct Stager : ISAXPersist {
    Log* log;
    bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
      reader.AddRefusalAction([this, tag] { log->push_back(L"take back " + tag); });
      if (tag == L"C") reader.AddLoadCheck([] { return false; });
      return true;
    }
  };
  Log log;
  Stager stager;
  stager.log = &log;
  MSAXReader reader;
  EXPECT_FALSE(reader.ReadMemory("<A><B/><C/></A>", stager));
  EXPECT_EQ(Joined(log), L"take back C\ntake back B\ntake back A\n");
}

TEST(MSAXReader, UnknownElementsCanBeSkippedWithEverythingInThem) {
  Log log;
  Recorder root(L"root", log);
  root.ignore = L"Future";
  MSAXReader reader;
  reader.SetSkipUnknownTags(true);
  ASSERT_TRUE(reader.ReadMemory("<Doc><Future><Item/><Deep><Item/></Deep></Future><Item/></Doc>", root));
  EXPECT_EQ(root.children.size(), 1u) << Joined(log);
}

TEST(MSAXReader, AnExceptionFromAHandlerTakesEverythingBackAndPassesOn) {
  struct Thrower : ISAXPersist {
    int taken_back = 0;
    bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
      reader.AddRefusalAction([this] { ++taken_back; });
      if (tag == L"Boom") throw std::runtime_error("creator failed");
      return true;
    }
  };
  Thrower thrower;
  MSAXReader reader;
  EXPECT_THROW(reader.ReadMemory("<Doc><Boom/></Doc>", thrower), std::runtime_error);
  EXPECT_EQ(thrower.taken_back, 2);
}

TEST(MSAXReader, ParentTagsAndValuesAreThoseOfTheElementOffered) {
  struct Probe : ISAXPersist {
    std::vector<std::wstring> seen;
    bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
      // The text into a string that held something longer: nothing of that may be left.
      std::wstring value = L"left over from before";
      bool const has = reader.ReadValue(value);
      seen.push_back(tag + L"<" + reader.GetParentTag(1) + L"<" + reader.GetParentTag(2) + L"|" +
                     (has ? value : L"(empty)") + L"|" + std::to_wstring(reader.GetLineNumber()));
      // The same text as UTF-8, as it stands in the file.
      EXPECT_EQ(CharacterSetConversions::FromUTF8(reader.GetValueUTF8()), has ? value : L"") << tag;
      return true;
    }
  };
  Probe probe;
  MSAXReader reader;
  ASSERT_TRUE(reader.ReadMemory("<A>\n <B>\n  <C> x y </C>\n  <D></D>\n  <E>\xC3\xA9t\xC3\xA9 &amp; \xE2\x82\xAC</E>\n </B>\n</A>", probe));
  EXPECT_EQ(probe.seen, (std::vector<std::wstring>{L"A<<|\n |1", L"B<A<|\n  |2", L"C<B<A| x y |3", L"D<B<A|(empty)|4",
                                                   L"E<B<A|\u00E9t\u00E9 & \u20AC|5"}));
  EXPECT_TRUE(reader.GetValueUTF8().empty());  // outside a read
}

// ---- hostile documents: each is refused before any handler hears of it ----

struct Hostile {
  char const* what;
  std::string document;
};

std::vector<Hostile> HostileDocuments(std::string const& secret_path) {
  std::string laughs = "<?xml version='1.0'?><!DOCTYPE lolz [<!ENTITY lol 'lol'>";
  laughs += "<!ENTITY lol1 '&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;&lol;'>";
  for (int i = 2; i <= 9; ++i) {
    laughs += "<!ENTITY lol" + std::to_string(i) + " '";
    for (int k = 0; k < 10; ++k) laughs += "&lol" + std::to_string(i - 1) + ";";
    laughs += "'>";
  }
  laughs += "]><Doc>&lol9;</Doc>";
  return {
      {"a billion laughs", laughs},
      {"an external entity naming a local file",
       "<!DOCTYPE Doc [<!ENTITY secret SYSTEM 'file://" + secret_path + "'>]><Doc><Label>&secret;</Label></Doc>"},
      {"an external entity in an attribute",
       "<!DOCTYPE Doc [<!ENTITY secret SYSTEM '" + secret_path + "'>]><Doc a='&secret;'/>"},
      {"a parameter entity fetching a DTD",
       "<!DOCTYPE Doc [<!ENTITY % dtd SYSTEM 'http://127.0.0.1:9/x.dtd'> %dtd;]><Doc/>"},
      {"an external DTD", "<!DOCTYPE Doc SYSTEM '" + secret_path + "'><Doc/>"},
      {"a plain DOCTYPE", "<!DOCTYPE Doc><Doc/>"},
      {"an undeclared entity", "<Doc>&undeclared;</Doc>"},
      {"an attribute announced as a gigabyte and never ended", "<Doc size='1073741824' a='" + std::string(4000, 'x')},
      {"a compressed file", std::string("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10) + std::string(200, '\0')},
      {"an attribute beyond the limit", "<Doc a='" + std::string(5000, 'x') + "'/>"},
      {"text mixed with elements", "<Doc>text<Item/></Doc>"},
      {"text after an element", "<Doc><Item/>text</Doc>"},
      {"an element in a namespace", "<x:Doc xmlns:x='urn:x'/>"},
      {"two document elements", "<Doc/><Doc/>"},
      {"bytes that are no UTF-8", "<Doc>\xff\xfe</Doc>"},
      {"bytes that are not of the declared encoding", "<?xml version='1.0' encoding='EUC-JP'?><Doc>\xff\xff\xff</Doc>"},
      {"a forbidden character", "<Doc>&#1;</Doc>"},
      {"nothing at all", ""},
      {"mismatched tags", "<Doc><Item></Doc></Item>"},
  };
}

TEST(MSAXReader, HostileDocumentsAreRefusedBeforeAnyHandlerHearsOfThem) {
  char path[] = "/tmp/ostrum-secret-XXXXXX";
  int const fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  ::close(fd);
  std::ofstream(path) << "TOP-SECRET-CONTENT";
  for (Hostile const& h : HostileDocuments(path)) {
    Log log;
    Recorder root(L"root", log);
    MSAXReader reader;
    // The framework has no log of its own: the XML library may not print either.
    testing::internal::CaptureStderr();
    EXPECT_FALSE(reader.ReadMemory(h.document, root)) << h.what;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << h.what;
    EXPECT_TRUE(log.empty()) << h.what << "\n" << CharacterSetConversions::ToUTF8(Joined(log));
    EXPECT_FALSE(reader.GetError().empty()) << h.what;
    EXPECT_EQ(reader.GetError().find(L"TOP-SECRET"), std::wstring::npos) << h.what;
  }
  std::remove(path);
}

TEST(MSAXReader, LimitsOfDepthCountAndTextRefuseTheFile) {
  MSAXReader::Limits limits;
  limits.max_depth = 8;
  limits.max_elements = 20;
  limits.max_text_bytes = 64;
  std::string deep;
  for (int i = 0; i < 9; ++i) deep += "<A>";
  for (int i = 0; i < 9; ++i) deep += "</A>";
  std::string many = "<Doc>";
  for (int i = 0; i < 20; ++i) many += "<A/>";
  many += "</Doc>";
  std::string const long_text = "<Doc>" + std::string(65, 'x') + "</Doc>";
  for (std::string const& doc : {deep, many, long_text}) {
    Log log;
    Recorder root(L"root", log);
    MSAXReader reader(limits);
    EXPECT_FALSE(reader.ReadMemory(doc, root)) << doc;
    EXPECT_TRUE(log.empty());
  }
  Log log;
  Recorder root(L"root", log);
  MSAXReader reader(limits);
  EXPECT_TRUE(reader.ReadMemory("<Doc>" + std::string(64, 'x') + "</Doc>", root)) << reader.GetError();
}

TEST(MSAXReader, ADocumentCutShortAnywhereIsRefused) {
  std::string const whole = "<?xml version='1.0'?>\n<Plan><Item id='1'><Label>x</Label></Item><Item id='2'/></Plan>";
  for (std::size_t n = 0; n < whole.size(); ++n) {
    Log log;
    Recorder root(L"root", log);
    MSAXReader reader;
    EXPECT_FALSE(reader.ReadMemory(whole.substr(0, n), root)) << n;
    EXPECT_TRUE(log.empty()) << n;
  }
}

TEST(MSAXReader, ReadsFilesAndRefusesWhatIsNoRegularFileOrTooLarge) {
  char path[] = "/tmp/ostrum-reader-XXXXXX";
  int const fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  ::close(fd);
  std::ofstream(path) << "<Doc><Item/></Doc>";
  std::wstring const wide = CharacterSetConversions::FromNativePath(path);
  Log log;
  Recorder root(L"root", log);
  MSAXReader reader;
  EXPECT_TRUE(reader.ReadFile(wide, root)) << reader.GetError();
  EXPECT_EQ(root.children.size(), 1u);

  MSAXReader::Limits limits;
  limits.max_file_bytes = 10;
  MSAXReader small(limits);
  Recorder other(L"other", log);
  EXPECT_FALSE(small.ReadFile(wide, other));
  EXPECT_FALSE(reader.ReadFile(L"/tmp", other));
  EXPECT_FALSE(reader.ReadFile(wide + L".missing", other));
  EXPECT_TRUE(other.children.empty());
  std::remove(path);
}

}  // namespace
