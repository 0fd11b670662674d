// What trees, maps and hash tables do alike, whichever way they keep their elements.
#include "containers/ztarrays.h"
#include "containers/ztavliter.h"
#include "containers/zthashtab.h"
#include "containers/ztmap.h"
#include "tests/containers/pairs.hh"
#include "tests/containers/treecheck.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <algorithm>
#include <random>
#include <set>

namespace {

using Items = std::vector<const ztContainerItem *>;

// What differs: how the elements, or pairs, of a container are reached.
struct Kind {
  const char *name;
  const char *itemName;
  ztCtor constructor;
  const ztContainerItem *(*push)(void *container, const void *key, const void *value);  // NULL: refused
  const ztContainerItem *(*find)(const void *container, const void *key);
  void (*empty)(void *container);
  Items (*itemsOf)(const void *container);
  const void *(*valueOf)(const ztContainerItem *item);  // NULL where elements have no values
  uint32_t &(*count)(void *container);
  const void *(*treeOf)(const void *container);  // NULL where none is within; the following as well
  int32_t (*pop)(void *container, const void *key);
  int32_t (*findAll)(const void *container, const void *key, void *output);
};

void PrintTo(const Kind *kind, std::ostream *out) {
  *out << kind->name;
}

const ztContainerItem *asItem(const void *item) {
  return static_cast<const ztContainerItem *>(item);
}

template <typename Item>
Items asItems(const std::vector<Item *> &items) {
  Items all;
  for (const void *item : items) all.push_back(asItem(item));
  return all;
}

const Kind treeKind = {
    .name = "ztAvlTree",
    .itemName = "ztAvlTreeItem",
    .constructor = ztAvlTree_ctor,
    .push = [](auto *tree, auto *key, auto *) { return asItem(ztAvlTree_of(tree)->push(tree, key)); },
    .find = [](auto *tree, auto *key) { return asItem(ztAvlTree_of(tree)->find(tree, key)); },
    .empty = [](auto *tree) { ztAvlTree_of(tree)->empty(tree); },
    .itemsOf = [](auto *tree) { return asItems(itemsIn(tree)); },
    .valueOf = nullptr,
    .count = [](auto *tree) -> uint32_t & { return static_cast<ztAvlTree *>(tree)->count; },
    .treeOf = [](auto *tree) { return tree; },
    .pop = [](auto *tree, auto *key) { return ztAvlTree_of(tree)->pop(tree, key); },
    .findAll = [](auto *tree, auto *key, auto *out) { return ztAvlTree_of(tree)->findAll(tree, key, out); },
};

const void *treeIn(const void *map) {
  return static_cast<const ztMap *>(map)->tree;
}

const Kind mapKind = {
    .name = "ztMap",
    .itemName = "ztMapItem",
    .constructor = ztMap_ctor,
    .push = [](auto *map, auto *key,
               auto *value) { return asItem(ztMap_of(map)->pushBack(map, key, value)); },
    .find = [](auto *map, auto *key) { return asItem(ztMap_of(map)->find(map, key)); },
    .empty = [](auto *map) { ztMap_of(map)->empty(map); },
    .itemsOf = [](auto *map) { return asItems(itemsIn(treeIn(map))); },
    .valueOf = [](auto *item) -> const void * { return reinterpret_cast<const ztMapItem *>(item)->value; },
    .count = [](auto *map) -> uint32_t & { return static_cast<ztMap *>(map)->tree->count; },
    .treeOf = treeIn,
    .pop = [](auto *map, auto *key) { return ztMap_of(map)->pop(map, key); },
    .findAll = [](auto *map, auto *key, auto *out) { return ztMap_of(map)->findAll(map, key, out); },
};

const Kind tableKind = {
    .name = "ztHashTable",
    .itemName = "ztHashTableItem",
    .constructor = ztHashTable_ctor,
    .push =
        [](auto *table, auto *key, auto *value) {
          const int32_t inserted = ztHashTable_of(table)->insert(table, key, value);
          return asItem(inserted ? ztHashTable_of(table)->find(table, key) : nullptr);
        },
    .find = [](auto *table, auto *key) { return asItem(ztHashTable_of(table)->find(table, key)); },
    .empty = [](auto *table) { ztHashTable_of(table)->empty(table); },
    .itemsOf = [](auto *table) { return asItems(itemsInTable(table)); },
    .valueOf = [](auto *item) -> const void * {
      return reinterpret_cast<const ztHashTableItem *>(item)->value;
    },
    .count = [](auto *table) -> uint32_t & { return static_cast<ztHashTable *>(table)->count; },
    .treeOf = nullptr,
    .pop = nullptr,
    .findAll = nullptr,
};

using Container = Owned<ztContainer, ztContainerMethods>;

// A container of the kind, whose keys and values stand for numbers.
class Keyed {
 public:
  Keyed(const Kind &ofKind, Policy ofKeys, Policy ofValues)
      : kind(ofKind), keyPolicy(ofKeys), valuePolicy(ofValues), container(another()) {}

