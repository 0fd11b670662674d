#include "objects/ztbasemodel.h"
#include "objects/ztbaseview.h"
#include "tests/objects/listeners.hh"

#include <gtest/gtest.h>

TEST(ModelAndView, AreConnectedWithEachOtherAndTellOfTheirEnd) {
  const Diary empty;
  const Object receiver;
  void *model = ztBaseModel_ctor(nullptr, 1);
  void *view = ztBaseView_ctor(nullptr, 1);
  EXPECT_EQ(connectTo(model, "changed", view, diarySlot<0>()), 1);
  EXPECT_EQ(connectTo(view, "destroyed", receiver, diarySlot<1>()), 1);
  EXPECT_EQ(connectTo(model, "destroyed", receiver, diarySlot<2>()), 1);
  EXPECT_EQ(ztObject_emit(model, "changed", 42), 1);
  release(view);
  EXPECT_FALSE(isConnected(model, "changed", view, diarySlot<0>()));
  EXPECT_EQ(ztObject_emit(model, "changed", 43), 0);
  release(model);
  EXPECT_EQ(diary, (std::vector<Call>{{0, view, model, 42},
                                      {1, receiver, view, wordOf(view)},
                                      {2, receiver, model, wordOf(model)}}));
}

TEST(ModelAndView, HaveThePropertyOfObjects) {
  for (const ztCtor constructor : {ztBaseModel_ctor, ztBaseView_ctor}) {
    const Object object(constructor);
    const Owned<ztPropertyPtrArray, ztPropertyPtrArrayMethods> properties(ztPropertyPtrArray_ctor);
    EXPECT_EQ(object->getProperties(object, properties), 1);
    EXPECT_EQ(properties->getSize(properties), 1);
    EXPECT_EQ(intProperty(object, "refCount"), 1);
  }
}
