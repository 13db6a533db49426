// Thread-local slots, critical sections and thread numbers of the desktop model.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "ostrum/foundation/platform/CriticalSection.h"
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

TEST(ThreadLocalSlots, RunsOutAndRecovers) {
  std::vector<DWORD> slots;
  for (DWORD slot; (slot = TlsAlloc()) != TLS_OUT_OF_INDEXES;) slots.push_back(slot);
  EXPECT_GE(slots.size() + 1, 1088u - 8) << "at least the model's 1088 slots less those in use";
  EXPECT_TRUE(TlsFree(slots.back()));
  EXPECT_EQ(TlsAlloc(), slots.back());
  for (DWORD slot : slots) TlsFree(slot);
}

TEST(CriticalSection, HolderEntersAgainOthersWaitUntilFullyLeft) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  EnterCriticalSection(&section);
  EXPECT_TRUE(TryEnterCriticalSection(&section)) << "the holder enters again";
  auto other_gets_in = [&] {
    BOOL got = FALSE;
    std::thread([&] {
      got = TryEnterCriticalSection(&section);
      if (got) LeaveCriticalSection(&section);
    }).join();
    return got;
  };
  EXPECT_FALSE(other_gets_in());
  LeaveCriticalSection(&section);
  EXPECT_FALSE(other_gets_in()) << "entered twice, left once";
  LeaveCriticalSection(&section);
  EXPECT_TRUE(other_gets_in());
  DeleteCriticalSection(&section);
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
  EXPECT_NE(GetModuleHandleW(nullptr), nullptr);
  EXPECT_EQ(GetModuleHandleW(nullptr), GetModuleHandleW(nullptr));
}

}  // namespace