  Container another() const {
    Container made(kind.constructor);
    if (kind.valueOf == nullptr) {
      keys.configure(made);
    } else {
      configurePairs(made, keyPolicy, valuePolicy);
    }
    if (&kind == &tableKind) ztHashTable_of(made)->setSize(made, 16);
    return made;
  }

  const ztContainerItem *push(int32_t key, int32_t value) {
    return kind.push(container, keys.make(key), values.make(value));
  }
  void fill(const Numbers &numbers) {
    for (const int32_t number : numbers) push(number, 10 * number);
  }
  const ztContainerItem *find(int32_t key) {
    return kind.find(container, keys.make(key));
  }
  int32_t pop(int32_t key) {
    return kind.pop(container, keys.make(key));
  }

  // Where elements have no values they count as 0.
  std::pair<int32_t, int32_t> pairIn(const ztContainerItem *item) const {
    return {keys.numberOf(item->data), kind.valueOf == nullptr ? 0 : values.numberOf(kind.valueOf(item))};
  }
  Pairs pairsIn(const void *other) const {
    Pairs pairs;
    for (const ztContainerItem *item : kind.itemsOf(other)) pairs.push_back(pairIn(item));
    return pairs;
  }
  // The container is sound, holds just these and owns nothing else. A hash table has them in any order.
  void expectPairs(Pairs expected) {
    Pairs pairs = pairsIn(container);
    for (auto &[key, value] : expected) value = kind.valueOf == nullptr ? 0 : value;
    if (kind.treeOf == nullptr) {
      std::sort(pairs.begin(), pairs.end());
      std::sort(expected.begin(), expected.end());
    } else {
      EXPECT_EQ(faultOf(kind.treeOf(container)), "");
      EXPECT_EQ(container->getSize(container), static_cast<int32_t>(expected.size()));
    }
    EXPECT_EQ(pairs, expected);
    EXPECT_EQ(live.made(), objectsPerPair() * static_cast<int>(expected.size()));
  }
  // The same of pairs of a number and ten times that.
  void expectNumbers(const Numbers &numbers) {
    Pairs pairs;
    for (const int32_t number : numbers) pairs.emplace_back(number, 10 * number);
    expectPairs(pairs);
  }

  // The objects that the container makes for an element or pair.
  int objectsPerPair() const {
    const bool hasValueObjects = kind.valueOf != nullptr && valuePolicy == Policy::constructed;
    return (keyPolicy == Policy::constructed ? 1 : 0) + (hasValueObjects ? 1 : 0);
  }

  const Kind &kind;
  const Policy keyPolicy;
  const Policy valuePolicy;
  Elements keys{keyPolicy};
  Elements values{valuePolicy};
  NoneLost live;  // from here on: the elements keep objects of their own
  Container container;
};

using Parameter = std::tuple<const Kind *, Policy, Policy>;

class KeyedContainer : public testing::TestWithParam<Parameter>, protected Keyed {
 protected:
  KeyedContainer() : Keyed(*std::get<0>(GetParam()), std::get<1>(GetParam()), std::get<2>(GetParam())) {}

