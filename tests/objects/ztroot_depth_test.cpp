// Trees of any depth, on stacks of any size.
#include "objects/ztroot.h"

#include "containers/ztarrays.h"
#include "tags/ztinttag.h"
#include "tags/zttag.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <pthread.h>

// A node whose class has a `destroy` of its own, which counts the children that it finds.
#define Seeing_FIELDS ztRoot_FIELDS
#define Seeing_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Seeing)

static int32_t parentsEnded;
static int32_t childrenSeen;

static void seeingDestroy(void *object) {
  ++parentsEnded;
  childrenSeen += ztRoot_of(object)->getChildCount(object);
  ztRoot_table()->destroy(object);
}

static void seeingMethods(SeeingMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, seeingDestroy);
}

ZT_DEFINE_CLASS(Seeing, ztRoot, seeingMethods)

// A node that takes something over, and asks for its parent by an override that counts.
#define Noting_FIELDS \
  ztRoot_FIELDS       \
  int32_t noted;
#define Noting_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(Noting)

static int32_t parentsAskedFor;

static int32_t notingCreate(void *object) {
  static_cast<Noting *>(object)->noted = 0;
  return ztRoot_table()->create(object);
}

static int32_t notingAssign(void *object, const void *other) {
  static_cast<Noting *>(object)->noted = static_cast<const Noting *>(other)->noted;
  return ztRoot_table()->assign(object, other);
}

static void *notingGetParent(const void *object) {
  ++parentsAskedFor;
  return ztRoot_table()->getParent(object);
}

static void notingMethods(NotingMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, notingCreate);
  ZT_OVERRIDE_METHOD(methods, assign, notingAssign);
  ZT_OVERRIDE_METHOD(methods, getParent, notingGetParent);
}

ZT_DEFINE_CLASS(Noting, ztRoot, notingMethods)

namespace {

const size_t smallStack = 64 * 1024;

// Runs in a thread with a stack of its own.
void onStack(size_t size, const std::function<void()> &work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
  pthread_t thread;
  const auto run = [](void *given) -> void * {
    (*static_cast<const std::function<void()> *>(given))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()> *>(&work)), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

ztRoot *newChain(int levels, ztCtor constructor) {
  ztRoot *top = newNode(1, constructor);
  ztRoot *at = top;
  for (int32_t uid = 2; uid <= levels; ++uid) {
    ztRoot *below = newNode(uid, constructor);
    addChild(at, below);
    at = below;
  }
  return top;
}

int depthOf(const ztRoot *node) {
  int depth = 0;
  for (; node != nullptr; ++depth) node = static_cast<const ztRoot *>(ztRoot_of(node)->getChildAt(node, 0));
  return depth;
}

ztRoot *loadOne(void *file) {
  void *roots = ztPtrArray_ctor(nullptr, 1);
  EXPECT_EQ(ztRoot_loadTree(file, -1, roots, nullptr), 1);
  EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), 1);
  auto *root = static_cast<ztRoot *>(ztPtrArray_of(roots)->getAt(roots, 0));
  release(roots);
  return root;
}

void doEverything(int levels, ztCtor constructor) {
  ztRoot *chain = newChain(levels, constructor);
  ztRoot *copy = newCopy(chain);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(depthOf(copy), levels);
  EXPECT_EQ(ztRoot_of(copy)->assign(copy, chain), 1);
  const NodeFile file;
  EXPECT_EQ(ztRoot_storeTree(chain, file.get()), levels);
  release(chain);
  file.rewind();
  ztRoot *loaded = loadOne(file.get());
  EXPECT_EQ(depthOf(loaded), levels);
  release(loaded);
  release(copy);
}

}  // namespace

// Plain nodes ---------------------------------------------------------------------------------------

TEST(DeepTree, OfAMillionLevelsIsMadeCopiedAssignedStoredLoadedAndReleased) {
  doEverything(scale(1000000), ztRoot_ctor);
}

TEST(DeepTree, OfAMillionLevelsNeedsNoMoreThanASmallStack) {
  onStack(smallStack, [] { doEverything(scale(1000000), ztRoot_ctor); });
}

