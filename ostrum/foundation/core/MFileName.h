#pragma once
// MFileName: a file or directory path held as wide text, with the file-system queries the
// framework needs and the safe making of temporary files.

#include <cstdint>
#include <string>

#include "ostrum/Export.h"

/// A path as wide text, '/' separated. It is only text until asked: nothing touches the disk
/// except DOES_EXIST, FILE_SIZE, REMOVE and SET_TEMP_NAME. The operating system sees the path
/// as CharacterSetConversions::ToNativePath makes it: UTF-8, with the bytes of a path that is
/// no UTF-8 kept as they were.
class OSTRUM_API MFileName {
 public:
  /// An empty name.
  MFileName() = default;
  /// The name `path` (null is taken as empty), as SET makes it.
  explicit MFileName(const wchar_t* path, bool is_directory = false);
  explicit MFileName(const std::wstring& path, bool is_directory = false);
  MFileName(const MFileName&) = default;
  MFileName& operator=(const MFileName&) = default;
  MFileName(MFileName&&) noexcept = default;
  MFileName& operator=(MFileName&&) noexcept = default;

  /// The path; valid until the name changes.
  operator const wchar_t*() const { return m_path.c_str(); }  // NOLINT: implicit by design
  /// The path as wide text.
  const std::wstring& GET_PATH() const { return m_path; }
  /// The path as the operating system takes it (bytes; UTF-8 where the path is text).
  std::string GET_NATIVE_PATH() const;
  /// The system's temporary directory as a directory name (ending in '/'), as the C++ library
  /// finds it; empty if there is none.
  static std::wstring GET_TEMP_DIRECTORY();

  /// Sets the name to `path` (null is taken as empty). With `is_directory` the path names a
  /// directory: a '/' is appended unless it ends with one, so GET_DRIVE_DIR_PARTS gives it all.
  void SET(const wchar_t* path, bool is_directory);
  void SET(const std::wstring& path, bool is_directory);

  /// Makes and names a new empty file in `directory` (the system's temporary directory when
  /// null or empty), named `prefix`, eight hexadecimal digits, then `extension` (".tmp" when
  /// null; a missing leading '.' is added; "" gives none). The file is created exclusively
  /// with permissions 0600, so no other caller, in this or another process, gets the same
  /// name. `maximum` is how many candidate names are tried before giving up (0 means 65535).
  /// `flags` is reserved: pass 0. Answers false, and leaves this name empty so that opening it
  /// fails too, when the directory cannot take the file or no free name was found.
  bool SET_TEMP_NAME(const wchar_t* directory, const wchar_t* prefix,
                     const wchar_t* extension = nullptr, std::uint32_t maximum = 65535,
                     std::uint32_t flags = 0);
  bool SET_TEMP_NAME(const std::wstring& directory, const wchar_t* prefix,
                     const wchar_t* extension = nullptr, std::uint32_t maximum = 65535,
                     std::uint32_t flags = 0);
  /// As SET_TEMP_NAME, but keeps the new file open: answers its descriptor, open for writing,
  /// which the caller owns (MFile::OPEN_WRITE_TEMP takes it), or -1 on failure.
  int _CreateTempFile(const wchar_t* directory, const wchar_t* prefix, const wchar_t* extension,
                      std::uint32_t maximum);

  /// The directory part: everything up to the last '/'. With `with_separator` the '/' is kept
  /// (the form that SET_TEMP_NAME and concatenation want); without it, it is dropped except for
  /// the root "/". Empty when the name has no '/'.
  std::wstring GET_DRIVE_DIR_PARTS(bool with_separator) const;

  /// True when the name is empty.
  bool IS_EMPTY() const { return m_path.empty(); }
  /// True when something (file, directory, device) exists under the name, following links.
  bool DOES_EXIST() const;
  /// Removes the file, or the directory if it is empty. The name stays. False when nothing was
  /// removed (missing, not allowed, a directory not empty, or an empty name).
  bool REMOVE() const;
  /// The size in bytes as the disk has it now; 0 when nothing exists under the name or it
  /// cannot be read, so that sums over files that have gone stay right (DOES_EXIST tells a
  /// missing file from an empty one).
  std::int64_t FILE_SIZE() const;

  friend bool operator==(const MFileName& a, const MFileName& b) { return a.m_path == b.m_path; }

 private:
  std::wstring m_path;
};
