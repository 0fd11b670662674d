// Functions of a host's that leave by an exception or a longjmp, through calls of the library's.
#include "containers/ztavltree.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <malloc.h>
#include <setjmp.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/single_threaded.h>
#include <ucontext.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <random>
#include <set>

#ifdef __SANITIZE_ADDRESS__
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

const char *const changed = "changed";

// Leaving -----------------------------------------------------------------------------------------

enum Way { byException, byLongjmp };

std::ostream &operator<<(std::ostream &out, Way way) {
  return out << (way == byException ? "Exception" : "Longjmp");
}

struct Left {};

jmp_buf whereTo;
Way wayOut;
int left;  // how often
bool leaves;

[[noreturn]] void leave() {
  ++left;
  if (wayOut == byException) throw Left();
  longjmp(whereTo, 1);
}

void leaveOnce() {
  if (leaves) leave();
}

// Not made in a frame that is left, since a longjmp passes over its destructor.
using Task = std::function<void()>;

// Runs what is left by such a function; tells whether it was.
bool isLeft(const Task &task) {
  const int before = left;
  if (wayOut == byException) {
    try {
      task();
    } catch (const Left &) {
    }
  } else if (setjmp(whereTo) == 0) {
    task();
  }
  return left != before;
}

// Where the next call comes from ------------------------------------------------------------------

// Writes over the stack below its caller.
__attribute__((noinline)) void fromDeeper(const Task &task, int levels) {
  volatile char frame[600];
  for (volatile char &byte : frame) byte = static_cast<char>(levels);
  if (levels > 0) {
    fromDeeper(task, levels - 1);
  } else {
    task();
  }
  EXPECT_EQ(frame[0], static_cast<char>(levels));
}

// Writes over what the calls that were left have on the stack, as whatever a host does next will. Where nothing
// has, their frames cannot be told from running ones.
__attribute__((noinline, no_sanitize_address)) void coverStack() {
  volatile char frame[32768];
  for (volatile char &byte : frame) byte = 2;
}

// A coroutine with a stack of its own.
class Fiber {
 public:
  explicit Fiber(Task wanted)
      : action(std::move(wanted)),
        stack(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    getcontext(&own);
    own.uc_stack.ss_sp = stack;
    own.uc_stack.ss_size = size;
    own.uc_link = &outside;
    current = this;
    makecontext(&own, begin, 0);
  }
  ~Fiber() {
    munmap(stack, size);
  }
  Fiber(const Fiber &) = delete;
  Fiber &operator=(const Fiber &) = delete;

  void resume() {
    Fiber *outer = current;
    current = this;
    volatile char frame[400];
    for (volatile char &byte : frame) byte = 1;
    swapcontext(&outside, &own);
    current = outer;
  }
  static void pause() {
    swapcontext(&current->own, &current->outside);
  }

 private:
  static void begin() {
    current->action();
  }
  static constexpr size_t size = 256 * 1024;
  static Fiber *current;
  Task action;
  void *stack;
  ucontext_t own;
  ucontext_t outside;
};

Fiber *Fiber::current;

enum Place { sameFrame, deeperFrame, otherStack };

std::ostream &operator<<(std::ostream &out, Place place) {
  const char *const names[] = {"SameFrame", "DeeperFrame", "OtherStack"};
  return out << names[place];
}

__attribute__((noinline)) void run(Place place, const Task &task) {
  if (place == sameFrame) task();
  if (place == deeperFrame) fromDeeper(task, 10);
  // Not on the stack, of which it would cover much without writing to it.
  if (place == otherStack) std::make_unique<Fiber>(task)->resume();
}

// What is left ------------------------------------------------------------------------------------

void emitChanged(void *object) {
  ztObject_emit(object, changed, 5);
}

void setInt(void *object, const char *name, ztWord value) {
  ztObject_of(object)->setProperty(object, name, "ztInt", value);
}

