// The factory's registry: which creator a tag and its parent find, replacing and forgetting
// creators, and creators that call back into the factory from several threads.

#include "ostrum/persistence/MSCObjectFactory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using Ostrum::MSCObjectFactory;

struct Made : ISAXPersist {
  explicit Made(int k) : kind(k) {}
  int kind;
};

MSCObjectFactory::Creator Maker(int kind) {
  return [kind] { return static_cast<ISAXPersist*>(new Made(kind)); };
}

int KindOf(std::wstring const& tag, std::wstring const& parent) {
  std::unique_ptr<ISAXPersist> made(MSCObjectFactory::CreateObjectForTag(tag, parent));
  return made ? static_cast<Made*>(made.get())->kind : 0;
}

TEST(MSCObjectFactory, TheParentsCreatorWinsOverTheDefaultAndRegistrationsReplaceAndForget) {
  EXPECT_TRUE(MSCObjectFactory::AnyParentTag().empty());
  EXPECT_EQ(KindOf(L"Screw", L"Plan"), 0);
  MSCObjectFactory::RegisterCreatorForTag(Maker(1), L"Screw", MSCObjectFactory::AnyParentTag());
  MSCObjectFactory::RegisterCreatorForTag(Maker(2), L"Screw", L"Implant");
  EXPECT_EQ(KindOf(L"Screw", L"Implant"), 2);
  EXPECT_EQ(KindOf(L"Screw", L"Plan"), 1);
  EXPECT_EQ(KindOf(L"Screw", MSCObjectFactory::AnyParentTag()), 1);
  MSCObjectFactory::RegisterCreatorForTag(Maker(3), L"Screw", L"Implant");
  EXPECT_EQ(KindOf(L"Screw", L"Implant"), 3);
  // Without its default the record stays for its parent; without both it is gone.
  MSCObjectFactory::UnregisterCreatorForTag(L"Screw", MSCObjectFactory::AnyParentTag());
  EXPECT_EQ(KindOf(L"Screw", L"Plan"), 0);
  EXPECT_EQ(KindOf(L"Screw", L"Implant"), 3);
  MSCObjectFactory::UnregisterCreatorForTag(L"Screw", L"Implant");
  EXPECT_EQ(KindOf(L"Screw", L"Implant"), 0);
  MSCObjectFactory::UnregisterCreatorForTag(L"Screw", L"Implant");  // nothing left: no effect
  MSCObjectFactory::RegisterCreatorForTag(Maker(4), L"Pin", L"Plan");
  EXPECT_EQ(KindOf(L"Pin", L"Other"), 0);
  MSCObjectFactory::UnregisterCreatorForTag(L"Pin", L"Plan");
}

TEST(MSCObjectFactory, CreatorsMayCallBackAndThrowAndRegistrationsComeFromManyThreads) {
  // A creator that makes its part through the factory again, under the lock it holds.
  MSCObjectFactory::RegisterCreatorForTag(Maker(7), L"Part", L"Assembly");
  MSCObjectFactory::RegisterCreatorForTag(
      [] { return MSCObjectFactory::CreateObjectForTag(L"Part", L"Assembly"); }, L"Assembly",
      MSCObjectFactory::AnyParentTag());
  EXPECT_EQ(KindOf(L"Assembly", L"Plan"), 7);
  MSCObjectFactory::RegisterCreatorForTag([]() -> ISAXPersist* { throw std::runtime_error("no memory"); }, L"Bad",
                                          MSCObjectFactory::AnyParentTag());
  EXPECT_THROW(MSCObjectFactory::CreateObjectForTag(L"Bad", L""), std::runtime_error);
  EXPECT_EQ(KindOf(L"Assembly", L"Plan"), 7);  // the lock was given back

  std::atomic<int> made{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([t, &made] {
      std::wstring const tag = L"T" + std::to_wstring(t);
      for (int i = 0; i < 200; ++i) {
        MSCObjectFactory::RegisterCreatorForTag(Maker(i + 1), tag, MSCObjectFactory::AnyParentTag());
        made += KindOf(tag, L"Plan") == i + 1;
        MSCObjectFactory::UnregisterCreatorForTag(tag, MSCObjectFactory::AnyParentTag());
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(made, 800);
  for (wchar_t const* tag : {L"Part", L"Bad"}) MSCObjectFactory::UnregisterCreatorForTag(tag, MSCObjectFactory::AnyParentTag());
  MSCObjectFactory::UnregisterCreatorForTag(L"Part", L"Assembly");
  MSCObjectFactory::UnregisterCreatorForTag(L"Assembly", MSCObjectFactory::AnyParentTag());
}

}  // namespace
