// The application's file types made known to the desktop: the registry keys of the templates
// (written where a user without administrator rights may write), and the shared-mime-info
// package and desktop entry, checked against the formats' rules.

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/relaxng.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <cstring>
#include <set>
#include <sstream>
#include <string>

#include "ostrum/document/MDocManager.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Registry.h"

namespace {

namespace fs = std::filesystem;

std::wstring Default(HKEY root, const std::wstring& key) {
  wchar_t buffer[520];
  LONG size = sizeof buffer;
  return RegQueryValueW(root, key.c_str(), buffer, &size) == ERROR_SUCCESS ? std::wstring(buffer) : L"<none>";
}

bool Exists(HKEY root, const std::wstring& key) {
  HKEY opened = nullptr;
  if (RegOpenKeyW(root, key.c_str(), &opened) != ERROR_SUCCESS) return false;
  RegCloseKey(opened);
  return true;
}

std::wstring Program() {
  wchar_t path[260];
  return std::wstring(path, GetModuleFileNameW(nullptr, path, 260));
}

class FileTypes : public testing::Test {
 protected:
  void SetUp() override {
    Ostrum::Desktop::ClearRegistry();
    Ostrum::Desktop::SetMachineRegistryWritable(false);
  }
  void TearDown() override { Ostrum::Desktop::ClearRegistry(); }
};

TEST_F(FileTypes, TheRegistryRefusesTheMachinesKeysToAUserAndMergesTheTwoViews) {
  EXPECT_EQ(RegSetValueW(HKEY_CLASSES_ROOT, L".plan", REG_SZ, L"x", 2), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegSetValueW(HKEY_CURRENT_USER, L"Software\\Classes\\.plan", REG_SZ, L"Ours.Plan", 18), ERROR_SUCCESS);
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L".PLAN"), L"Ours.Plan") << "names are compared without case";
  Ostrum::Desktop::SetMachineRegistryWritable(true);
  EXPECT_EQ(RegSetValueW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\.plan", REG_SZ, L"Theirs", 12), ERROR_SUCCESS);
  EXPECT_EQ(RegSetValueW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\.other", REG_SZ, L"Other", 10), ERROR_SUCCESS);
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L".plan"), L"Ours.Plan") << "the user's keys come first";
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L".other"), L"Other");
  // A key with a subkey is not deleted; an empty one is.
  EXPECT_EQ(RegSetValueW(HKEY_CURRENT_USER, L"Software\\Classes\\.plan\\ShellNew", REG_SZ, L"", 0), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, L".plan"), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, L".plan\\ShellNew"), ERROR_SUCCESS);
  EXPECT_FALSE(Exists(HKEY_CURRENT_USER, L"Software\\Classes\\.plan\\ShellNew"));
  // Strings through the value calls keep their characters; a small buffer is told its need.
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Ostrum", &key), ERROR_SUCCESS);
  const std::wstring text = L"Ämter ☃";
  ASSERT_EQ(RegSetValueExW(key, L"Name", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
            ERROR_SUCCESS);
  wchar_t small[3];
  DWORD size = sizeof small, type = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"name", nullptr, &type, reinterpret_cast<BYTE*>(small), &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, (text.size() + 1) * sizeof(wchar_t));
  std::wstring back(text.size() + 1, L'\0');
  EXPECT_EQ(RegQueryValueExW(key, L"Name", nullptr, &type, reinterpret_cast<BYTE*>(back.data()), &size), ERROR_SUCCESS);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(back.c_str(), text);
  wchar_t name[32];
  EXPECT_EQ(RegEnumKeyW(HKEY_CURRENT_USER, 0, name, 32), ERROR_SUCCESS);
  EXPECT_EQ(std::wstring(name), L"Software");
  EXPECT_EQ(RegEnumKeyW(HKEY_CURRENT_USER, 1, name, 32), ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}

TEST_F(FileTypes, TheRegistryIsKeptInTheHostsDirectoryAndAForeignFileIsRefused) {
  char pattern[] = "/tmp/ostrum-registry-XXXXXX";
  const fs::path dir = mkdtemp(pattern);
  ASSERT_TRUE(Ostrum::Desktop::SetRegistryDirectory(dir.wstring()));
  ASSERT_EQ(RegSetValueW(HKEY_CURRENT_USER, L"Software\\Classes\\Plan.Document", REG_SZ, L"Plan", 8), ERROR_SUCCESS);
  Ostrum::Desktop::ClearRegistry();
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Plan.Document"), L"<none>");
  ASSERT_TRUE(Ostrum::Desktop::SetRegistryDirectory(dir.wstring())) << "read back at the next start";
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Plan.Document"), L"Plan");
  // A file cut short or foreign leaves the registry as it is.
  for (const char* content : {"ostrum-registry 1\nK U 1 ", "something else\n", "ostrum-registry 1\nK U 1 4:zz\n"}) {
    std::ofstream(dir / "registry") << content;
    EXPECT_FALSE(Ostrum::Desktop::SetRegistryDirectory(dir.wstring())) << content;
    EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Plan.Document"), L"Plan");
  }
  Ostrum::Desktop::SetRegistryDirectory(L"");
  fs::remove_all(dir);
}

