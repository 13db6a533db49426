#include <gtest/gtest.h>

#include "AllocationCount.h"
#include "ostrum/objects/MDefinedObject.h"

namespace {

std::vector<const MDefinedObject*> DefiningObjects(const MDefinedObject& object) {
  std::vector<const MDefinedObject*> list;
  for (size_t i = 0; i < object.GetNumberOfDefiningObjects(); ++i) list.push_back(object.GetDefiningObject(i));
  return list;
}

TEST(MDefinedObject, ListHoldsEachObjectOnceAndIsFreedWhenEmpty) {
  MDefinedObject a, b, c, defined;
  const auto live = AllocationCount::Live();
  defined.DetachDefiningObject(&a);  // no list yet: nothing
  EXPECT_EQ(AllocationCount::Live(), live);

  defined.AttachDefiningObject(&a);
  defined.AttachDefiningObject(&b);
  defined.AttachDefiningObject(&a);
  defined.AttachDefiningObject(&c);
  EXPECT_EQ(DefiningObjects(defined), (std::vector<const MDefinedObject*>{&a, &b, &c}));

  defined.DetachDefiningObject(&b);
  defined.DetachDefiningObject(&b);
  EXPECT_EQ(DefiningObjects(defined), (std::vector<const MDefinedObject*>{&a, &c}));
  defined.DetachDefiningObject(&a);
  defined.DetachDefiningObject(&c);
  EXPECT_EQ(defined.GetNumberOfDefiningObjects(), 0u);
  EXPECT_EQ(defined.GetDefiningObject(0), nullptr);
  EXPECT_EQ(AllocationCount::Live(), live) << "the emptied list was not freed";

  defined.AttachDefiningObject(&b);
  defined.AttachDefiningObject(&c);
  defined.DetachAllDefiningObjects();
  EXPECT_EQ(defined.GetDefiningObject(0), nullptr);
  EXPECT_EQ(AllocationCount::Live(), live);
}

TEST(MDefinedObject, CopiesStartWithoutDefiningObjectsAndAssignmentKeepsTheOwnList) {
  MDefinedObject a, b;
  MDefinedObject original;
  original.AttachDefiningObject(&a);
  {
    MDefinedObject copy(original);
    EXPECT_EQ(copy.GetNumberOfDefiningObjects(), 0u);
    copy.AttachDefiningObject(&b);
    copy = original;
    EXPECT_EQ(DefiningObjects(copy), std::vector<const MDefinedObject*>{&b});
  }
  // The copy's death freed its own list only.
  EXPECT_EQ(DefiningObjects(original), std::vector<const MDefinedObject*>{&a});
}

}  // namespace
