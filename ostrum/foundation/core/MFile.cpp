#include "ostrum/foundation/core/MFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "ostrum/foundation/core/MFileName.h"

// The files are written as the machine holds its values; the format is little-endian.
static_assert(std::endian::native == std::endian::little,
              "MFile writes values in memory order, which must be little-endian");
static_assert(sizeof(short) == 2 && sizeof(float) == 4 && sizeof(double) == 8,
              "MFile's items have fixed sizes on disk");

namespace {

// Linux moves at most about 2 GiB per call; asking for less keeps every count in range.
constexpr std::size_t kMaxSystemTransfer = std::size_t{1} << 30;
// The least a refill asks for, and the buffer's first size.
constexpr std::size_t kPage = 4096;

// One read, retried only when interrupted; <= 0 at the end of the file or on an error.
ssize_t ReadOnce(int fd, unsigned char* data, std::size_t size) {
  ssize_t n;
  do {
    n = ::read(fd, data, std::min(size, kMaxSystemTransfer));
  } while (n < 0 && errno == EINTR);
  return n;
}

// Large reads whose memory and file offset lie differently within a page go through staging
// memory placed like the file, then one copy in the process. On this kind of machine the
// kernel's copy from its page cache into memory placed unlike the file is slow: a 64 MiB state
// read 8 bytes into its undo file (after the object's own size) cost 1.22-1.40 times plain
// files with the same bytes at offset 0, and 0.87-1.06 times through staging in chunks of 2 MiB
// (chunks of 256 KiB gained little). Reads of memory placed like the file, small reads, and
// files without an offset (pipes) go straight to the caller's memory.
constexpr std::size_t kStagedReadFrom = std::size_t{64} << 10;
constexpr std::size_t kStagingChunk = std::size_t{2} << 20;

// The staging memory of this thread: one chunk and a page to place it, kept for the next read.
unsigned char* StagingBuffer() {
  struct Staging {
    unsigned char* memory = static_cast<unsigned char*>(std::aligned_alloc(kPage, kStagingChunk + kPage));
    ~Staging() { std::free(memory); }
  };
  thread_local Staging staging;
  return staging.memory;
}

// Reads up to `size` bytes into `data` as one read would, in chunks through the staging memory
// when `data` and the file offset lie differently within a page. Answers what arrived: less
// than `size` only at the end of the file or on an error.
std::size_t ReadStaged(int fd, unsigned char* data, std::size_t size) {
  off_t at = size >= kStagedReadFrom ? ::lseek(fd, 0, SEEK_CUR) : -1;
  unsigned char* staging = nullptr;
  if (at >= 0 && (reinterpret_cast<std::uintptr_t>(data) - static_cast<std::uintptr_t>(at)) % kPage != 0)
    staging = StagingBuffer();
  std::size_t done = 0;
  while (done < size) {
    if (!staging || size - done < kStagedReadFrom) {
      const ssize_t n = ReadOnce(fd, data + done, size - done);
      if (n <= 0) break;
      done += static_cast<std::size_t>(n);
      continue;
    }
    unsigned char* placed = staging + static_cast<std::size_t>(at) % kPage;
    const ssize_t n = ReadOnce(fd, placed, std::min(size - done, kStagingChunk));
    if (n <= 0) break;
    std::memcpy(data + done, placed, static_cast<std::size_t>(n));
    done += static_cast<std::size_t>(n);
    at += n;
  }
  return done;
}

}  // namespace

MFile::MFile(std::size_t buffer_size) : m_capacity(buffer_size) {}

MFile::~MFile() { CLOSE(); }

bool MFile::OPEN_READ(const MFileName& name) {
  return _Open(name, O_RDONLY | O_CLOEXEC, Mode::Read);
}

bool MFile::OPEN_READ(const MFileName& name, const MFileIdentity& identity) {
  if (m_fd >= 0 || name.IS_EMPTY() || !identity.IsKnown()) return false;
  int fd;
  do {
    // O_NONBLOCK: a FIFO put in the file's place must not hang the caller; a regular file
    // reads the same either way.
    fd = ::open(name.GET_NATIVE_PATH().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return false;
  struct stat info;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || static_cast<std::uint64_t>(info.st_dev) != identity.device ||
      static_cast<std::uint64_t>(info.st_ino) != identity.inode || static_cast<std::int64_t>(info.st_size) != identity.size) {
    ::close(fd);
    return false;
  }
  return _Adopt(fd, Mode::Read);
}

bool MFile::OPEN_WRITE(const MFileName& name) {
  return _Open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, Mode::Write);
}

bool MFile::OPEN_WRITE_TEMP(MFileName& name, const std::wstring& directory, const wchar_t* prefix,
                            const wchar_t* extension, std::uint32_t maximum) {
  if (m_fd >= 0) return false;
  const int fd = name._CreateTempFile(directory.c_str(), prefix, extension, maximum);
  return fd >= 0 && _Adopt(fd, Mode::Write);
}

