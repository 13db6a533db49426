#pragma once
// MFile: a binary file with a user-space buffer, through which undo state and operation
// records go to temporary files and come back.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "ostrum/Export.h"

class MFileName;

/// What a file was when it was last written: the device and inode that name it and its size.
/// A file opened again with it (MFile::OPEN_READ(name, identity)) must still be that file.
struct MFileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = -1;  ///< -1: nothing known, no file matches
  bool IsKnown() const { return size >= 0; }
};

/// A binary file opened either for reading or for writing, with a buffer of the size given to
/// the constructor. Values go to the file as the machine holds them, which on every platform
/// this builds for is little-endian, without alignment or separators; the interface's `long`
/// and `unsigned long` are 32 bits (int32_t, uint32_t) here. Transfers that are at least as
/// large as the buffer bypass it (a write of such a block goes out in one call with what was
/// buffered before it). The buffer takes memory as it fills, from a page up to its size, and a
/// read asks the system for what is wanted, at least a page, and more as reading goes on: a
/// small file costs a page, a long one is read in chunks of the buffer's size.
///
/// Failures are results, never exceptions: READ and WRITE answer how many whole items they
/// transferred. Once a write to the disk has failed (disk full, file size limit), the file is
/// failed: that WRITE and every later one answer 0, and CLOSE answers false. A write beyond the
/// process's file size limit reports a short count only if SIGXFSZ is ignored; by default the
/// system ends the process. Data are not synced to the device: these files live as long as the
/// process.
class OSTRUM_API MFile {
 public:
  /// The buffer size the framework uses.
  static constexpr std::size_t kDefaultBufferSize = 0x40000;

  /// A closed file that will buffer `buffer_size` bytes (0: every transfer goes to the system).
  /// The buffer is allocated on the first open.
  explicit MFile(std::size_t buffer_size = kDefaultBufferSize);
  /// Closes the file; buffered data is written, and a failure to do so is lost: call CLOSE to
  /// learn of it.
  ~MFile();
  MFile(const MFile&) = delete;
  MFile& operator=(const MFile&) = delete;

  /// Opens an existing file or device for reading from its start. False if the name is empty,
  /// cannot be opened, is a directory, or this file is open already (it then stays as it is).
  bool OPEN_READ(const MFileName& name);
  /// Opens for reading only the very file that `identity` describes: no symbolic link is
  /// followed, a FIFO or device does not block the call, and the file must be a regular file
  /// of the recorded device, inode and size. False (and nothing open) for anything else, as
  /// for a missing file or an unknown identity.
  bool OPEN_READ(const MFileName& name, const MFileIdentity& identity);
  /// Opens the file for writing, creating it with permissions 0600 (less the umask) or
  /// truncating it if it exists; an existing file keeps its permissions. False if the name is
  /// empty, the file cannot be created or opened, or this file is open already.
  bool OPEN_WRITE(const MFileName& name);
  /// Makes a new temporary file as MFileName::SET_TEMP_NAME does (its name goes into `name`)
  /// and opens it for writing in the same step, so it is not opened twice.
  bool OPEN_WRITE_TEMP(MFileName& name, const std::wstring& directory, const wchar_t* prefix,
                       const wchar_t* extension = nullptr, std::uint32_t maximum = 65535);
  /// Takes over `fd`, a new file open for writing that the caller made itself (by a name it
  /// chose), as OPEN_WRITE_TEMP would have opened it; the file owns the descriptor from now on.
  /// False, leaving `fd` to the caller, if this file is open already or `fd` is negative.
  bool _OPEN_WRITE_DESCRIPTOR(int fd);
  /// The bytes WRITE accepted since the file was opened for writing: the file's size once
  /// CLOSE succeeded.
  std::int64_t GET_WRITTEN() const { return m_written; }
  /// Writes what is buffered and closes the file. True when every byte that WRITE accepted
  /// since the open reached the system and the close succeeded; true also if nothing was open.
  bool CLOSE();
  /// CLOSE, and on success the identity of the file as written (for OPEN_READ with identity);
  /// on failure `identity` is unknown.
  bool CLOSE(MFileIdentity& identity);
  /// Writes what is buffered without closing; false if it could not all be written (the file
  /// is failed then) or the file is not open for writing.
  bool FLUSH();
  /// True between a successful open and CLOSE.
  bool IS_OPEN() const { return m_fd >= 0; }
  /// True once a write to the disk has failed since the open.
  bool HAS_FAILED() const { return m_failed; }
  /// True once a READ since the open gave fewer items than asked (the file ended early or a
  /// read failed); a loader asks this to tell a whole state from one cut short.
  bool HAS_SHORT_READ() const { return m_short_read; }

