#pragma once
// Ostrum::SafeFileWriter: writes a file so that the old one stays whole until the new one is
// complete. The data goes to a temporary file beside the destination (same directory, so the
// last step is a rename on one file system); Commit flushes it to the disk, renames it over the
// destination and flushes the directory. Whatever fails (a full disk, an unwritable directory,
// a crash before Commit), the destination is either the old file or the new one, never a part
// of the new one; the temporary file is removed when the writer goes without a commit.
//
//   Ostrum::SafeFileWriter file(path);
//   if (!file.Write(data, size) || !file.Commit()) return RESULT_IO_FAILED;

#include <cstddef>
#include <string>

#include "ostrum/Export.h"

namespace Ostrum {

class OSTRUM_API SafeFileWriter {
 public:
  /// Makes the temporary file beside `path` (IsOpen tells whether that worked). A new file gets
  /// the permissions the process's umask leaves of 0666; a replaced one keeps its own.
  explicit SafeFileWriter(const std::wstring& path);
  SafeFileWriter(const SafeFileWriter&) = delete;
  SafeFileWriter& operator=(const SafeFileWriter&) = delete;
  /// Without a commit, removes the temporary file; the destination is untouched.
  ~SafeFileWriter();

  bool IsOpen() const { return m_fd >= 0; }
  /// Appends `size` bytes; false (and the writer failed for good) on any error.
  bool Write(const void* data, std::size_t size);
  bool Write(const std::string& bytes) { return Write(bytes.data(), bytes.size()); }
  /// The temporary file's path, for a writer that wants a file name of its own (it must be
  /// done with the file before Commit).
  const std::wstring& GetTemporaryPath() const { return m_temporary; }
  /// Flushes, closes and renames the temporary file over the destination. False if anything
  /// failed before or now; the destination then stays as it was.
  bool Commit();
  /// Gives up: the temporary file goes, the destination stays.
  void Cancel();
  /// What failed, in words, for the host's message; empty while nothing did.
  const std::wstring& GetError() const { return m_error; }

 private:
  void _Fail(const wchar_t* what, int error);

  std::wstring m_path;
  std::wstring m_temporary;
  int m_fd = -1;
  bool m_failed = false;
  bool m_committed = false;
  std::wstring m_error;
};

}  // namespace Ostrum
