// Functions of a host's that leave by an exception or a longjmp, through calls of the library's.
#include "tests/helpers/scale.hh"
#include "tests/objects/listeners.hh"

#include "containers/ztavltree.h"
#include "objects/ztroot.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <setjmp.h>
#include <sys/mman.h>
#include <sys/single_threaded.h>
#include <ucontext.h>

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

#ifdef __SANITIZE_ADDRESS__
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

const char *const changed = "changed";

// Leaving -----------------------------------------------------------------------------------------

enum Way { byException, byLongjmp };

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

// Runs what is left by such a function; tells whether it was. Plain functions, since a longjmp runs no
// destructors.
bool isLeft(void (*call)(void *), void *argument) {
  const int before = left;
  if (wayOut == byException) {
    try {
      call(argument);
    } catch (const Left &) {
    }
  } else if (setjmp(whereTo) == 0) {
    call(argument);
  }
  return left != before;
}

// Where the next call comes from ------------------------------------------------------------------

struct Action {
  void (*call)(void *);
  void *argument;
};

// Writes over the stack below its caller.
__attribute__((noinline)) void fromDeeper(const Action &action, int levels) {
  volatile char room[600];
  for (volatile char &byte : room) byte = static_cast<char>(levels);
  if (levels > 0) {
    fromDeeper(action, levels - 1);
  } else {
    action.call(action.argument);
  }
  EXPECT_EQ(room[0], static_cast<char>(levels));
}

// Writes over what the calls that were left have on the stack, as whatever a host does next will. Where nothing
// has, their frames cannot be told from running ones.
__attribute__((noinline, no_sanitize_address)) void coverStack() {
  volatile char room[32768];
  for (volatile char &byte : room) byte = 2;
}

// A coroutine with a stack of its own.
class Fiber {
 public:
  explicit Fiber(const Action &wanted)
      : action(wanted),
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
    volatile char room[400];
    for (volatile char &byte : room) byte = 1;
    swapcontext(&outside, &own);
    current = outer;
  }
  static void pause() {
    swapcontext(&current->own, &current->outside);
  }

 private:
  static void begin() {
    current->action.call(current->action.argument);
  }
  static constexpr size_t size = 256 * 1024;
  static Fiber *current;
  Action action;
  void *stack;
  ucontext_t own;
  ucontext_t outside;
};

Fiber *Fiber::current;

enum Place { sameFrame, deeperFrame, otherStack };

__attribute__((noinline)) void run(Place place, void (*call)(void *), void *argument) {
  const Action action = {call, argument};
  if (place == sameFrame) call(argument);
  if (place == deeperFrame) fromDeeper(action, 10);
  // Not on the stack, of which it would cover much without writing to it.
  if (place == otherStack) std::make_unique<Fiber>(action)->resume();
}

// What is left ------------------------------------------------------------------------------------

void emitChanged(void *object) {
  ztObject_emit(object, changed, 5);
}

void releaseObject(void *object) {
  release(object);
}

ztSlotFunction leavingSlot() {
  ztSlotFunction function;
  function.call1 = [](void *, intptr_t) { leaveOnce(); };
  return function;
}

class Interrupted : public testing::TestWithParam<std::tuple<Way, Place>> {
 protected:
  Interrupted() {
    wayOut = std::get<0>(GetParam());
    leaves = true;
  }
  ~Interrupted() override {
    EXPECT_EQ(listenersLive, 0);
  }

  // The next call, from the place that is being tested.
  static void next(void (*call)(void *), void *argument) {
#ifdef __SANITIZE_ADDRESS__
    // Whose frames leave much of their room as it is.
    coverStack();
#endif
    run(std::get<1>(GetParam()), call, argument);
  }

  // Emissions and releases work as ever.
  static void checkEngine() {
    next(
        [](void *) {
          diary.clear();
          Owned emitter(Listener_ctor);
          Listener *receiver = newListener();
          connectTo(emitter, changed, receiver, diarySlot<0>());
          EXPECT_EQ(ztObject_emit(emitter, changed, 1), 1);
          EXPECT_EQ(receiver->sender, nullptr);
          release(receiver);
          EXPECT_EQ(ztObject_emit(emitter, changed, 1), 0);
          EXPECT_EQ(diary.size(), 1U);
          Owned map(ztPropertyMap_ctor);
        },
        nullptr);
  }