ztSlotFunction slotOf(void (*function)(void *receiver, intptr_t first)) {
  ztSlotFunction slot;
  slot.call1 = function;
  return slot;
}

ztSlotFunction leavingSlot() {
  return slotOf([](void *, intptr_t) { leaveOnce(); });
}

// Declares a property of all listeners.
void declare(const char *name, ztGetter getter, void (*setter)(void *, int32_t)) {
  ztObject_table()->addProperty(ListenerClass_Instance(), name, "ztInt", getter, setterOf(setter), nullptr,
                                nullptr);
}

class LeavingTest : public ListenerTest {
 protected:
  explicit LeavingTest(Way way) {
    wayOut = way;
    leaves = true;
  }
  // Without the two below.
  static int32_t othersLive() {
    return listenersLive - 2;
  }

  const Object emitter{Listener_ctor};
  const Object receiver{Listener_ctor};
};

class Interrupted : public LeavingTest, public testing::WithParamInterface<std::tuple<Way, Place>> {
 protected:
  Interrupted() : LeavingTest(std::get<0>(GetParam())) {}

  // The next call, from the place that is being tested.
  static void next(const Task &task) {
#ifdef __SANITIZE_ADDRESS__
    // Whose frames leave much of what they have as it is.
    coverStack();
#endif
    run(std::get<1>(GetParam()), task);
  }

  // Releases objects next, and then emissions and releases have to work as ever.
  static void end(const std::vector<void *> &objects) {
    for (void *object : objects) next([=] { release(object); });
    checkEngine();
  }

