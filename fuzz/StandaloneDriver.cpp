// A driver of our own for the fuzz harnesses, so that the test suite runs them with any
// compiler and without libFuzzer:
//
//   fuzzrun_<harness> [-runs=N] [-seed=S] [-timeout=SECONDS] FILE_OR_DIRECTORY...
//
// 1. Every input given (the files of a directory in the order of their names) goes through
//    LLVMFuzzerTestOneInput as it is.
// 2. Each is then taken apart along its elements: cut before every '<' and after every '>',
//    every element left out, every element written twice.
// 3. Then N (default 2000) damaged copies, made by a generator with a fixed seed, so that every
//    run sees the same inputs: one to three changes each of bits flipped, bytes set, ranges cut
//    out or repeated, elements doubled, swapped, left out or taken from another input, numbers
//    made hostile (huge, negative, not a number), reference numbers exchanged, and hostile
//    constructs put in (document types with entities, external entities, entity and character
//    references, deep nesting, namespaces, invalid UTF-8, compressed data, long text).
//
// An input that crashes, aborts (the harnesses abort when an invariant breaks), trips a
// sanitizer or runs beyond the timeout is written to "fuzzrun-failure.bin" in the working
// directory, with what was done to it on stderr, and the run fails. Leaks are found by
// LeakSanitizer when the run ends, for all inputs together: a check after each input (as
// libFuzzer makes) would take the idle blocks that the transform allocator keeps per thread
// for leaks under gcc's sanitizer runtime. The libFuzzer runs of scripts/fuzz.sh check each
// input. Only one input runs at a time; nothing here is timed.

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

// What the sanitizers offer when they are linked in; null otherwise.
extern "C" {
__attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());
}

namespace {

// ---- the input under way, for the report of a failure ----

std::string const* g_current = nullptr;
char g_what[256] = "";

void WriteAll(int fd, char const* data, std::size_t size) {
  while (size > 0) {
    ssize_t const n = ::write(fd, data, size);
    if (n <= 0) return;
    data += n;
    size -= static_cast<std::size_t>(n);
  }
}

// Async-signal-safe: only open, write and close.
void ReportCurrent() {
  if (!g_current) return;
  std::string const* const input = g_current;
  g_current = nullptr;
  int const fd = ::open("fuzzrun-failure.bin", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd >= 0) {
    WriteAll(fd, input->data(), input->size());
    ::close(fd);
  }
  char const head[] = "\nfuzzrun: failing input (";
  WriteAll(2, head, sizeof head - 1);
  WriteAll(2, g_what, std::strlen(g_what));
  char const tail[] = ") written to fuzzrun-failure.bin\n";
  WriteAll(2, tail, sizeof tail - 1);
}

void OnSignal(int number) {
  ReportCurrent();
  if (number == SIGALRM) {
    char const text[] = "fuzzrun: the input ran beyond the timeout\n";
    WriteAll(2, text, sizeof text - 1);
    number = SIGABRT;
  }
  ::signal(number, SIG_DFL);
  ::raise(number);
}

// ---- inputs ----

bool ReadFile(std::string const& path, std::string& out) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

// The regular files of `path`, or `path` itself, in the order of their names.
bool CollectInputs(std::string const& path, std::vector<std::string>& out) {
  if (DIR* dir = ::opendir(path.c_str())) {
    std::vector<std::string> names;
    while (dirent const* entry = ::readdir(dir))
      if (entry->d_name[0] != '.') names.emplace_back(entry->d_name);
    ::closedir(dir);
    std::sort(names.begin(), names.end());
    for (std::string const& name : names) {
      std::string content;
      if (ReadFile(path + "/" + name, content)) out.push_back(std::move(content));
    }
    return true;
  }
  std::string content;
  if (!ReadFile(path, content)) return false;
  out.push_back(std::move(content));
  return true;
}

// ---- the elements of a (possibly broken) document ----

struct Span {
  std::size_t begin, end;  // from '<' of the start tag to after '>' of the end tag
};

bool IsNameStart(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }

// The elements found by matching start and end tags on a stack; what does not match is
// passed over, so broken documents still give spans.
std::vector<Span> Elements(std::string const& text) {
  std::vector<Span> spans;
  std::vector<std::pair<std::size_t, std::string>> open;
  for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
    std::size_t const close = text.find('>', at);
    if (close == std::string::npos) break;
    bool const end_tag = at + 1 < text.size() && text[at + 1] == '/';
    std::size_t const name_at = at + (end_tag ? 2 : 1);
    if (name_at >= text.size() || !IsNameStart(text[name_at])) continue;
    std::size_t name_end = name_at;
    while (name_end < close && text[name_end] != ' ' && text[name_end] != '/' && text[name_end] != '>') ++name_end;
    std::string name = text.substr(name_at, name_end - name_at);
    if (end_tag) {
      for (std::size_t i = open.size(); i-- > 0;)
        if (open[i].second == name) {
          spans.push_back({open[i].first, close + 1});
          open.resize(i);
          break;
        }
    } else if (text[close - 1] == '/') {
      spans.push_back({at, close + 1});
    } else {
      open.emplace_back(at, std::move(name));
    }
  }
  std::sort(spans.begin(), spans.end(), [](Span a, Span b) { return a.begin < b.begin; });
  return spans;
}