 private:
  const Diary empty;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(, Interrupted,
                         testing::Combine(testing::Values(byException, byLongjmp),
                                          testing::Values(sameFrame, deeperFrame, otherStack)));

TEST_P(Interrupted, AnEmissionLeavesTheEngineWhole) {
  Listener *emitter = newListener();
  Listener *receiver = newListener();
  connectTo(emitter, changed, receiver, leavingSlot());
  EXPECT_TRUE(isLeft(emitChanged, emitter));
  next(releaseObject, receiver);
  checkEngine();
  EXPECT_EQ(ztObject_emit(emitter, changed, 1), 0);
  next(releaseObject, emitter);
  checkEngine();
}

TEST_P(Interrupted, AnEmissionCanBeRepeated) {
  Owned emitter(Listener_ctor);
  Owned receiver(Listener_ctor);
  connectTo(emitter, changed, receiver, diarySlot<0>());
  connectTo(emitter, changed, receiver, leavingSlot());
  EXPECT_TRUE(isLeft(emitChanged, emitter));
  leaves = false;
  next(emitChanged, emitter);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_P(Interrupted, NestedEmissionsLeaveTheEngineWhole) {
  std::vector<Listener *> listeners;
  for (int i = 0; i < 40; ++i) listeners.push_back(newListener());
  static ztSlotFunction forward;
  forward.call1 = [](void *receiver, intptr_t) { emitChanged(receiver); };
  for (size_t i = 0; i + 1 < listeners.size(); ++i) {
    connectTo(listeners[i], changed, listeners[i + 1], forward);
  }
  connectTo(listeners.back(), changed, listeners.front(), leavingSlot());
  EXPECT_TRUE(isLeft(emitChanged, listeners[0]));
  next(releaseObject, listeners[20]);
  checkEngine();
  for (size_t i = 0; i < listeners.size(); ++i) {
    if (i != 20) next(releaseObject, listeners[i]);
  }
}

TEST_P(Interrupted, AnEmissionGivesTheSenderOfItsReceiverBack) {
  if (!__libc_single_threaded) GTEST_SKIP() << "the receiver may be in another thread";
  Owned emitter(Listener_ctor);
  Owned receiver(Listener_ctor);
  connectTo(emitter, changed, receiver, leavingSlot());
  EXPECT_TRUE(isLeft([](void *object) { fromDeeper({emitChanged, object}, 3); }, emitter));
  // From a frame that lies above the one that was left.
  checkEngine();
  Owned other(Listener_ctor);
  connectTo(other, changed, other, diarySlot<0>());
  emitChanged(other);
  EXPECT_EQ(ztObject_of(receiver)->getSender(receiver), nullptr);
}

TEST_P(Interrupted, ASetterLeavesTheEngineWhole) {
  ztGetter getter;
  getter.getInt = [](const void *) -> int32_t { leave(); };
  Listener *object = newListener();
  ztObject_table()->addProperty(ListenerClass_Instance(), "leaving", "ztInt", getter,
                                setterOf([](void *, int32_t) { leave(); }), nullptr, nullptr);
  EXPECT_TRUE(
      isLeft([](void *owner) { ztObject_of(owner)->setProperty(owner, "leaving", "ztInt", 1); }, object));
  checkEngine();
  EXPECT_TRUE(isLeft(
      [](void *owner) {
        int32_t out;
        ztObject_of(owner)->getProperty(owner, "leaving", "ztInt", &out);
      },
      object));
  checkEngine();
  next(releaseObject, object);
  checkEngine();
}

TEST_P(Interrupted, ANotificationLeavesTheEngineWhole) {
  Listener *object = newListener();
  Listener *receiver = newListener();
  ztObject_of(object)->setProperty(object, "level", "ztInt", 0);
  connectTo(object, "prop->signalname", receiver, leavingSlot());
  EXPECT_TRUE(
      isLeft([](void *owner) { ztObject_of(owner)->setProperty(owner, "level", "ztInt", 3); }, object));
  checkEngine();
  next(releaseObject, object);
  next(releaseObject, receiver);
  checkEngine();
}

TEST_P(Interrupted, AnEndIsFinishedByTheNextRelease) {
  Listener *object = newListener();
  std::vector<Listener *> peers;
  for (int i = 0; i < 5; ++i) peers.push_back(newListener());
  std::sort(peers.begin(), peers.end());
  const int32_t level = 4;
  ztObject_of(object)->setProperty(object, "level", "ztInt", reinterpret_cast<ztWord>(&level));
  for (Listener *peer : peers) {
    connectTo(object, "destroyed", peer, diarySlot<0>());
    connectTo(object, changed, peer, diarySlot<1>());
    connectTo(peer, changed, object, diarySlot<2>());
  }
  connectTo(object, "destroyed", peers[2], leavingSlot());
  EXPECT_TRUE(isLeft(releaseObject, object));
  EXPECT_EQ(diary.size(), 2U);
  leaves = false;
  checkEngine();
  // One that was told and one that was not; the object, half gone, calls neither.
  next(releaseObject, peers[0]);
  next(releaseObject, peers[4]);
  diary.clear();
  ztObject_emit(object, changed, 1);
  EXPECT_EQ(diary.size(), 3U);
  next(releaseObject, object);
  EXPECT_EQ(listenersLive, 3);
  diary.clear();
  for (size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(ztObject_emit(peers[i], changed, 1), 0);
    next(releaseObject, peers[i]);
  }
  EXPECT_TRUE(diary.empty());
  checkEngine();
}

TEST_P(Interrupted, AnEndOfAnEmbeddedObjectIsFinishedByTheNextOne) {
  alignas(Listener) static unsigned char memory[sizeof(Listener)];
  Listener_ctor(memory, 1);
  Listener *peer = newListener();
  connectTo(memory, "destroyed", peer, leavingSlot());
  connectTo(peer, changed, memory, diarySlot<0>());
  EXPECT_TRUE(isLeft([](void *object) { Listener_of(object)->destroy(object); }, memory));
  next([](void *object) { Listener_of(object)->destroy(object); }, memory);
  EXPECT_EQ(ztObject_emit(peer, changed, 1), 0);
  EXPECT_EQ(static_cast<ztObject *>(static_cast<void *>(memory))->signals, nullptr);
  release(peer);
  checkEngine();
}

// A host that does not finish the end, but frees the memory itself, which is then used again.
TEST_P(Interrupted, AnEndLeavesNothingToANewObjectInItsPlace) {
  Listener *object = newListener();
  Listener *peer = newListener();
  ztObject_of(object)->ref(object);
  connectTo(object, "destroyed", peer, leavingSlot());
  EXPECT_TRUE(isLeft(releaseObject, object));
  ztObject_table()->destroy(object);
  --listenersLive;
  Listener_ctor(object, 1);
  next(releaseObject, object);
  EXPECT_EQ(listenersLive, 1);
  next(releaseObject, peer);
  checkEngine();
}

namespace {

// A plain class, whose end leaves.
#define Fuse_FIELDS ztBaseClass_FIELDS
#define Fuse_METHODS ztBaseClass_METHODS

}  // namespace

ZT_DECLARE_CLASS(Fuse)

static void fuseDestroy(void *object) {
  leaveOnce();
  --listenersLive;
  ztBaseClass_table()->destroy(object);
}

static void fuseMethods(FuseMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, fuseDestroy);
}

ZT_DEFINE_CLASS(Fuse, ztBaseClass, fuseMethods)

TEST_P(Interrupted, AReleaseOfAnyObjectIsFinishedByTheNextOne) {
  void *fuse = Fuse_ctor(nullptr, 1);
  ++listenersLive;
  EXPECT_TRUE(isLeft(releaseObject, fuse));
  leaves = false;
  checkEngine();
  next(releaseObject, fuse);
}

// Ends of trees -----------------------------------------------------------------------------------

namespace {

// Nodes whose own `destroy` leaves, and which know of all whose end has begun and not come to its end.
#define FuseNode_FIELDS ztRoot_FIELDS
#define FuseNode_METHODS ztRoot_METHODS

enum Moment { atItsBegin, atItsEnd };

std::vector<void *> nodesEnding;
Moment leavesAt;
int endsBefore;  // that are not left

}  // namespace

ZT_DECLARE_CLASS(FuseNode)

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

namespace {

ztRoot *newNodeBelow(void *parent, ztCtor constructor) {
  auto *node = static_cast<ztRoot *>(constructor(nullptr, 1));
  if (parent != nullptr) ztRoot_of(parent)->addChild(parent, node);
  return node;
}

// 0(1(2 3) 4(5)), the nodes by these numbers.
constexpr int treeSize = 6;

std::vector<ztRoot *> newTree(ztCtor constructor) {
  std::vector<ztRoot *> nodes;
  for (const int parent : {-1, 0, 1, 1, 0, 4}) {
    nodes.push_back(newNodeBelow(parent < 0 ? nullptr : nodes[static_cast<size_t>(parent)], constructor));
  }
  return nodes;
}

// Whose "destroyed" was emitted, and the one whose was left.
std::multiset<const void *> told;
void *leftNode;

ztSlotFunction leavingEnds() {
  ztSlotFunction function;
  function.call1 = [](void *receiver, intptr_t) {
    leftNode = ztObject_of(receiver)->getSender(receiver);
    told.insert(leftNode);
    if (endsBefore-- == 0) leave();
  };
  return function;
}

void deleteSecond(void *parent) {
  const ztRootMethods *methods = ztRoot_of(parent);
  methods->deleteChild(parent, methods->getChildAt(parent, 1));
}

void deleteAll(void *parent) {
  ztRoot_of(parent)->deleteAllChild(parent);
}

struct Pair {
  void *parent;
  void *child;
};

void addPair(void *pair) {
  const auto *nodes = static_cast<const Pair *>(pair);
  ztRoot_of(nodes->parent)->addChild(nodes->parent, nodes->child);
}

}  // namespace

TEST_P(Interrupted, AnAddedChildIsThereWhenItsAnnouncementIsLeft) {
  for (const bool childGoesFirst : {false, true}) {
    ztRoot *parent = newNodeBelow(nullptr, FuseNode_ctor);
    ztRoot *child = newNodeBelow(nullptr, FuseNode_ctor);
    Owned receiver(Listener_ctor);
    connectTo(parent, "childAdded", receiver, leavingSlot());
    endsBefore = INT32_MAX;
    Pair nodes = {parent, child};
    EXPECT_TRUE(isLeft(addPair, &nodes));
    EXPECT_EQ(child->parent, parent);
    EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 1);
    EXPECT_EQ(child->refCount, 2);
    if (childGoesFirst) next(releaseObject, child);
    EXPECT_EQ(listenersLive, childGoesFirst ? 2 : 3);
    next(releaseObject, parent);
    EXPECT_EQ(listenersLive, 1);
    checkEngine();
  }
}

