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

// Copies between memory and the system's page cache, and within the process, are slow on this
// kind of machine when the destination lies 1 to 15 bytes ahead of the source within a page:
// the string-move instruction that the kernel and the C library use for such sizes then runs
// about ten times slower (a 1 MiB read took 450-590 us against 35-45 us for any other
// placement, writes the same). A 1 MiB state read back 4 KiB into its undo file after the
// object's 8-byte size lands just so in memory from the heap. Such transfers of a page or more
// go through staging memory placed like the file, and the copy between that memory and the
// caller's is done by blocks of 64 bytes, which do not care how the two lie.
constexpr std::size_t kStagedFrom = kPage;
constexpr std::size_t kStagingChunk = std::size_t{256} << 10;

// True when a copy from `from` to `to` would take the slow path described above.
inline bool AheadWithinPage(std::uintptr_t to, std::uintptr_t from) {
  const std::uintptr_t ahead = (to - from) % kPage;
  return ahead != 0 && ahead < 16;
}

// memcpy, by blocks of 64 bytes when the two lie so that the library's copy would be slow.
void CopyBytes(unsigned char* to, const unsigned char* from, std::size_t size) {
  if (size < 2048 || !AheadWithinPage(reinterpret_cast<std::uintptr_t>(to), reinterpret_cast<std::uintptr_t>(from))) {
    std::memcpy(to, from, size);
    return;
  }
  std::size_t i = 0;
#if defined(__x86_64__)
  using Vector = unsigned char __attribute__((vector_size(16)));
  for (; i + 64 <= size; i += 64) {
    Vector a, b, c, d;
    __builtin_memcpy(&a, from + i, 16);
    __builtin_memcpy(&b, from + i + 16, 16);
    __builtin_memcpy(&c, from + i + 32, 16);
    __builtin_memcpy(&d, from + i + 48, 16);
    // Keeps the compiler from turning the loop back into a call of memcpy.
    __asm__("" : "+x"(a), "+x"(b), "+x"(c), "+x"(d));
    __builtin_memcpy(to + i, &a, 16);
    __builtin_memcpy(to + i + 16, &b, 16);
    __builtin_memcpy(to + i + 32, &c, 16);
    __builtin_memcpy(to + i + 48, &d, 16);
  }
#endif
  std::memcpy(to + i, from + i, size - i);
}

// The staging memory of this thread: one chunk and a page to place it, kept for the next use.
unsigned char* StagingBuffer() {
  struct Staging {
    unsigned char* memory = static_cast<unsigned char*>(std::aligned_alloc(kPage, kStagingChunk + kPage));
    // A file flushed after this thread's objects went (a static one, at exit) goes straight to
    // the system.
    ~Staging() {
      std::free(memory);
      memory = nullptr;
    }
  };
  thread_local Staging staging;
  return staging.memory;
}

// Reads up to `size` bytes into `data` as one read would, in chunks through the staging memory
// when the copy into `data` from the file's offset `at` (negative: not known) would be slow.
// Answers what arrived: less than `size` only at the end of the file or on an error.
std::size_t ReadStaged(int fd, unsigned char* data, std::size_t size, std::int64_t at) {
  unsigned char* staging = nullptr;
  if (at >= 0 && AheadWithinPage(reinterpret_cast<std::uintptr_t>(data), static_cast<std::uintptr_t>(at)))
    staging = StagingBuffer();
  std::size_t done = 0;
  while (done < size) {
    unsigned char* into = staging ? staging + static_cast<std::size_t>(at) % kPage : data + done;
    const ssize_t n = ReadOnce(fd, into, staging ? std::min(size - done, kStagingChunk) : size - done);
    if (n <= 0) break;
    if (staging) CopyBytes(data + done, into, static_cast<std::size_t>(n));
    done += static_cast<std::size_t>(n);
    at += n;
  }
  return done;
}

