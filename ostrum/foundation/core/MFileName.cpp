#include "ostrum/foundation/core/MFileName.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

#include "ostrum/foundation/core/CharacterSetConversions.h"

namespace {

constexpr std::uint32_t kDefaultTempTries = 65535;

std::uint64_t SplitMix64(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15ull;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

// The numbers that candidate temporary names carry. A per-process random seed keeps two
// programs apart, the process id keeps forked children of one program apart (they inherit the
// seed and the counter), and the counter keeps calls apart. Exclusive creation makes the names
// safe in any case; this only keeps collisions, and so retries, rare.
std::uint32_t NextCandidateNumber() {
  static const std::uint64_t seed = [] {
    std::random_device device;
    return (static_cast<std::uint64_t>(device()) << 32) ^ device();
  }();
  static std::atomic<std::uint64_t> counter{0};
  const std::uint64_t pid = static_cast<std::uint64_t>(::getpid());
  const std::uint64_t n = counter.fetch_add(1, std::memory_order_relaxed);
  return static_cast<std::uint32_t>(SplitMix64(seed ^ (pid << 40) ^ SplitMix64(n)));
}

std::wstring Hex8(std::uint32_t value) {
  static constexpr wchar_t kDigits[] = L"0123456789abcdef";
  std::wstring text(8, L'0');
  for (int i = 7; i >= 0; --i, value >>= 4) text[static_cast<std::size_t>(i)] = kDigits[value & 0xF];
  return text;
}

}  // namespace

MFileName::MFileName(const wchar_t* path, bool is_directory) { SET(path, is_directory); }

MFileName::MFileName(const std::wstring& path, bool is_directory) { SET(path, is_directory); }

std::wstring MFileName::GET_TEMP_DIRECTORY() {
  std::error_code error;
  const std::filesystem::path temp = std::filesystem::temp_directory_path(error);
  if (error || temp.empty()) return std::wstring();
  std::wstring dir = CharacterSetConversions::FromNativePath(temp.native());
  if (dir.back() != L'/') dir.push_back(L'/');
  return dir;
}

std::string MFileName::GET_NATIVE_PATH() const { return CharacterSetConversions::ToNativePath(m_path); }

void MFileName::SET(const wchar_t* path, bool is_directory) {
  SET(std::wstring(path ? path : L""), is_directory);
}

void MFileName::SET(const std::wstring& path, bool is_directory) {
  m_path = path;
  if (is_directory && !m_path.empty() && m_path.back() != L'/') m_path.push_back(L'/');
}

bool MFileName::SET_TEMP_NAME(const std::wstring& directory, const wchar_t* prefix,
                              const wchar_t* extension, std::uint32_t maximum,
                              std::uint32_t flags) {
  return SET_TEMP_NAME(directory.c_str(), prefix, extension, maximum, flags);
}

bool MFileName::SET_TEMP_NAME(const wchar_t* directory, const wchar_t* prefix,
                              const wchar_t* extension, std::uint32_t maximum,
                              std::uint32_t /*flags*/) {
  const int fd = _CreateTempFile(directory, prefix, extension, maximum);
  if (fd < 0) return false;
  ::close(fd);
  return true;
}

int MFileName::_CreateTempFile(const wchar_t* directory, const wchar_t* prefix, const wchar_t* extension,
                               std::uint32_t maximum) {
  // Whatever happens below, a failed call must not leave an older name behind that a caller
  // who ignores the result would then open and overwrite.
  m_path.clear();

  std::wstring dir = directory ? directory : L"";
  if (dir.empty()) dir = GET_TEMP_DIRECTORY();
  if (dir.empty()) return -1;
  if (dir.back() != L'/') dir.push_back(L'/');

  const std::wstring stem = prefix ? prefix : L"";
  std::wstring ext = extension ? extension : L".tmp";
  if (!ext.empty() && ext.front() != L'.') ext.insert(ext.begin(), L'.');
  // The name must stay inside the directory.
  if (stem.find(L'/') != std::wstring::npos || ext.find(L'/') != std::wstring::npos) return -1;

  const std::uint32_t tries = maximum != 0 ? maximum : kDefaultTempTries;
  for (std::uint32_t attempt = 0; attempt < tries; ++attempt) {
    std::wstring candidate = dir + stem + Hex8(NextCandidateNumber()) + ext;
    const std::string native = CharacterSetConversions::ToNativePath(candidate);
    int fd;
    do {
      fd = ::open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    } while (fd < 0 && errno == EINTR);
    if (fd >= 0) {
      m_path = std::move(candidate);
      return fd;
    }
    // Only a taken name is worth another try; a missing or closed directory stays so.
    if (errno != EEXIST) return -1;
  }
  return -1;
}

std::wstring MFileName::GET_DRIVE_DIR_PARTS(bool with_separator) const {
  const std::size_t slash = m_path.rfind(L'/');
  if (slash == std::wstring::npos) return std::wstring();
  std::wstring dir = m_path.substr(0, slash + 1);
  if (!with_separator && dir.size() > 1) dir.pop_back();
  return dir;
}

bool MFileName::DOES_EXIST() const {
  if (m_path.empty()) return false;
  struct stat info;
  return ::stat(GET_NATIVE_PATH().c_str(), &info) == 0;
}

bool MFileName::REMOVE() const {
  if (m_path.empty()) return false;
  return std::remove(GET_NATIVE_PATH().c_str()) == 0;
}

std::int64_t MFileName::FILE_SIZE() const {
  if (m_path.empty()) return 0;
  struct stat info;
  if (::stat(GET_NATIVE_PATH().c_str(), &info) != 0) return 0;
  return static_cast<std::int64_t>(info.st_size);
}