TEST_P(Interrupted, ADeletedChildLeavesWithTheNextCallWhenItsAnnouncementIsLeft) {
  enum Next { deletedAgain, childReleased, parentReleased, added, allDeleted };
  for (const Next then : {deletedAgain, childReleased, parentReleased, added, allDeleted}) {
    SCOPED_TRACE(then);
    leaves = true;
    endsBefore = INT32_MAX;
    ztRoot *parent = newNodeBelow(nullptr, FuseNode_ctor);
    newNodeBelow(parent, FuseNode_ctor);
    ztRoot *child = newNodeBelow(parent, FuseNode_ctor);
    newNodeBelow(parent, FuseNode_ctor);
    Owned receiver(Listener_ctor);
    connectTo(parent, "childDeleted", receiver, leavingSlot());
    EXPECT_TRUE(isLeft(deleteSecond, parent));
    EXPECT_EQ(child->parent, nullptr);
    leaves = false;
    checkEngine();
    Pair nodes = {parent, child};
    if (then == deletedAgain) next(deleteSecond, parent);
    if (then == childReleased) next(releaseObject, child);
    if (then == added) next(addPair, &nodes);
    if (then == allDeleted) {
      const std::vector<void *> others = {ztRoot_of(parent)->getChildAt(parent, 0),
                                          ztRoot_of(parent)->getChildAt(parent, 2)};
      next(deleteAll, parent);
      EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 0);
      for (void *other : others) next(releaseObject, other);
    }
    if (then == deletedAgain || then == childReleased) {
      EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 2);
    }
    if (then == added) {
      EXPECT_EQ(ztRoot_of(parent)->getChildCount(parent), 3);
      EXPECT_EQ(child->parent, parent);
      EXPECT_EQ(child->refCount, 3) << "the one of the first place is its deleter's";
      release(child);
    }
    next(releaseObject, parent);
    if (then == deletedAgain || then == parentReleased || then == allDeleted) {
      EXPECT_EQ(listenersLive, 2);
      next(releaseObject, child);
    }
    EXPECT_EQ(listenersLive, 1);
    checkEngine();
  }
}