TEST_F(FileTypes, TheTemplatesKeysAreWrittenAsTheDesktopExpects) {
  MDocManager manager;
  // A single-document template (window title set), one without a title, one without a type id.
  manager.AddDocTemplate(new CDocTemplate(L"Planner\nPlan\nPlan\nPlans (*.plan)\n.plan\nOstrum.Plan\nSurgical plan"));
  manager.AddDocTemplate(new CDocTemplate(L"\nModel\nModel\nModels\n.mdl\nOstrum.Model\n"));
  manager.AddDocTemplate(new CDocTemplate(L"Skipped\n\n\n\n.skip\n\n"));
  // Another program owns .mdl.
  ASSERT_EQ(RegSetValueW(HKEY_CURRENT_USER, L"Software\\Classes\\.mdl", REG_SZ, L"Other.Model", 22), ERROR_SUCCESS);
  manager.RegisterShellFileTypes(TRUE);
  const std::wstring program = Program();
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Plan"), L"Surgical plan");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Plan\\DefaultIcon"), program + L",0");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Plan\\shell\\open\\command"), program + L" \"%1\"");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Plan\\shell\\print\\command"), program + L" /p \"%1\"");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Plan\\shell\\printto\\command"),
            program + L" /pt \"%1\" \"%2\" \"%3\" \"%4\"");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L".plan"), L"Ostrum.Plan");
  EXPECT_TRUE(Exists(HKEY_CLASSES_ROOT, L".plan\\ShellNew"));
  // Without a window title: the type name falls back to the id... here it has a name; the
  // commands go through the dynamic exchange.
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Model\\shell\\open\\ddeexec"), L"[open(\"%1\")]");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Model\\shell\\printto\\ddeexec"), L"[printto(\"%1\",\"%2\",\"%3\",\"%4\")]");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Model\\shell\\open\\command"), program + L" /dde");
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L".mdl"), L"Ostrum.Model") << "an extension of another program is taken";
  EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, L".skip"));
  EXPECT_FALSE(Exists(HKEY_LOCAL_MACHINE, L"Software\\Classes\\Ostrum.Plan")) << "all under the user's classes";
  HKEY shell_new = nullptr;
  ASSERT_EQ(RegOpenKeyW(HKEY_CLASSES_ROOT, L".plan\\ShellNew", &shell_new), ERROR_SUCCESS);
  DWORD size = 64, type = 0;
  wchar_t value[16];
  EXPECT_EQ(RegQueryValueExW(shell_new, L"NullFile", nullptr, &type, reinterpret_cast<BYTE*>(value), &size), ERROR_SUCCESS);
  EXPECT_EQ(size, sizeof(wchar_t)) << "an empty value with its terminator";
  RegCloseKey(shell_new);

  // Not compatible: the print commands and the new-file entry go.
  manager.RegisterShellFileTypes(FALSE);
  EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, L"Ostrum.Plan\\shell\\print"));
  EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, L"Ostrum.Plan\\shell\\printto"));
  EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, L".plan\\ShellNew"));
  EXPECT_TRUE(Exists(HKEY_CLASSES_ROOT, L"Ostrum.Plan\\shell\\open\\command"));
  EXPECT_EQ(Default(HKEY_CLASSES_ROOT, L"Ostrum.Model\\shell\\open\\command"), program + L" \"%1\"");
  EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, L"Ostrum.Model\\shell\\print"));
}

// The part of the shared-mime-info package format that applications write.
constexpr const char* kMimeSchema = R"(<grammar xmlns="http://relaxng.org/ns/structure/1.0"
    ns="http://www.freedesktop.org/standards/shared-mime-info"
    datatypeLibrary="http://www.w3.org/2001/XMLSchema-datatypes">
  <start><element name="mime-info"><oneOrMore><ref name="mime-type"/></oneOrMore></element></start>
  <define name="mime-type">
    <element name="mime-type">
      <attribute name="type"><data type="string"><param name="pattern">[a-z]+/[a-zA-Z0-9.+\-]+</param></data></attribute>
      <interleave>
        <zeroOrMore><element name="comment"><optional><attribute name="xml:lang" ns="http://www.w3.org/XML/1998/namespace"/></optional><text/></element></zeroOrMore>
        <zeroOrMore><element name="glob"><attribute name="pattern"><data type="string"><param name="minLength">1</param></data></attribute>
          <optional><attribute name="weight"><data type="integer"/></attribute></optional>
          <optional><attribute name="case-sensitive"><data type="boolean"/></attribute></optional></element></zeroOrMore>
        <zeroOrMore><element name="sub-class-of"><attribute name="type"/></element></zeroOrMore>
        <optional><element name="icon"><attribute name="name"/></element></optional>
        <optional><element name="generic-icon"><attribute name="name"/></element></optional>
      </interleave>
    </element>
  </define>
</grammar>)";

void Quiet(void*, const char*, ...) {}