  // One operation, on the container and on a model of it, which has the newest of equal keys first.
  void pushToBoth(int32_t key, int32_t value) {
    const bool isAccepted = container.fields().allowDuplicate || !modelHas(key);
    if (isAccepted) model.insert(placeOf(key), {key, value});
    const ztContainerItem *item = push(key, value);
    EXPECT_EQ(item != nullptr, isAccepted);
    EXPECT_TRUE(item == nullptr || keys.numberOf(item->data) == key);
    expectModel(key);
  }
  // Of equal keys, the pair that `find` meets is the one that goes.
  void popFromBoth(int32_t key) {
    const Items items = kind.itemsOf(container);
    const auto found = std::find(items.begin(), items.end(), find(key));
    const bool succeeds = found != items.end() || model.empty();
    if (found != items.end()) model.erase(model.begin() + (found - items.begin()));
    EXPECT_EQ(pop(key), succeeds);
    expectModel(key);
  }
  void emptyBoth() {
    kind.empty(container);
    model.clear();
    expectPairs({});
  }

  Pairs::iterator placeOf(int32_t key) {
    return std::lower_bound(model.begin(), model.end(), std::make_pair(key, INT32_MIN),
                            [](auto &one, auto &other) { return one.first < other.first; });
  }
  bool modelHas(int32_t key) {
    return placeOf(key) != model.end() && placeOf(key)->first == key;
  }
  void expectModel(int32_t key) {
    expectPairs(model);
    const ztContainerItem *item = find(key);
    EXPECT_EQ(item != nullptr, modelHas(key));
    if (item == nullptr || !modelHas(key)) return;
    EXPECT_EQ(keys.numberOf(item->data), key);
    // A hash table finds the newest.
    EXPECT_TRUE(kind.treeOf != nullptr || pairIn(item) == *placeOf(key));
  }

  Pairs model;
};

// Maps and hash tables.
class KeyedContainerOfPairs : public KeyedContainer {};

// Trees and maps.
class SortedContainer : public KeyedContainer {};

std::string parameterName(const testing::TestParamInfo<Parameter> &test) {
  const auto &[kind, keys, values] = test.param;
  return policyName(keys) + (kind->valueOf == nullptr ? "" : "_" + policyName(values));
}

auto everyPolicyOf(const Kind &kind) {
  const std::vector<Policy> ofValues(allPolicies, allPolicies + (kind.valueOf == nullptr ? 1 : 3));
  return testing::Combine(testing::Values(&kind), testing::ValuesIn(allPolicies),
                          testing::ValuesIn(ofValues));
}

INSTANTIATE_TEST_SUITE_P(ztAvlTree, KeyedContainer, everyPolicyOf(treeKind), parameterName);
INSTANTIATE_TEST_SUITE_P(ztMap, KeyedContainer, everyPolicyOf(mapKind), parameterName);
INSTANTIATE_TEST_SUITE_P(ztHashTable, KeyedContainer, everyPolicyOf(tableKind), parameterName);
INSTANTIATE_TEST_SUITE_P(ztMap, KeyedContainerOfPairs, everyPolicyOf(mapKind), parameterName);
INSTANTIATE_TEST_SUITE_P(ztHashTable, KeyedContainerOfPairs, everyPolicyOf(tableKind), parameterName);
INSTANTIATE_TEST_SUITE_P(ztAvlTree, SortedContainer, everyPolicyOf(treeKind), parameterName);
INSTANTIATE_TEST_SUITE_P(ztMap, SortedContainer, everyPolicyOf(mapKind), parameterName);

}  // namespace

// Elements ----------------------------------------------------------------------------------------