bool MFile::_OPEN_WRITE_DESCRIPTOR(int fd) {
  if (m_fd >= 0 || fd < 0) return false;
  return _Adopt(fd, Mode::Write);
}

bool MFile::_Reserve(std::size_t size) {
  if (size <= m_storage) return true;
  std::size_t grown = std::max({size, 2 * m_storage, std::min(kPage, m_capacity)});
  grown = std::min(grown, m_capacity);
  std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[grown]);
  // Without memory for more the file still works, with the buffer it has.
  if (!buffer) return false;
  if (m_end != 0) std::memcpy(buffer.get(), m_buffer.get(), m_end);
  m_buffer = std::move(buffer);
  m_storage = grown;
  return true;
}

bool MFile::_Adopt(int fd, Mode mode) {
  m_read_ahead = std::min(kPage, m_capacity);
  m_fd = fd;
  m_mode = mode;
  m_failed = false;
  m_short_read = false;
  m_begin = m_end = 0;
  m_written = 0;
  return true;
}

bool MFile::_Open(const MFileName& name, int flags, Mode mode) {
  if (m_fd >= 0 || name.IS_EMPTY()) return false;
  const std::string path = name.GET_NATIVE_PATH();
  int fd;
  do {
    fd = ::open(path.c_str(), flags, 0600);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return false;
  if (mode == Mode::Read) {
    struct stat info;
    if (::fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
      ::close(fd);
      return false;
    }
  }
  return _Adopt(fd, mode);
}

bool MFile::CLOSE() {
  if (m_fd < 0) return true;
  bool ok = true;
  if (m_mode == Mode::Write) ok = _FlushBuffer() && !m_failed;
  // On Linux the descriptor is gone even when close reports an error, so it is not retried;
  // an error here can still mean lost data (deferred write-back errors).
  if (::close(m_fd) != 0 && m_mode == Mode::Write) ok = false;
  m_fd = -1;
  m_mode = Mode::Closed;
  m_failed = false;
  m_begin = m_end = 0;
  return ok;
}

bool MFile::CLOSE(MFileIdentity& identity) {
  identity = MFileIdentity();
  if (m_fd < 0) return false;
  MFileIdentity now;
  struct stat info;
  const bool flushed = m_mode != Mode::Write || (_FlushBuffer() && !m_failed);
  if (flushed && ::fstat(m_fd, &info) == 0)
    now = {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
           static_cast<std::int64_t>(info.st_size)};
  if (!CLOSE() || !flushed) return false;
  identity = now;
  return identity.IsKnown();
}

bool MFile::FLUSH() {
  if (m_mode != Mode::Write) return false;
  return _FlushBuffer() && !m_failed;
}

std::size_t MFile::_WriteToSystem(const unsigned char* data, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    ssize_t n = ::write(m_fd, data + done, std::min(size - done, kMaxSystemTransfer));
    if (n < 0 && errno == EINTR) continue;
    // A short count followed by an error (ENOSPC, EFBIG) ends here with what got through.
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

std::size_t MFile::_WriteTwoToSystem(const unsigned char* first, std::size_t first_size,
                                     const unsigned char* second, std::size_t second_size) {
  const std::size_t total = first_size + second_size;
  std::size_t done = 0;
  while (done < total) {
    iovec parts[2];
    int count = 0;
    if (done < first_size) parts[count++] = {const_cast<unsigned char*>(first + done), first_size - done};
    const std::size_t into_second = done > first_size ? done - first_size : 0;
    parts[count++] = {const_cast<unsigned char*>(second + into_second), second_size - into_second};
    // At most kMaxSystemTransfer per call, cut from the end.
    std::size_t length = 0;
    for (int i = 0; i < count; ++i) {
      parts[i].iov_len = std::min(parts[i].iov_len, kMaxSystemTransfer - length);
      length += parts[i].iov_len;
    }
    ssize_t n = ::writev(m_fd, parts, count);
    if (n < 0 && errno == EINTR) continue;
    // A short count followed by an error (ENOSPC, EFBIG) ends here with what got through.
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

std::size_t MFile::_ReadFromSystem(unsigned char* data, std::size_t size) { return ReadStaged(m_fd, data, size); }

bool MFile::_FlushBuffer() {
  if (m_failed) return false;
  if (m_end == 0) return true;
  const std::size_t pending = m_end;
  m_end = 0;
  if (_WriteToSystem(m_buffer.get(), pending) != pending) {
    m_failed = true;
    return false;
  }
  return true;
}

std::size_t MFile::_Write(const void* data, std::size_t count, std::size_t item_size) {
  if (m_mode != Mode::Write || m_failed || data == nullptr || count == 0) return 0;
  count = std::min(count, std::numeric_limits<std::size_t>::max() / item_size);
  const std::size_t bytes = count * item_size;
  const auto* source = static_cast<const unsigned char*>(data);

  if (bytes >= m_capacity) {
    // What is buffered goes first, in the same call, so that the order of the bytes on disk
    // stays the order of the calls; its failure fails this call, as its data was accepted by
    // earlier ones.
    const std::size_t pending = m_end;
    m_end = 0;
    const std::size_t done = _WriteTwoToSystem(m_buffer.get(), pending, source, bytes);
    if (done < pending) {
      m_failed = true;
      return 0;
    }
    const std::size_t written = done - pending;
    m_written += static_cast<std::int64_t>(written);
    if (written != bytes) m_failed = true;
    return written / item_size;
  }
  if (bytes > m_capacity - m_end && !_FlushBuffer()) return 0;
  if (!_Reserve(m_end + bytes)) {
    // No memory for a larger buffer: what it holds goes out, then this block.
    if (!_FlushBuffer()) return 0;
    if (!_Reserve(bytes)) {
      const std::size_t written = _WriteToSystem(source, bytes);
      m_written += static_cast<std::int64_t>(written);
      if (written != bytes) m_failed = true;
      return written / item_size;
    }
  }
  std::memcpy(m_buffer.get() + m_end, source, bytes);
  m_end += bytes;
  m_written += static_cast<std::int64_t>(bytes);
  return count;
}

std::size_t MFile::_Read(void* data, std::size_t count, std::size_t item_size) {
  if (m_mode != Mode::Read || data == nullptr || count == 0) return 0;
  count = std::min(count, std::numeric_limits<std::size_t>::max() / item_size);
  const std::size_t wanted = count * item_size;
  auto* target = static_cast<unsigned char*>(data);

  std::size_t got = std::min(wanted, m_end - m_begin);
  if (got != 0) std::memcpy(target, m_buffer.get() + m_begin, got);
  m_begin += got;
  while (got < wanted) {
    const std::size_t rest = wanted - got;
    m_begin = m_end = 0;
    // The buffer is empty here. What is asked for, at least the read-ahead, which doubles with
    // each refill up to the buffer's size.
    const std::size_t chunk = std::min(m_capacity, std::max(rest, m_read_ahead));
    if (rest >= m_capacity || !_Reserve(chunk)) {
      // A large request (or one the buffer cannot grow for) goes straight into the caller's
      // memory.
      got += _ReadFromSystem(target + got, rest);
      break;
    }
    m_read_ahead = std::min(m_capacity, 2 * m_read_ahead);
    const ssize_t n = ReadOnce(m_fd, m_buffer.get(), chunk);
    if (n <= 0) break;
    m_end = static_cast<std::size_t>(n);
    const std::size_t take = std::min(rest, m_end);
    std::memcpy(target + got, m_buffer.get(), take);
    m_begin = take;
    got += take;
  }
  if (got < wanted) {
    // What did not arrive is zero, never what the caller's memory held before.
    std::memset(target + got, 0, wanted - got);
    m_short_read = true;
  }
  return got / item_size;
}

std::size_t MFile::READ(char* data, std::size_t count) { return _Read(data, count, sizeof *data); }
std::size_t MFile::READ(unsigned char* data, std::size_t count) { return _Read(data, count, sizeof *data); }
std::size_t MFile::READ(short* data, std::size_t count) { return _Read(data, count, sizeof *data); }
std::size_t MFile::READ(unsigned short* data, std::size_t count) { return _Read(data, count, sizeof *data); }
std::size_t MFile::READ(std::int32_t* data, std::size_t count) { return _Read(data, count, sizeof *data); }
std::size_t MFile::READ(std::uint32_t* data, std::size_t count) { return _Read(data, count, sizeof *data); }
std::size_t MFile::READ(float* data, std::size_t count) { return _Read(data, count, sizeof *data); }
std::size_t MFile::READ(double* data, std::size_t count) { return _Read(data, count, sizeof *data); }

std::size_t MFile::WRITE(const char* data, std::size_t count) { return _Write(data, count, sizeof *data); }
std::size_t MFile::WRITE(const unsigned char* data, std::size_t count) { return _Write(data, count, sizeof *data); }
std::size_t MFile::WRITE(const short* data, std::size_t count) { return _Write(data, count, sizeof *data); }
std::size_t MFile::WRITE(const unsigned short* data, std::size_t count) { return _Write(data, count, sizeof *data); }
std::size_t MFile::WRITE(const std::int32_t* data, std::size_t count) { return _Write(data, count, sizeof *data); }
std::size_t MFile::WRITE(const std::uint32_t* data, std::size_t count) { return _Write(data, count, sizeof *data); }
std::size_t MFile::WRITE(const float* data, std::size_t count) { return _Write(data, count, sizeof *data); }
std::size_t MFile::WRITE(const double* data, std::size_t count) { return _Write(data, count, sizeof *data); }