  /// Reads up to `count` items into `data` and answers how many whole items arrived; fewer at
  /// the end of the file or on a read error, 0 if not open for reading. What did not arrive is
  /// left zero in `data` (the bytes of a partial last item that did arrive stand), and the
  /// file remembers the short read (HAS_SHORT_READ).
  std::size_t READ(char* data, std::size_t count);
  std::size_t READ(unsigned char* data, std::size_t count);
  std::size_t READ(short* data, std::size_t count);
  std::size_t READ(unsigned short* data, std::size_t count);
  std::size_t READ(std::int32_t* data, std::size_t count);
  std::size_t READ(std::uint32_t* data, std::size_t count);
  std::size_t READ(float* data, std::size_t count);
  std::size_t READ(double* data, std::size_t count);

  /// Writes `count` items from `data` and answers how many whole items were accepted: all of
  /// them unless the disk refused data (then fewer, usually 0, and the file is failed) or the
  /// file is not open for writing. Accepted items may still sit in the buffer: only CLOSE or
  /// FLUSH confirms that they reached the system.
  std::size_t WRITE(const char* data, std::size_t count);
  std::size_t WRITE(const unsigned char* data, std::size_t count);
  std::size_t WRITE(const short* data, std::size_t count);
  std::size_t WRITE(const unsigned short* data, std::size_t count);
  std::size_t WRITE(const std::int32_t* data, std::size_t count);
  std::size_t WRITE(const std::uint32_t* data, std::size_t count);
  std::size_t WRITE(const float* data, std::size_t count);
  std::size_t WRITE(const double* data, std::size_t count);
  // There are deliberately no 64-bit integer forms: int64_t is the platform's `long`, and a
  // `long` passed by mistake must not silently take 8 bytes in a format that gives it 4.
  // Write 64-bit values as 8 chars.

 private:
  enum class Mode { Closed, Read, Write };

  bool _Open(const MFileName& name, int flags, Mode mode);
  // The file's offset as this file moved it, kept to choose staging for a transfer without
  // asking the system each time.
  static constexpr std::int64_t kOffsetUnknown = -1;  // ask the system when first needed
  static constexpr std::int64_t kOffsetNone = -2;     // the file has none (a pipe)
  bool _Adopt(int fd, Mode mode);  // the offset unknown
  OSTRUM_LOCAL bool _AdoptOpened(int fd, Mode mode);  // opened just now: at offset 0
  OSTRUM_LOCAL std::int64_t _OffsetForStaging(std::size_t size);
  OSTRUM_LOCAL void _Moved(std::size_t bytes);
  std::size_t _Read(void* data, std::size_t count, std::size_t item_size);
  std::size_t _Write(const void* data, std::size_t count, std::size_t item_size);
  bool _FlushBuffer();
  std::size_t _WriteToSystem(const unsigned char* data, std::size_t size);
  std::size_t _WriteTwoToSystem(const unsigned char* first, std::size_t first_size, const unsigned char* second,
                                std::size_t second_size);
  bool _Reserve(std::size_t size);
  std::size_t _ReadFromSystem(unsigned char* data, std::size_t size);

  int m_fd = -1;
  std::int64_t m_written = 0;
  Mode m_mode = Mode::Closed;
  bool m_failed = false;
  bool m_short_read = false;
  std::size_t m_capacity;                     // the buffer's size as asked for
  std::unique_ptr<unsigned char[]> m_buffer;  // m_storage bytes, at most m_capacity
  std::size_t m_storage = 0;
  std::size_t m_read_ahead = 0;               // what the next refill asks for at least
  std::int64_t m_offset = kOffsetUnknown;
  // Reading: bytes [m_begin, m_end) of the buffer are read from the system and not yet taken.
  // Writing: bytes [0, m_end) are accepted and not yet written; m_begin stays 0.
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
};
