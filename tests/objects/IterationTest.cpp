// Walks of subtrees and the filter family: the depth-first order against a plain recursive
// walk over deep, wide and random trees, copies of an iterator taken halfway, the walk of the
// selected objects, every filter, and composites of them, also held against the walks.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "objects/ObjectTreeSupport.h"
#include "ostrum/objects/IUIObjectFilter.h"
#include "ostrum/objects/UIObjectFilterComposite.h"
#include "ostrum/objects/UIObjectFilters.h"

namespace {

using namespace tree_test;
using Names = std::vector<std::string>;

TEST(UIObjectIterator, WalksInPreOrderWithoutTheStartObject) {
  Forest forest;
  Node* a = forest.Add("A", nullptr);
  forest.Add("A1", a);
  forest.Add("A2", a);
  forest.Add("B", nullptr);
  EXPECT_EQ(Walk(forest.root.Begin(), forest.root.End()), (Names{"A", "A1", "A2", "B"}));
  EXPECT_EQ(Walk(a->Begin(), a->End()), (Names{"A1", "A2"})) << "a subtree's walk stays in it";
  Node* leaf = forest.Find("B");
  EXPECT_FALSE(leaf->Begin() != leaf->End()) << "a leaf's walk is empty";
  EXPECT_TRUE(UIObjectIterator() == forest.root.End()) << "every end equals every end";
}

struct TreeShape {
  const char* name;
  size_t count;
  unsigned seed;
  size_t max_fan_out;  // 0: any
};
void PrintTo(const TreeShape& shape, std::ostream* out) { *out << shape.name; }
struct Walks : testing::TestWithParam<TreeShape> {};

TEST_P(Walks, EqualTheRecursiveWalkAlsoWhenFiltered) {
  Forest forest;
  const TreeShape& shape = GetParam();
  if (shape.max_fan_out == 1) {
    UIObject* parent = &forest.root;  // a chain
    for (size_t i = 0; i < shape.count; ++i) parent = forest.Add("n" + std::to_string(i), parent);
  } else {
    forest.Random(shape.count, shape.seed, shape.max_fan_out);
  }
  Names reference;
  ReferenceWalk(forest.root, reference);
  EXPECT_EQ(Walk(forest.root.Begin(), forest.root.End()), reference);
  EXPECT_EQ(reference.size(), forest.nodes.size());

  // Every third object selected, some hidden: the selected walk passes through unselected
  // parents to their selected children.
  for (size_t i = 0; i < forest.nodes.size(); ++i) {
    forest.nodes[i]->selected = i % 3 == 0;
    forest.nodes[i]->SetVisible(i % 4 != 1);
  }
  Names selected;
  ReferenceWalk(forest.root, selected, [](const UIObject* o) { return o->IsSelected(); });
  EXPECT_EQ(Walk(UIObjectIteratorSelected(forest.root.Begin()), forest.root.End()), selected);

  // A composite of filters over the plain walk, against the same predicate.
  UIObjectFilterComposite visible_and_selected(UIObjectFilterComposite::BOOLEAN_AND);
  visible_and_selected.AddOwned(new UIObjectFilterVisible());
  visible_and_selected.AddOwned(new UIObjectFilterSelected());
  UIObjectFilterComposite neither(UIObjectFilterComposite::BOOLEAN_NOT);
  UIObjectFilterComposite either(UIObjectFilterComposite::BOOLEAN_OR);
  either.AddOwned(new UIObjectFilterVisible());
  either.AddOwned(new UIObjectFilterSelected());
  neither.Attach(&either);
  for (const auto& [filter, keep] :
       std::vector<std::pair<const IUIObjectFilter*, std::function<bool(const UIObject*)>>>{
           {&visible_and_selected, [](const UIObject* o) { return o->IsVisible(0xFFFFFFFF) && o->IsSelected(); }},
           {&neither, [](const UIObject* o) { return !o->IsVisible(0xFFFFFFFF) && !o->IsSelected(); }}}) {
    Names expected, got;
    ReferenceWalk(forest.root, expected, keep);
    for (auto it = forest.root.Begin(); it != forest.root.End(); ++it)
      if (filter->IsObjectMatched(it)) got.push_back(Narrow(it->GetLabel()));
    EXPECT_EQ(got, expected);
  }
}

INSTANTIATE_TEST_SUITE_P(UIObjectIterator, Walks,
                         testing::Values(TreeShape{"Random", 500, 1, 0}, TreeShape{"Bushy", 500, 2, 30},
                                         TreeShape{"Deep", 2000, 0, 1}, TreeShape{"Wide", 2000, 3, 2000},
                                         TreeShape{"Empty", 0, 0, 0}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(UIObjectIterator, ACopyTakenHalfwayWalksTheRestOnItsOwn) {
  Forest forest;
  forest.Random(200, 9);
  Names whole;
  ReferenceWalk(forest.root, whole);
  auto it = forest.root.Begin();
  for (int i = 0; i < 77; ++i) ++it;
  UIObjectIterator copy = it;
  const UIObjectIterator before = it++;  // the post-increment hands back where it stood
  EXPECT_TRUE(before == copy);
  EXPECT_EQ(Walk(copy, forest.root.End()), Names(whole.begin() + 77, whole.end()));
  EXPECT_EQ(Narrow(it->GetLabel()), whole[78]) << "the first iterator stayed where it was";
  EXPECT_EQ(Walk(it, forest.root.End()), Names(whole.begin() + 78, whole.end()));
}

TEST(UIObjectIterator, AParentCanChangeHowItsChildrenAreSteppedOver) {
  // Steps over every second child.
  class Skipping : public Node {
   public:
    using Node::Node;

   private:
    void IncrementIterator(UIObjectIterator& iterator) override {
      UIObject* next = iterator._GetCurrent()->GetNextSibbling();
      if (next) next = next->GetNextSibbling();
      iterator._SetCurrent(next, 0);
    }
  };
  Forest forest;
  auto* skipping = new Skipping("s");
  forest.nodes.push_back(skipping);
  skipping->MoveToParent(&forest.root);
  for (const char* name : {"c0", "c1", "c2", "c3", "c4"}) forest.Add(name, skipping);
  forest.Add("after", nullptr);
  EXPECT_EQ(Walk(forest.root.Begin(), forest.root.End()), (Names{"s", "c0", "c2", "c4", "after"}));
}

// ---- the filters ----

TEST(UIObjectFilters, EachAnswersForOneObjectAndClonesWithItsData) {
  Node screw("Screw 1"), plate("plate");
  screw.selected = true;
  screw.SetVisible(false);
  screw.SetVisible(true, 4);
  struct Derived : Node {
    using Node::Node;
  } derived("derived");
  UIObjectFilterInSet in_set;
  in_set.Add(&plate);
  const std::unique_ptr<IUIObjectFilter> filters[] = {
      std::make_unique<UIObjectFilterSelected>(),       std::make_unique<UIObjectFilterVisible>(),
      std::make_unique<UIObjectFilterVisible>(4),       std::make_unique<UIObjectFilterTypeInfo>(typeid(Node)),
      std::make_unique<UIObjectFilterByPointer>(&plate), std::make_unique<UIObjectSelectedByName>(L"screw 1", true),
      std::make_unique<UIObjectSelectedByName>(L"screw 1", false), std::make_unique<UIObjectSelectedByName>(nullptr, false),
      std::make_unique<UIObjectFilterNoneObjects>(),    std::make_unique<UIObjectFilterInSet>(in_set)};
  // For screw, plate, derived:
  const std::vector<std::vector<bool>> expected = {
      {true, false, false}, {false, true, true},  {true, false, false}, {true, true, false}, {false, true, false},
      {true, false, false}, {false, false, false}, {true, true, true},  {false, false, false}, {false, true, false}};
  const UIObject* objects[] = {&screw, &plate, &derived};
  for (size_t f = 0; f < std::size(filters); ++f) {
    const std::unique_ptr<IUIObjectFilter> clone(filters[f]->Clone());
    ASSERT_NE(clone, nullptr) << f;
    EXPECT_EQ(typeid(*clone), typeid(*filters[f]));
    for (size_t o = 0; o < 3; ++o) {
      EXPECT_EQ(filters[f]->IsObjectMatched(objects[o]), expected[f][o]) << "filter " << f << ", object " << o;
      EXPECT_EQ(clone->IsObjectMatched(objects[o]), expected[f][o]) << "clone of filter " << f << ", object " << o;
    }
  }
  in_set.Remove(&plate);
  EXPECT_FALSE(in_set.IsObjectMatched(&plate));
}

TEST(UIObjectFilters, ListsAreFilteredInPlaceOrIntoAListThatKeepsWhatItHeld) {
  Node a("a"), b("b"), c("c");
  a.selected = c.selected = true;
  UIObjectFilterSelected selected;
  std::vector<UIObject*> list{&a, &b, &c, &b};
  EXPECT_EQ(selected.GetNumberOfObjectsThatMatchFilter(list), 2u);
  std::vector<UIObject*> matched{&b};
  selected.FilterList(list, matched);
  EXPECT_EQ(matched, (std::vector<UIObject*>{&b, &a, &c}));
  selected.FilterList(list);
  EXPECT_EQ(list, (std::vector<UIObject*>{&a, &c}));
}

// A filter that counts its deletions and answers as told.
struct Answer : IUIObjectFilter {
  Answer(bool answer, int* deaths) : answer(answer), deaths(deaths) {}
  ~Answer() override { ++*deaths; }
  bool IsObjectMatched(const UIObject*) const override { return answer; }
  IUIObjectFilter* Clone() const override { return new Answer(answer, deaths); }
  bool answer;
  int* deaths;
};

TEST(UIObjectFilterComposite, CombinesByItsOperationAndDeletesOnlyWhatItOwns) {
  Node object("o");
  int deaths = 0;
  using C = UIObjectFilterComposite;
  // Without filters: and and not match, or does not; an unknown operation never matches.
  EXPECT_TRUE(C(C::BOOLEAN_AND).IsObjectMatched(&object));
  EXPECT_TRUE(C(C::BOOLEAN_NOT).IsObjectMatched(&object));
  EXPECT_FALSE(C(C::BOOLEAN_OR).IsObjectMatched(&object));
  C unknown(static_cast<C::EBooleanOperation>(3));
  EXPECT_FALSE(unknown.IsObjectMatched(&object));

  Answer yes(true, &deaths), no(false, &deaths);
  C and_filter(C::BOOLEAN_AND), or_filter(C::BOOLEAN_OR), not_filter(C::BOOLEAN_NOT);
  for (C* composite : {&and_filter, &or_filter, &not_filter}) {
    composite->Attach(&yes);
    composite->Attach(&yes);
    composite->AddOwned(new Answer(false, &deaths));
  }
  EXPECT_EQ(and_filter.GetNumberOfFilters(), 2u) << "the same filter attached twice stands once";
  EXPECT_FALSE(and_filter.IsObjectMatched(&object));
  EXPECT_TRUE(or_filter.IsObjectMatched(&object));
  EXPECT_FALSE(not_filter.IsObjectMatched(&object)) << "not looks at the first filter only";

  // A clone shares the attached filters and clones the owned ones.
  std::unique_ptr<IUIObjectFilter> clone(or_filter.Clone());
  const auto entries = static_cast<C*>(clone.get())->GetFilters();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0], C::Entry(&yes, false));
  EXPECT_NE(entries[1].first, or_filter.GetFilters()[1].first);
  EXPECT_TRUE(entries[1].second);
  clone.reset();
  EXPECT_EQ(deaths, 1) << "the clone deleted its own copy only";

  // The owned ones go, the attached ones stay in their order.
  and_filter.AddOwned(new Answer(true, &deaths));
  and_filter.Attach(&no);
  and_filter.DestroyAllOwnedFilters();
  EXPECT_EQ(deaths, 3);
  EXPECT_EQ(and_filter.GetFilters(), (std::vector<C::Entry>{{&yes, false}, {&no, false}}));
  EXPECT_FALSE(and_filter.IsObjectMatched(&object));
  and_filter.Clear();
  EXPECT_EQ(and_filter.GetNumberOfFilters(), 0u);
  EXPECT_EQ(deaths, 3) << "attached filters are never deleted";
}

}  // namespace