// ---- the generator ----

char const* const kHostileNumbers[] = {
    "0", "-1", "+1", "-0", "4294967295", "4294967296", "18446744073709551615", "18446744073709551616",
    "99999999999999999999999999999999999999", "1e308", "1e309", "-1e400", "1e-400", "nan", "inf", "-inf",
    "0x1F", "1.7976931348623157e308", "4.9e-324", "00000000000000000000000000001", "1,5", "1.5.5", "", " 7 ",
    "1e", ".", "--1", "\xD9\xA3"};

char const* const kHostileConstructs[] = {
    "<!DOCTYPE Plan [<!ENTITY a \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
    "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\"><!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;\">]>",
    "<!DOCTYPE Plan SYSTEM \"file:///etc/passwd\">",
    "<!DOCTYPE Plan [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>",
    "<!DOCTYPE Plan [<!ENTITY % p SYSTEM \"http://127.0.0.1:9/x.dtd\"> %p;]>",
    "&d;", "&x;", "&#0;", "&#x110000;", "&#65;", "&#xD800;", "&lt;", "&amp;amp;",
    "<![CDATA[1 2 3]]>", "<![CDATA[<Child>1</Child>]]>", "<!-- a comment -->", "<?pi data?>",
    "<a:Part xmlns:a=\"urn:x\"/>", "<Part xmlns=\"urn:x\"/>", "<Part a:id=\"1\"/>",
    "\xC0\x80", "\xFF\xFE", "" /* a NUL byte */, "\xEF\xBB\xBF", "\xED\xA0\x80", "\x1F\x8B\x08",
    "<Child>1</Child>", "<Child>0</Child>", "<Child></Child>", "<Children><Child>2</Child><Child>1</Child></Children>",
    "<To>1</To>", "<To>0</To>", "<Label>x</Label>", "<Label>&#x10FFFF;</Label>", "<System>1</System>",
    "<TransformMatrix>1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1</TransformMatrix>", "<TransformMatrix>0</TransformMatrix>",
    "<TransformMatrix></TransformMatrix>", "<SystemUI>1</SystemUI>", "<SystemMM>2</SystemMM>",
    "<SystemSTL>1</SystemSTL>", "<SystemUIinMM>true</SystemUIinMM>", "<Holder>1</Holder>",
    "<World><CoordinateSystem id=\"77\"><To>0</To></CoordinateSystem></World>",
    "<CoordinateSystem id=\"78\"><To>78</To></CoordinateSystem>", "<Part id=\"79\"><Children><Child>79</Child></Children></Part>",
    "<Transforms><CoordinateSystems/></Transforms>", "<Unknown/>", "text", "<", ">", "</Plan>"};

class Generator {
 public:
  Generator(std::vector<std::string> const& seeds, std::uint64_t seed) : m_seeds(seeds), m_random(seed) {}

  // A damaged copy of one of the inputs, with what was done written into `what`.
  std::string Next(std::string& what) {
    std::size_t const from = Below(m_seeds.size());
    std::string text = m_seeds[from];
    what = "input " + std::to_string(from);
    for (std::size_t n = 1 + Below(3); n > 0; --n) Mutate(text, what);
    return text;
  }

 private:
  std::size_t Below(std::size_t n) { return n ? static_cast<std::size_t>(m_random() % n) : 0; }

