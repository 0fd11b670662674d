#include "tags/ztinttag.h"

#include "tests/tags/attributes.hh"

// An integer attribute whose every value reads twice as large.
#define DoublingTag_FIELDS ztIntTag_FIELDS
#define DoublingTag_METHODS ztIntTag_METHODS
ZT_DECLARE_CLASS(DoublingTag)

static void *doublingTagGetValue(const void *object, int32_t index, void *out) {
  void *value = ztIntTag_table()->getValue(object, index, out);
  if (out != nullptr && value != nullptr) *static_cast<int32_t *>(out) *= 2;
  return value;
}

static void doublingTagMethods(DoublingTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getValue, doublingTagGetValue);
}

ZT_DEFINE_CLASS(DoublingTag, ztIntTag, doublingTagMethods)

namespace {

constexpr int32_t untouched = 12345;

class IntTag : public testing::Test {
 protected:
  ~IntTag() override {
    release(attribute);
  }

  void have(const Ints &values) {
    setValues(attribute, values);
  }
  void set(int32_t index, int32_t value) {
    ASSERT_EQ(methods->setValue(attribute, index, &value), 1);
  }
  int32_t total() {
    int32_t out = untouched;
    EXPECT_EQ(methods->getTotalValue(attribute, &out), &out);
    return out;
  }
  int32_t average() {
    int32_t out = untouched;
    EXPECT_EQ(methods->getAverageValue(attribute, &out), &out);
    return out;
  }
  // What the call after this one delivers.
  int32_t secondTotal() {
    total();
    return total();
  }
  int32_t secondAverage() {
    average();
    return average();
  }

  ztIntTag *attribute = static_cast<ztIntTag *>(ztIntTag_ctor(nullptr, 1));
  const ztIntTagMethods *methods = ztIntTag_of(attribute);
};

}  // namespace

TEST_F(IntTag, HasOneValueZeroAndTypeOne) {
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{0}));
  EXPECT_EQ(attribute->type, 1);
  EXPECT_EQ(attribute->cachedResult, 0);
  EXPECT_EQ(ztOOP_classOf(attribute->values), ztIntArrayClass_Instance());
  EXPECT_EQ(ztArray_of(attribute->values)->getElementSize(attribute->values), 4);
  EXPECT_EQ(ztOOP_classOf(attribute)->parent, ztTagAttributeClass_Instance());
}

TEST_F(IntTag, AfterAChangeATotalComesWithTheSecondCall) {
  have({1, 2, 4});
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(attribute->cachedResult, 7);
  EXPECT_EQ(total(), 7);
  EXPECT_EQ(total(), 7);
}

TEST_F(IntTag, AfterAChangeAnAverageComesWithTheSecondCall) {
  have({1, 2, 4});
  EXPECT_EQ(average(), untouched);
  EXPECT_EQ(attribute->cachedResult, 2);
  EXPECT_EQ(average(), 2);
  EXPECT_EQ(average(), 2);
}

TEST_F(IntTag, ANewOneDeliversNothingAtFirst) {
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(total(), 0);
}

// Each call delivers what the call before it, of either kind, left in the shared cache.
TEST_F(IntTag, TotalsAndAveragesLagByOneCall) {
  have({1, 2, 4});
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(average(), 7);
  EXPECT_EQ(attribute->cachedResult, 2);
  EXPECT_EQ(total(), 2);
  EXPECT_EQ(total(), 7);
  EXPECT_EQ(average(), 7);
  EXPECT_EQ(average(), 2);
}

TEST_F(IntTag, AChangeWithholdsTheNextResult) {
  have({1, 2, 4});
  secondTotal();
  set(0, 5);
  EXPECT_EQ(total(), untouched);
  EXPECT_EQ(total(), 11);
  set(-1, 3);
  EXPECT_EQ(average(), untouched);
  EXPECT_EQ(average(), 3);
}

TEST_F(IntTag, ANewNumberOfValuesShowsOneCallLater) {
  have({1, 2, 4});
  EXPECT_EQ(secondTotal(), 7);
  ASSERT_EQ(methods->setNumValues(attribute, 2), 1);
  EXPECT_EQ(total(), 7);
  EXPECT_EQ(total(), 3);
}

TEST_F(IntTag, TakesResultsWithoutAnOutput) {
  have({1, 2, 4});
  EXPECT_EQ(methods->getTotalValue(attribute, nullptr), nullptr);
  EXPECT_EQ(attribute->changed, 0u);
  EXPECT_EQ(methods->getAverageValue(attribute, nullptr), nullptr);
  EXPECT_EQ(attribute->cachedResult, 2);
}

TEST_F(IntTag, AveragesAreTruncatedTowardZero) {
  have({1, 2, 4, 0});
  EXPECT_EQ(secondAverage(), 1);
  have({-1, -2, -4});
  EXPECT_EQ(secondAverage(), -2);
  have({-1, 0, 0});
  EXPECT_EQ(secondAverage(), 0);
  have({INT32_MIN});
  EXPECT_EQ(secondAverage(), INT32_MIN);
}

TEST_F(IntTag, TotalsWrap) {
  have({INT32_MAX, 1});
  EXPECT_EQ(secondTotal(), INT32_MIN);
  have({INT32_MIN, -1});
  EXPECT_EQ(secondTotal(), INT32_MAX);
  have({INT32_MIN, INT32_MIN});
  EXPECT_EQ(secondTotal(), 0);
}

TEST_F(IntTag, AveragesAreOfTheWrappedTotal) {
  have({INT32_MAX, 1});
  EXPECT_EQ(secondAverage(), INT32_MIN / 2);
  have({INT32_MAX, INT32_MAX, INT32_MAX});
  EXPECT_EQ(secondAverage(), (INT32_MAX - 2) / 3);
}

TEST_F(IntTag, NoValuesHaveTotalAndAverageZero) {
  have({5});
  secondTotal();
  ASSERT_EQ(methods->setNumValues(attribute, 0), 1);
  EXPECT_EQ(average(), 5);
  EXPECT_EQ(average(), 0);
  EXPECT_EQ(total(), 0);
  EXPECT_EQ(total(), 0);
}

TEST_F(IntTag, SumsWhatGetValueGives) {
  void *doubling = DoublingTag_ctor(nullptr, 1);
  setValues(doubling, Ints{1, 2, 4});
  int32_t out = 0;
  ztIntTag_of(doubling)->getTotalValue(doubling, &out);
  ztIntTag_of(doubling)->getTotalValue(doubling, &out);
  EXPECT_EQ(out, 14);
  release(doubling);
}

TEST_F(IntTag, ACopyHasTheCachedResult) {
  have({1, 2, 4});
  secondTotal();
  void *copy = copyOf(attribute);
  int32_t out = untouched;
  ztIntTag_of(copy)->getAverageValue(copy, &out);
  EXPECT_EQ(out, 7);
  release(copy);
}

TEST_F(IntTag, ReadingLeavesTheCachedResult) {
  have({1, 2, 4});
  Records records;
  const std::string record = records.of(attribute);
  have({10, 20});
  EXPECT_EQ(secondTotal(), 30);
  EXPECT_EQ(records.read(attribute, record), 1);
  EXPECT_EQ(total(), 30);
  EXPECT_EQ(total(), 7);
}
