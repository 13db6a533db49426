#include "ostrum/document/MDocManager.h"

#include <cstdio>
#include <cwctype>
#include <filesystem>
#include <vector>

#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/SafeFileWriter.h"
#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/Registry.h"

namespace {

// The command texts, each as the desktop expects it.
constexpr const wchar_t* kOpenArgument = L" \"%1\"";
constexpr const wchar_t* kPrintArgument = L" /p \"%1\"";
constexpr const wchar_t* kPrintToArgument = L" /pt \"%1\" \"%2\" \"%3\" \"%4\"";
constexpr const wchar_t* kDdeArgument = L" /dde";
constexpr const wchar_t* kDdeOpen = L"[open(\"%1\")]";
constexpr const wchar_t* kDdePrint = L"[print(\"%1\")]";
constexpr const wchar_t* kDdePrintTo = L"[printto(\"%1\",\"%2\",\"%3\",\"%4\")]";
constexpr const wchar_t* kUserClasses = L"Software\\Classes\\";

std::wstring Format(const wchar_t* format, const std::wstring& first, const wchar_t* second = nullptr) {
  std::wstring text;
  bool used_first = false;
  for (const wchar_t* c = format; *c; ++c) {
    if (c[0] == L'%' && c[1] == L's') {
      text += used_first ? (second ? second : L"") : first;
      used_first = true;
      ++c;
    } else {
      text += *c;
    }
  }
  return text;
}

// Writes the value of `key` (its default value, or `value_name`): under HKEY_CLASSES_ROOT, else
// under the user's classes.
bool SetRegKey(const std::wstring& key, const std::wstring& value, const wchar_t* value_name = nullptr) {
  auto write = [&](HKEY root, const std::wstring& name) {
    if (!value_name)
      return RegSetValueW(root, name.c_str(), REG_SZ, value.c_str(),
                          static_cast<DWORD>(value.size() * sizeof(wchar_t))) == ERROR_SUCCESS;
    HKEY opened = nullptr;
    if (RegCreateKeyW(root, name.c_str(), &opened) != ERROR_SUCCESS) return false;
    const bool ok = RegSetValueExW(opened, value_name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
    RegCloseKey(opened);
    return ok;
  };
  return write(HKEY_CLASSES_ROOT, key) || write(HKEY_CURRENT_USER, kUserClasses + key);
}

// Deletes `key` and then its parents while they are left empty; the delete goes to
// HKEY_CLASSES_ROOT with the short name also for a key found only under the user's classes.
void DeleteRegKey(std::wstring key) {
  while (!key.empty()) {
    HKEY opened = nullptr;
    if (RegOpenKeyW(HKEY_CLASSES_ROOT, key.c_str(), &opened) != ERROR_SUCCESS) {
      const std::wstring user_key = kUserClasses + key;
      if (RegOpenKeyW(HKEY_CURRENT_USER, user_key.c_str(), &opened) != ERROR_SUCCESS) return;
    }
    wchar_t subkey[260];
    const bool has_subkey = RegEnumKeyW(opened, 0, subkey, 260) == ERROR_SUCCESS;
    RegCloseKey(opened);
    if (has_subkey) return;
    RegDeleteKeyW(HKEY_CLASSES_ROOT, key.c_str());
    const size_t slash = key.rfind(L'\\');
    if (slash == std::wstring::npos) return;
    key.resize(slash);
  }
}

std::wstring ModulePath(HINSTANCE module) {
  wchar_t path[260];
  const DWORD length = GetModuleFileNameW(module, path, 260);
  return std::wstring(path, length);
}

// The default value of `key` under `root`, or false.
bool QueryDefault(HKEY root, const std::wstring& key, std::wstring& value) {
  std::vector<wchar_t> buffer(520);
  LONG size = static_cast<LONG>(buffer.size() * sizeof(wchar_t));
  if (RegQueryValueW(root, key.c_str(), buffer.data(), &size) != ERROR_SUCCESS) return false;
  value = buffer.data();
  return true;
}

}  // namespace

void MDocManager::RegisterShellFileTypes(BOOL compatible) {
  const std::wstring program = ModulePath(AfxGetInstanceHandle());
  const std::wstring resources = ModulePath(AfxGetResourceHandle());
  int icon_index = 0;
  for (POSITION position = GetFirstDocTemplatePosition(); position;) {
    CDocTemplate* document_template = GetNextDocTemplate(position);
    ++icon_index;
    // 1, 2.
    std::wstring open_line = program, print_line = program, print_to_line = program;
    std::wstring icon_line = resources;
    wchar_t number[16];
    HICON icon = ExtractIconW(AfxGetResourceHandle(), resources.c_str(), static_cast<UINT>(icon_index));
    std::swprintf(number, 16, L",%d", icon ? icon_index : 0);
    if (icon) DestroyIcon(icon);
    icon_line += number;
    // 3, 4.
    CString type_id, type_name;
    if (!document_template->GetDocString(type_id, CDocTemplate::regFileTypeId) || type_id.Str().empty()) continue;
    if (!document_template->GetDocString(type_name, CDocTemplate::regFileTypeName)) type_name = type_id;
    const std::wstring id = type_id.Str();
    if (!SetRegKey(id, type_name.Str())) continue;
    // 5.
    if (!SetRegKey(Format(L"%s\\DefaultIcon", id), icon_line)) continue;
    // 6.
    CString title;
    if (document_template->GetDocString(title, CDocTemplate::windowTitle) && !title.Str().empty()) {
      open_line += kOpenArgument;
      if (compatible) {
        print_line += kPrintArgument;
        print_to_line += kPrintToArgument;
      }
    } else {
      if (!SetRegKey(Format(L"%s\\shell\\open\\%s", id, L"ddeexec"), kDdeOpen)) continue;
      if (compatible) {
        if (!SetRegKey(Format(L"%s\\shell\\print\\%s", id, L"ddeexec"), kDdePrint)) continue;
        if (!SetRegKey(Format(L"%s\\shell\\printto\\%s", id, L"ddeexec"), kDdePrintTo)) continue;
        open_line += kDdeArgument;
        print_line += kDdeArgument;
        print_to_line += kDdeArgument;
      } else {
        DeleteRegKey(Format(L"%s\\shell\\print\\%s", id, L"ddeexec"));
        DeleteRegKey(Format(L"%s\\shell\\printto\\%s", id, L"ddeexec"));
        open_line += kOpenArgument;
      }
    }
    // 7.
    if (!SetRegKey(Format(L"%s\\shell\\open\\%s", id, L"command"), open_line)) continue;
    if (compatible) {
      if (!SetRegKey(Format(L"%s\\shell\\print\\%s", id, L"command"), print_line)) continue;
      if (!SetRegKey(Format(L"%s\\shell\\printto\\%s", id, L"command"), print_to_line)) continue;
    } else {
      DeleteRegKey(Format(L"%s\\shell\\print\\%s", id, L"command"));
      DeleteRegKey(Format(L"%s\\shell\\printto\\%s", id, L"command"));
    }
    // 8.
    CString extension;
    document_template->GetDocString(extension, CDocTemplate::filterExt);
    const std::wstring ext = extension.Str();
    if (ext.empty()) continue;
    // 9, 10. An extension that is ours stays; one of another program is taken over.
    std::wstring current;
    bool ours = QueryDefault(HKEY_CLASSES_ROOT, ext, current) && !current.empty() && current == id;
    if (!ours) ours = QueryDefault(HKEY_CURRENT_USER, ext, current) && !current.empty() && current == id;
    if (!ours) {
      if (!SetRegKey(ext, id)) continue;
      if (compatible) SetRegKey(Format(L"%s\\ShellNew", ext), L"", L"NullFile");
    }
    // 11.
    if (!compatible) DeleteRegKey(Format(L"%s\\ShellNew", ext));
  }
}

namespace {

std::string Utf8(const std::wstring& text) { return CharacterSetConversions::ToNativePath(text); }

// Text for XML: the five special characters as entities, control characters dropped.
std::string XmlText(const std::wstring& text) {
  std::string out;
  for (char c : Utf8(text)) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&apos;"; break;
      default:
        if (static_cast<unsigned char>(c) >= 0x20 || c == '\t') out += c;
    }
  }
  return out;
}

