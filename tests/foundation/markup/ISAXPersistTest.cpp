#include "ostrum/foundation/markup/ISAXPersist.h"

#include <gtest/gtest.h>

namespace {

// An object reached through two interfaces that both take the identity as a virtual base, as
// objects of the model do: the writer numbers it once, whichever interface it came through.
class IOther : public virtual ISAXReference {};

class Element : public ISAXPersist, public IOther {
 public:
  explicit Element(int* destroyed) : m_destroyed(destroyed) {}
  ~Element() override { ++*m_destroyed; }

 private:
  int* m_destroyed;
};

TEST(ISAXPersist, AnObjectHasOneIdentityWhicheverInterfaceReachesIt) {
  int destroyed = 0;
  auto* element = new Element(&destroyed);
  ISAXReference* identity = static_cast<ISAXPersist*>(element)->GetObjectReference();
  EXPECT_EQ(identity, static_cast<ISAXReference*>(static_cast<IOther*>(element)));
  EXPECT_EQ(dynamic_cast<ISAXPersist*>(identity), static_cast<ISAXPersist*>(element));
  delete identity;  // the identity's destructor is virtual
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