  static void checkEngine() {
    next([] {
      diary.clear();
      Object sender(Listener_ctor);
      Listener *called = newListener();
      connectTo(sender, changed, called, diarySlot<0>());
      EXPECT_EQ(ztObject_emit(sender, changed, 1), 1);
      EXPECT_EQ(called->sender, nullptr);
      release(called);
      EXPECT_EQ(ztObject_emit(sender, changed, 1), 0);
      EXPECT_EQ(diary.size(), 1U);
      Owned map(ztPropertyMap_ctor);
    });
  }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(, Interrupted,
                         testing::Combine(testing::Values(byException, byLongjmp),
                                          testing::Values(sameFrame, deeperFrame, otherStack)),
                         [](const testing::TestParamInfo<std::tuple<Way, Place>> &tested) {
                           return testing::PrintToString(std::get<Way>(tested.param)) + "_" +
                                  testing::PrintToString(std::get<Place>(tested.param));
                         });

TEST_P(Interrupted, AnEmissionLeavesTheEngineWhole) {
  Listener *sender = newListener();
  Listener *called = newListener();
  connectTo(sender, changed, called, leavingSlot());
  EXPECT_TRUE(isLeft([&] { emitChanged(sender); }));
  end({called});
  EXPECT_EQ(ztObject_emit(sender, changed, 1), 0);
  end({sender});
}

TEST_P(Interrupted, AnEmissionCanBeRepeated) {
  connectTo(emitter, changed, receiver, diarySlot<0>());
  connectTo(emitter, changed, receiver, leavingSlot());
  EXPECT_TRUE(isLeft([&] { emitChanged(emitter); }));
  leaves = false;
  next([&] { emitChanged(emitter); });
  EXPECT_EQ(diary.size(), 1U);
}

TEST_P(Interrupted, NestedEmissionsLeaveTheEngineWhole) {
  std::vector<void *> listeners;
  for (int i = 0; i < 40; ++i) listeners.push_back(newListener());
  const ztSlotFunction forward = slotOf([](void *object, intptr_t) { emitChanged(object); });
  for (size_t i = 0; i + 1 < listeners.size(); ++i)
    connectTo(listeners[i], changed, listeners[i + 1], forward);
  connectTo(listeners.back(), changed, listeners.front(), leavingSlot());
  EXPECT_TRUE(isLeft([&] { emitChanged(listeners[0]); }));
  end({listeners[20]});
  listeners.erase(listeners.begin() + 20);
  end(listeners);
}

TEST_P(Interrupted, AnEmissionGivesTheSenderOfItsReceiverBack) {
  if (!__libc_single_threaded) GTEST_SKIP() << "the receiver may be in another thread";
  connectTo(emitter, changed, receiver, leavingSlot());
  const Task emission = [&] { emitChanged(emitter); };
  EXPECT_TRUE(isLeft([&] { fromDeeper(emission, 3); }));
  // From a frame that lies above the one that was left.
  checkEngine();
  const Object other(Listener_ctor);
  connectTo(other, changed, other, diarySlot<0>());
  emitChanged(other);
  EXPECT_EQ(receiver->getSender(receiver), nullptr);
}

TEST_P(Interrupted, AnEmissionGivesTheSenderOfALaterReceiverBack) {
  if (!__libc_single_threaded) GTEST_SKIP() << "the receiver may be in another thread";
  static int called;
  called = 0;
  const Object other(Listener_ctor);
  const ztSlotFunction leavingSecond = slotOf([](void *, intptr_t) {
    if (++called == 2) leave();
  });
  connectTo(emitter, changed, receiver, leavingSecond);
  connectTo(emitter, changed, other, leavingSecond);
  const Task emission = [&] { emitChanged(emitter); };
  EXPECT_TRUE(isLeft([&] { fromDeeper(emission, 3); }));
  // From a frame that lies above the one that was left.
  checkEngine();
  const Object another(Listener_ctor);
  connectTo(another, changed, another, diarySlot<0>());
  emitChanged(another);
  EXPECT_EQ(receiver->getSender(receiver), nullptr);
  EXPECT_EQ(other->getSender(other), nullptr);
}

TEST_P(Interrupted, AGetterAndASetterLeaveTheEngineWhole) {
  Listener *object = newListener();
  declare("leaving", getterOf([](const void *) -> int32_t { leave(); }), [](void *, int32_t) { leave(); });
  EXPECT_TRUE(isLeft([&] { setInt(object, "leaving", 1); }));
  checkEngine();
  int32_t out;
  EXPECT_TRUE(isLeft([&] { ztObject_of(object)->getProperty(object, "leaving", "ztInt", &out); }));
  checkEngine();
  end({object});
}

TEST_P(Interrupted, ANotificationLeavesTheEngineWhole) {
  Listener *object = newListener();
  setInt(object, "level", 0);
  connectTo(object, "prop->signalname", receiver, leavingSlot());
  EXPECT_TRUE(isLeft([&] { setInt(object, "level", 3); }));
  checkEngine();
  end({object});
}

TEST_P(Interrupted, AnEndIsFinishedByTheNextRelease) {
  Listener *object = newListener();
  std::vector<Listener *> peers;
  for (int i = 0; i < 5; ++i) peers.push_back(newListener());
  std::sort(peers.begin(), peers.end());
  const int32_t level = 4;
  setInt(object, "level", reinterpret_cast<ztWord>(&level));
  for (Listener *peer : peers) {
    connectTo(object, "destroyed", peer, diarySlot<0>());
    connectTo(object, changed, peer, diarySlot<1>());
    connectTo(peer, changed, object, diarySlot<2>());
  }
  connectTo(object, "destroyed", peers[2], leavingSlot());
  EXPECT_TRUE(isLeft([&] { release(object); }));
  EXPECT_EQ(diary.size(), 2U);
  leaves = false;
  checkEngine();
  // One that was told and one that was not; the object, half gone, calls neither.
  next([&] { release(peers[0]); });
  next([&] { release(peers[4]); });
  diary.clear();
  ztObject_emit(object, changed, 1);
  EXPECT_EQ(diary.size(), 3U);
  next([&] { release(object); });
  EXPECT_EQ(othersLive(), 3);
  diary.clear();
  for (size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(ztObject_emit(peers[i], changed, 1), 0);
    next([&] { release(peers[i]); });
  }
  EXPECT_TRUE(diary.empty());
  checkEngine();
}

TEST_P(Interrupted, AnEndOfAnEmbeddedObjectIsFinishedByTheNextOne) {
  alignas(Listener) static unsigned char memory[sizeof(Listener)];
  Listener_ctor(memory, 1);
  connectTo(memory, "destroyed", receiver, leavingSlot());
  connectTo(receiver, changed, memory, diarySlot<0>());
  const auto destroy = [] { Listener_of(memory)->destroy(memory); };
  EXPECT_TRUE(isLeft(destroy));
  next(destroy);
  EXPECT_EQ(ztObject_emit(receiver, changed, 1), 0);
  EXPECT_EQ(static_cast<ztObject *>(static_cast<void *>(memory))->signals, nullptr);
  checkEngine();
}

// A host that does not finish the end, but frees the memory itself, which is then used again.
TEST_P(Interrupted, AnEndLeavesNothingToANewObjectInItsPlace) {
  Listener *object = newListener();
  ztObject_of(object)->ref(object);
  connectTo(object, "destroyed", receiver, leavingSlot());
  EXPECT_TRUE(isLeft([&] { release(object); }));
  ztObject_table()->destroy(object);
  --listenersLive;
  Listener_ctor(object, 1);
  next([&] { release(object); });
  EXPECT_EQ(othersLive(), 0);
  checkEngine();
}

// A plain class, whose end leaves.
#define Fuse_FIELDS ztBaseClass_FIELDS
#define Fuse_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Fuse)

static int32_t fuseCreate(void *object) {
  ++listenersLive;
  return ztBaseClass_table()->create(object);
}

static void fuseDestroy(void *object) {
  leaveOnce();
  --listenersLive;
  ztBaseClass_table()->destroy(object);
}

static void fuseMethods(FuseMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, fuseCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, fuseDestroy);
}

