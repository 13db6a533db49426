// The exported surface of libOstrumFramework, compared with the checked-in list beside this
// test, so that every change of what hosts can link against is made on purpose. When the
// change is meant, copy the list this test writes into the build tree over the checked-in one
// (the failure message names both files) and commit it with the change.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>

namespace {

// The library's defined dynamic symbols, demangled, as `nm -DC --defined-only` lists them.
std::set<std::string> ExportedSymbols(std::string& error) {
  std::set<std::string> symbols;
  const std::string command = "nm -DC --defined-only '" + std::string(OSTRUM_LIBRARY_FILE) + "' 2>&1";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) {
    error = "cannot run nm";
    return symbols;
  }
  std::string line;
  for (int c; (c = std::fgetc(pipe.get())) != EOF;) {
    if (c != '\n') {
      line += static_cast<char>(c);
      continue;
    }
    // "<address> <kind> <name>"
    const size_t first = line.find(' ');
    const size_t second = first == std::string::npos ? first : line.find(' ', first + 1);
    if (second == std::string::npos)
      error += line + "\n";
    else
      symbols.insert(line.substr(second + 1));
    line.clear();
  }
  return symbols;
}

std::set<std::string> CheckedInList() {
  std::set<std::string> symbols;
  std::ifstream in(OSTRUM_SYMBOL_LIST);
  for (std::string line; std::getline(in, line);)
    if (!line.empty() && line[0] != '#') symbols.insert(line);
  return symbols;
}

std::string Difference(const std::set<std::string>& a, const std::set<std::string>& b) {
  std::string text;
  size_t shown = 0;
  for (const std::string& symbol : a)
    if (!b.count(symbol) && shown++ < 40) text += "  " + symbol + "\n";
  if (shown > 40) text += "  ... and " + std::to_string(shown - 40) + " more\n";
  return text;
}

}  // namespace

TEST(ExportedSurface, TheLibraryExportsExactlyTheCheckedInSymbols) {
  std::string error;
  const std::set<std::string> exported = ExportedSymbols(error);
  ASSERT_EQ(error, "") << "nm said:\n" << error;
  ASSERT_GT(exported.size(), 100u) << "nm listed too little to be the framework";

  // The list as the library has it now, for a deliberate change.
  {
    std::ofstream out(OSTRUM_SYMBOL_LIST_ACTUAL);
    out << "# Symbols exported by libOstrumFramework (demangled, sorted). Checked by\n"
           "# tests/surface/ExportedSymbolsTest.cpp; change it only with the interface.\n";
    for (const std::string& symbol : exported) out << symbol << "\n";
  }

  const std::set<std::string> listed = CheckedInList();
  const std::string added = Difference(exported, listed);
  const std::string removed = Difference(listed, exported);
  EXPECT_TRUE(added.empty() && removed.empty())
      << "the exported surface changed.\nExported but not in the list:\n"
      << added << "In the list but not exported:\n"
      << removed << "If the change is meant: cp " << OSTRUM_SYMBOL_LIST_ACTUAL << " " << OSTRUM_SYMBOL_LIST;
}

// The qualified name a demangled symbol defines: without "vtable for " and the like, without
// a function template's return type and without the parameter list.
std::string DefinedName(std::string symbol) {
  for (const char* prefix : {"vtable for ", "typeinfo for ", "typeinfo name for ", "guard variable for ",
                             "VTT for ", "construction vtable for "})
    if (symbol.rfind(prefix, 0) == 0) symbol = symbol.substr(std::string(prefix).size());
  int angle = 0;
  size_t start = 0;
  for (size_t i = 0; i < symbol.size(); ++i) {
    if (symbol.compare(i, 8, "operator") == 0) {  // operator<<, operator(), operator< ...
      const size_t open = symbol.find('(', i + 9);
      return symbol.substr(start, open == std::string::npos ? std::string::npos : open - start);
    }
    const char c = symbol[i];
    if (c == '<') ++angle;
    if (c == '>') --angle;
    if (angle == 0 && c == ' ') start = i + 1;  // what came before was a return type
    if (angle == 0 && c == '(') return symbol.substr(start, i - start);
  }
  return symbol.substr(start);
}

TEST(ExportedSurface, NoInstanceOfAnotherLibrarysTemplateIsExported) {
  EXPECT_EQ(DefinedName("void std::vector<int, std::allocator<int> >::_M_realloc_insert<int>(int&&)"),
            "std::vector<int, std::allocator<int> >::_M_realloc_insert<int>");
  EXPECT_EQ(DefinedName("MStreamUndoOut::operator<<(bool)"), "MStreamUndoOut::operator<<");
  EXPECT_EQ(DefinedName("typeinfo for Eigen::Matrix<double, 4, 4, 0, 4, 4>"), "Eigen::Matrix<double, 4, 4, 0, 4, 4>");
  std::string error;
  for (const std::string& symbol : ExportedSymbols(error)) {
    const std::string name = DefinedName(symbol);
    for (const char* foreign : {"std::", "__gnu_cxx::", "Eigen::", "boost::"})
      EXPECT_NE(name.rfind(foreign, 0), 0u) << symbol << " belongs to " << foreign;
  }
}
