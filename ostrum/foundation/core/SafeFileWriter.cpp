#include "ostrum/foundation/core/SafeFileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "ostrum/foundation/core/CharacterSetConversions.h"

namespace Ostrum {

namespace {

std::string Native(const std::wstring& path) { return CharacterSetConversions::ToNativePath(path); }

std::wstring Wide(const char* text) {
  std::wstring out;
  for (const char* c = text; *c; ++c) out += static_cast<wchar_t>(static_cast<unsigned char>(*c));
  return out;
}

// The directory part of a native path ("." for a bare name).
std::string DirectoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

mode_t CurrentUmask() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mask;
}

}  // namespace

SafeFileWriter::SafeFileWriter(const std::wstring& path) : m_path(path) {
  const std::string native = Native(path);
  if (native.empty() || native.back() == '/') {
    _Fail(L"no file name", EINVAL);
    return;
  }
  // ".name.XXXXXX" in the same directory: hidden, and renamed within one file system.
  const size_t slash = native.rfind('/');
  const std::string directory = slash == std::string::npos ? std::string() : native.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? native : native.substr(slash + 1);
  std::vector<char> pattern;
  const std::string text = directory + "." + name + ".XXXXXX";
  pattern.assign(text.begin(), text.end());
  pattern.push_back('\0');
  m_fd = ::mkostemp(pattern.data(), O_CLOEXEC);
  if (m_fd < 0) {
    _Fail(L"cannot create a file in the directory", errno);
    return;
  }
  m_temporary = CharacterSetConversions::FromNativePath(pattern.data());
  // The permissions the destination has, or those a new file would get.
  struct stat existing;
  const mode_t mode = ::stat(native.c_str(), &existing) == 0 ? (existing.st_mode & 07777) : (0666 & ~CurrentUmask());
  ::fchmod(m_fd, mode);
}

SafeFileWriter::~SafeFileWriter() {
  if (!m_committed) Cancel();
}

void SafeFileWriter::_Fail(const wchar_t* what, int error) {
  if (m_failed) return;
  m_failed = true;
  m_error = std::wstring(what) + L": " + Wide(std::strerror(error));
}

bool SafeFileWriter::Write(const void* data, std::size_t size) {
  if (m_failed || m_fd < 0 || m_committed) return false;
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t n = ::write(m_fd, bytes, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      _Fail(L"cannot write the file", n < 0 ? errno : ENOSPC);
      return false;
    }
    bytes += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool SafeFileWriter::Commit() {
  if (m_committed) return true;
  if (m_failed || m_fd < 0) {
    Cancel();
    return false;
  }
  // The data on the disk before the name points at it; a failed flush or close (NFS, a full
  // disk found late) is a failed write.
  if (::fsync(m_fd) != 0) _Fail(L"cannot flush the file", errno);
  if (::close(m_fd) != 0) _Fail(L"cannot close the file", errno);
  m_fd = -1;
  if (m_failed) {
    Cancel();
    return false;
  }
  const std::string native = Native(m_path);
  if (::rename(Native(m_temporary).c_str(), native.c_str()) != 0) {
    _Fail(L"cannot replace the file", errno);
    Cancel();
    return false;
  }
  m_committed = true;
  // The rename itself on the disk.
  const int directory = ::open(DirectoryOf(native).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory >= 0) {
    ::fsync(directory);
    ::close(directory);
  }
  return true;
}

void SafeFileWriter::Cancel() {
  if (m_fd >= 0) {
    ::close(m_fd);
    m_fd = -1;
  }
  if (!m_temporary.empty() && !m_committed) ::unlink(Native(m_temporary).c_str());
  if (!m_committed) m_failed = true;
}

}  // namespace Ostrum
