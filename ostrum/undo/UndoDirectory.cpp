#include "ostrum/undo/private/UndoDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <thread>

#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/foundation/platform/DebugOutput.h"

namespace Ostrum::Undo::Private {

namespace {

using CharacterSetConversions::FromNativePath;
using CharacterSetConversions::ToNativePath;

constexpr char kProcessDirectoryPrefix[] = "VarnUndo[";
constexpr char kLockName[] = "lock";
// The file kinds whose names carry a tag; both share the process's lock.
constexpr const char* kTaggedPrefixes[] = {"~varn_undo[", "~varn_redo["};
constexpr char kSuffix[] = ".tmp";
// How long an owner waits for a lock that a sweeper holds for a moment, and how many other
// tags it tries when a live process of another pid namespace holds its own.
constexpr int kLockTries = 100;
constexpr auto kLockPause = std::chrono::milliseconds(2);
constexpr int kTagVariants = 8;

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }
bool EndsWith(const std::string& text, const char* suffix) {
  const std::size_t n = std::strlen(suffix);
  return text.size() >= n && text.compare(text.size() - n, n, suffix) == 0;
}

std::string ProcessDirectoryName(const std::string& tag) { return kProcessDirectoryPrefix + tag + "]"; }

std::uint64_t SplitMix64(std::uint64_t x) {
  x += 0x9E3779B97F4A7C15ull;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

// The tag of a process directory's name ("VarnUndo[<tag>]"), or "".
std::string TagOfDirectory(const std::string& name) {
  if (!StartsWith(name, kProcessDirectoryPrefix) || !EndsWith(name, "]")) return "";
  return name.substr(sizeof kProcessDirectoryPrefix - 1, name.size() - sizeof kProcessDirectoryPrefix);
}

// The tag of a tagged undo file's name ("~varn_undo[<tag>]….tmp"), or "".
std::string TagOfFile(const std::string& name) {
  if (!EndsWith(name, kSuffix)) return "";
  for (const char* prefix : kTaggedPrefixes) {
    if (!StartsWith(name, prefix)) continue;
    const std::size_t start = std::strlen(prefix);
    const std::size_t end = name.find(']', start);
    if (end != std::string::npos && end > start) return name.substr(start, end - start);
  }
  return "";
}

// A tag names nothing but a process: digits and at most one '.' between digits, so a name read
// from the directory can never lead the sweep elsewhere.
bool IsTag(const std::string& tag) {
  if (tag.empty() || tag.size() > 24 || tag.front() == '.' || tag.back() == '.') return false;
  int dots = 0;
  for (char c : tag) {
    if (c == '.') ++dots;
    else if (c < '0' || c > '9') return false;
  }
  return dots <= 1;
}

std::vector<std::string> EntriesOf(int directory_fd) {
  std::vector<std::string> names;
  const int fd = ::dup(directory_fd);
  if (fd < 0) return names;
  DIR* dir = ::fdopendir(fd);
  if (!dir) {
    ::close(fd);
    return names;
  }
  ::rewinddir(dir);
  while (dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(dir);
  return names;
}

int OpenDirectory(const std::string& path) {
  int fd;
  do {
    fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// Removes an entry of the directory unless another user owns it (in a shared sticky
// directory that is not ours to touch anyway). Directories go only when empty.
bool RemoveEntry(int directory_fd, const std::string& name) {
  struct stat info;
  if (::fstatat(directory_fd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) return false;
  if (info.st_uid != ::geteuid()) return false;
  return ::unlinkat(directory_fd, name.c_str(), S_ISDIR(info.st_mode) ? AT_REMOVEDIR : 0) == 0;
}

// A lock of a process directory, held or not.
struct Lock {
  enum Kind { kLocked, kBusy, kFailed } kind = kFailed;
  int fd = -1;           // the lock file, when locked
  int directory = -1;    // the process directory, when locked
  std::uint64_t device = 0, inode = 0;
};

// Takes the lock of `tag` in the directory `parent_fd`, making its directory and lock file
// when missing. kBusy: someone holds it, or it changed under us (try again); kFailed: the
// directory cannot be used for it (not ours, not a directory, cannot be made).
Lock TakeLock(int parent_fd, const std::string& tag) {
  const std::string name = ProcessDirectoryName(tag);
  if (::mkdirat(parent_fd, name.c_str(), 0700) != 0 && errno != EEXIST) return {};
  const int directory = ::openat(parent_fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (directory < 0) return {errno == ENOENT ? Lock::kBusy : Lock::kFailed};
  struct stat dir_info;
  if (::fstat(directory, &dir_info) != 0 || dir_info.st_uid != ::geteuid()) {
    ::close(directory);
    return {};
  }
  // Read-only: the lock is never written, and a writer would keep the file system from being
  // made read-only.
  const int fd = ::openat(directory, kLockName, O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) {
    ::close(directory);
    return {errno == ENOENT ? Lock::kBusy : Lock::kFailed};
  }
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    ::close(fd);
    ::close(directory);
    return {Lock::kBusy};
  }
  // A sweeper may have removed the lock file or the directory between our open and our lock:
  // what we hold must still be what the names lead to.
  struct stat held, at_name, dir_at_name;
  const bool same = ::fstat(fd, &held) == 0 && ::fstatat(directory, kLockName, &at_name, AT_SYMLINK_NOFOLLOW) == 0 &&
                    held.st_dev == at_name.st_dev && held.st_ino == at_name.st_ino &&
                    ::fstatat(parent_fd, name.c_str(), &dir_at_name, AT_SYMLINK_NOFOLLOW) == 0 &&
                    dir_at_name.st_dev == dir_info.st_dev && dir_at_name.st_ino == dir_info.st_ino;
  if (!same) {
    ::close(fd);
    ::close(directory);
    return {Lock::kBusy};
  }
  return {Lock::kLocked, fd, directory, static_cast<std::uint64_t>(held.st_dev), static_cast<std::uint64_t>(held.st_ino)};
}

// Empties a held process directory but for its lock, then removes the lock and the directory
// (while still holding the lock), and lets go of it.
void RemoveProcessDirectory(int parent_fd, const std::string& tag, Lock& lock) {
  for (const std::string& name : EntriesOf(lock.directory))
    if (name != kLockName) RemoveEntry(lock.directory, name);
  ::unlinkat(lock.directory, kLockName, 0);
  ::unlinkat(parent_fd, ProcessDirectoryName(tag).c_str(), AT_REMOVEDIR);
  ::close(lock.fd);
  ::close(lock.directory);
  lock = {};
}

// The system's temporary directory, or /var/tmp when that one lies on a RAM file system and
// /var/tmp does not.
std::wstring DefaultDirectory() {
  const std::wstring temp = MFileName::GET_TEMP_DIRECTORY();
  auto in_ram = [](const std::string& path) {
    struct statfs info;
    return ::statfs(path.c_str(), &info) == 0 &&
           (info.f_type == TMPFS_MAGIC || info.f_type == RAMFS_MAGIC);
  };
  if (temp.empty() || in_ram(ToNativePath(temp))) {
    struct stat info;
    if (::stat("/var/tmp", &info) == 0 && S_ISDIR(info.st_mode) && !in_ram("/var/tmp")) return L"/var/tmp/";
  }
  return temp;
}

}  // namespace

// The directories this process uses, made ready once each. Never destroyed (files may be
// removed by static objects at exit); the exit clean-up below empties them instead.
class UndoDirectoryRegistry {
 public:
  static UndoDirectoryRegistry& Instance() {
    static auto* registry = new UndoDirectoryRegistry;
    return *registry;
  }

  UndoDirectory* ForSetting(const std::wstring& setting) {
    std::lock_guard<std::mutex> guard(m_lock);
    _ForgetAfterFork();
    if (!m_last || setting != m_last_setting) {
      // Directories that went away since (a test's, a host's former one) let go of their locks.
      for (auto& [path, directory] : m_by_path)
        if (!directory->_LockStands()) directory->_Release();
      std::wstring path = setting.empty() ? DefaultDirectory() : setting;
      if (path.empty()) return nullptr;
      if (path.back() != L'/') path.push_back(L'/');
      UndoDirectory*& slot = m_by_path[path];
      if (!slot) slot = new UndoDirectory(path);  // kept for the life of the process
      m_last = slot;
      m_last_setting = setting;
    }
    return m_last->_Ready() ? m_last : nullptr;
  }

  void RemoveOwnFilesAtExit() {
    std::lock_guard<std::mutex> guard(m_lock);
    if (m_pid != ::getpid()) return;  // a forked child's exit: the files are its parent's
    for (auto& [path, directory] : m_by_path) directory->RemoveOwnFiles();
  }

 private:
  UndoDirectoryRegistry() : m_pid(::getpid()) {}

  // A forked child shares its parent's locks; it must take its own, under its own tag, and
  // never remove its parent's files.
  void _ForgetAfterFork() {
    if (m_pid == ::getpid()) return;
    m_pid = ::getpid();
    for (auto& [path, directory] : m_by_path) {
      directory->_Release();
      directory->m_held_tag.clear();
    }
  }

  std::mutex m_lock;
  pid_t m_pid;
  std::map<std::wstring, UndoDirectory*> m_by_path;
  std::wstring m_last_setting;
  UndoDirectory* m_last = nullptr;
};

namespace {

// Removes this process's undo files at a normal exit, whatever became of the documents and
// of the deferred disposal of their steps.
struct ExitCleanUp {
  ~ExitCleanUp() { UndoDirectoryRegistry::Instance().RemoveOwnFilesAtExit(); }
};

}  // namespace

UndoDirectory* UndoDirectory::ForSetting(const std::wstring& setting) {
  static ExitCleanUp at_exit;  // made before the first directory, so destroyed after its users
  return UndoDirectoryRegistry::Instance().ForSetting(setting);
}

UndoDirectory::UndoDirectory(std::wstring path) : m_path(std::move(path)), m_native(ToNativePath(m_path)) {
  // Names carry the tag, which sets processes (and forked children) apart; the numbers only
  // keep this process's own calls apart, and exclusive creation makes them safe in any case.
  std::random_device device;
  m_name_seed = (static_cast<std::uint64_t>(device()) << 32) ^ device();
}

UndoDirectory::~UndoDirectory() { _Release(); }

std::wstring UndoDirectory::GetProcessDirectory() const {
  return m_path + FromNativePath(ProcessDirectoryName(m_native_tag)) + L"/";
}

void UndoDirectory::_Release() {
  if (m_lock_fd >= 0) ::close(m_lock_fd);  // closed, never unlocked: a parent may share it
  m_lock_fd = -1;
  m_tag.clear();
  m_native_tag.clear();
  std::lock_guard<std::mutex> guard(m_names_lock);
  m_stems.clear();
}

void UndoDirectory::_Report(const std::wstring& what) {
  if (m_reported) return;
  m_reported = true;
  const std::wstring line = L"Ostrum: undo directory " + m_path + L": " + what;
  OutputDebugStringW(line.c_str());
}

bool UndoDirectory::_LockStands() const {
  if (m_lock_fd < 0) return false;
  struct stat info;
  return ::lstat(m_lock_path.c_str(), &info) == 0 && static_cast<std::uint64_t>(info.st_dev) == m_lock_device &&
         static_cast<std::uint64_t>(info.st_ino) == m_lock_inode;
}

bool UndoDirectory::_Ready() {
  if (m_lock_fd >= 0) {
    if (_LockStands()) {
      m_reported = false;
      return true;
    }
    struct stat info;
    if (::stat(m_native.c_str(), &info) != 0) {
      // The directory itself is away (renamed, unmounted): the lock stays held on its file, and
      // everything works again if the directory comes back as it was.
      _Report(L"cannot be used: it is gone");
      return false;
    }
    // The directory is there but the lock file is not ours any more (our directory was removed,
    // or the whole directory made anew): the lock is taken again; this process's own files
    // stay.
    _Release();
  }
  if (!_CheckDirectory() || !_Acquire()) return false;
  m_reported = false;
  SweepDeadProcesses();
  return true;
}

bool UndoDirectory::_CheckDirectory() {
  struct stat info;
  if (::stat(m_native.c_str(), &info) != 0) {
    _Report(L"cannot be used: " + FromNativePath(std::strerror(errno)));
    return false;
  }
  if (!S_ISDIR(info.st_mode)) {
    _Report(L"is not a directory");
    return false;
  }
  // Another user who can write here could remove an undo file and put his own in its place;
  // a sticky directory lets nobody but the owner of a file remove it.
  if ((info.st_mode & (S_IWGRP | S_IWOTH)) && !(info.st_mode & S_ISVTX)) {
    _Report(L"refused: other users can write to it and it is not sticky");
    return false;
  }
  if (info.st_uid != ::geteuid() && info.st_uid != 0) {
    _Report(L"refused: it belongs to another user");
    return false;
  }
  return true;
}

bool UndoDirectory::_Acquire() {
  const int parent = OpenDirectory(m_native);
  if (parent < 0) {
    _Report(L"cannot be opened: " + FromNativePath(std::strerror(errno)));
    return false;
  }
  const std::string pid = std::to_string(::getpid());
  Lock lock;
  std::string tag;
  for (int variant = 0; variant < kTagVariants && lock.kind != Lock::kLocked; ++variant) {
    tag = variant == 0 ? pid : pid + "." + std::to_string(variant);
    for (int attempt = 0; attempt < kLockTries; ++attempt) {
      lock = TakeLock(parent, tag);
      if (lock.kind != Lock::kBusy) break;
      std::this_thread::sleep_for(kLockPause);
    }
  }
  if (lock.kind != Lock::kLocked) {
    _Report(L"no lock can be taken in it: " + FromNativePath(std::strerror(errno)));
    ::close(parent);
    return false;
  }
  // What an earlier process of this tag left: it is dead, or we could not hold its lock. Our
  // own files, from before this process lost its lock here, stay (they are checked when read).
  if (tag != m_held_tag) {
    for (const std::string& name : EntriesOf(lock.directory))
      if (name != kLockName) RemoveEntry(lock.directory, name);
    for (const std::string& name : EntriesOf(parent))
      if (TagOfFile(name) == tag) RemoveEntry(parent, name);
  }
  m_held_tag = tag;
  ::close(lock.directory);
  ::close(parent);
  m_lock_fd = lock.fd;
  m_lock_device = lock.device;
  m_lock_inode = lock.inode;
  m_native_tag = tag;
  m_tag = FromNativePath(tag);
  m_lock_path = m_native + ProcessDirectoryName(tag) + "/" + kLockName;
  return true;
}

std::size_t UndoDirectory::SweepDeadProcesses() {
  const int parent = OpenDirectory(m_native);
  if (parent < 0) return 0;
  // Every tag that shows up, with the files that carry it; our own is never a candidate.
  std::map<std::string, std::vector<std::string>> files_by_tag;
  for (const std::string& name : EntriesOf(parent)) {
    std::string tag = TagOfDirectory(name);
    const bool is_file = tag.empty();
    if (is_file) tag = TagOfFile(name);
    if (!IsTag(tag) || tag == m_native_tag) continue;
    auto& files = files_by_tag[tag];
    if (is_file) files.push_back(name);
  }
  std::size_t removed = 0;
  for (auto& [tag, files] : files_by_tag) {
    Lock lock = TakeLock(parent, tag);
    if (lock.kind != Lock::kLocked) continue;  // alive, or not ours to judge
    // Held: its process is dead and no new one of this tag can make files until we let go.
    for (const std::string& name : files) removed += RemoveEntry(parent, name);
    for (const std::string& name : EntriesOf(lock.directory)) removed += name != kLockName && RemoveEntry(lock.directory, name);
    RemoveProcessDirectory(parent, tag, lock);
  }
  ::close(parent);
  return removed;
}

void UndoDirectory::RemoveOwnFiles() {
  if (m_lock_fd < 0) return;
  const int parent = OpenDirectory(m_native);
  if (parent >= 0) {
    for (const std::string& name : EntriesOf(parent))
      if (TagOfFile(name) == m_native_tag) RemoveEntry(parent, name);
    Lock own;
    own.fd = m_lock_fd;
    own.directory = ::openat(parent, ProcessDirectoryName(m_native_tag).c_str(),
                             O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (own.directory >= 0 && _LockStands()) {
      RemoveProcessDirectory(parent, m_native_tag, own);
      m_lock_fd = -1;
    } else if (own.directory >= 0) {
      ::close(own.directory);
    }
    ::close(parent);
  }
  _Release();
}

bool UndoDirectory::MakeFile(MFile& file, MFileName& name, const wchar_t* prefix) {
  name = MFileName();
  if (file.IS_OPEN()) return false;
  std::wstring wide;
  std::string native;
  {
    // Documents of several threads may share a directory.
    std::lock_guard<std::mutex> guard(m_names_lock);
    if (m_lock_fd < 0) return false;
    const Stem* stem = nullptr;
    for (const Stem& known : m_stems)
      if (known.prefix == prefix) stem = &known;
    if (!stem) {
      const std::wstring tagged = std::wstring(prefix) + L"[" + m_tag + L"]";
      // The name must stay inside the directory.
      if (tagged.find(L'/') != std::wstring::npos) return false;
      stem = &m_stems.emplace_back(Stem{prefix, m_path + tagged, m_native + ToNativePath(tagged)});
    }
    wide = stem->wide;
    native = stem->native;
  }
  return _MakeNamed(file, name, wide, native);
}

bool UndoDirectory::_MakeNamed(MFile& file, MFileName& name, const std::wstring& stem, const std::string& native_stem) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string native = native_stem + "00000000" + kSuffix;
  char* digits = native.data() + native_stem.size();
  for (int attempt = 0; attempt < 65535; ++attempt) {
    auto number = static_cast<std::uint32_t>(
        SplitMix64(m_name_seed ^ SplitMix64(m_name_count.fetch_add(1, std::memory_order_relaxed))));
    for (int i = 7; i >= 0; --i, number >>= 4) digits[i] = kDigits[number & 0xF];
    int fd;
    do {
      fd = ::open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    } while (fd < 0 && errno == EINTR);
    if (fd >= 0) {
      std::wstring path;
      path.reserve(stem.size() + 12);
      path.append(stem).append(digits, digits + 8).append(L".tmp");
      name.SET(path, false);
      if (file._OPEN_WRITE_DESCRIPTOR(fd)) return true;
      ::close(fd);
      ::unlink(native.c_str());
      name = MFileName();
      return false;
    }
    // Only a taken name is worth another try; a missing or closed directory stays so.
    if (errno != EEXIST) return false;
  }
  return false;
}

bool UndoDirectory::MakeProcessFile(MFile& file, MFileName& name, const wchar_t* prefix) {
  if (!_Ready()) return false;
  return file.OPEN_WRITE_TEMP(name, GetProcessDirectory(), prefix, nullptr, 65535);
}

bool UndoDirectory::RemoveAllFiles(const std::wstring& directory, const wchar_t* prefix) {
  // The default directory as undo files find it, /var/tmp included.
  std::wstring path = directory.empty() ? DefaultDirectory() : directory;
  if (path.empty()) return false;
  const int fd = OpenDirectory(ToNativePath(path));
  if (fd < 0) return false;
  const std::string start = ToNativePath(prefix);
  bool found = false;
  for (const std::string& name : EntriesOf(fd)) {
    if (!StartsWith(name, start.c_str()) || !EndsWith(name, kSuffix)) continue;
    struct stat info;
    if (::fstatat(fd, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0 || S_ISDIR(info.st_mode)) continue;
    found = true;
    ::unlinkat(fd, name.c_str(), 0);
  }
  ::close(fd);
  return found;
}

}  // namespace Ostrum::Undo::Private