TEST(DeepTree, OfTagsNeedsNoMoreThanASmallStack) {
  onStack(smallStack, [] { doEverything(scale(100000), ztTag_ctor); });
}

TEST(DeepTree, OfTagsIsCopiedAndAssignedWithItsAttributes) {
  const int levels = scale(2000);
  ztRoot *chain = newChain(levels, ztTag_ctor);
  const auto valueOf = [](const ztRoot *node) -> int32_t & {
    ztTagHandle handle = {0, 1};
    return *static_cast<int32_t *>(ztTag_of(node)->getValue(node, &handle, 0, nullptr));
  };
  for (ztRoot *node = chain; node != nullptr;
       node = static_cast<ztRoot *>(ztRoot_of(node)->getChildAt(node, 0))) {
    const int32_t value = node->uid;
    ASSERT_EQ(ztTag_of(node)->insertNew(node, "value", ztIntTag_ctor(nullptr, 1), nullptr, 0, 1, &value), 1);
  }
  ztRoot *copy = newCopy(chain);
  const ztRoot *own = copy;
  const ztRoot *source = chain;
  for (int i = 0; i < levels; ++i) {
    ASSERT_NE(&valueOf(own), &valueOf(source));
    ASSERT_EQ(valueOf(own), own->uid);
    valueOf(source) = -source->uid;
    own = static_cast<const ztRoot *>(ztRoot_of(own)->getChildAt(own, 0));
    source = static_cast<const ztRoot *>(ztRoot_of(source)->getChildAt(source, 0));
  }
  EXPECT_EQ(ztRoot_of(copy)->assign(copy, chain), 1);
  for (own = copy; own != nullptr; own = static_cast<const ztRoot *>(ztRoot_of(own)->getChildAt(own, 0))) {
    ASSERT_EQ(valueOf(own), -own->uid);
  }
  release(copy);
  release(chain);
}

TEST(DeepTree, TellsOfEachEndBehindThoseBelow) {
  Forest forest;
  constexpr int levels = 300;
  ztRoot *chain = newChain(levels, ztRoot_ctor);
  std::vector<int32_t> ended;
  for (ztRoot *node = chain; node != nullptr;
       node = static_cast<ztRoot *>(ztRoot_of(node)->getChildAt(node, 0))) {
    forest.on(node, "destroyed", [&](const ztRoot *dying) { ended.push_back(dying->uid); });
  }
  release(chain);
  ASSERT_EQ(ended.size(), static_cast<size_t>(levels));
  for (int i = 0; i < levels; ++i) EXPECT_EQ(ended[static_cast<size_t>(i)], levels - i);
}

// Slots that change another tree each time do not make the release begin again.
TEST(DeepTree, EndsWhileSlotsChangeAnotherTree) {
  Forest forest;
  const int levels = scale(20000);
  ztRoot *chain = newChain(levels, ztRoot_ctor);
  ztRoot *grave = newNode(0, ztRoot_ctor);
  for (ztRoot *node = chain; node != nullptr;
       node = static_cast<ztRoot *>(ztRoot_of(node)->getChildAt(node, 0))) {
    forest.on(node, "destroyed",
              [&](const ztRoot *dying) { addChild(grave, newNode(dying->uid, ztRoot_ctor)); });
  }
  release(chain);
  EXPECT_EQ(ztRoot_of(grave)->getChildCount(grave), levels);
  release(grave);
}

// Overrides of hosts --------------------------------------------------------------------------------

TEST(DeepTree, AHostsDestroyFindsItsChildrenAtEveryDepth) {
  constexpr int levels = 2000;
  parentsEnded = childrenSeen = 0;
  release(newChain(levels, Seeing_ctor));
  EXPECT_EQ(parentsEnded, levels);
  EXPECT_EQ(childrenSeen, levels - 1);
}