// A value of a desktop entry: one line, with its escapes.
std::string DesktopValue(const std::wstring& text) {
  std::string out;
  for (char c : Utf8(text)) {
    if (c == '\n') out += "\\n";
    else if (c == '\t') out += "\\t";
    else if (c == '\r') out += "\\r";
    else if (c == '\\') out += "\\\\";
    else if (static_cast<unsigned char>(c) >= 0x20) out += c;
  }
  return out;
}

// A MIME subtype from a type id: lower case letters, digits, '.', '+', '-'.
std::string MimeName(const std::wstring& id) {
  std::string out = "application/x-";
  for (wchar_t c : id) {
    const wchar_t l = static_cast<wchar_t>(std::towlower(c));
    out += (l >= L'a' && l <= L'z') || (l >= L'0' && l <= L'9') || l == L'.' || l == L'+' || l == L'-'
               ? static_cast<char>(l)
               : '-';
  }
  return out;
}

bool WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::error_code error;
  std::filesystem::create_directories(path.parent_path(), error);
  Ostrum::SafeFileWriter file(CharacterSetConversions::FromNativePath(path.native()));
  return file.Write(text) && file.Commit();
}

}  // namespace

bool MDocManager::PublishFileTypes(const std::wstring& data_directory, const std::wstring& application_id,
                                   const std::wstring& name, const std::wstring& exec) const {
  if (data_directory.empty() || application_id.empty() || application_id.find(L'/') != std::wstring::npos)
    return false;
  std::string mime = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                     "<mime-info xmlns=\"http://www.freedesktop.org/standards/shared-mime-info\">\n";
  std::string types;
  for (POSITION position = GetFirstDocTemplatePosition(); position;) {
    const CDocTemplate* document_template = GetNextDocTemplate(position);
    CString id, type_name, extension;
    if (!document_template->GetDocString(id, CDocTemplate::regFileTypeId) || id.Str().empty()) continue;
    if (!document_template->GetDocString(extension, CDocTemplate::filterExt) || extension.Str().empty()) continue;
    if (!document_template->GetDocString(type_name, CDocTemplate::regFileTypeName) || type_name.Str().empty())
      type_name = id;
    const std::string type = MimeName(id.Str());
    mime += "  <mime-type type=\"" + type + "\">\n";
    mime += "    <comment>" + XmlText(type_name.Str()) + "</comment>\n";
    mime += "    <glob pattern=\"*" + XmlText(extension.Str()) + "\"/>\n";
    mime += "  </mime-type>\n";
    types += type + ";";
  }
  mime += "</mime-info>\n";
  if (types.empty()) return false;
  const std::wstring command = exec.empty() ? ModulePath(AfxGetInstanceHandle()) : exec;
  std::string desktop = "[Desktop Entry]\n";
  desktop += "Type=Application\n";
  desktop += "Name=" + DesktopValue(name.empty() ? application_id : name) + "\n";
  // A path with blanks or quotes is quoted, as the desktop entry's Exec key asks.
  std::string program = DesktopValue(command);
  if (program.find_first_of(" \t\"'\\$`") != std::string::npos) {
    std::string quoted = "\"";
    for (char c : program) {
      if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
      quoted += c;
    }
    program = quoted + "\"";
  }
  desktop += "Exec=" + program + " %f\n";
  desktop += "MimeType=" + types + "\n";
  desktop += "Terminal=false\n";
  const std::filesystem::path root = Utf8(data_directory);
  const std::string id = Utf8(application_id);
  return WriteFile(root / "mime" / "packages" / (id + ".xml"), mime) &&
         WriteFile(root / "applications" / (id + ".desktop"), desktop);
}
