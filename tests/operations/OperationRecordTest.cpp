#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "ostrum/foundation/core/MFile.h"
#include "ostrum/foundation/core/MFileName.h"
#include "ostrum/operations/MOperation.h"

namespace {

// A fresh file of the system's temporary directory, removed at the end of the test.
class TempFile {
 public:
  TempFile() { EXPECT_TRUE(m_name.SET_TEMP_NAME(nullptr, L"ostrum-operation-", L".bin")); }
  ~TempFile() { m_name.REMOVE(); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  const MFileName& Name() const { return m_name; }
  std::vector<unsigned char> Bytes() const {
    std::ifstream in(m_name.GET_NATIVE_PATH(), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void Write(const std::vector<char>& bytes) const {
    MFile file;
    ASSERT_TRUE(file.OPEN_WRITE(m_name));
    ASSERT_EQ(file.WRITE(bytes.data(), bytes.size()), bytes.size());
    ASSERT_TRUE(file.CLOSE());
  }

 private:
  MFileName m_name;
};

TEST(MOperationRecord, SaveWritesTheActionAloneInFourLittleEndianBytes) {
  TempFile temp;
  MOperation op;
  op.SetAction(0x01020304);
  op.ChangeFlags(0x8, 0x40000);
  op.SetSenderID(99);
  {
    MFile file;
    ASSERT_TRUE(file.OPEN_WRITE(temp.Name()));
    EXPECT_TRUE(op.Save(file));
    ASSERT_TRUE(file.CLOSE());
  }
  EXPECT_EQ(temp.Bytes(), (std::vector<unsigned char>{0x04, 0x03, 0x02, 0x01}));

  MFile closed;
  EXPECT_FALSE(op.Save(closed)) << "a write that did not happen must not answer true";
}

TEST(MOperationRecord, LoadTakesTheActionAndLeavesTheFlags) {
  TempFile temp;
  {
    MFile file;
    ASSERT_TRUE(file.OPEN_WRITE(temp.Name()));
    MOperation label(MOperation::ACTION_CHANGE_LABEL);
    ASSERT_TRUE(label.Save(file));
    ASSERT_TRUE(file.CLOSE());
  }
  EXPECT_EQ(temp.Bytes(), (std::vector<unsigned char>{0x04, 0x00, 0x00, 0x00}));

  MOperation op(MOperation::ACTION_REFRESH);
  MFile file;
  ASSERT_TRUE(file.OPEN_READ(temp.Name()));
  EXPECT_TRUE(op.Load(file));
  EXPECT_EQ(op.GetAction(), 4u);
  EXPECT_EQ(op.GetFlags(), 0x700000u) << "Load must not rebuild the flags of action 4";
  EXPECT_FALSE(op.Load(file)) << "the end of the file";
  EXPECT_EQ(op.GetAction(), 4u);
}

TEST(MOperationRecord, TruncatedRecordFailsAndKeepsTheAction) {
  TempFile temp;
  temp.Write({0x07, 0x00});
  MOperation op(MOperation::ACTION_RUN_ONCE);
  MFile file;
  ASSERT_TRUE(file.OPEN_READ(temp.Name()));
  EXPECT_FALSE(op.Load(file));
  EXPECT_EQ(op.GetAction(), 400u) << "half a record must not overwrite the action";
}

}  // namespace
