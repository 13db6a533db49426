#include "ostrum/undo/MStreamUndo.h"

#include <cstdint>
#include <memory>

#include "ostrum/foundation/core/CharacterSetConversions.h"
#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/geometry/MMTransformMatrix.h"

// The format gives every type a fixed size; these are the sizes the raw copies below rely on.
static_assert(sizeof(int) == 4 && sizeof(long long) == 8, "int takes 4 bytes, long long 8");
static_assert(sizeof(IObject*) == 8 && sizeof(MScene*) == 8 && sizeof(MSceneEx*) == 8,
              "pointers are stored as eight bytes");
static_assert(sizeof(char16_t) == 2, "text is stored as 16-bit code units");

namespace {

// Eight raw bytes, for the 64-bit integers and the pointers that MFile has no item type for.
template <typename T>
void WriteRaw(MFile* file, T const& value) {
  static_assert(sizeof(T) == 8);
  file->WRITE(reinterpret_cast<char const*>(&value), sizeof value);
}

template <typename T>
void ReadRaw(MFile* file, T& value) {
  static_assert(sizeof(T) == 8);
  file->READ(reinterpret_cast<char*>(&value), sizeof value);
}

// Labels and names fit here; longer text goes to the heap.
constexpr std::size_t kStackTextUnits = 256;

}  // namespace

MStreamUndoOut& MStreamUndoOut::operator<<(char value) { m_file->WRITE(&value, 1); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(unsigned char value) { m_file->WRITE(&value, 1); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(short value) { m_file->WRITE(&value, 1); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(unsigned short value) { m_file->WRITE(&value, 1); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(float value) { m_file->WRITE(&value, 1); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(double value) { m_file->WRITE(&value, 1); return *this; }

MStreamUndoOut& MStreamUndoOut::operator<<(int value) { m_file->WRITE(&value, 1); return *this; }

MStreamUndoOut& MStreamUndoOut::operator<<(long value) {
  // The format's long is 32 bits: a 64-bit long keeps its low half.
  auto const stored = static_cast<std::int32_t>(value);
  m_file->WRITE(&stored, 1);
  return *this;
}

MStreamUndoOut& MStreamUndoOut::operator<<(unsigned int value) { m_file->WRITE(&value, 1); return *this; }

MStreamUndoOut& MStreamUndoOut::operator<<(unsigned long value) {
  auto const stored = static_cast<std::uint32_t>(value);
  m_file->WRITE(&stored, 1);
  return *this;
}

MStreamUndoOut& MStreamUndoOut::operator<<(long long value) { WriteRaw(m_file, value); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(unsigned long long value) { WriteRaw(m_file, value); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(IObject* object) { WriteRaw(m_file, object); return *this; }
MStreamUndoOut& MStreamUndoOut::operator<<(MScene* scene) { WriteRaw(m_file, scene); return *this; }

MStreamUndoOut& MStreamUndoOut::operator<<(bool value) {
  short const stored = value ? 1 : 0;
  m_file->WRITE(&stored, 1);
  return *this;
}

MStreamUndoOut& MStreamUndoOut::operator<<(std::wstring const& text) {
  CharacterSetConversions::String<wchar_t> const units(text);
  // The count is cut to 16 bits, and then only that many bytes follow: a reader takes exactly
  // the bytes the count announces, so the stream stays in step even for text that wrapped.
  auto const count = static_cast<unsigned short>(units.GetByteLength());
  if (m_file->WRITE(&count, 1) == 0) return *this;
  m_file->WRITE(reinterpret_cast<unsigned char const*>(units.GetData()), count);
  return *this;
}

int MStreamUndoOut::WriteBuffer(unsigned char const* data, int size) {
  if (size <= 0) return 0;
  return static_cast<int>(m_file->WRITE(data, static_cast<std::size_t>(size)));
}

MStreamUndoIn& MStreamUndoIn::operator>>(char& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(unsigned char& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(short& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(unsigned short& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(int& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(unsigned int& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(float& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(double& value) { m_file->READ(&value, 1); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(long long& value) { ReadRaw(m_file, value); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(unsigned long long& value) { ReadRaw(m_file, value); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(IObject*& object) { ReadRaw(m_file, object); return *this; }
MStreamUndoIn& MStreamUndoIn::operator>>(MSceneEx*& scene) { ReadRaw(m_file, scene); return *this; }

MStreamUndoIn& MStreamUndoIn::operator>>(long& value) {
  std::int32_t stored;
  if (m_file->READ(&stored, 1) == 1) value = stored;
  return *this;
}

MStreamUndoIn& MStreamUndoIn::operator>>(unsigned long& value) {
  std::uint32_t stored;
  if (m_file->READ(&stored, 1) == 1) value = stored;
  return *this;
}

MStreamUndoIn& MStreamUndoIn::operator>>(bool& value) {
  short stored;
  if (m_file->READ(&stored, 1) == 1) value = stored == 1;
  return *this;
}

MStreamUndoIn& MStreamUndoIn::operator>>(std::wstring& text) {
  unsigned short count;
  if (m_file->READ(&count, 1) == 0) return *this;
  // Room for every byte of an odd count too; only whole code units become text.
  std::size_t const units = (count + 1u) / 2;
  char16_t stack_buffer[kStackTextUnits];
  std::unique_ptr<char16_t[]> heap_buffer;
  char16_t* buffer = stack_buffer;
  if (units > kStackTextUnits) {
    heap_buffer.reset(new char16_t[units]);
    buffer = heap_buffer.get();
  }
  if (m_file->READ(reinterpret_cast<unsigned char*>(buffer), count) != count) return *this;
  text = CharacterSetConversions::String<wchar_t>::ToWide(buffer, count / 2u);
  return *this;
}

MStreamUndoOut& operator<<(MStreamUndoOut& out, MMTransformMatrix const& matrix) {
  double elements[16];
  matrix.ConvertToDouble16(elements);  // row by row
  out.GetMFile()->WRITE(elements, 16);
  return out;
}

MStreamUndoIn& operator>>(MStreamUndoIn& in, MMTransformMatrix& matrix) {
  // Elements that do not arrive keep their values: the array starts as the matrix, and the one
  // element a short read may have filled in part is put back.
  double elements[16];
  matrix.ConvertToDouble16(elements);
  std::size_t const arrived = in.GetMFile()->READ(elements, 16);
  if (arrived < 16) elements[arrived] = matrix.GetElement(static_cast<int>(arrived / 4), static_cast<int>(arrived % 4));
  for (int i = 0; i < 16; ++i) matrix.SetElement(i / 4, i % 4, elements[i], false);
  // The elements were set without refreshing: class and inverse are derived once, now.
  matrix.VerifyAndSetClass();
  matrix._ComputeInverse();
  return in;
}
