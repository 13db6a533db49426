// The writer (what it writes and what it refuses to write) and the strict text stream.

#include "ostrum/foundation/markup/MSAXWriter.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>

#include "ostrum/foundation/markup/ISAXPersist.h"
#include "ostrum/foundation/markup/MSAXReader.h"
#include "ostrum/foundation/markup/MSAXTagWriter.h"
#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/markup/MStreamTextIn.h"

namespace {

// Reads back values as "tag=value" and ids as "tag#id".
struct Lister : ISAXPersist {
  std::vector<std::wstring> seen;
  bool HandleTag(std::wstring const& tag, MSAXReader& reader) override {
    std::wstring value;
    reader.ReadValue(value);
    if (reader.GetElementId()) value += L"#" + std::to_wstring(reader.GetElementId());
    seen.push_back(tag + L"=" + value);
    return true;
  }
};

TEST(MSAXWriter, WritesElementsValuesAndReferencesThatReadBackAsWritten) {
  ISAXReference a, b;
  MSAXWriter writer;
  {
    MSAXTagWriter plan(writer, L"Plan");
    {
      MSAXTagWriter object(writer, L"Object");
      EXPECT_TRUE(writer.RegisterReference(&a));
      EXPECT_TRUE(writer.WriteReference(L"Parent", &b));  // before b's own element
      EXPECT_TRUE(writer.WriteValue(L"Label", L" <a & \"b\"> \u00e9\u4e2d\U0001F600 "));
      EXPECT_TRUE(writer.WriteReference(L"Nothing", nullptr));
    }
    MSAXTagWriter other(writer, L"Object");
    EXPECT_TRUE(writer.RegisterReference(&b));
    EXPECT_TRUE(writer._WriteTrimmedCharData(L"  true \n"));
  }
  ASSERT_TRUE(writer.EndDocument());
  EXPECT_EQ(writer.GetNumberOfReferences(), 2u);
  EXPECT_NE(writer.GetOutput().find("<Object id=\"1\">"), std::string::npos) << writer.GetOutput();
  Lister lister;
  MSAXReader reader;
  ASSERT_TRUE(reader.ReadMemory(writer.GetOutput(), lister)) << reader.GetError();
  EXPECT_EQ(lister.seen, (std::vector<std::wstring>{L"Plan=\n ", L"Object=\n  #1", L"Parent=2",
                                                    L"Label= <a & \"b\"> \u00e9\u4e2d\U0001F600 ", L"Nothing=0",
                                                    L"Object=true#2"}));
}

TEST(MSAXWriter, RefusesWhatNoReaderCouldOpenAndStaysFailed) {
  {
    MSAXWriter writer;
    MSAXTagWriter plan(writer, L"Plan");
    EXPECT_FALSE(writer.WriteValue(L"Label", std::wstring(L"bell\a")));
    EXPECT_FALSE(writer.IsGood());
    EXPECT_FALSE(writer.WriteValue(L"Label", L"fine"));  // failed for good
  }
  for (wchar_t const* name : {L"", L"1abc", L"a b", L"a<b", L"x:y"}) {
    MSAXWriter writer;
    EXPECT_FALSE(writer.WriteStartTag(name)) << name;
  }
  {
    MSAXWriter writer;
    MSAXTagWriter plan(writer, L"Plan");
    EXPECT_FALSE(writer.WriteValue(L"Label", std::wstring(1, wchar_t(0xD800))));  // a lone surrogate
  }
  {
    ISAXReference a;
    MSAXWriter writer;
    {
      MSAXTagWriter plan(writer, L"Plan");
      EXPECT_TRUE(writer.WriteReference(L"Ref", &a));  // never defined
    }
    EXPECT_FALSE(writer.EndDocument());
  }
  {
    ISAXReference a;
    MSAXWriter writer;
    MSAXTagWriter plan(writer, L"Plan");
    EXPECT_TRUE(writer.WriteValue(L"Label", L"x"));
    EXPECT_FALSE(writer.RegisterReference(&a));  // the start tag is behind us
  }
  {
    ISAXReference a;
    MSAXWriter writer;
    MSAXTagWriter one(writer, L"One");
    EXPECT_TRUE(writer.RegisterReference(&a));
    MSAXTagWriter two(writer, L"Two");
    EXPECT_FALSE(writer.RegisterReference(&a));  // defined twice
  }
  {
    MSAXWriter writer;
    EXPECT_TRUE(writer.WriteStartTag(L"Plan"));
    EXPECT_FALSE(writer.WriteEndTag(L"Other"));
    MSAXWriter open;
    EXPECT_TRUE(open.WriteStartTag(L"Plan"));
    EXPECT_FALSE(open.EndDocument());
  }
}

TEST(MSAXWriter, NumbersIgnoreTheLocaleAndReadBackExactly) {
  char const* const old = std::setlocale(LC_NUMERIC, nullptr);
  std::string const saved = old ? old : "C";
  bool const german = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
  MSAXWriter writer;
  std::wstring text;
  double const values[] = {0.1, -2.5e-300, 1.0 / 3.0, 12345678.125, -0.0, 1e308};
  for (double v : values) {
    writer.AppendNumber(text, v);
    text += L' ';
  }
  EXPECT_EQ(text.find(L','), std::wstring::npos) << text;
  MStreamTextIn in(text);
  for (double v : values) {
    double back = 7;
    in >> back;
    EXPECT_EQ(back, v);
  }
  EXPECT_TRUE(in.AtEnd());
  writer.SetPrecision(3);
  std::wstring rounded;
  writer.AppendNumber(rounded, 3.14159);
  EXPECT_EQ(rounded, L"3.14");
  if (german) std::setlocale(LC_NUMERIC, saved.c_str());
}

TEST(MStreamTextIn, ParsesWholeWordsStrictlyAndStaysFailed) {
  struct Case {
    wchar_t const* text;
    bool good;
  };
  for (Case c : {Case{L"1.5", true}, Case{L"1,5", false}, Case{L"nan", false}, Case{L"-inf", false},
                 Case{L"1e400", false}, Case{L"0x10", false}, Case{L"1.5x", false}, Case{L"", false},
                 Case{L" \n 2e-3 ", true}, Case{L"\u0661", false}, Case{L"2\u00A03", false},
                 // The longest word a number may be, and one character more.
                 Case{L"0.0000000000000000000000000000000000000000000000000000000000001", true},
                 Case{L"0.00000000000000000000000000000000000000000000000000000000000001", false}}) {
    // The same from wide text and from UTF-8 viewed in place (as loaders read an element's text).
    std::string const utf8 = CharacterSetConversions::ToUTF8(c.text);
    MStreamTextIn wide(c.text), narrow{std::string_view(utf8)};
    for (MStreamTextIn* in : {&wide, &narrow}) {
      double value = 42;
      *in >> value;
      EXPECT_EQ(bool(*in), c.good) << c.text;
      if (!c.good) {
        EXPECT_EQ(value, 42) << c.text;
      }
    }
  }
  {
    MStreamTextIn in(L"3e38 4e38");
    float f = 0;
    in >> f;
    EXPECT_TRUE(in);
    in >> f;
    EXPECT_FALSE(in);  // beyond float
    EXPECT_FLOAT_EQ(f, 3e38f);
  }
  {
    MStreamTextIn in(L"4294967295 4294967296 7");
    std::uint32_t u = 0;
    in >> u;
    EXPECT_EQ(u, 4294967295u);
    in >> u;
    EXPECT_FALSE(in);
    in >> u;  // failed for good: the 7 is not read
    EXPECT_EQ(u, 4294967295u);
  }
  {
    MStreamTextIn in(L"-1");
    std::uint32_t u = 5;
    in >> u;
    EXPECT_FALSE(in);
    EXPECT_EQ(u, 5u);
    MStreamTextIn s(L"-2147483648 +12");
    std::int32_t i = 0, j = 0;
    s >> i >> j;
    EXPECT_TRUE(s);
    EXPECT_EQ(i, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(j, 12);
  }
  {
    MStreamTextIn in(L"true false 1 0 yes");
    bool a = false, b = true, c = false, d = true, e = true;
    in >> a >> b >> c >> d;
    EXPECT_TRUE(in);
    EXPECT_TRUE(a && !b && c && !d);
    in >> e;
    EXPECT_FALSE(in);
    EXPECT_TRUE(e);
  }
}

}  // namespace