ZT_DEFINE_CLASS(Fuse, ztBaseClass, fuseMethods)

TEST_P(Interrupted, AReleaseOfAnyObjectIsFinishedByTheNextOne) {
  void *fuse = Fuse_ctor(nullptr, 1);
  EXPECT_TRUE(isLeft([&] { release(fuse); }));
  leaves = false;
  checkEngine();
  next([&] { release(fuse); });
}

// As above, for an object of any class.
TEST_P(Interrupted, AReleaseLeavesNothingToANewObjectInItsPlace) {
  void *fuse = Fuse_ctor(nullptr, 1);
  next([=] { EXPECT_TRUE(isLeft([=] { release(fuse); })); });
  leaves = false;
  --listenersLive;
  Fuse_ctor(fuse, 1);
  next([=] { release(fuse); });
  EXPECT_EQ(othersLive(), 0);
  checkEngine();
}

// Ends of trees -----------------------------------------------------------------------------------

// Nodes whose own `destroy` leaves, and which know of all whose end has begun and not come to its end.
#define FuseNode_FIELDS ztRoot_FIELDS
#define FuseNode_METHODS ztRoot_METHODS
ZT_DECLARE_CLASS(FuseNode)

enum Moment { atItsBegin, atItsEnd };

static std::vector<void *> nodesEnding;
static Moment leavesAt;
static int endsBefore;  // that are not left

static int32_t fuseNodeCreate(void *object) {
  ++listenersLive;
  return ztRoot_table()->create(object);
}

static void fuseNodeDestroy(void *object) {
  nodesEnding.push_back(object);
  const bool isLeaving = endsBefore-- == 0;
  if (isLeaving && leavesAt == atItsBegin) leave();
  ztRoot_table()->destroy(object);
  if (isLeaving && leavesAt == atItsEnd) leave();
  --listenersLive;
  nodesEnding.pop_back();
}

static void fuseNodeMethods(FuseNodeMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, fuseNodeCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, fuseNodeDestroy);
}