TEST(DeepTree, AHostsDestroyFindsItsChildrenBelowPlainNodes) {
  const int levels = scale(300000);
  ztRoot *top = newNode(1, ztRoot_ctor);
  ztRoot *at = top;
  int hosts = 0;
  for (int32_t uid = 2; uid <= levels; ++uid) {
    const bool isHost = uid % (levels / 100) == 0;
    ztRoot *below = newNode(uid, isHost ? Seeing_ctor : ztRoot_ctor);
    hosts += isHost;
    addChild(at, below);
    at = below;
  }
  addChild(at, newNode(0, ztRoot_ctor));
  parentsEnded = childrenSeen = 0;
  release(top);
  EXPECT_EQ(parentsEnded, hosts);
  EXPECT_EQ(childrenSeen, hosts);
}

TEST(DeepTree, OfAHostsNodesEndsWhereTheStackIsTooSmallForAll) {
  onStack(smallStack, [] {
    constexpr int levels = 20000;
    parentsEnded = childrenSeen = 0;
    release(newChain(levels, Seeing_ctor));
    EXPECT_EQ(parentsEnded, levels);
    EXPECT_GE(childrenSeen, 10);
    EXPECT_LT(childrenSeen, levels - 1) << "so many levels do not fit";
  });
}

// Those that survive keep what is below them, also below the last level that the stack reaches.
TEST(DeepTree, OfAHostsNodesKeepsWhatSurvives) {
  onStack(smallStack, [] {
    ztRoot *chain = newChain(3000, Seeing_ctor);
    ztRoot *kept = chain;
    while (kept->uid < 2000) kept = static_cast<ztRoot *>(ztRoot_of(kept)->getChildAt(kept, 0));
    ztRoot_of(kept)->ref(kept);
    release(chain);
    EXPECT_EQ(countOf(kept), 2);
    EXPECT_EQ(depthOf(kept), 1001);
    release(kept);
  });
}

TEST(DeepTree, IsCopiedThroughOverridesAsDeepAsTheStackAllowsOrNotAtAll) {
  Forest forest;
  onStack(smallStack, [] {
    const int32_t before = nodesLive;
    bool refused = false;
    for (int levels = 2; levels < 5000 && !refused; levels *= 2) {
      ztRoot *chain = newChain(levels, LiveNode_ctor);
      ztRoot *copy = newCopy(chain);
      refused = copy == nullptr;
      if (refused) {
        EXPECT_GT(levels, 8);
        EXPECT_EQ(nodesLive, before + levels) << "a copy that was begun is gone";
      } else {
        EXPECT_EQ(depthOf(copy), levels);
        release(copy);
      }
      release(chain);
    }
    EXPECT_TRUE(refused);
  });
}

TEST(DeepTree, IsAssignedThroughOverridesAsDeepAsTheStackAllowsOrNotAtAll) {
  onStack(smallStack, [] {
    bool refused = false;
    for (int levels = 2; levels < 5000 && !refused; levels *= 2) {
      ztRoot *node = newChain(levels, Noting_ctor);
      ztRoot *source = newChain(levels, Noting_ctor);
      const auto below = [](ztRoot *from) {
        return static_cast<ztRoot *>(ztRoot_of(from)->getChildAt(from, 0));
      };
      for (ztRoot *at = source; at != nullptr; at = below(at)) reinterpret_cast<Noting *>(at)->noted = 7;
      // The uppermost is assigned by the base's, so that it stays as it is.
      refused = !ztRoot_table()->assign(node, source);
      for (ztRoot *at = below(node); at != nullptr; at = below(at)) {
        ASSERT_EQ(reinterpret_cast<const Noting *>(at)->noted, refused ? 0 : 7) << levels;
      }
      if (refused) {
        EXPECT_GT(levels, 8);
      }
      release(node);
      release(source);
    }
    EXPECT_TRUE(refused);
  });
}