TEST_P(KeyedContainer, KeepsElementsAsThePoliciesSay) {
  for (int32_t i = 0; i < 2; ++i) {
    const void *key = keys.make(i);
    const void *value = values.make(i + 10);
    const ztContainerItem *item = kind.push(container, key, value);
    ASSERT_NE(item, nullptr);
    EXPECT_STREQ(ztOOP_classNameOf(item), kind.itemName);
    EXPECT_EQ(item->data == key, keyPolicy == Policy::byPointer);
    EXPECT_EQ(keys.isCopy(item->data), keyPolicy != Policy::byPointer);
    if (kind.valueOf != nullptr) {
      EXPECT_EQ(kind.valueOf(item) == value, valuePolicy == Policy::byPointer);
    }
  }
  expectPairs({{0, 10}, {1, 11}});
}

TEST_P(KeyedContainer, RefusesAnEqualKeyUnlessDuplicatesAreAllowed) {
  push(5, 50);
  push(3, 30);
  EXPECT_EQ(push(5, 51), nullptr);
  expectPairs({{3, 30}, {5, 50}});
  container->setAllowDuplicate(container, 1);
  EXPECT_NE(push(5, 51), nullptr);
  expectPairs({{3, 30}, {5, 51}, {5, 50}});
}

TEST_P(KeyedContainer, FindGivesTheItemOfTheKey) {
  for (const int32_t number : {5, 3, 8, 1}) {
    const ztContainerItem *item = push(number, 10 * number);
    EXPECT_EQ(find(number), item);
  }
  ASSERT_NE(find(3), nullptr);
  EXPECT_EQ(pairIn(find(3)), std::make_pair(3, kind.valueOf == nullptr ? 0 : 30));
  EXPECT_EQ(find(4), nullptr);
}

TEST_P(KeyedContainer, IsUsedAgainAfterItIsEmptied) {
  for (int turn = 0; turn < 3; ++turn) {
    fill(upTo(40));
    kind.empty(container);
    expectPairs({});
    for (const int32_t number : upTo(40)) EXPECT_EQ(find(number), nullptr);
    kind.empty(container);
  }
  fill({2, 1});
  expectNumbers({1, 2});
}

TEST_P(KeyedContainer, MayBeDestroyedAfterItIsEmptiedAndTwice) {
  fill(upTo(40));
  const Container emptied = container.copy();
  kind.empty(emptied);
  container->destroy(container);
  EXPECT_EQ(live.made(), 0);
}

TEST_P(KeyedContainer, RandomOperationsAgreeWithAModel) {
  const struct {
    uint32_t seed;
    uint32_t allowDuplicate;
    uint32_t range;
    int operations;
    int32_t buckets;
  } runs[] = {{11, 0, 150, 4000, 16}, {12, 1, 30, 4000, 1}, {13, 1, 4, 2000, 64}};
  for (const auto &run : runs) {
    SCOPED_TRACE(run.range);
    emptyBoth();
    if (&kind == &tableKind) ztHashTable_of(container)->setSize(container, run.buckets);
    container->setAllowDuplicate(container, run.allowDuplicate);
    std::mt19937 random(run.seed);
    for (int i = 0; i < scale(run.operations) && !HasFailure(); ++i) {
      // Grows and shrinks in turn, so that all sizes occur.
      const uint32_t pushes = i / 500 % 2 == 0 ? 7 : 3;
      const auto key = static_cast<int32_t>(random() % run.range);
      if (random() % 10 < pushes) {
        pushToBoth(key, i % 1000);
      } else if (kind.pop != nullptr) {
        popFromBoth(key);
      } else if (random() % 100 == 0) {
        emptyBoth();
      }
    }
  }
}

