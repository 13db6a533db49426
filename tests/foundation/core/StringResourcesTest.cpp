#include "ostrum/foundation/core/StringResources.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

// The table is process-wide: every test starts and ends with it empty.
class StringResources : public ::testing::Test {
 protected:
  void SetUp() override { VarnResClearStrings(); }
  void TearDown() override { VarnResClearStrings(); }
};

TEST_F(StringResources, AllThreeFormsFindTheHostsTextAndFailForUnknownIds) {
  VarnResSetString(358, L"Change");
  VarnResSetString(381, std::wstring(L"File \u00ab%s\u00bb not found"));
  CString text(L"stale");
  std::wstring wide = L"stale";
  EXPECT_EQ(VarnResLoadStringEx(358), L"Change");
  EXPECT_TRUE(VarnResLoadStringEx(381, text));
  EXPECT_EQ(text, L"File \u00ab%s\u00bb not found");
  EXPECT_TRUE(VarnResLoadStringEx(358, wide));
  EXPECT_EQ(wide, L"Change");

  EXPECT_TRUE(VarnResLoadStringEx(12345).IsEmpty());
  EXPECT_FALSE(VarnResLoadStringEx(12345, text));
  EXPECT_TRUE(text.IsEmpty()) << "no stale text is left behind";
  EXPECT_FALSE(VarnResLoadStringEx(12345, wide));
  EXPECT_TRUE(wide.empty());
}

TEST_F(StringResources, HostReplacesRemovesAndClears) {
  std::wstring wide;
  VarnResSetString(1, L"one");
  VarnResSetString(1, L"uno");
  EXPECT_EQ(VarnResLoadStringEx(1), L"uno");
  VarnResSetString(2, L"");
  EXPECT_TRUE(VarnResLoadStringEx(2, wide)) << "an empty text is still a text";
  VarnResSetString(3, L"three");
  EXPECT_TRUE(VarnResRemoveString(1));
  EXPECT_FALSE(VarnResRemoveString(1));
  EXPECT_FALSE(VarnResLoadStringEx(1, wide));
  VarnResSetString(2, static_cast<const wchar_t*>(nullptr));
  EXPECT_FALSE(VarnResLoadStringEx(2, wide)) << "a null text removes the entry";
  VarnResClearStrings();
  EXPECT_FALSE(VarnResLoadStringEx(3, wide));
}

TEST_F(StringResources, SeveralThreadsUseTheTableAtOnce) {
  std::atomic<int> errors{0};
  std::vector<std::thread> threads;
  for (unsigned int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &errors] {
      const std::wstring mine = L"text of thread " + std::to_wstring(t);
      std::wstring loaded;
      for (unsigned int id = t * 10000; id < t * 10000 + 2000; ++id) {
        VarnResSetString(id, mine);
        if (!VarnResLoadStringEx(id, loaded) || loaded != mine) ++errors;
        if (id % 2 == 0 && !VarnResRemoveString(id)) ++errors;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(errors.load(), 0);
  EXPECT_EQ(VarnResLoadStringEx(10001), L"text of thread 1");
}

}  // namespace
