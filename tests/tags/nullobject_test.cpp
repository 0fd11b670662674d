#include "tags/zttag.h"

#include "tags/ztfloattag.h"
#include "tags/ztinttag.h"

#include <gtest/gtest.h>

template <typename Methods>
static void expectNullRefused(const Methods *methods) {
  double value = 7.0;
  EXPECT_EQ(methods->create(nullptr), 0);
  EXPECT_EQ(methods->clone(nullptr, &value), nullptr);
  EXPECT_EQ(methods->assign(nullptr, nullptr), 0);
  methods->destroy(nullptr);
  EXPECT_EQ(methods->read(nullptr, nullptr), 0);
  EXPECT_EQ(methods->write(nullptr, nullptr), 0);
  EXPECT_EQ(value, 7.0);
}

TEST(ztTagAttribute, AnswersNullWithNothingInEachKind) {
  for (const ztClass *klass :
       {ztTagAttributeClass_Instance(), ztIntTagClass_Instance(), ztFloatTagClass_Instance()}) {
    SCOPED_TRACE(klass->name);
    const auto *methods = static_cast<const ztTagAttributeMethods *>(klass->methodTable);
    expectNullRefused(methods);
    double value = 7.0;
    EXPECT_EQ(methods->setValue(nullptr, 0, &value), 0);
    EXPECT_EQ(methods->getValue(nullptr, 0, &value), nullptr);
    EXPECT_EQ(methods->getAverageValue(nullptr, &value), nullptr);
    EXPECT_EQ(methods->getTotalValue(nullptr, &value), nullptr);
    EXPECT_EQ(methods->setNumValues(nullptr, 1), 0);
    EXPECT_EQ(value, 7.0);
  }
}

TEST(ztTag, AnswersNullWithNothing) {
  const ztTagMethods *methods = ztTag_table();
  expectNullRefused(methods);
  const ztTagHandle handle = {0, 1};
  double value = 7.0;
  int32_t index = 7;
  void *attribute = ztIntTag_ctor(nullptr, 1);
  EXPECT_EQ(methods->insertNew(nullptr, "a", attribute, nullptr, 0, 1, nullptr), 0);
  ztIntTag_of(attribute)->unRef(attribute);
  EXPECT_EQ(methods->setValue(nullptr, &handle, 0, &value), 0);
  EXPECT_EQ(methods->setNumValues(nullptr, &handle, 1, nullptr), 0);
  EXPECT_EQ(methods->getNumValues(nullptr, &handle), 0);
  EXPECT_EQ(methods->getValue(nullptr, &handle, 0, &value), nullptr);
  EXPECT_EQ(methods->getValues(nullptr, &handle), nullptr);
  EXPECT_EQ(methods->getAverageValue(nullptr, &handle, &value), nullptr);
  EXPECT_EQ(methods->getTotalValue(nullptr, &handle, &value), nullptr);
  EXPECT_EQ(methods->enumTags(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(methods->getByName(nullptr, "a", &index), nullptr);
  EXPECT_EQ(methods->getByHandle(nullptr, &handle), nullptr);
  EXPECT_EQ(methods->allocWise(nullptr, &handle), 0);
  EXPECT_EQ(methods->deallocWise(nullptr, "a"), 0);
  methods->attrChanged(nullptr, nullptr);
  EXPECT_EQ(methods->swapTags(nullptr, &handle, &handle), 0);
  EXPECT_EQ(value, 7.0);
  EXPECT_EQ(index, 7);
}