TEST_P(SortedContainer, AdversarialOrders) {
  const Numbers ascending = upTo(scale(150));
  const Numbers descending(ascending.rbegin(), ascending.rend());
  Numbers organPipe;  // from both ends to the middle
  for (size_t i = 0; i < ascending.size() / 2; ++i) {
    organPipe.push_back(ascending[i]);
    organPipe.push_back(descending[i]);
  }
  const Numbers orders[] = {ascending, descending, organPipe, Numbers(ascending.size(), 7)};
  for (const uint32_t allowDuplicate : {0U, 1U}) {
    container->setAllowDuplicate(container, allowDuplicate);
    for (const Numbers &in : orders) {
      for (const Numbers &out : orders) {
        for (const int32_t key : in) pushToBoth(key, key);
        for (const int32_t key : out) popFromBoth(key);
        emptyBoth();
        if (HasFailure()) return;
      }
    }
  }
}

TEST_P(SortedContainer, PopTellsWhetherItRemovedAndTakesTheValueAlong) {
  EXPECT_EQ(pop(1), 1) << "an empty tree reports success";
  fill({4, 2, 6, 1, 3, 5, 7});
  EXPECT_EQ(pop(9), 0);
  EXPECT_EQ(pop(4), 1);  // the root, with two children
  expectNumbers({1, 2, 3, 5, 6, 7});
  EXPECT_EQ(pop(4), 0);
  EXPECT_EQ(pop(6), 1);
  expectNumbers({1, 2, 3, 5, 7});
}

TEST_P(SortedContainer, PopTakesAStoredKey) {
  fill(upTo(50));
  while (kind.count(container) > 0) {
    ASSERT_EQ(kind.pop(container, kind.itemsOf(container)[kind.count(container) / 2]->data), 1);
  }
  expectPairs({});
}

TEST_P(SortedContainer, EveryElementOfAKeyIsRemovedByFindAndPop) {
  container->setAllowDuplicate(container, 1);
  for (int32_t i = 0; i < 30; ++i) push(i % 3, i);
  while (find(1) != nullptr) ASSERT_EQ(pop(1), 1);
  EXPECT_EQ(container->getSize(container), 20);
  for (const auto &[key, value] : pairsIn(container)) EXPECT_NE(key, 1);
}

// Finding all -------------------------------------------------------------------------------------

TEST_P(SortedContainer, FindAllGivesNothingWithoutDuplicates) {
  fill({1, 2, 3});
  const Container output = another();
  kind.push(output, keys.make(9), values.make(90));
  EXPECT_EQ(kind.findAll(container, keys.make(2), output), 0);
  EXPECT_EQ(output->getSize(output), 1);
  EXPECT_EQ(output.fields().allowDuplicate, 0U);
}

TEST_P(SortedContainer, FindAllCollectsTheEqualKeysOfOneWayDown) {
  container->setAllowDuplicate(container, 1);
  // The first of the equal keys has come to hang on the right of the second, and is passed by.
  for (int32_t i = 0; i < 3; ++i) push(7, i);
  const Container output = another();
  if (&kind == &treeKind) output->setAllowDuplicate(output, 1);  // a map does so itself
  EXPECT_EQ(kind.findAll(container, keys.make(7), output), 2);
  EXPECT_EQ(output.fields().allowDuplicate, 1U);
  const bool hasValues = kind.valueOf != nullptr;
  EXPECT_EQ(pairsIn(output), hasValues ? Pairs({{7, 2}, {7, 1}}) : Pairs({{7, 0}, {7, 0}}));
  EXPECT_EQ(kind.findAll(container, keys.make(8), output), 2) << "the size of the output, not of the find";
  kind.empty(container);
  EXPECT_EQ(kind.findAll(container, keys.make(7), output), 2) << "in an empty one, too";
}

TEST_P(SortedContainer, FindAllIntoItself) {
  container->setAllowDuplicate(container, 1);
  push(5, 1);
  for (int32_t i = 0; i < 3; ++i) push(7, i);
  push(9, 1);
  const Container output = another();
  output->setAllowDuplicate(output, 1);
  const int32_t found = kind.findAll(container, keys.make(7), output);
  EXPECT_EQ(kind.findAll(container, keys.make(7), container), 5 + found);
  EXPECT_EQ(faultOf(kind.treeOf(container)), "");
  const Pairs pairs = pairsIn(container);
  ASSERT_EQ(pairs.size(), static_cast<size_t>(5 + found));
  for (size_t i = 1; i + 1 < pairs.size(); ++i) EXPECT_EQ(pairs[i].first, 7);
}