// The list of the children is the host's to reach into.
TEST(DeepTree, ThatLeadsBackIntoItselfIsNeitherCopiedNorAssigned) {
  Forest forest;
  ztRoot *top = newChain(5, ztRoot_ctor);
  ztRoot *low = top;
  while (ztRoot_of(low)->getChildCount(low) > 0)
    low = static_cast<ztRoot *>(ztRoot_of(low)->getChildAt(low, 0));
  ztRootPtrList_of(low->children)->pushBack(low->children, top);
  EXPECT_EQ(newCopy(top), nullptr);
  EXPECT_EQ(ztRoot_of(top)->assign(top, top), 0);
  ztRootPtrList_of(low->children)->popBack(low->children);
  EXPECT_EQ(ztRoot_of(top)->assign(top, top), 1);
  release(top);
}

// Building ------------------------------------------------------------------------------------------

TEST(BuildingADeepTree, AsksNobodyAboveWhereGetParentIsTheLibrarys) {
  ztRoot *top = newNode(1, Noting_ctor);
  ztRoot *at = top;
  addChild(top, newNode(2, ztRoot_ctor));
  at = childrenOf(top)[0];
  parentsAskedFor = 0;
  for (int32_t uid = 3; uid < 100; ++uid) {
    addChild(at, newNode(uid, ztRoot_ctor));
    at = childrenOf(at)[0];
    ztRoot_of(at)->findChildById(at, 1);
  }
  EXPECT_EQ(parentsAskedFor, 0);
  // A host's own is asked.
  ztRoot_of(top)->findChildById(top, 1);
  EXPECT_EQ(parentsAskedFor, 1);
  addChild(top, newNode(100, ztRoot_ctor));
  EXPECT_EQ(parentsAskedFor, 2);
  release(top);
}

TEST(BuildingADeepTree, WorksFromEitherEndAndFromPieces) {
  const int levels = scale(200000);
  // A new top each time.
  ztRoot *top = newNode(0, ztRoot_ctor);
  for (int i = 1; i < levels; ++i) {
    ztRoot *above = newNode(i, ztRoot_ctor);
    addChild(above, top);
    top = above;
  }
  EXPECT_EQ(depthOf(top), levels);
  release(top);
  // A piece of two at the lower end each time.
  top = newNode(0, ztRoot_ctor);
  ztRoot *at = top;
  for (int i = 1; i < levels; i += 2) {
    ztRoot *upper = newNode(i, ztRoot_ctor);
    ztRoot *lower = newNode(i + 1, ztRoot_ctor);
    addChild(upper, lower);
    addChild(at, upper);
    at = lower;
  }
  EXPECT_GE(depthOf(top), levels);
  release(top);
}

TEST(BuildingADeepTree, RefusesACycleAtAnyDepth) {
  for (const int levels : {2, 64, 65, 66, 130, 1000}) {
    ztRoot *top = newChain(levels, ztRoot_ctor);
    // So that there is much below as well.
    for (int i = 0; i < 200; ++i) addChild(top, newNode(-i, ztRoot_ctor));
    ztRoot *low = top;
    while (ztRoot_of(low)->getChildCount(low) > 0) low = childrenOf(low)[0];
    EXPECT_EQ(setParent(top, low), 0) << levels;
    ztRoot *second = childrenOf(top)[0];
    if (levels > 2) {
      EXPECT_EQ(setParent(second, low), 0) << levels;
    }
    EXPECT_EQ(setParent(second, childrenOf(top)[1]), 1) << levels;
    for (int i = countOf(second); i > 2; --i) release(second);
    release(top);
  }
}

// A host that takes a child off the list itself leaves the child's parent as it was, and can so make the way
// up lead round.
TEST(BuildingADeepTree, DoesNotClimbForEverWhereAHostMadeTheWayUpLeadRound) {
  ztRoot *above = newNode(1, ztRoot_ctor);
  ztRoot *child = newNode(2, ztRoot_ctor);
  addChild(above, child);
  ztRootPtrList_of(above->children)->popFront(above->children);
  EXPECT_EQ(setParent(above, child), 1);
  ztRoot *other = newNode(3, ztRoot_ctor);
  addChild(other, newNode(4, ztRoot_ctor));
  EXPECT_EQ(setParent(other, above), 0) << "nothing is above such a node";
  release(other);
  ztRoot_of(child)->deleteChild(child, above);
  child->parent = nullptr;
  release(above);
  release(child);
}