// Plain nodes end from below, so one end alone is left.
TEST_P(Interrupted, TheEndOfATreeIsFinishedByTheNextReleaseAfterASlot) {
  for (int which = 0; which < treeSize; ++which) {
    for (const bool rootGoesFirst : {false, true}) {
      SCOPED_TRACE(which);
      const std::vector<ztRoot *> nodes = newTree(ztRoot_ctor);
      Owned receiver(Listener_ctor);
      for (ztRoot *node : nodes) connectTo(node, "destroyed", receiver, leavingEnds());
      told.clear();
      endsBefore = which;
      EXPECT_TRUE(isLeft(releaseObject, nodes[0]));
      coverStack();
      EXPECT_EQ(told.size(), static_cast<size_t>(which) + 1);
      void *halfGone = leftNode;
      checkEngine();
      if (rootGoesFirst) next(releaseObject, nodes[0]);
      if (halfGone != nodes[0]) next(releaseObject, halfGone);
      if (!rootGoesFirst) next(releaseObject, nodes[0]);
      for (ztRoot *node : nodes) EXPECT_EQ(told.count(node), 1U);
      checkEngine();
    }
  }
}

// The ends of a host's nodes lie one inside the other, and all that had begun are left.
TEST_P(Interrupted, TheEndOfATreeIsFinishedByTheNextReleasesAfterAHostsDestroy) {
  for (const Moment moment : {atItsBegin, atItsEnd}) {
    for (int which = 0; which < treeSize; ++which) {
      for (const bool outermostGoesFirst : {false, true}) {
        SCOPED_TRACE(which);
        ztRoot *root = newTree(FuseNode_ctor)[0];
        nodesEnding.clear();
        leavesAt = moment;
        endsBefore = which;
        EXPECT_TRUE(isLeft(releaseObject, root));
        coverStack();
        std::vector<void *> halfGone = nodesEnding;
        EXPECT_EQ(halfGone[0], root);
        nodesEnding.clear();
        checkEngine();
        if (!outermostGoesFirst) std::reverse(halfGone.begin(), halfGone.end());
        for (void *node : halfGone) next(releaseObject, node);
        EXPECT_TRUE(nodesEnding.empty());
        EXPECT_EQ(listenersLive, 0);
        checkEngine();
      }
    }
  }
}