// Copies ------------------------------------------------------------------------------------------

TEST_P(KeyedContainer, CopyIsIndependentAndInTheSameOrder) {
  container->setAllowDuplicate(container, 1);
  std::mt19937 random(41);
  for (int32_t i = 0; i < 60; ++i) push(static_cast<int32_t>(random() % 25), i);
  container->setAllowDuplicate(container, 0);  // what is there stays
  const Pairs pairs = pairsIn(container);
  const Container copy = container.copy();
  EXPECT_EQ(pairsIn(copy), pairs);
  EXPECT_EQ(copy.fields().itemManager, copy);
  EXPECT_EQ(copy.fields().allowDuplicate, 0U);
  EXPECT_EQ(kind.push(copy, keys.make(pairs[0].first), values.make(1)), nullptr);
  const Items items = kind.itemsOf(container);
  const Items copies = kind.itemsOf(copy);
  for (size_t i = 0; i < items.size(); ++i) {
    EXPECT_NE(copies[i], items[i]);
    EXPECT_EQ(copies[i]->data == items[i]->data, keyPolicy == Policy::byPointer);
  }
  EXPECT_NE(kind.push(copy, keys.make(100), values.make(1)), nullptr);
  while (kind.pop != nullptr && kind.count(copy) > 10) kind.pop(copy, kind.itemsOf(copy)[5]->data);
  EXPECT_EQ(pairsIn(container), pairs);
  const Pairs left = pairsIn(copy);
  kind.empty(container);
  EXPECT_EQ(pairsIn(copy), left);
}

TEST_P(KeyedContainer, CopyOfAnEmptiedOneIsEmpty) {
  fill(upTo(20));
  kind.empty(container);
  const Container copy = container.copy();
  EXPECT_EQ(kind.count(copy), 0U);
  EXPECT_EQ(pairsIn(copy), Pairs());
  expectPairs({});
  EXPECT_NE(kind.push(copy, keys.make(1), values.make(2)), nullptr);
  EXPECT_EQ(kind.count(container), 0U);
}

namespace {

// Calls for containers of objects of each kind.
void forEachKind(const std::function<void(Keyed &)> &check) {
  for (const Kind *kind : {&treeKind, &mapKind, &tableKind}) {
    SCOPED_TRACE(kind->name);
    Keyed keyed(*kind, Policy::constructed, Policy::constructed);
    check(keyed);
  }
}

}  // namespace

TEST(KeyedContainerOfObjects, CopyThatFailsLosesNothing) {
  for (const bool inKey : {true, false}) {
    forEachKind([inKey](Keyed &keyed) {
      if (!inKey && keyed.kind.valueOf == nullptr) return;
      keyed.fill(upTo(9));
      const ztContainerItem *item = keyed.find(4);
      const void *refusing = inKey ? item->data : keyed.kind.valueOf(item);
      static_cast<Counted *>(const_cast<void *>(refusing))->value = refusesToClone;
      EXPECT_EQ(newClone(keyed.container), nullptr);
      EXPECT_EQ(keyed.live.made(), 9 * keyed.objectsPerPair());
    });
  }
}

TEST(KeyedContainerOfObjects, TakesNoneThatRefusesToBeCopied) {
  forEachKind([](Keyed &keyed) {
    const CountedObject good = counted(1);
    const CountedObject other = counted(5);
    const CountedObject bad = counted(refusesToClone);
    const auto push = [&keyed](const void *key, const void *value) {
      return keyed.kind.push(keyed.container, key, value) != nullptr;
    };
    for (const uint32_t present : {0U, 1U}) {
      EXPECT_FALSE(push(bad, good));
      if (keyed.kind.valueOf != nullptr) {
        EXPECT_FALSE(push(good, bad));
      }
      EXPECT_EQ(keyed.kind.count(keyed.container), present);
      EXPECT_EQ(keyed.find(1), nullptr);
      push(other, other);
    }
  });
}