bool ValidMime(const std::string& xml) {
  xmlRelaxNGParserCtxtPtr parser = xmlRelaxNGNewMemParserCtxt(kMimeSchema, static_cast<int>(std::strlen(kMimeSchema)));
  xmlRelaxNGPtr schema = xmlRelaxNGParse(parser);
  xmlRelaxNGValidCtxtPtr validator = xmlRelaxNGNewValidCtxt(schema);
  xmlRelaxNGSetValidErrors(validator, Quiet, Quiet, nullptr);
  xmlDocPtr doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "package.xml", nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  const bool valid = doc && schema && xmlRelaxNGValidateDoc(validator, doc) == 0;
  if (doc) xmlFreeDoc(doc);
  xmlRelaxNGFreeValidCtxt(validator);
  xmlRelaxNGFree(schema);
  xmlRelaxNGFreeParserCtxt(parser);
  return valid;
}

// The rules of a desktop entry that a desktop checks: the group first, each key once, the
// keys of an application, one file placeholder in Exec, MIME types as a list.
std::string DesktopFaults(const std::string& text) {
  std::istringstream in(text);
  std::string line, faults;
  std::map<std::string, std::string> keys;
  bool group = false;
  const std::set<std::string> known{"Type", "Name", "GenericName", "Comment", "Icon", "Exec", "TryExec", "Path",
                                    "Terminal", "MimeType", "Categories", "NoDisplay", "Keywords", "StartupNotify"};
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    if (!group) {
      if (line != "[Desktop Entry]") faults += "the first group is not [Desktop Entry]; ";
      group = true;
      continue;
    }
    const size_t equals = line.find('=');
    if (equals == std::string::npos) {
      faults += "a line without '=': " + line + "; ";
      continue;
    }
    const std::string key = line.substr(0, equals);
    if (!known.count(key)) faults += "unknown key " + key + "; ";
    if (!keys.emplace(key, line.substr(equals + 1)).second) faults += "key twice: " + key + "; ";
    for (char c : line)
      if (static_cast<unsigned char>(c) < 0x20) faults += "a control character; ";
  }
  for (const char* required : {"Type", "Name", "Exec"})
    if (!keys.count(required)) faults += std::string("no ") + required + "; ";
  if (keys["Type"] != "Application") faults += "not an application; ";
  int placeholders = 0;
  for (const char* code : {"%f", "%F", "%u", "%U"}) placeholders += keys["Exec"].find(code) != std::string::npos;
  if (placeholders != 1) faults += "Exec does not take exactly one file placeholder; ";
  const std::string& types = keys["MimeType"];
  if (types.empty() || types.back() != ';') faults += "MimeType is not a list ending with ';'; ";
  if (keys.count("Terminal") && keys["Terminal"] != "true" && keys["Terminal"] != "false") faults += "Terminal not boolean; ";
  return faults;
}

std::string Read(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST_F(FileTypes, ThePackageAndDesktopEntryFollowTheirFormats) {
  char pattern[] = "/tmp/ostrum-share-XXXXXX";
  const fs::path dir = mkdtemp(pattern);
  MDocManager manager;
  EXPECT_FALSE(manager.PublishFileTypes(dir.wstring(), L"org.example.Planner", L"Planner")) << "no file type yet";
  manager.AddDocTemplate(new CDocTemplate(L"Planner\nPlan\nPlan\nPlans\n.plan\nOstrum.Plan\nSurgical plan <&> \"1\""));
  manager.AddDocTemplate(new CDocTemplate(L"\nModel\nModel\nModels\n.mdl\nOstrum.Model\n"));
  ASSERT_TRUE(manager.PublishFileTypes(dir.wstring(), L"org.example.Planner", L"Planner",
                                       L"/opt/planner with blanks/bin/planner"));
  const std::string mime = Read(dir / "mime/packages/org.example.Planner.xml");
  EXPECT_TRUE(ValidMime(mime)) << mime;
  EXPECT_NE(mime.find("type=\"application/x-ostrum.plan\""), std::string::npos);
  EXPECT_NE(mime.find("<glob pattern=\"*.mdl\"/>"), std::string::npos);
  EXPECT_NE(mime.find("Surgical plan &lt;&amp;&gt; &quot;1&quot;"), std::string::npos);
  EXPECT_FALSE(ValidMime("<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">"
                         "<mime-type><comment>x</comment></mime-type></mime-info>"))
      << "the schema refuses a type without its name";
  const std::string desktop = Read(dir / "applications/org.example.Planner.desktop");
  EXPECT_EQ(DesktopFaults(desktop), "") << desktop;
  EXPECT_NE(desktop.find("Exec=\"/opt/planner with blanks/bin/planner\" %f"), std::string::npos);
  EXPECT_NE(desktop.find("MimeType=application/x-ostrum.plan;application/x-ostrum.model;"), std::string::npos);
  EXPECT_NE(DesktopFaults("[Desktop Entry]\nType=Application\nName=x\nExec=x\n"), "") << "the check can fail";
  EXPECT_FALSE(manager.PublishFileTypes(dir.wstring(), L"../escape", L"x"));
  fs::remove_all(dir);
}

}  // namespace
