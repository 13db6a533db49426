// The module table of ostrum/CMakeLists.txt, checked on every #include of the framework's own
// files: a file may include headers of its own module and of the modules its line declares,
// nothing else. The link-time layer check cannot see headers and inline code; this can.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Module {
  std::string name;
  std::string folder;  // below ostrum/, e.g. "foundation/core"
  std::set<std::string> may_use;
};

struct Include {
  std::string file;  // below the repository root, e.g. "ostrum/undo/Manager.h"
  int line;
  std::string target;  // as written, e.g. "ostrum/action/IAction.h"
};

std::vector<Module> ReadManifest() {
  std::vector<Module> modules;
  std::ifstream in(OSTRUM_MODULE_MANIFEST);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream words(line);
    Module module;
    words >> module.name >> module.folder;
    for (std::string dep; words >> dep;) module.may_use.insert(dep);
    modules.push_back(module);
  }
  return modules;
}

// The module whose folder holds `path` (below ostrum/), or null. Folders do not nest, so the
// first match is the only one.
const Module* ModuleOf(const std::vector<Module>& modules, const std::string& path) {
  for (const Module& module : modules)
    if (path.rfind(module.folder + "/", 0) == 0) return &module;
  return nullptr;
}

std::vector<std::string> FrameworkFiles() {
  std::vector<std::string> files;
  const fs::path root = fs::path(OSTRUM_SOURCE_DIR) / "ostrum";
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const std::string ext = entry.path().extension().string();
    if (entry.is_regular_file() && (ext == ".h" || ext == ".cpp"))
      files.push_back(fs::relative(entry.path(), root).generic_string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The framework header a line includes ("ostrum/..."), or "" for any other line.
std::string IncludedFrameworkHeader(const std::string& line) {
  size_t i = line.find_first_not_of(" \t");
  if (i == std::string::npos || line[i] != '#') return "";
  i = line.find_first_not_of(" \t", i + 1);
  if (i == std::string::npos || line.compare(i, 7, "include") != 0) return "";
  i = line.find_first_not_of(" \t", i + 7);
  if (i == std::string::npos || (line[i] != '"' && line[i] != '<')) return "";
  const size_t end = line.find(line[i] == '"' ? '"' : '>', i + 1);
  if (end == std::string::npos) return "";
  const std::string path = line.substr(i + 1, end - i - 1);
  return path.rfind("ostrum/", 0) == 0 ? path : "";
}

std::vector<Include> IncludesOf(const std::string& file) {
  std::vector<Include> includes;
  std::ifstream in(fs::path(OSTRUM_SOURCE_DIR) / "ostrum" / file);
  std::string line;
  for (int number = 1; std::getline(in, line); ++number)
    if (std::string header = IncludedFrameworkHeader(line); !header.empty())
      includes.push_back({"ostrum/" + file, number, header});
  return includes;
}

bool IsPrivate(const std::string& path) { return path.find("/private/") != std::string::npos; }

}  // namespace

TEST(Layering, EveryFrameworkFileLiesInTheFolderOfADeclaredModule) {
  const std::vector<Module> modules = ReadManifest();
  ASSERT_FALSE(modules.empty()) << "no modules in " << OSTRUM_MODULE_MANIFEST;
  std::vector<std::string> homeless;
  for (const std::string& file : FrameworkFiles())
    if (file != "Export.h" && !ModuleOf(modules, file)) homeless.push_back("ostrum/" + file);
  EXPECT_TRUE(homeless.empty()) << "files outside every module's folder (declare the module in "
                                   "ostrum/CMakeLists.txt):\n  "
                                << ::testing::PrintToString(homeless);
  // A module never lives inside another's folder.
  for (const Module& a : modules)
    for (const Module& b : modules)
      EXPECT_FALSE(&a != &b && (a.folder + "/").rfind(b.folder + "/", 0) == 0)
          << a.name << " lies inside the folder of " << b.name;
}

TEST(Layering, EveryIncludeNamesItsOwnModuleOrADeclaredOne) {
  const std::vector<Module> modules = ReadManifest();
  ASSERT_FALSE(modules.empty());
  std::ostringstream faults;
  int checked = 0;
  for (const std::string& file : FrameworkFiles()) {
    const Module* own = ModuleOf(modules, file);
    if (!own) continue;  // reported by the test above
    for (const Include& include : IncludesOf(file)) {
      ++checked;
      const std::string target = include.target.substr(std::string("ostrum/").size());
      if (!fs::exists(fs::path(OSTRUM_SOURCE_DIR) / include.target)) {
        faults << include.file << ":" << include.line << ": " << include.target << " does not exist\n";
        continue;
      }
      if (target == "Export.h") continue;
      const Module* used = ModuleOf(modules, target);
      if (!used) {
        faults << include.file << ":" << include.line << ": " << include.target << " belongs to no module\n";
        continue;
      }
      if (used != own && !own->may_use.count(used->name)) {
        std::string declared;
        for (const std::string& dep : own->may_use) declared += " " + dep;
        faults << include.file << ":" << include.line << ": module " << own->name << " includes "
               << include.target << " of module " << used->name << ", which it may not use (it may use:"
               << (declared.empty() ? " nothing" : declared) << ")\n";
      }
      // Headers in private/ are not installed: a public header that includes one would not
      // compile in a host.
      if (!IsPrivate(file) && file.size() > 2 && file.substr(file.size() - 2) == ".h" && IsPrivate(target))
        faults << include.file << ":" << include.line << ": public header includes the private "
               << include.target << ", which is not installed\n";
    }
  }
  EXPECT_GT(checked, 100) << "the walk found too few includes to be looking at the framework";
  EXPECT_EQ(faults.str(), "");
}
