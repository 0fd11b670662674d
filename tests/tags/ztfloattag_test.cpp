#include "tags/ztfloattag.h"

#include "tests/tags/attributes.hh"

#include <math.h>

#include <limits>
#include <vector>

// A float attribute that notes the sum that has grown before each value is read.
#define WatchedTag_FIELDS ztFloatTag_FIELDS
#define WatchedTag_METHODS ztFloatTag_METHODS
ZT_DECLARE_CLASS(WatchedTag)

static std::vector<double> sumsBeforeReading;

static void watchedTagMethods(WatchedTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getValue, [](const void *object, int32_t index, void *out) -> void * {
    sumsBeforeReading.push_back(static_cast<const WatchedTag *>(object)->cachedResult);
    return ztFloatTag_table()->getValue(object, index, out);
  });
}

ZT_DEFINE_CLASS(WatchedTag, ztFloatTag, watchedTagMethods)

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

class ztFloatTagTest : public testing::Test {
 protected:
  void have(const Numbers &values) const {
    setValues(attribute, values);
  }
  double total() const {
    return attribute.total();
  }
  double average() const {
    return attribute.average();
  }

  const Attribute attribute{ztFloatTag_ctor};
};

ztFloatTag &fieldsOf(const Attribute &attribute) {
  return *static_cast<ztFloatTag *>(static_cast<void *>(attribute));
}

}  // namespace

// Until a value is set, either is what was taken first.
TEST_F(ztFloatTagTest, DeliversAFreshTotalAndAverageAtOnceAndThenTheSame) {
  have({1.0, 2.0, 4.0});
  for (const double result : {total(), average(), total()}) EXPECT_EQ(result, 7.0);
  EXPECT_EQ(fieldsOf(attribute).reserved, 0);
  attribute.set(0, 1.0);
  EXPECT_EQ(average(), 7.0 / 3);
  attribute.set(2, 6.0);
  for (const double result : {average(), total(), fieldsOf(attribute).cachedResult}) EXPECT_EQ(result, 3.0);
  attribute.set(2, 6.0);
  EXPECT_EQ(total(), 9.0);
}

TEST_F(ztFloatTagTest, ShowsANewNumberOfValuesOnlyAfterAValueIsSet) {
  have({1.0, 2.0, 4.0});
  EXPECT_EQ(total(), 7.0);
  ASSERT_EQ(attribute->setNumValues(attribute, 2), 1);
  EXPECT_EQ(total(), 7.0);
  attribute.set(0, 1.0);
  EXPECT_EQ(total(), 3.0);
}

TEST_F(ztFloatTagTest, TakesResultsWithoutAnOutput) {
  have({1.0, 2.0, 4.0});
  EXPECT_EQ(attribute->getTotalValue(attribute, nullptr), nullptr);
  EXPECT_EQ(attribute.fields().changed, 0u);
  EXPECT_EQ(average(), 7.0);
}

TEST_F(ztFloatTagTest, HasTotalZeroAndNoAverageWithoutValues) {
  ASSERT_EQ(attribute->setNumValues(attribute, 0), 1);
  attribute.set(-1, 5.0);
  EXPECT_EQ(total(), 0.0);
  attribute.set(-1, 5.0);
  EXPECT_TRUE(isnan(average()));
  EXPECT_TRUE(isnan(total()));
}

TEST_F(ztFloatTagTest, SumsInOrderAndKeepsWhatIsNoNumber) {
  have({1e16, 1.0, -1e16});
  EXPECT_EQ(total(), 0.0);
  have({1e16, -1e16, 1.0});
  EXPECT_EQ(total(), 1.0);
  have({1.0, NAN, 2.0});
  EXPECT_TRUE(isnan(total()));
  have({infinity, 1.0});
  EXPECT_EQ(average(), infinity);
  have({infinity, -infinity});
  EXPECT_TRUE(isnan(total()));
  have({1e308, 1e308});
  EXPECT_EQ(total(), infinity);
}

TEST(ztFloatTag, LetsTheSumGrowInTheCacheThroughGetValue) {
  const Attribute watched(WatchedTag_ctor, {1.0, 2.0, 4.0});
  fieldsOf(watched).cachedResult = 99.0;
  sumsBeforeReading.clear();
  EXPECT_EQ(watched.total(), 7.0);
  EXPECT_EQ(sumsBeforeReading, (std::vector<double>{0.0, 1.0, 3.0}));
  watched.total();
  EXPECT_EQ(sumsBeforeReading.size(), 3u);
}

TEST_F(ztFloatTagTest, HandsTheCachedResultToACopyAndKeepsItWhenItIsRead) {
  have({1.0, 2.0, 4.0});
  total();
  EXPECT_EQ(copyOf(attribute.address()).average(), 7.0);
  const std::string record = recordOf(attribute);
  have({10.0});
  EXPECT_EQ(total(), 10.0);
  EXPECT_EQ(readRecord(attribute, record), 1);
  EXPECT_EQ(total(), 10.0);
  attribute.set(0, 1.0);
  EXPECT_EQ(total(), 7.0);
}
