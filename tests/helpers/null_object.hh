// What the operations of a class give for no object.
#ifndef ZT_TESTS_NULL_OBJECT_HH
#define ZT_TESTS_NULL_OBJECT_HH

#include "core/ztbasec.h"

#include <gtest/gtest.h>

#include <string.h>

#include <type_traits>

// Stands in for every pointer that is given; without an object no operation may look at it.
alignas(16) inline unsigned char bystander[1024];

template <typename Argument>
Argument given() {
  if constexpr (std::is_pointer_v<Argument>) {
    return reinterpret_cast<Argument>(bystander);
  } else {
    return Argument{1};
  }
}

template <typename Operation>
bool isAbstract(Operation operation) {
  void *(*handler)(const void *) = ztOOP_ztVirtualFuncHandler;
  static_assert(sizeof operation == sizeof handler);
  return memcmp(&operation, &handler, sizeof operation) == 0;
}

// The slot of the operation that is being called.
inline int slotCalled;

template <typename Result, typename Object, typename... Arguments>
void callWithout(Result (*operation)(Object *, Arguments...)) {
  if (!isAbstract(operation)) {
    if constexpr (std::is_void_v<Result>) {
      operation(nullptr, Arguments{}...);
      operation(nullptr, given<Arguments>()...);
    } else {
      EXPECT_EQ(operation(nullptr, Arguments{}...), Result{}) << "slot " << slotCalled;
      EXPECT_EQ(operation(nullptr, given<Arguments>()...), Result{}) << "slot " << slotCalled;
    }
  }
  ++slotCalled;
}

template <typename... Operations>
void callAll(Operations... operations) {
  (callWithout(operations), ...);
}

// The slots of every class, in order.
inline constexpr auto baseSlots = [](const auto *m) {
  callAll(m->Allocator, m->classInstanceCreate, m->classInstanceDestroy);
  ++slotCalled;  // the empty one
  callAll(m->create, m->clone, m->assign, m->isEqual, m->isLess, m->isMajor, m->destroy, m->read, m->write,
          m->ref, m->unRef, m->getRefCount);
};

// Without contents to take over there is nothing that fails.
enum class AssignOfNull { succeeds, fails };

// Calls every slot of a class's own table without an object, and the operations that take a second
// object without that.
template <typename Methods, typename Slots>
void expectNothing(ztCtor constructor, const Methods *table, Slots callSlots,
                   AssignOfNull assign = AssignOfNull::succeeds) {
  void *object = constructor(nullptr, 1);
  SCOPED_TRACE(ztOOP_classNameOf(object));
  memset(bystander, 0xA5, sizeof bystander);
  unsigned char untouched[sizeof bystander];
  memcpy(untouched, bystander, sizeof bystander);
  slotCalled = 0;
  callSlots(table);
  EXPECT_EQ(slotCalled, static_cast<int>(sizeof(Methods) / sizeof(void *))) << "every slot is called";
  EXPECT_EQ(memcmp(bystander, untouched, sizeof bystander), 0);
  EXPECT_EQ(table->clone(object, nullptr), nullptr);
  EXPECT_EQ(table->assign(object, nullptr), assign == AssignOfNull::succeeds);
  table->unRef(object);
}

#endif