ZT_DEFINE_CLASS(FuseNode, ztRoot, fuseNodeMethods)

// The nodes by their identifiers.
static Nodes newTree(ztCtor constructor) {
  Tree tree("0(1(2 3) 4(5))", constructor);
  Nodes nodes;
  for (int32_t uid = 0; uid < 6; ++uid) nodes.push_back(tree[uid]);
  tree.release();
  return nodes;
}

TEST_P(Interrupted, AnAddedChildIsThereWhenItsAnnouncementIsLeft) {
  for (const bool childGoesFirst : {false, true}) {
    ztRoot *parent = newNode(1, FuseNode_ctor);
    ztRoot *child = newNode(2, FuseNode_ctor);
    connectTo(parent, "childAdded", receiver, leavingSlot());
    endsBefore = INT32_MAX;
    EXPECT_TRUE(isLeft([&] { addChild(parent, child); }));
    EXPECT_EQ(child->parent, parent);
    EXPECT_EQ(childrenOf(parent), Nodes{child});
    EXPECT_EQ(child->refCount, 2);
    if (childGoesFirst) next([&] { release(child); });
    EXPECT_EQ(othersLive(), childGoesFirst ? 1 : 2);
    next([&] { release(parent); });
    EXPECT_EQ(othersLive(), 0);
    checkEngine();
  }
}

TEST_P(Interrupted, ADeletedChildLeavesWithTheNextCallWhenItsAnnouncementIsLeft) {
  enum Next { deletedAgain, childReleased, parentReleased, added, allDeleted };
  for (const Next then : {deletedAgain, childReleased, parentReleased, added, allDeleted}) {
    SCOPED_TRACE(then);
    leaves = true;
    endsBefore = INT32_MAX;
    Tree tree("1(2 3 4)", FuseNode_ctor);
    const Nodes children = childrenOf(tree);
    ztRoot *child = children[1];
    ztRoot *parent = tree.release();
    connectTo(parent, "childDeleted", receiver, leavingSlot());
    const auto deleteSecond = [&] { deleteChild(parent, child); };
    EXPECT_TRUE(isLeft(deleteSecond));
    EXPECT_EQ(child->parent, nullptr);
    leaves = false;
    checkEngine();
    if (then == deletedAgain) next(deleteSecond);
    if (then == childReleased) next([&] { release(child); });
    if (then == deletedAgain || then == childReleased) {
      EXPECT_EQ(shapeOf(parent), "1(2 4)");
    }
    if (then == added) {
      next([&] { addChild(parent, child); });
      EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 3);
      EXPECT_EQ(child->parent, parent);
      EXPECT_EQ(child->refCount, 3) << "the one of the first place is its deleter's";
      release(child);
    }
    if (then == allDeleted) {
      next([&] { ztRoot_of(parent)->deleteAllChild(parent); });
      EXPECT_EQ(shapeOf(parent), "1");
      for (ztRoot *other : {children[0], children[2]}) next([&] { release(other); });
    }
    next([&] { release(parent); });
    if (then == deletedAgain || then == parentReleased || then == allDeleted) {
      EXPECT_EQ(othersLive(), 1);
      next([&] { release(child); });
    }
    EXPECT_EQ(othersLive(), 0);
    checkEngine();
  }
}

// Whose "destroyed" was emitted, and the one whose was left.
static std::multiset<const void *> told;
static void *leftNode;

