#include "tags/ztfloattag.h"

#include "tests/tags/attributes.hh"

#include <math.h>

// A float attribute that notes the sum that has grown before each value is read.
#define WatchedTag_FIELDS ztFloatTag_FIELDS
#define WatchedTag_METHODS ztFloatTag_METHODS
ZT_DECLARE_CLASS(WatchedTag)

static Floats sumsBeforeReading;

static void *watchedTagGetValue(const void *object, int32_t index, void *out) {
  sumsBeforeReading.push_back(static_cast<const WatchedTag *>(object)->cachedResult);
  return ztFloatTag_table()->getValue(object, index, out);
}

static void watchedTagMethods(WatchedTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getValue, watchedTagGetValue);
}

ZT_DEFINE_CLASS(WatchedTag, ztFloatTag, watchedTagMethods)

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

class FloatTag : public testing::Test {
 protected:
  ~FloatTag() override {
    release(attribute);
  }

  void have(const Floats &values) {
    setValues(attribute, values);
  }
  void set(int32_t index, double value) {
    ASSERT_EQ(methods->setValue(attribute, index, &value), 1);
  }
  double total() {
    double out = -1;
    EXPECT_EQ(methods->getTotalValue(attribute, &out), &out);
    return out;
  }
  double average() {
    double out = -1;
    EXPECT_EQ(methods->getAverageValue(attribute, &out), &out);
    return out;
  }

  ztFloatTag *attribute = static_cast<ztFloatTag *>(ztFloatTag_ctor(nullptr, 1));
  const ztFloatTagMethods *methods = ztFloatTag_of(attribute);
};

}  // namespace

TEST_F(FloatTag, HasOneValueZeroAndTypeTwo) {
  EXPECT_EQ(valuesOf<double>(attribute), (Floats{0}));
  EXPECT_EQ(attribute->type, 2);
  EXPECT_EQ(attribute->cachedResult, 0.0);
  EXPECT_EQ(attribute->reserved, 0);
  EXPECT_EQ(ztOOP_classOf(attribute->values), ztFloatArrayClass_Instance());
  EXPECT_EQ(ztArray_of(attribute->values)->getElementSize(attribute->values), 8);
  EXPECT_EQ(ztOOP_classOf(attribute)->parent, ztTagAttributeClass_Instance());
}

TEST_F(FloatTag, DeliversAFreshTotalAndAverageAtOnce) {
  have({1.0, 2.0, 4.0});
  EXPECT_EQ(total(), 7.0);
  set(0, 1.0);
  EXPECT_EQ(average(), 7.0 / 3);
}

TEST_F(FloatTag, AfterATotalTheAverageIsTheTotalUntilAValueIsSet) {
  have({1.0, 2.0, 4.0});
  EXPECT_EQ(total(), 7.0);
  EXPECT_EQ(average(), 7.0);
  EXPECT_EQ(total(), 7.0);
  set(2, 6.0);
  EXPECT_EQ(average(), 3.0);
}

TEST_F(FloatTag, AfterAnAverageTheTotalIsTheAverageUntilAValueIsSet) {
  have({1.0, 2.0, 6.0});
  EXPECT_EQ(average(), 3.0);
  EXPECT_EQ(total(), 3.0);
  EXPECT_EQ(attribute->cachedResult, 3.0);
  set(2, 6.0);
  EXPECT_EQ(total(), 9.0);
}

TEST_F(FloatTag, ANewNumberOfValuesShowsOnlyAfterAValueIsSet) {
  have({1.0, 2.0, 4.0});
  EXPECT_EQ(total(), 7.0);
  ASSERT_EQ(methods->setNumValues(attribute, 2), 1);
  EXPECT_EQ(total(), 7.0);
  set(0, 1.0);
  EXPECT_EQ(total(), 3.0);
}

TEST_F(FloatTag, TakesResultsWithoutAnOutput) {
  have({1.0, 2.0, 4.0});
  EXPECT_EQ(methods->getTotalValue(attribute, nullptr), nullptr);
  EXPECT_EQ(attribute->changed, 0u);
  EXPECT_EQ(average(), 7.0);
}

TEST_F(FloatTag, NoValuesHaveTotalZeroAndNoAverage) {
  have({5.0});
  ASSERT_EQ(methods->setNumValues(attribute, 0), 1);
  set(-1, 5.0);
  EXPECT_EQ(total(), 0.0);
  set(-1, 5.0);
  EXPECT_TRUE(isnan(average()));
  EXPECT_TRUE(isnan(total()));
}

TEST_F(FloatTag, KeepsWhatIsNoNumber) {
  have({1.0, NAN, 2.0});
  EXPECT_TRUE(isnan(total()));
  have({infinity, 1.0});
  EXPECT_EQ(average(), infinity);
  have({infinity, -infinity});
  EXPECT_TRUE(isnan(total()));
  have({1e308, 1e308});
  EXPECT_EQ(total(), infinity);
}

TEST_F(FloatTag, SumsInOrder) {
  have({1e16, 1.0, -1e16});
  EXPECT_EQ(total(), 0.0);
  have({1e16, -1e16, 1.0});
  EXPECT_EQ(total(), 1.0);
}

TEST_F(FloatTag, TheSumGrowsInTheCacheThroughGetValue) {
  void *watched = WatchedTag_ctor(nullptr, 1);
  setValues(watched, Floats{1.0, 2.0, 4.0});
  static_cast<WatchedTag *>(watched)->cachedResult = 99.0;
  sumsBeforeReading.clear();
  double out = 0;
  ztFloatTag_of(watched)->getTotalValue(watched, &out);
  EXPECT_EQ(out, 7.0);
  EXPECT_EQ(sumsBeforeReading, (Floats{0.0, 1.0, 3.0}));
  ztFloatTag_of(watched)->getTotalValue(watched, &out);
  EXPECT_EQ(sumsBeforeReading.size(), 3u);
  release(watched);
}

TEST_F(FloatTag, ACopyHasTheCachedResult) {
  have({1.0, 2.0, 4.0});
  total();
  void *copy = copyOf(attribute);
  double out = 0;
  ztFloatTag_of(copy)->getAverageValue(copy, &out);
  EXPECT_EQ(out, 7.0);
  release(copy);
}

TEST_F(FloatTag, ReadingLeavesTheCachedResult) {
  have({1.0, 2.0, 4.0});
  Records records;
  const std::string record = records.of(attribute);
  have({10.0});
  EXPECT_EQ(total(), 10.0);
  EXPECT_EQ(records.read(attribute, record), 1);
  EXPECT_EQ(total(), 10.0);
  set(0, 1.0);
  EXPECT_EQ(total(), 7.0);
}

TEST_F(FloatTag, OverridesTheFourStatedOperationsWithItsOwn) {
  const ztTagAttributeMethods *parent = ztTagAttribute_table();
  EXPECT_NE(methods->create, parent->create);
  EXPECT_NE(methods->clone, parent->clone);
  EXPECT_NE(methods->assign, parent->assign);
  EXPECT_NE(methods->destroy, parent->destroy);
  EXPECT_EQ(methods->read, parent->read);
  EXPECT_EQ(methods->write, parent->write);
  EXPECT_EQ(methods->setValue, parent->setValue);
}
