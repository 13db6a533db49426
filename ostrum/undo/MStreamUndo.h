#pragma once
// MStreamUndoOut, MStreamUndoIn: the streams through which objects write their state for undo
// and read it back.
//
// The data goes to a temporary file that lives only as long as the process, and it is read
// back by the same build of the same classes. So the format has no header, version or tags,
// and object references are stored as raw pointers. Reader and writer must take the same types
// in the same order: a reader out of step reads garbage, and nothing tells it so.
//
// Bytes on file, little-endian, without alignment or separators:
//   char, unsigned char                     1
//   short, unsigned short                   2
//   int, long, unsigned int, unsigned long  4   long and unsigned long keep their low 32 bits
//   float                                   4
//   double                                  8
//   long long, unsigned long long           8
//   bool                                    2   a short, 1 or 0; only 1 reads back as true
//   IObject*, MScene* / MSceneEx*           8   the pointer's bytes; null is eight zeros
//   std::wstring                            2 + n   n, the byte count (2 per UTF-16 code
//                                           unit, cut to 16 bits), then n bytes of code units
//   MMTransformMatrix                       128 sixteen doubles, row by row
//
// On Linux int64_t is `long` and size_t is `unsigned long`: both take 4 bytes here. Write a
// value that may not fit 32 bits as long long.
//
// No operator reports failure or throws; whoever needs to know looks at the file (MFile's
// HAS_FAILED, CLOSE, or the counts of its own READ and WRITE).

#include <string>

#include "ostrum/Export.h"

class IObject;
class MFile;
class MMTransformMatrix;
class MScene;
class MSceneEx;

/// Writes state to a file that the caller opened for writing and will close. Holds only the
/// file pointer: copies share the file, and destroying a stream leaves the file alone.
class OSTRUM_API MStreamUndoOut {
 public:
  /// A stream on `file`, which is not owned and must outlive every write.
  explicit MStreamUndoOut(MFile* file) : m_file(file) {}

  /// The file written to, not owned.
  MFile* GetMFile() const { return m_file; }

  MStreamUndoOut& operator<<(char value);
  MStreamUndoOut& operator<<(unsigned char value);
  MStreamUndoOut& operator<<(short value);
  MStreamUndoOut& operator<<(unsigned short value);
  /// Four bytes.
  MStreamUndoOut& operator<<(int value);
  /// Four bytes: the low 32 bits of a 64-bit long.
  MStreamUndoOut& operator<<(long value);
  /// Four bytes.
  MStreamUndoOut& operator<<(unsigned int value);
  /// Four bytes: the low 32 bits of a 64-bit unsigned long (and so of a size_t).
  MStreamUndoOut& operator<<(unsigned long value);
  MStreamUndoOut& operator<<(float value);
  MStreamUndoOut& operator<<(double value);
  /// Eight bytes.
  MStreamUndoOut& operator<<(long long value);
  /// Eight bytes.
  MStreamUndoOut& operator<<(unsigned long long value);
  /// Two bytes: the short 1 for true, 0 for false.
  MStreamUndoOut& operator<<(bool value);
  /// The pointer's eight bytes; meaningful only to a reader in this process.
  MStreamUndoOut& operator<<(IObject* object);
  /// The pointer's eight bytes; read back as an MSceneEx*.
  MStreamUndoOut& operator<<(MScene* scene);
  /// The byte count as an unsigned short, then the UTF-16 code units. Text of 32768 code
  /// units or more wraps: the count is taken modulo 65536 and only that many bytes follow.
  MStreamUndoOut& operator<<(std::wstring const& text);
  // A character pointer would otherwise convert to bool and go out as two bytes: write text as
  // std::wstring.
  MStreamUndoOut& operator<<(char const*) = delete;
  MStreamUndoOut& operator<<(wchar_t const*) = delete;

  /// Writes `size` bytes as they are, without a length prefix, and answers what MFile::WRITE
  /// answers (the bytes accepted); 0 and nothing written when `size` is not positive. Large
  /// blocks bypass the file's buffer.
  int WriteBuffer(unsigned char const* data, int size);

  /// Marks, in an object's code, that a state stream is expected here; checks nothing.
  static void AssertUndo() {}

 private:
  MFile* m_file;
};

/// Reads state written by MStreamUndoOut from a file that the caller opened for reading and
/// will close. Holds only the file pointer, like the writer. A reader that needs a block
/// written by WriteBuffer reads it from GetMFile().
///
/// Short reads: a value the file holds in the target's own bytes (char to double, int,
/// unsigned int, long long, unsigned long long, pointers) is read into the target, so after a
/// short read it holds what MFile left there. A long, unsigned long, bool or string is
/// converted, and changes only when all of its bytes arrived.
class OSTRUM_API MStreamUndoIn {
 public:
  /// A stream on `file`, which is not owned and must outlive every read.
  explicit MStreamUndoIn(MFile* file) : m_file(file) {}

  /// The file read from, not owned.
  MFile* GetMFile() const { return m_file; }

  MStreamUndoIn& operator>>(char& value);
  MStreamUndoIn& operator>>(unsigned char& value);
  MStreamUndoIn& operator>>(short& value);
  MStreamUndoIn& operator>>(unsigned short& value);
  MStreamUndoIn& operator>>(int& value);
  /// Four bytes, sign-extended.
  MStreamUndoIn& operator>>(long& value);
  MStreamUndoIn& operator>>(unsigned int& value);
  /// Four bytes, zero-extended.
  MStreamUndoIn& operator>>(unsigned long& value);
  MStreamUndoIn& operator>>(float& value);
  MStreamUndoIn& operator>>(double& value);
  MStreamUndoIn& operator>>(long long& value);
  MStreamUndoIn& operator>>(unsigned long long& value);
  /// True only for the stored short 1; any other value is false.
  MStreamUndoIn& operator>>(bool& value);
  /// A pointer as written; it is only valid if the object still lives.
  MStreamUndoIn& operator>>(IObject*& object);
  /// A pointer written as an MScene*.
  MStreamUndoIn& operator>>(MSceneEx*& scene);
  /// The byte count, then that many bytes of UTF-16 code units, all of which become the text
  /// (null units included). Nothing changes if the count or the text is cut short; an odd
  /// count, which only a reader out of step sees, leaves its last byte unused.
  MStreamUndoIn& operator>>(std::wstring& text);

  /// Marks, in an object's code, that a state stream is expected here; checks nothing.
  static void AssertUndo() {}

 private:
  MFile* m_file;
};

/// The sixteen elements row by row, (0,0), (0,1), ... (3,3), each as a double.
OSTRUM_API MStreamUndoOut& operator<<(MStreamUndoOut& out, MMTransformMatrix const& matrix);
/// Reads the sixteen elements row by row, then derives the matrix's class and its inverse anew.
/// After a short read the elements that arrived whole are set and the others keep their values.
OSTRUM_API MStreamUndoIn& operator>>(MStreamUndoIn& in, MMTransformMatrix& matrix);
