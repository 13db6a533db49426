#include "ostrum/foundation/markup/ISAXPersist.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace {

// An object reached through two interfaces that both take the identity as a virtual base, as
// objects of the model do. It overrides one operation and keeps the other defaults.
class IOther : public virtual ISAXReference {
 public:
  virtual int Other() const { return 1; }
};

class Element : public ISAXPersist, public IOther {
 public:
  explicit Element(int* destroyed) : m_destroyed(destroyed) {}
  ~Element() override { ++*m_destroyed; }
  void HandleEndTag(const std::wstring& tag) override { m_ended += tag + L";"; }
  std::wstring m_ended;

 private:
  int* m_destroyed;
};

TEST(ISAXPersist, DefaultsTakeNoTagAndWriteSuccessfully) {
  int destroyed = 0;
  Element element(&destroyed);
  ISAXPersist& persist = element;
  // The defaults only pass the reader and writer through; these stand-ins are never touched.
  alignas(std::max_align_t) unsigned char stand_in[64] = {};
  EXPECT_FALSE(persist.HandleTag(L"Child", *reinterpret_cast<MSAXReader*>(stand_in)));
  EXPECT_TRUE(persist.Write(*reinterpret_cast<MSAXWriter*>(stand_in)));
  persist.SetPersistent(false);
  EXPECT_TRUE(persist.IsPersistent()) << "the default keeps no flag";
  persist.HandleEndTag(L"Children");
  EXPECT_EQ(element.m_ended, L"Children;") << "the override is reached through the interface";
}

TEST(ISAXPersist, AnObjectHasOneIdentityWhicheverInterfaceReachesIt) {
  int destroyed = 0;
  auto* element = new Element(&destroyed);
  ISAXReference* through_persist = element->GetObjectReference();
  ISAXReference* through_other = static_cast<IOther*>(element);
  EXPECT_EQ(through_persist, through_other);
  EXPECT_EQ(dynamic_cast<ISAXPersist*>(through_other), static_cast<ISAXPersist*>(element));
  EXPECT_EQ(dynamic_cast<IOther*>(through_persist)->Other(), 1);
  delete through_persist;  // the identity's destructor is virtual
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
