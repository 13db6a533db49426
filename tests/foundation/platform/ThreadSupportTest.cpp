// Thread-local slots and thread numbers of the desktop model.

#include <gtest/gtest.h>

#include <thread>

#include "ostrum/foundation/platform/LastError.h"
#include "ostrum/foundation/platform/ProcessIdentity.h"
#include "ostrum/foundation/platform/ThreadLocalSlots.h"

namespace {

TEST(ThreadLocalSlots, EachThreadSeesItsOwnValue) {
  const DWORD slot = TlsAlloc();
  ASSERT_NE(slot, TLS_OUT_OF_INDEXES);
  int mine = 1, theirs = 2;
  ASSERT_TRUE(TlsSetValue(slot, &mine));
  void* seen_before = &mine;
  void* seen_after = nullptr;
  std::thread([&] {
    seen_before = TlsGetValue(slot);
    TlsSetValue(slot, &theirs);
    seen_after = TlsGetValue(slot);
  }).join();
  EXPECT_EQ(seen_before, nullptr) << "a new thread starts from null";
  EXPECT_EQ(seen_after, &theirs);
  EXPECT_EQ(TlsGetValue(slot), &mine);
  EXPECT_TRUE(TlsFree(slot));
}

TEST(ThreadLocalSlots, AFreedSlotHandedOutAgainStartsFromNull) {
  const DWORD slot = TlsAlloc();
  int value = 3;
  TlsSetValue(slot, &value);
  ASSERT_TRUE(TlsFree(slot));
  EXPECT_EQ(TlsGetValue(slot), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(TlsSetValue(slot, &value));
  EXPECT_FALSE(TlsFree(slot));

  const DWORD again = TlsAlloc();
  ASSERT_EQ(again, slot) << "the lowest free index is handed out";
  SetLastError(77);
  EXPECT_EQ(TlsGetValue(again), nullptr) << "the old value does not show through";
  EXPECT_EQ(GetLastError(), ERROR_SUCCESS) << "a null value is told from a failure";
  TlsFree(again);
}

TEST(ProcessIdentity, ThreadNumbersAreStableAndNotReused) {
  const DWORD me = GetCurrentThreadId();
  EXPECT_NE(me, 0u);
  EXPECT_EQ(GetCurrentThreadId(), me);
  DWORD first = 0, second = 0;
  std::thread([&] { first = GetCurrentThreadId(); }).join();
  std::thread([&] { second = GetCurrentThreadId(); }).join();
  EXPECT_NE(first, me);
  EXPECT_NE(first, second) << "an ended thread's number is not given again";
}

}  // namespace
