#include "tags/ztinttag.h"

#include "tests/tags/attributes.hh"

// An integer attribute whose every value reads twice as large.
#define DoublingTag_FIELDS ztIntTag_FIELDS
#define DoublingTag_METHODS ztIntTag_METHODS
ZT_DECLARE_CLASS(DoublingTag)

static void doublingTagMethods(DoublingTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getValue, [](const void *object, int32_t index, void *out) -> void * {
    void *value = ztIntTag_table()->getValue(object, index, out);
    if (out != nullptr && value != nullptr) *static_cast<int32_t *>(out) *= 2;
    return value;
  });
}

ZT_DEFINE_CLASS(DoublingTag, ztIntTag, doublingTagMethods)

namespace {

class ztIntTagTest : public testing::Test {
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
  int32_t cached() const {
    return static_cast<const ztIntTag *>(static_cast<void *>(attribute))->cachedResult;
  }
  // What the call after this one delivers.
  double secondTotal() const {
    total();
    return total();
  }
  double secondAverage() const {
    average();
    return average();
  }

  const Attribute attribute{ztIntTag_ctor};
};

}  // namespace

TEST_F(ztIntTagTest, DeliversATotalAtTheSecondCallAfterAChange) {
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(total(), 0);
  have({1, 2, 4});
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(cached(), 7);
  EXPECT_EQ(total(), 7);
  EXPECT_EQ(total(), 7);
  attribute.set(0, 5);
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(total(), 11);
  attribute.set(-1, 3);
  EXPECT_EQ(average(), untouched);
  EXPECT_EQ(average(), 3);
}

TEST_F(ztIntTagTest, DeliversAnAverageAtTheSecondCallAfterAChange) {
  have({1, 2, 4});
  EXPECT_EQ(average(), untouched);
  EXPECT_EQ(cached(), 2);
  EXPECT_EQ(average(), 2);
  EXPECT_EQ(average(), 2);
}

// Each call delivers what the call before it, of either kind, left in the shared cache.
TEST_F(ztIntTagTest, DeliversTotalsAndAveragesOneCallLate) {
  have({1, 2, 4});
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(average(), 7);
  EXPECT_EQ(cached(), 2);
  EXPECT_EQ(total(), 2);
  EXPECT_EQ(total(), 7);
  EXPECT_EQ(average(), 7);
  EXPECT_EQ(average(), 2);
}

TEST_F(ztIntTagTest, ShowsANewNumberOfValuesOneCallLate) {
  have({1, 2, 4});
  EXPECT_EQ(secondTotal(), 7);
  ASSERT_EQ(attribute->setNumValues(attribute, 2), 1);
  EXPECT_EQ(total(), 7);
  EXPECT_EQ(total(), 3);
  ASSERT_EQ(attribute->setNumValues(attribute, 0), 1);
  EXPECT_EQ(average(), 3);
  EXPECT_EQ(average(), 0);
  EXPECT_EQ(total(), 0);
  EXPECT_EQ(total(), 0);
}

TEST_F(ztIntTagTest, TakesResultsWithoutAnOutput) {
  have({1, 2, 4});
  EXPECT_EQ(attribute->getTotalValue(attribute, nullptr), nullptr);
  EXPECT_EQ(attribute.fields().changed, 0u);
  EXPECT_EQ(attribute->getAverageValue(attribute, nullptr), nullptr);
  EXPECT_EQ(cached(), 2);
}

TEST_F(ztIntTagTest, WrapsTotalsAndTruncatesTheirAveragesTowardZero) {
  const std::tuple<Numbers, int32_t, int32_t> rows[] = {
      {{1, 2, 4, 0}, 7, 1},
      {{-1, -2, -4}, -7, -2},
      {{-1, 0, 0}, -1, 0},
      {{INT32_MIN}, INT32_MIN, INT32_MIN},
      {{INT32_MAX, 1}, INT32_MIN, INT32_MIN / 2},
      {{INT32_MIN, -1}, INT32_MAX, INT32_MAX / 2},
      {{INT32_MIN, INT32_MIN}, 0, 0},
      {{INT32_MAX, INT32_MAX, INT32_MAX}, INT32_MAX - 2, (INT32_MAX - 2) / 3}};
  for (const auto &[values, total, average] : rows) {
    have(values);
    SCOPED_TRACE(attribute.values());
    EXPECT_EQ(secondTotal(), total);
    EXPECT_EQ(secondAverage(), average);
  }
}

TEST(ztIntTag, SumsWhatGetValueGives) {
  const Attribute doubling(DoublingTag_ctor, {1, 2, 4});
  doubling.total();
  EXPECT_EQ(doubling.total(), 14);
}

TEST_F(ztIntTagTest, HandsTheCachedResultToACopyAndKeepsItWhenItIsRead) {
  have({1, 2, 4});
  secondTotal();
  EXPECT_EQ(copyOf(attribute.address()).average(), 7);
  const std::string record = recordOf(attribute);
  have({10, 20});
  EXPECT_EQ(secondTotal(), 30);
  EXPECT_EQ(readRecord(attribute, record), 1);
  EXPECT_EQ(total(), 30);
  EXPECT_EQ(total(), 7);
}
