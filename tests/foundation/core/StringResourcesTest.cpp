#include "ostrum/foundation/core/StringResources.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

// The host fills the table while the framework reads it, from several threads; a lookup that
// finds nothing leaves no stale text behind.
TEST(StringResources, SeveralThreadsUseTheTableAtOnce) {
  VarnResClearStrings();
  std::atomic<int> errors{0};
  std::vector<std::thread> threads;
  for (unsigned int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &errors] {
      const std::wstring mine = L"text of thread " + std::to_wstring(t);
      std::wstring loaded;
      for (unsigned int id = t * 10000; id < t * 10000 + 2000; ++id) {
        VarnResSetString(id, mine);
        if (!VarnResLoadStringEx(id, loaded) || loaded != mine) ++errors;
        if (id % 2 == 0 && (!VarnResRemoveString(id) || VarnResLoadStringEx(id, loaded) || !loaded.empty())) ++errors;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(errors.load(), 0);
  CString text(L"stale");
  EXPECT_TRUE(VarnResLoadStringEx(10001, text));
  EXPECT_EQ(text, L"text of thread 1");
  VarnResSetString(10001, static_cast<const wchar_t*>(nullptr));
  EXPECT_FALSE(VarnResLoadStringEx(10001, text)) << "a null text removes the entry";
  EXPECT_TRUE(text.IsEmpty());
  VarnResSetString(5, L"");
  EXPECT_TRUE(VarnResLoadStringEx(5, text)) << "an empty text is still a text";
  VarnResClearStrings();
  EXPECT_TRUE(VarnResLoadStringEx(30001).IsEmpty());
}

}  // namespace