TEST(KeyedContainerOfObjects, KeepsTheClassesOfObjectsThatStayTheCallers) {
  forEachKind([](Keyed &keyed) {
    const CountedObject twin = counted(1, CountedTwin_ctor);
    const CountedObject larger = counted(2, CountedLarger_ctor);
    keyed.kind.push(keyed.container, twin, larger);
    keyed.kind.push(keyed.container, larger, twin);
    EXPECT_EQ(twin.fields().refCount, 1);
    EXPECT_EQ(larger.fields().refCount, 1);
    for (const bool isCopied : {false, true}) {
      if (isCopied) keyed.container = keyed.container.copy();
      std::set<std::string> classes;
      for (const ztContainerItem *item : keyed.kind.itemsOf(keyed.container)) {
        EXPECT_EQ(static_cast<const Counted *>(item->data)->refCount, 1);
        const bool hasValue = keyed.kind.valueOf != nullptr;
        const char *valueClass = hasValue ? ztOOP_classNameOf(keyed.kind.valueOf(item)) : "none";
        classes.insert(ztOOP_classNameOf(item->data) + std::string("=") + valueClass);
      }
      const std::set<std::string> ofPairs = {"CountedTwin=CountedLarger", "CountedLarger=CountedTwin"};
      const std::set<std::string> ofElements = {"CountedTwin=none", "CountedLarger=none"};
      EXPECT_EQ(classes, keyed.kind.valueOf == nullptr ? ofElements : ofPairs);
    }
  });
}

// Without memory ----------------------------------------------------------------------------------

TEST_P(KeyedContainer, PushWithoutMemoryChangesNothing) {
  const int perElement = 1 + (keyPolicy == Policy::byPointer ? 0 : 1) +
                         (kind.valueOf == nullptr || valuePolicy == Policy::byPointer ? 0 : 1);
  const bool isPlain =
      keyPolicy != Policy::constructed && (kind.valueOf == nullptr || valuePolicy != Policy::constructed);
  // Where objects are made a probe comes first.
  const int perPush = kind.treeOf == nullptr || isPlain ? perElement : 2 * perElement;
  for (const int32_t present : {0, 3}) {
    kind.empty(container);
    fill(upTo(present));
    int failures = 0;
    for (bool isStruck = true; isStruck; failures += isStruck) {
      const void *key = keys.make(present);
      const void *value = values.make(10 * present);
      const Fault injected(failures);
      const bool isPushed = kind.push(container, key, value) != nullptr;
      isStruck = injected.end();
      EXPECT_EQ(isPushed, !isStruck);
      expectNumbers(upTo(present + isPushed));
    }
    EXPECT_EQ(failures, present == 0 ? perElement : perPush);
  }
}

TEST_P(KeyedContainer, CopyIsWholeOrNotMadeWithoutMemory) {
  fill(upTo(6));
  const Pairs pairs = pairsIn(container);
  exhaustMemoryIn([&] {
    const Container copy(newClone(container));
    if (copy != nullptr) {
      EXPECT_EQ(pairsIn(copy), pairs);
    }
  });
  expectNumbers(upTo(6));
}

TEST_P(SortedContainer, LookingRemovingAndWalkingNeedNoMemory) {
  fill(upTo(100));
  EXPECT_FALSE(allocates([this] {
    ztAvlIterator walk;
    ztAvlIterator_ctor(&walk, 1);
    const ztAvlIteratorMethods *steps = ztAvlIterator_of(&walk);
    const void *tree = kind.treeOf(container);
    int32_t count = 0;
    for (const void *item = steps->first(&walk, tree); item != nullptr; item = steps->next(&walk)) ++count;
    EXPECT_EQ(count, 100);
    for (int32_t number = 0; number < 100; ++number) {
      EXPECT_NE(find(number), nullptr);
      EXPECT_EQ(pop(number), 1);
    }
  }));
}