  // A place where an element may start or end: before a '<' or after a '>'.
  std::size_t Boundary(std::string const& text) {
    std::vector<std::size_t> at;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '<') at.push_back(i);
      if (text[i] == '>') at.push_back(i + 1);
    }
    return at.empty() ? Below(text.size() + 1) : at[Below(at.size())];
  }

  void Mutate(std::string& text, std::string& what) {
    std::vector<Span> const spans = Elements(text);
    switch (Below(12)) {
      case 0: {  // a bit flipped
        if (text.empty()) break;
        std::size_t const at = Below(text.size());
        text[at] = static_cast<char>(text[at] ^ (1 << Below(8)));
        what += ", bit flipped at " + std::to_string(at);
        break;
      }
      case 1: {  // a byte set, mostly to one that means something in XML
        if (text.empty()) break;
        static char const alphabet[] = "<>/=\"'&;#!?[]- 0123456789.eE";
        std::size_t const at = Below(text.size());
        text[at] = Below(4) ? alphabet[Below(sizeof alphabet - 1)] : static_cast<char>(Below(256));
        what += ", byte set at " + std::to_string(at);
        break;
      }
      case 2: {  // a range cut out
        if (text.empty()) break;
        std::size_t const at = Below(text.size());
        std::size_t const length = 1 + Below(std::min<std::size_t>(64, text.size() - at));
        text.erase(at, length);
        what += ", cut " + std::to_string(length) + " at " + std::to_string(at);
        break;
      }
      case 3: {  // a range repeated
        if (text.empty()) break;
        std::size_t const at = Below(text.size());
        std::size_t const length = 1 + Below(std::min<std::size_t>(64, text.size() - at));
        text.insert(at, text.substr(at, length));
        what += ", repeated " + std::to_string(length) + " at " + std::to_string(at);
        break;
      }
      case 4: {  // an element written twice
        if (spans.empty()) break;
        Span const s = spans[Below(spans.size())];
        text.insert(s.end, text.substr(s.begin, s.end - s.begin));
        what += ", element at " + std::to_string(s.begin) + " doubled";
        break;
      }
      case 5: {  // an element left out
        if (spans.empty()) break;
        Span const s = spans[Below(spans.size())];
        text.erase(s.begin, s.end - s.begin);
        what += ", element at " + std::to_string(s.begin) + " left out";
        break;
      }
      case 6: {  // two elements that do not overlap swapped
        if (spans.size() < 2) break;
        Span a = spans[Below(spans.size())], b = spans[Below(spans.size())];
        if (a.begin > b.begin) std::swap(a, b);
        if (a.end > b.begin) break;
        std::string const first = text.substr(a.begin, a.end - a.begin), second = text.substr(b.begin, b.end - b.begin);
        text.replace(b.begin, second.size(), first);
        text.replace(a.begin, first.size(), second);
        what += ", elements at " + std::to_string(a.begin) + " and " + std::to_string(b.begin) + " swapped";
        break;
      }
      case 7: {  // an element of another input put in
        std::string const& other = m_seeds[Below(m_seeds.size())];
        std::vector<Span> const theirs = Elements(other);
        if (theirs.empty()) break;
        Span const s = theirs[Below(theirs.size())];
        std::size_t const at = Boundary(text);
        text.insert(at, other.substr(s.begin, s.end - s.begin));
        what += ", foreign element put in at " + std::to_string(at);
        break;
      }
      case 8:
      case 9: {  // a number made hostile
        std::vector<std::pair<std::size_t, std::size_t>> numbers;
        for (std::size_t i = 0; i < text.size();) {
          if (text[i] >= '0' && text[i] <= '9') {
            std::size_t j = i;
            while (j < text.size() && ((text[j] >= '0' && text[j] <= '9') || text[j] == '.' || text[j] == 'e' || text[j] == '-'))
              ++j;
            numbers.emplace_back(i, j - i);
            i = j;
          } else {
            ++i;
          }
        }
        if (numbers.empty()) break;
        auto const [at, length] = numbers[Below(numbers.size())];
        // Half of the time another number of the same input, so references cross and loop.
        std::string replacement;
        if (Below(2)) {
          auto const [other_at, other_length] = numbers[Below(numbers.size())];
          replacement = text.substr(other_at, other_length);
        } else {
          replacement = kHostileNumbers[Below(std::size(kHostileNumbers))];
        }
        text.replace(at, length, replacement);
        what += ", number at " + std::to_string(at) + " replaced";
        break;
      }
      case 10: {  // a hostile construct put in, the document types right after the declaration
        std::size_t const which = Below(std::size(kHostileConstructs));
        std::string construct = kHostileConstructs[which];
        if (construct.empty()) construct.assign(1, '\0');  // the empty entry stands for a NUL byte
        std::size_t at = Boundary(text);
        if (construct.rfind("<!DOCTYPE", 0) == 0) {
          std::size_t const declaration = text.find("?>");
          at = declaration == std::string::npos ? 0 : declaration + 2;
        } else if (construct.rfind("\x1F\x8B", 0) == 0) {
          at = 0;
        }
        text.insert(at, construct);
        what += ", construct " + std::to_string(which) + " put in at " + std::to_string(at);
        break;
      }
      default: {  // nesting deeper than any limit, or text longer than an attribute may be
        std::size_t const at = Boundary(text);
        std::string deep;
        if (Below(2)) {
          for (int i = 0; i < 200; ++i) deep += "<Plan>";
          for (int i = 0; i < 200; ++i) deep += "</Plan>";
        } else {
          deep = "<Label id=\"" + std::string(5000, '1') + "\">" + std::string(70000, 'x') + "</Label>";
        }
        text.insert(at, deep);
        what += ", deep or long element put in at " + std::to_string(at);
        break;
      }
    }
  }

  std::vector<std::string> const& m_seeds;
  std::mt19937_64 m_random;
};