// Plain nodes end from below, so one end alone is left.
TEST_P(Interrupted, TheEndOfATreeIsFinishedByTheNextReleaseAfterASlot) {
  const ztSlotFunction leavingEnds = slotOf([](void *object, intptr_t) {
    leftNode = ztObject_of(object)->getSender(object);
    told.insert(leftNode);
    if (endsBefore-- == 0) leave();
  });
  for (int which = 0; which < 6; ++which) {
    for (const bool rootGoesFirst : {false, true}) {
      SCOPED_TRACE(which);
      const Nodes nodes = newTree(ztRoot_ctor);
      for (ztRoot *node : nodes) connectTo(node, "destroyed", receiver, leavingEnds);
      told.clear();
      endsBefore = which;
      EXPECT_TRUE(isLeft([&] { release(nodes[0]); }));
      coverStack();
      EXPECT_EQ(told.size(), static_cast<size_t>(which) + 1);
      void *halfGone = leftNode;
      checkEngine();
      if (rootGoesFirst) next([&] { release(nodes[0]); });
      if (halfGone != nodes[0]) next([&] { release(halfGone); });
      if (!rootGoesFirst) next([&] { release(nodes[0]); });
      for (ztRoot *node : nodes) EXPECT_EQ(told.count(node), 1U);
      checkEngine();
    }
  }
}

// The ends of a host's nodes lie one inside the other, and all that had begun are left.
TEST_P(Interrupted, TheEndOfATreeIsFinishedByTheNextReleasesAfterAHostsDestroy) {
  for (int round = 0; round < 24; ++round) {
    SCOPED_TRACE(round);
    ztRoot *root = newTree(FuseNode_ctor)[0];
    nodesEnding.clear();
    leavesAt = round < 12 ? atItsBegin : atItsEnd;
    endsBefore = round % 6;
    EXPECT_TRUE(isLeft([&] { release(root); }));
    coverStack();
    std::vector<void *> halfGone = nodesEnding;
    EXPECT_EQ(halfGone[0], root);
    nodesEnding.clear();
    checkEngine();
    const bool outermostGoesFirst = round / 6 % 2 == 0;
    if (!outermostGoesFirst) std::reverse(halfGone.begin(), halfGone.end());
    for (void *node : halfGone) next([&] { release(node); });
    EXPECT_TRUE(nodesEnding.empty());
    EXPECT_EQ(othersLive(), 0);
    checkEngine();
  }
}

TEST_P(Interrupted, ACompareFunctionInsideASlotLeavesTheEngineWhole) {
  Owned map(ztPropertyMap_ctor);
  Listener *called = newListener();
  static void *searched;
  searched = map;
  const ztSlotFunction search = slotOf([](void *, intptr_t) {
    void *key = newString("key");
    void *property = ztProperty_ctor(nullptr, 1);
    const ztMapMethods *methods = ztMap_of(searched);
    methods->pushBack(searched, key, property);
    release(property);
    release(key);
    methods->setCompareFunction(searched, [](const void *, const void *) -> int32_t { leave(); });
    ztAvlTree *tree = static_cast<ztMap *>(searched)->tree;
    ztAvlTree_of(tree)->pop(tree, searched);
  });
  connectTo(emitter, changed, called, search);
  EXPECT_TRUE(isLeft([&] { emitChanged(emitter); }));
  end({called});
}

static size_t allocatedBytes() {
#ifdef __SANITIZE_ADDRESS__
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 memory = mallinfo2();
  return memory.uordblks + memory.hblkhd;
#endif
}

TEST_P(Interrupted, LoopsKeepNoMemory) {
  const bool isOnOtherStack = std::get<1>(GetParam()) == otherStack;
#ifdef __SANITIZE_ADDRESS__
  // Which cannot follow what leaves frames on a stack that it does not know.
  if (isOnOtherStack) GTEST_SKIP();
#endif
  connectTo(emitter, changed, receiver, diarySlot<0>());
  connectTo(emitter, changed, receiver, leavingSlot());
  void *fuse = Fuse_ctor(nullptr, 1);
  declare("leaving in loops", noGetter, [](void *, int32_t) { leave(); });
  const auto attempt = [&] {
    isLeft([&] { emitChanged(emitter); });
    // What was left on another stack is not finished from this one.
    if (!isOnOtherStack) isLeft([&] { release(fuse); });
    isLeft([&] { setInt(emitter, "leaving in loops", 1); });
    fromDeeper([&] { isLeft([&] { emitChanged(emitter); }); }, left % 3);
    diary.clear();
  };
  // On one stack, since each fiber has another one.
  const auto rounds = [&](int count) {
    next([&] {
      for (int i = 0; i < count; ++i) attempt();
    });
  };
  // The table of calls may grow first: it looks for records to drop only when it is full.
  rounds(2000);
  const size_t before = allocatedBytes();
  rounds(scale(25000));
  EXPECT_LE(allocatedBytes(), before + 4096);
  leaves = false;
  release(fuse);
  checkEngine();
}