// Misuse ------------------------------------------------------------------------------------------

TEST_P(KeyedContainer, NullIsAKeyOnlyWherePointersOfNoBytesAreKept) {
  const bool isKey = keyPolicy == Policy::byPointer && kind.treeOf != nullptr;
  if (!isKey) {
    EXPECT_EQ(kind.push(container, nullptr, values.make(1)), nullptr);
  }
  fill({1, 2});
  const ztContainerItem *item = kind.push(container, nullptr, values.make(1));
  EXPECT_EQ(item != nullptr, isKey);
  EXPECT_EQ(kind.find(container, nullptr), item);
  if (kind.pop != nullptr) {
    EXPECT_EQ(kind.pop(container, nullptr), isKey);
  }
  if (kind.pop != nullptr && !isKey) {
    container->setAllowDuplicate(container, 1);
    EXPECT_EQ(kind.findAll(container, nullptr, another()), 0);
  }
  expectNumbers({1, 2});
}

TEST_P(KeyedContainer, TakesNoMoreThanItsCountCanTell) {
  fill({1});
  kind.count(container) = INT32_MAX;
  EXPECT_EQ(push(2, 20), nullptr);
  if (kind.treeOf != nullptr) {
    EXPECT_EQ(container->getSize(container), INT32_MAX);
  }
  kind.count(container) = 1;
  EXPECT_NE(push(2, 20), nullptr);
}

TEST_P(KeyedContainerOfPairs, NullIsAValueOnlyWherePointersAreKept) {
  const bool isValue = valuePolicy == Policy::byPointer;
  for (const int32_t key : {1, 2}) {
    const ztContainerItem *item = kind.push(container, keys.make(key), nullptr);
    EXPECT_EQ(item != nullptr, isValue);
    EXPECT_EQ(find(key), item);
    if (isValue) {
      EXPECT_EQ(kind.valueOf(item), nullptr);
    }
  }
  EXPECT_EQ(kind.count(container), isValue ? 2U : 0U);
}

TEST_P(KeyedContainerOfPairs, CopyItemCopiesKeyAndValue) {
  fill({3});
  const ztContainerItem *item = find(3);
  const auto newItem = [this] { return container.fields().itemConstructor(nullptr, 1); };
  void *copy = newItem();
  EXPECT_EQ(container->copyItem(container, copy, item), copy);
  EXPECT_EQ(pairIn(asItem(copy)), std::make_pair(3, 30));
  EXPECT_EQ(asItem(copy)->data == item->data, keyPolicy == Policy::byPointer);
  EXPECT_EQ(kind.valueOf(asItem(copy)) == kind.valueOf(item), valuePolicy == Policy::byPointer);
  container->deleteItem(container, copy);

  void *empty = newItem();
  void *emptyCopy = newItem();
  EXPECT_EQ(container->copyItem(container, emptyCopy, empty), emptyCopy);
  EXPECT_EQ(asItem(emptyCopy)->data, nullptr);
  EXPECT_EQ(kind.valueOf(asItem(emptyCopy)), nullptr);
  EXPECT_EQ(container->copyItem(container, nullptr, empty), nullptr);
  EXPECT_EQ(container->copyItem(container, empty, nullptr), nullptr);
  EXPECT_EQ(container->copyItem(nullptr, emptyCopy, empty), nullptr);
  for (void *unused : {empty, emptyCopy, static_cast<void *>(nullptr)}) {
    container->deleteItem(container, unused);
  }
}

TEST_P(KeyedContainerOfPairs, NoPairMakesNoItem) {
  EXPECT_EQ(container->newItem(container, nullptr), nullptr);
  const ztKeyValue pair = {keys.make(1), values.make(1)};
  container->setItemConstructor(container, nullptr);
  EXPECT_EQ(container->newItem(container, &pair), nullptr);
  EXPECT_EQ(push(1, 1), nullptr);
  EXPECT_EQ(kind.count(container), 0U);
}
