#include "objects/ztbasemodel.h"

#include "objects/ztbaseview.h"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <cstring>

// What holds for the model and the view alike.
struct Kind {
  const char *name;
  const char *other;
  ztClass *(*klass)();
  ztCtor constructor;
};

static const Kind kinds[] = {
    {"ztBaseModel", "ztBaseView", ztBaseModelClass_Instance, ztBaseModel_ctor},
    {"ztBaseView", "ztBaseModel", ztBaseViewClass_Instance, ztBaseView_ctor},
};

TEST(ModelAndView, AreToldApartByTheirClasses) {
  for (const Kind &kind : kinds) {
    void *object = ztNewFromName(kind.name);
    ASSERT_NE(object, nullptr);
    for (const char *name : {kind.name, "ztObject", "ztBaseClass"})
      EXPECT_TRUE(ztOOP_isClassOf(object, name));
    for (const char *name : {kind.other, "ztRoot", ""}) EXPECT_FALSE(ztOOP_isClassOf(object, name));
    EXPECT_TRUE(ztOOP_isClass(object, kind.name));
    EXPECT_EQ(kind.klass()->parent, ztObjectClass_Instance());
    EXPECT_EQ(kind.klass()->version, 1u);
    release(object);
  }
}

TEST(ModelAndView, AreObjectsButForTwoSlots) {
  constexpr size_t slots = sizeof(ztObjectMethods) / sizeof(void *);
  static_assert(sizeof(ztBaseModelMethods) == sizeof(ztObjectMethods));
  static_assert(sizeof(ztBaseViewMethods) == sizeof(ztObjectMethods));
  static_assert(sizeof(ztBaseModel) == sizeof(ztObject) && sizeof(ztBaseView) == sizeof(ztObject));
  release(ztObject_ctor(nullptr, 1));
  for (const Kind &kind : kinds) {
    release(kind.constructor(nullptr, 1));
    const void *own[slots];
    const void *parents[slots];
    memcpy(own, kind.klass()->methodTable, sizeof own);
    memcpy(parents, ztObjectClass_Instance()->methodTable, sizeof parents);
    for (size_t slot = 0; slot < slots; ++slot) {
      // The allocator's function and the map of properties are every class's own.
      const bool isOwn = slot == 0 || slot == 4 || slot == 10 || slot == 16;
      EXPECT_EQ(own[slot] != parents[slot], isOwn) << slot;
    }
  }
}

TEST(ModelAndView, HaveThePropertyOfObjects) {
  for (const Kind &kind : kinds) {
    void *object = kind.constructor(nullptr, 1);
    void *array = ztPropertyPtrArray_ctor(nullptr, 1);
    EXPECT_EQ(ztObject_of(object)->getProperties(object, array), 1);
    EXPECT_EQ(ztPropertyPtrArray_of(array)->getSize(array), 1);
    int32_t count = 0;
    EXPECT_EQ(ztObject_of(object)->getProperty(object, "refCount", "ztInt", &count), 1);
    EXPECT_EQ(count, 1);
    release(array);
    release(object);
  }
}

static int32_t heard;

static void hear(void *receiver, intptr_t value) {
  heard = static_cast<int32_t>(value);
  EXPECT_NE(ztObject_of(receiver)->getSender(receiver), nullptr);
}

TEST(ModelAndView, AreConnectedWithEachOther) {
  void *model = ztBaseModel_ctor(nullptr, 1);
  void *view = ztBaseView_ctor(nullptr, 1);
  ztSlotFunction slot;
  slot.call1 = hear;
  ztClass *klass = ztBaseModelClass_Instance();
  EXPECT_EQ(ztObject_of(model)->connect(klass, model, "changed", view, "hear", slot, 1), 1);
  EXPECT_EQ(ztObject_emit(model, "changed", 42), 1);
  EXPECT_EQ(heard, 42);
  release(view);
  EXPECT_EQ(ztObject_of(model)->connectionExist(klass, model, "changed", view, slot), 0);
  heard = 0;
  ztObject_emit(model, "changed", 43);
  EXPECT_EQ(heard, 0);
  release(model);
}

TEST(ModelAndView, TellOfTheirEnd) {
  for (const Kind &kind : kinds) {
    Forest forest;
    void *object = kind.constructor(nullptr, 1);
    int calls = 0;
    forest.on(object, "destroyed", [&](const void *dying) {
      ++calls;
      EXPECT_EQ(dying, object);
    });
    release(object);
    EXPECT_EQ(calls, 1);
  }
}
