#pragma once
// UndoDirectory: a directory that holds undo files, as this process uses it.
//
// Undo files live only as long as their process. So that a later process can remove what a
// killed one left, and never what a running one still needs, every process that makes undo
// files in a directory first takes a lock there: the file "lock" in its own directory
// "VarnUndo[<tag>]", held with flock for the life of the process (the tag is the process id,
// or the id with a suffix when another process of that id, in another pid namespace, holds the
// plain one). The undo files it makes in the shared directory carry the tag in their names
// ("~varn_undo[<tag>]xxxxxxxx.tmp"). A lock that can be taken belongs to a dead process:
// whoever takes it removes that process's files and directory while holding it, and an owner
// makes files only while holding its own, so the two never meet.

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

class MFile;
class MFileName;

namespace Ostrum::Undo::Private {

class UndoDirectory {
 public:
  /// The directory that undo files go to for the host's setting (MUndoHandler::GetUndoTempDir):
  /// the setting as it is, or, when it is empty, the system's temporary directory, or /var/tmp
  /// when that lies on a RAM file system (undo state kept in memory defeats its purpose). Made
  /// ready on first use, and again whenever this process's lock there was lost: checked, the
  /// lock taken, and the files of dead processes removed. Null, with a line on the debug
  /// output, when it cannot be used: missing, not writable, or writable by other users without
  /// being sticky (another user could swap a file).
  static UndoDirectory* ForSetting(const std::wstring& setting);

  /// Removes, in the directory `directory` (a directory name, "" for the default one, as
  /// ForSetting finds it), every regular file or link whose name is `prefix`…".tmp", whoever
  /// made it.
  /// Answers whether there was one.
  static bool RemoveAllFiles(const std::wstring& directory, const wchar_t* prefix);

  /// The directory, as a directory name (ending in '/').
  const std::wstring& GetPath() const { return m_path; }
  /// This process's tag in it ("1234", or "1234.1").
  const std::wstring& GetTag() const { return m_tag; }
  /// This process's own directory in it, "VarnUndo[<tag>]/", which holds its lock.
  std::wstring GetProcessDirectory() const;

  /// Makes a new file of this process in the directory and opens it for writing in the same
  /// step: `prefix`, the tag in brackets, eight hexadecimal digits, ".tmp". False (nothing
  /// made) if the file cannot be made. The lock is not checked again: call it on what
  /// ForSetting answered just before, which checked it.
  bool MakeFile(MFile& file, MFileName& name, const wchar_t* prefix);
  /// As MakeFile, in this process's own directory, named `prefix`, eight digits, ".tmp".
  bool MakeProcessFile(MFile& file, MFileName& name, const wchar_t* prefix);

  /// Removes what dead processes left: their VarnUndo[...] directories with everything in
  /// them, and their tagged files. A live process's files are never touched. Answers the
  /// number of files removed.
  std::size_t SweepDeadProcesses();

  /// At exit: removes every file of this process here, then its own directory and lock.
  void RemoveOwnFiles();

  UndoDirectory(const UndoDirectory&) = delete;
  UndoDirectory& operator=(const UndoDirectory&) = delete;
  ~UndoDirectory();

 private:
  friend class UndoDirectoryRegistry;
  explicit UndoDirectory(std::wstring path);

  /// True when this process holds its lock here and the lock file is still the one at its
  /// place; otherwise checks the directory and takes the lock (sweeping what dead processes
  /// left). False, with a line on the debug output once until it works again, on failure.
  bool _Ready();
  bool _LockStands() const;
  bool _CheckDirectory();
  bool _Acquire();
  void _Release();
  void _Report(const std::wstring& what);
  /// Makes `stem`, eight hexadecimal digits, ".tmp" exclusively, `native_stem` being the same
  /// stem as the system takes it, and opens it for writing.
  bool _MakeNamed(MFile& file, MFileName& name, const std::wstring& stem, const std::string& native_stem);

  // The path and the native path up to the digits of this process's tagged files, by prefix;
  // made once per prefix and tag, so that a new file's name costs no conversion.
  struct Stem {
    std::wstring prefix;
    std::wstring wide;
    std::string native;
  };
  std::mutex m_names_lock;     // over m_stems
  std::vector<Stem> m_stems;
  std::uint64_t m_name_seed;   // with m_name_count, the numbers new names try
  std::atomic<std::uint64_t> m_name_count{0};

  std::wstring m_path;         // with '/'
  std::string m_native;        // m_path as the system takes it
  std::wstring m_tag;
  std::string m_native_tag;
  std::string m_lock_path;     // of the lock held, checked before every new file
  std::string m_held_tag;      // the tag this process held here last, kept when the lock is lost
  int m_lock_fd = -1;
  std::uint64_t m_lock_device = 0;
  std::uint64_t m_lock_inode = 0;
  bool m_reported = false;     // a failure was reported and nothing has worked since
};

}  // namespace Ostrum::Undo::Private