static int32_t leavingCompare(const void *, const void *) {
  leave();
}

TEST_P(Interrupted, ACompareFunctionInsideASlotLeavesTheEngineWhole) {
  Owned map(ztPropertyMap_ctor);
  Owned emitter(Listener_ctor);
  Listener *receiver = newListener();
  static void *searched;
  searched = map;
  ztSlotFunction function;
  function.call1 = [](void *, intptr_t) {
    void *key = newString("key");
    void *property = ztProperty_ctor(nullptr, 1);
    const ztMapMethods *methods = ztMap_of(searched);
    methods->pushBack(searched, key, property);
    release(property);
    release(key);
    methods->setCompareFunction(searched, leavingCompare);
    ztAvlTree *tree = static_cast<ztMap *>(searched)->tree;
    ztAvlTree_of(tree)->pop(tree, searched);
  };
  connectTo(emitter, changed, receiver, function);
  EXPECT_TRUE(isLeft(emitChanged, emitter));
  next(releaseObject, receiver);
  checkEngine();
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
#ifdef __SANITIZE_ADDRESS__
  // Which cannot follow what leaves frames on a stack that it does not know.
  if (std::get<1>(GetParam()) == otherStack) GTEST_SKIP();
#endif
  static void *objects[3];
  Owned emitter(Listener_ctor);
  Owned receiver(Listener_ctor);
  connectTo(emitter, changed, receiver, diarySlot<0>());
  connectTo(emitter, changed, receiver, leavingSlot());
  void *fuse = Fuse_ctor(nullptr, 1);
  ++listenersLive;
  objects[0] = emitter;
  objects[1] = fuse;
  ztObject_table()->addProperty(ListenerClass_Instance(), "leaving in loops", "ztInt", noGetter,
                                setterOf([](void *, int32_t) { leave(); }), nullptr, nullptr);
  const auto attempt = [](void *) {
    isLeft(emitChanged, objects[0]);
    // What was left on another stack is not finished from this one.
    if (std::get<1>(GetParam()) != otherStack) isLeft(releaseObject, objects[1]);
    isLeft([](void *owner) { ztObject_of(owner)->setProperty(owner, "leaving in loops", "ztInt", 1); },
           objects[0]);
    fromDeeper({[](void *) { isLeft(emitChanged, objects[0]); }, nullptr}, left % 3);
    diary.clear();
  };
  // On one stack, since each fiber has another one.
  const auto rounds = [&](int count) {
    static int more;
    more = count;
    next(
        [](void *call) {
          while (more-- > 0) (*static_cast<decltype(attempt) *>(call))(nullptr);
        },
        const_cast<void *>(static_cast<const void *>(&attempt)));
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

class Stacks : public testing::Test {
 protected:
  Stacks() {
    wayOut = byException;
    leaves = true;
  }
  ~Stacks() override {
    EXPECT_EQ(listenersLive, 0);
  }

 private:
  const Diary empty;
};

}  // namespace

TEST_F(Stacks, EmissionsOnTwoMayEndInAnyOrder) {
  Owned one(Listener_ctor);
  Owned other(Listener_ctor);
  std::vector<Listener *> listeners;
  for (int i = 0; i < 6; ++i) listeners.push_back(newListener());
  std::sort(listeners.begin(), listeners.end());
  for (Listener *listener : listeners) {
    connectTo(one, changed, listener, diarySlot<0>());
    connectTo(other, changed, listener, diarySlot<1>());
  }
  reaction = [](const Call &) { Fiber::pause(); };
  Fiber first({emitChanged, one});
  Fiber second({emitChanged, other});
  first.resume();
  second.resume();
  // Another emission, on the thread's own stack, while both are under way.
  reaction = nullptr;
  emitChanged(one);
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
  Owned emitter(Listener_ctor);
  Owned receiver(Listener_ctor);
  connectTo(emitter, changed, receiver, diarySlot<0>());
  for (int i = 0; i < 200; ++i) {
    reaction = [](const Call &) { Fiber::pause(); };
    Fiber abandoned({emitChanged, emitter});
    abandoned.resume();
    reaction = nullptr;
    emitChanged(emitter);
  }
  EXPECT_EQ(diary.size(), 400U);
}

TEST_F(Stacks, AnObjectWhoseEndIsPausedIsNotReleasedByAnother) {
  Listener *object = newListener();
  Owned peer(Listener_ctor);
  connectTo(object, "destroyed", peer, diarySlot<0>());
  reaction = [](const Call &) { Fiber::pause(); };
  Fiber ending({releaseObject, object});
  ending.resume();
  reaction = nullptr;
  release(object);
  Fiber({releaseObject, object}).resume();
  EXPECT_EQ(listenersLive, 2);
  ending.resume();
  EXPECT_EQ(listenersLive, 1);
}

TEST_F(Stacks, AnEndThatIsPausedOnTheThreadsOwnIsNotFinishedByAFiber) {
  Listener *object = newListener();
  Owned peer(Listener_ctor);
  connectTo(object, "destroyed", peer, diarySlot<0>());
  reaction = [&](const Call &) { Fiber({releaseObject, object}).resume(); };
  release(object);
  EXPECT_EQ(diary.size(), 1U);
}

TEST_F(Stacks, AWatchOutlivesTheEmissionsOfOtherStacks) {
  Listener *object = newListener();
  Owned other(Listener_ctor);
  connectTo(other, changed, other, diarySlot<0>());
  ztGetter getter = noGetter;
  ztObject_table()->addProperty(ListenerClass_Instance(), "pausing", "ztInt", getter,
                                setterOf([](void *, int32_t) { Fiber::pause(); }), nullptr, nullptr);
  connectTo(object, "prop->signalname", other, diarySlot<1>());
  Fiber setting({[](void *owner) { ztObject_of(owner)->setProperty(owner, "pausing", "ztInt", 9); }, object});
  setting.resume();
  emitChanged(other);
  fromDeeper({emitChanged, other}, 5);
  setting.resume();
  EXPECT_EQ(diary.size(), 3U);
  EXPECT_EQ(diary.back().slot, 1);
  Fiber again({[](void *owner) { ztObject_of(owner)->setProperty(owner, "pausing", "ztInt", 9); }, object});
  again.resume();
  release(object);
  again.resume();
  EXPECT_EQ(diary.size(), 3U);
}

// Counts ------------------------------------------------------------------------------------------

TEST(ReferenceCount, SticksAtTheTop) {
  Owned object(Listener_ctor);
  auto *header = static_cast<ztBaseClass *>(static_cast<void *>(object));
  header->refCount = INT32_MAX - 1;
  ztBaseClass_of(object)->ref(object);
  EXPECT_EQ(header->refCount, INT32_MAX);
  ztBaseClass_of(object)->ref(object);
  EXPECT_EQ(header->refCount, INT32_MAX);
  ztBaseClass_of(object)->unRef(object);
  EXPECT_EQ(header->refCount, INT32_MAX);
  header->refCount = 1;
}
