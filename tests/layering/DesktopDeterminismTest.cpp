// The desktop model takes every time from its backend's clock and draws no random numbers, so
// that a headless run repeats exactly. Checked on the sources: a call of a system clock or a
// random source anywhere in the module fails here with its place.

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool IsIdentifierChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

// Whether `line` calls the free function `name`: the name stands alone and an opening
// parenthesis follows.
bool Calls(const std::string& line, const std::string& name) {
  for (size_t at = line.find(name); at != std::string::npos; at = line.find(name, at + 1)) {
    const size_t after = at + name.size();
    const bool alone_before = at == 0 || (!IsIdentifierChar(line[at - 1]) && line[at - 1] != '.' && line[at - 1] != '>');
    if (alone_before && after < line.size() && line[after] == '(') return true;
  }
  return false;
}

// The part of a line before a // comment (the model's sources keep no /* */ comments in code).
std::string Code(const std::string& line) {
  const size_t comment = line.find("//");
  return comment == std::string::npos ? line : line.substr(0, comment);
}

}  // namespace

TEST(DesktopDeterminism, TheDesktopModelReadsNoSystemClockAndNoRandomSource) {
  const fs::path root = fs::path(OSTRUM_SOURCE_DIR) / "ostrum" / "foundation" / "platform";
  const std::vector<std::string> names = {"system_clock", "steady_clock", "high_resolution_clock", "random_device",
                                          "mt19937", "default_random_engine", "<random>", "<ctime>", "<time.h>",
                                          "<sys/time.h>"};
  const std::vector<std::string> calls = {"time", "rand", "srand", "clock", "gettimeofday", "clock_gettime"};
  std::ostringstream faults;
  int files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    const std::string ext = entry.path().extension().string();
    if (!entry.is_regular_file() || (ext != ".h" && ext != ".cpp")) continue;
    ++files;
    std::ifstream in(entry.path());
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
      const std::string code = Code(line);
      for (const std::string& name : names)
        if (code.find(name) != std::string::npos) faults << entry.path().filename().string() << ":" << number << ": " << name << "\n";
      for (const std::string& call : calls)
        if (Calls(code, call)) faults << entry.path().filename().string() << ":" << number << ": " << call << "()\n";
    }
  }
  EXPECT_GT(files, 40) << "the walk did not find the module";
  EXPECT_EQ(faults.str(), "");
}