// Writes the bytes of `parts` in order as writev would, retried until all went or the system
// refused (ENOSPC, EFBIG); answers how many went.
std::size_t WriteParts(int fd, iovec* parts, int count) {
  std::size_t total = 0;
  for (int i = 0; i < count; ++i) total += parts[i].iov_len;
  std::size_t done = 0;
  while (done < total) {
    // Skips what went, and asks at most kMaxSystemTransfer per call, cut from the end.
    iovec rest[2];
    int used = 0;
    std::size_t skip = done, length = 0;
    for (int i = 0; i < count; ++i) {
      if (skip >= parts[i].iov_len) {
        skip -= parts[i].iov_len;
        continue;
      }
      const std::size_t take = std::min(parts[i].iov_len - skip, kMaxSystemTransfer - length);
      rest[used++] = {static_cast<unsigned char*>(parts[i].iov_base) + skip, take};
      length += take;
      skip = 0;
    }
    const ssize_t n = used == 1 ? ::write(fd, rest[0].iov_base, rest[0].iov_len) : ::writev(fd, rest, used);
    if (n < 0 && errno == EINTR) continue;
    // A short count followed by an error ends here with what got through.
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  return done;
}

// Writes `first` then `second` at the file's offset `at` (negative: not known) as one writev
// would, gathering them chunk by chunk into the staging memory placed like the file when the
// copy of `second` into the page cache would be slow. Answers how many bytes went.
std::size_t WriteStaged(int fd, const unsigned char* first, std::size_t first_size, const unsigned char* second,
                        std::size_t second_size, std::int64_t at) {
  unsigned char* staging = nullptr;
  if (at >= 0 && AheadWithinPage(static_cast<std::uintptr_t>(at) + first_size, reinterpret_cast<std::uintptr_t>(second)))
    staging = StagingBuffer();
  if (!staging) {
    iovec parts[2] = {{const_cast<unsigned char*>(first), first_size}, {const_cast<unsigned char*>(second), second_size}};
    return first_size == 0 ? WriteParts(fd, parts + 1, 1) : WriteParts(fd, parts, 2);
  }
  std::size_t place = static_cast<std::size_t>(at) % kPage;
  std::size_t done = 0;
  const std::size_t total = first_size + second_size;
  while (done < total) {
    // One chunk: what is left of `first`, then of `second`, behind `place` bytes of the page.
    std::size_t filled = 0;
    const std::size_t room = kStagingChunk + kPage - place;
    if (done < first_size) {
      filled = std::min(first_size - done, room);
      CopyBytes(staging + place, first + done, filled);
    }
    if (done + filled >= first_size && filled < room) {
      const std::size_t from_second = done + filled - first_size;
      const std::size_t take = std::min(second_size - from_second, room - filled);
      CopyBytes(staging + place + filled, second + from_second, take);
      filled += take;
    }
    iovec part = {staging + place, filled};
    const std::size_t went = WriteParts(fd, &part, 1);
    done += went;
    if (went != filled) break;
    place = (place + filled) % kPage;
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
  return _AdoptOpened(fd, Mode::Read);
}

bool MFile::OPEN_WRITE(const MFileName& name) {
  return _Open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, Mode::Write);
}

bool MFile::OPEN_WRITE_TEMP(MFileName& name, const std::wstring& directory, const wchar_t* prefix,
                            const wchar_t* extension, std::uint32_t maximum) {
  if (m_fd >= 0) return false;
  const int fd = name._CreateTempFile(directory.c_str(), prefix, extension, maximum);
  return fd >= 0 && _AdoptOpened(fd, Mode::Write);
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

bool MFile::_AdoptOpened(int fd, Mode mode) {
  _Adopt(fd, mode);
  m_offset = 0;
  return true;
}

bool MFile::_Adopt(int fd, Mode mode) {
  m_read_ahead = std::min(kPage, m_capacity);
  m_offset = kOffsetUnknown;
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
  return _AdoptOpened(fd, mode);
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

std::int64_t MFile::_OffsetForStaging(std::size_t size) {
  if (size < kStagedFrom || m_offset == kOffsetNone) return -1;
  if (m_offset == kOffsetUnknown) {
    const off_t at = ::lseek(m_fd, 0, SEEK_CUR);
    m_offset = at >= 0 ? at : kOffsetNone;
  }
  return m_offset;
}

void MFile::_Moved(std::size_t bytes) {
  if (m_offset >= 0) m_offset += static_cast<std::int64_t>(bytes);
}

std::size_t MFile::_WriteToSystem(const unsigned char* data, std::size_t size) {
  return _WriteTwoToSystem(nullptr, 0, data, size);
}

std::size_t MFile::_WriteTwoToSystem(const unsigned char* first, std::size_t first_size,
                                     const unsigned char* second, std::size_t second_size) {
  const std::size_t done = WriteStaged(m_fd, first, first_size, second, second_size, _OffsetForStaging(second_size));
  _Moved(done);
  return done;
}

std::size_t MFile::_ReadFromSystem(unsigned char* data, std::size_t size) {
  const std::size_t done = ReadStaged(m_fd, data, size, _OffsetForStaging(size));
  _Moved(done);
  return done;
}

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
  CopyBytes(m_buffer.get() + m_end, source, bytes);
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
  if (got != 0) CopyBytes(target, m_buffer.get() + m_begin, got);
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
    _Moved(static_cast<std::size_t>(n));
    m_end = static_cast<std::size_t>(n);
    const std::size_t take = std::min(rest, m_end);
    CopyBytes(target + got, m_buffer.get(), take);
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