// Several stacks ----------------------------------------------------------------------------------

namespace {

class Stacks : public LeavingTest {
 protected:
  Stacks() : LeavingTest(byException) {}
};

}  // namespace

TEST_F(Stacks, EmissionsOnTwoMayEndInAnyOrder) {
  std::vector<Listener *> listeners;
  for (int i = 0; i < 6; ++i) listeners.push_back(newListener());
  std::sort(listeners.begin(), listeners.end());
  for (Listener *listener : listeners) {
    connectTo(emitter, changed, listener, diarySlot<0>());
    connectTo(receiver, changed, listener, diarySlot<1>());
  }
  reaction = [](const Call &) { Fiber::pause(); };
  Fiber first([&] { emitChanged(emitter); });
  Fiber second([&] { emitChanged(receiver); });
  first.resume();
  second.resume();
  // Another emission, on the thread's own stack, while both are under way.
  reaction = nullptr;
  emitChanged(emitter);
  EXPECT_EQ(diary.size(), 8U);
  EXPECT_EQ(listeners[0]->sender, nullptr);
  first.resume();
  EXPECT_EQ(diary.size(), 13U);
  release(listeners[3]);
  second.resume();
  EXPECT_EQ(diary.size(), 17U);
  release(listeners[0]);
  for (size_t i : {1U, 2U, 4U, 5U}) {
    EXPECT_EQ(listeners[i]->sender, nullptr);
    release(listeners[i]);
  }
}

TEST_F(Stacks, AnAbandonedEmissionHoldsNothingUp) {
  connectTo(emitter, changed, receiver, diarySlot<0>());
  for (int i = 0; i < 200; ++i) {
    reaction = [](const Call &) { Fiber::pause(); };
    Fiber([&] { emitChanged(emitter); }).resume();
    reaction = nullptr;
    emitChanged(emitter);
  }
  EXPECT_EQ(diary.size(), 400U);
}

// So many are paused that calls and receivers are looked up, and records come to stand between older ones.
TEST_F(Stacks, ManyPausedEmissionsNoticeWhatEnds) {
  struct Paused {
    Listener *from = newListener();
    Listener *first = newListener();
    Listener *second = newListener();
    std::unique_ptr<Fiber> fiber;
  };
  std::vector<Paused> paused;
  std::mt19937 random(1);
  const auto below = [&](size_t limit) {
    return std::uniform_int_distribution<size_t>(0, limit - 1)(random);
  };
  const auto end = [](Listener *&one) {
    if (one != nullptr) release(std::exchange(one, nullptr));
  };
  reaction = [](const Call &call) {
    if (call.slot == 0) Fiber::pause();
  };
  const auto begin = [&] {
    Paused &added = paused.emplace_back();
    if (added.second < added.first) std::swap(added.first, added.second);
    connectTo(added.from, changed, added.first, diarySlot<0>());
    connectTo(added.from, changed, added.second, diarySlot<1>());
    added.fiber = std::make_unique<Fiber>([from = added.from] { emitChanged(from); });
    added.fiber->resume();
  };
  const auto finish = [&](size_t index) {
    Paused ended = std::move(paused[index]);
    paused.erase(paused.begin() + static_cast<ptrdiff_t>(index));
    diary.clear();
    ended.fiber->resume();
    EXPECT_EQ(diary.size(), ended.from != nullptr && ended.second != nullptr ? 1U : 0U);
    for (Listener **one : {&ended.from, &ended.first, &ended.second}) end(*one);
  };
  for (int step = scale(1400); step > 0 && !HasFailure(); --step) {
    const size_t dice = below(10);
    if (paused.empty() || (dice < 4 && paused.size() < 80)) {
      begin();
      continue;
    }
    Paused &any = paused[below(paused.size())];
    if (dice < 7) {
      finish(static_cast<size_t>(&any - paused.data()));
    } else {
      end(dice == 7 ? any.from : dice == 8 ? any.first : any.second);
    }
  }
  while (!paused.empty()) finish(paused.size() - 1);
}