// ---- running ----

struct Runner {
  unsigned timeout = 0;
  std::size_t runs = 0;

  void Run(std::string const& input, std::string const& what) {
    std::snprintf(g_what, sizeof g_what, "%s", what.c_str());
    g_current = &input;
    if (timeout) ::alarm(timeout);
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(input.data()), input.size());
    if (timeout) ::alarm(0);
    g_current = nullptr;
    ++runs;
  }
};

bool Option(char const* arg, char const* name, unsigned long long& value) {
  std::size_t const n = std::strlen(name);
  if (std::strncmp(arg, name, n) != 0) return false;
  value = std::strtoull(arg + n, nullptr, 10);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  unsigned long long runs = 2000, seed = 1, timeout = 0;
  std::vector<std::string> seeds;
  for (int i = 1; i < argc; ++i) {
    if (Option(argv[i], "-runs=", runs) || Option(argv[i], "-seed=", seed) || Option(argv[i], "-timeout=", timeout))
      continue;
    if (argv[i][0] == '-') {
      std::fprintf(stderr, "fuzzrun: unknown option %s\n", argv[i]);
      return 2;
    }
    if (!CollectInputs(argv[i], seeds)) {
      std::fprintf(stderr, "fuzzrun: cannot read %s\n", argv[i]);
      return 2;
    }
  }
  if (seeds.empty()) {
    std::fprintf(stderr, "usage: %s [-runs=N] [-seed=S] [-timeout=SECONDS] FILE_OR_DIRECTORY...\n", argv[0]);
    return 2;
  }
  // Under a sanitizer its own handlers report faults and then call back; an abort (a broken
  // invariant) and the timeout are ours either way.
  if (__sanitizer_set_death_callback) {
    __sanitizer_set_death_callback(&ReportCurrent);
    for (int s : {SIGABRT, SIGALRM}) ::signal(s, &OnSignal);
  } else {
    for (int s : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM}) ::signal(s, &OnSignal);
  }
  Runner runner;
  runner.timeout = static_cast<unsigned>(timeout);

  // 1. The inputs as they are.
  for (std::size_t i = 0; i < seeds.size(); ++i) runner.Run(seeds[i], "input " + std::to_string(i));
  std::size_t const given = runner.runs;

  // 2. Each taken apart along its elements.
  for (std::size_t i = 0; i < seeds.size(); ++i) {
    std::string const& text = seeds[i];
    std::string const name = "input " + std::to_string(i);
    for (std::size_t at = 0; at < text.size(); ++at) {
      if (text[at] == '<') runner.Run(text.substr(0, at), name + ", cut before " + std::to_string(at));
      if (text[at] == '>') runner.Run(text.substr(0, at + 1), name + ", cut after " + std::to_string(at));
    }
    for (Span const s : Elements(text)) {
      std::string changed = text;
      changed.erase(s.begin, s.end - s.begin);
      runner.Run(changed, name + ", element at " + std::to_string(s.begin) + " left out");
      changed = text;
      changed.insert(s.end, text.substr(s.begin, s.end - s.begin));
      runner.Run(changed, name + ", element at " + std::to_string(s.begin) + " doubled");
    }
  }
  std::size_t const structured = runner.runs - given;

  // 3. Damaged copies from the generator.
  Generator generator(seeds, seed);
  std::string what;
  for (unsigned long long i = 0; i < runs; ++i) {
    std::string const input = generator.Next(what);
    runner.Run(input, "damaged copy " + std::to_string(i) + ": " + what);
  }
  std::printf("fuzzrun: %zu inputs, %zu taken apart, %llu damaged copies (seed %llu): no failure\n", given,
              structured, runs, seed);
  return 0;
}