TEST_F(Stacks, AnObjectWhoseEndIsPausedIsNotReleasedByAnother) {
  Listener *object = newListener();
  connectTo(object, "destroyed", receiver, diarySlot<0>());
  reaction = [](const Call &) { Fiber::pause(); };
  Fiber ending([&] { release(object); });
  ending.resume();
  reaction = nullptr;
  release(object);
  Fiber([&] { release(object); }).resume();
  EXPECT_EQ(othersLive(), 1);
  ending.resume();
  EXPECT_EQ(othersLive(), 0);
}

TEST_F(Stacks, AnEndThatIsPausedOnTheThreadsOwnIsNotFinishedByAFiber) {
  Listener *object = newListener();
  connectTo(object, "destroyed", receiver, diarySlot<0>());
  reaction = [&](const Call &) { Fiber([&] { release(object); }).resume(); };
  release(object);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Stacks, AWatchOutlivesTheEmissionsOfOtherStacks) {
  Listener *object = newListener();
  connectTo(emitter, changed, emitter, diarySlot<0>());
  declare("pausing", noGetter, [](void *, int32_t) { Fiber::pause(); });
  connectTo(object, "prop->signalname", emitter, diarySlot<1>());
  Fiber setting([&] { setInt(object, "pausing", 9); });
  setting.resume();
  emitChanged(emitter);
  fromDeeper([&] { emitChanged(emitter); }, 5);
  setting.resume();
  EXPECT_EQ(diary.size(), 3U);
  EXPECT_EQ(diary.back().slot, 1);
  Fiber again([&] { setInt(object, "pausing", 9); });
  again.resume();
  release(object);
  again.resume();
  EXPECT_EQ(diary.size(), 3U);
}

namespace {

// Lets the process open no file as long as it lives.
class NoMoreFiles {
 public:
  NoMoreFiles() {
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoMoreFiles() {
    setrlimit(RLIMIT_NOFILE, &before);
  }
  NoMoreFiles(const NoMoreFiles &) = delete;
  NoMoreFiles &operator=(const NoMoreFiles &) = delete;

 private:
  rlimit before;
};

}  // namespace

// The system tells the bounds of such a stack in a file.
TEST_F(Stacks, ACopyByOverridesIsNotMadeWhereTheBoundsOfTheStackAreNotKnown) {
  const Tree tree("1(2 3)");
  // From here on the library remembers the bounds of the thread's own stack.
  EXPECT_NE(Tree(newCopy(tree)), nullptr);
  Fiber([&tree] {
    {
      const NoMoreFiles none;
      EXPECT_EQ(newCopy(tree), nullptr);
    }
    const Tree copy(newCopy(tree));
    EXPECT_EQ(shapeOf(copy), "1(2 3)");
  }).resume();
}

// Counts ------------------------------------------------------------------------------------------

TEST(ztBaseClass, CountSticksAtTheTop) {
  const Owned object(Listener_ctor);
  ztBaseClass *header = &object.fields();
  header->refCount = INT32_MAX - 1;
  for (void (*change)(void *) :
       {ztBaseClass_table()->ref, ztBaseClass_table()->ref, ztBaseClass_table()->unRef}) {
    change(object);
    EXPECT_EQ(header->refCount, INT32_MAX);
  }
  header->refCount = 1;
}
