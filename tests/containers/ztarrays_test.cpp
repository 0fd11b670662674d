#include "containers/ztarrays.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/helpers/owned.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/storage.hh"

// A pointer array whose subclass decides on another element policy.
#define OddPtrArray_FIELDS ztPtrArray_FIELDS
#define OddPtrArray_METHODS ztPtrArray_METHODS
ZT_DECLARE_CLASS(OddPtrArray)

static void oddSetElementSize(void *object, int32_t size, uint32_t) {
  ztPtrArray_table()->setElementSize(object, size, 0);
}

static void oddMethods(OddPtrArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setElementSize, oddSetElementSize);
}

ZT_DEFINE_CLASS(OddPtrArray, ztPtrArray, oddMethods)

namespace {

using Array = Owned<ztArray, ztArrayMethods>;

// What one typed array is: its constructor, its two compare functions and an ordered list of values.
struct IntTraits {
  using Value = int32_t;
  static constexpr ztCtor constructor = ztIntArray_ctor;
  static constexpr ztCompareFunc compare = ztIntArray_compare_func;
  static constexpr ztCompareFunc compareWords = ztIntArray_compare_func_ptr;
  static constexpr ztCompareFunc installed = ztIntArray_compare_func;
  static constexpr const char *name = "ztIntArray";
  static constexpr Value ordered[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, 256, INT_MAX};
};

struct CharTraits {
  using Value = int8_t;
  static constexpr ztCtor constructor = ztCharArray_ctor;
  static constexpr ztCompareFunc compare = ztCharArray_compare_func;
  static constexpr ztCompareFunc compareWords = ztCharArray_compare_func_ptr;
  static constexpr ztCompareFunc installed = ztCharArray_compare_func;
  static constexpr const char *name = "ztCharArray";
  static constexpr Value ordered[] = {-128, -1, 0, 1, 'A', 'a', 127};
};

struct FloatTraits {
  using Value = double;
  static constexpr ztCtor constructor = ztFloatArray_ctor;
  static constexpr ztCompareFunc compare = ztFloatArray_compare_func;
  static constexpr ztCompareFunc compareWords = ztFloatArray_compare_func_ptr;
  static constexpr ztCompareFunc installed = ztFloatArray_compare_func;
  static constexpr const char *name = "ztFloatArray";
  static constexpr Value ordered[] = {-HUGE_VAL, -1e300, -0.5, 0.0, 5e-324, 0.25, 0.5, 1e18, HUGE_VAL};
};

struct PtrTraits {
  using Value = uintptr_t;
  static constexpr ztCtor constructor = ztPtrArray_ctor;
  static constexpr ztCompareFunc compare = ztPtrArray_compare_func;
  static constexpr ztCompareFunc compareWords = ztPtrArray_compare_func_ptr;
  static constexpr ztCompareFunc installed = ztPtrArray_compare_func_ptr;
  static constexpr const char *name = "ztPtrArray";
  static constexpr Value ordered[] = {0, 1, 4096, uintptr_t{1} << 63, UINTPTR_MAX};
};

template <typename Value>
const void *wordOf(Value value) {
  // Only the low bytes count.
  uintptr_t word = ~uintptr_t{0};
  memcpy(&word, &value, sizeof value);
  return reinterpret_cast<const void *>(word);
}

// The element in the form that the array takes.
template <typename Traits>
const void *elementFor(const typename Traits::Value &value) {
  if constexpr (std::is_same_v<Traits, PtrTraits>) return reinterpret_cast<const void *>(value);
  return &value;
}

template <typename Traits>
std::vector<typename Traits::Value> valuesOf(const Array &array) {
  const auto *data = static_cast<const typename Traits::Value *>(array->getData(array));
  return {data, data + array->getSize(array)};
}

template <typename Traits>
class TypedArray : public testing::Test {
 protected:
  void push(const std::vector<typename Traits::Value> &values) {
    for (const auto &value : values) made->pushBack(made, elementFor<Traits>(value));
  }

  Array made{Traits::constructor};
};

class TraitsNames {
 public:
  template <typename Traits>
  static std::string GetName(int) {
    return Traits::name;
  }
};

using AllTraits = testing::Types<PtrTraits, IntTraits, CharTraits, FloatTraits>;

}  // namespace

TYPED_TEST_SUITE(TypedArray, AllTraits, TraitsNames);

TYPED_TEST(TypedArray, CreateSetsThePolicy) {
  const Array &array = this->made;
  EXPECT_EQ(array->getElementSize(array), static_cast<int32_t>(sizeof(typename TypeParam::Value)));
  EXPECT_EQ(array.fields().byPointer != 0, (std::is_same_v<TypeParam, PtrTraits>));
  EXPECT_EQ(array.fields().elementConstructor, nullptr);
  EXPECT_EQ(array.fields().compareFunction, TypeParam::installed);
  EXPECT_EQ(array.fields().itemConstructor, nullptr);
  EXPECT_EQ(array->getSize(array), 0);
}

TYPED_TEST(TypedArray, IsAClassOfItsName) {
  EXPECT_STREQ(ztArrayClassName(nullptr, this->made), TypeParam::name);
  EXPECT_EQ(ztArrayIsClassOf(nullptr, this->made, "ztArray"), 1);
  const Array named(ztNewFromName(TypeParam::name));
  EXPECT_EQ(named.fields().klass, this->made.fields().klass);
}

TYPED_TEST(TypedArray, BothCompareFormsOrderTheValues) {
  const auto &ordered = TypeParam::ordered;
  for (size_t i = 0; i < std::size(ordered); ++i) {
    for (size_t j = 0; j < std::size(ordered); ++j) {
      const int32_t expected = i == j ? 0 : i > j ? 1 : -1;
      EXPECT_EQ(TypeParam::compare(&ordered[i], &ordered[j]), expected) << i << ' ' << j;
      EXPECT_EQ(TypeParam::compareWords(wordOf(ordered[i]), wordOf(ordered[j])), expected) << i << ' ' << j;
    }
  }
}

TYPED_TEST(TypedArray, CompareByAddressPutsNullFirst) {
  const typename TypeParam::Value value = TypeParam::ordered[0];
  EXPECT_EQ(TypeParam::compare(nullptr, nullptr), 0);
  EXPECT_EQ(TypeParam::compare(nullptr, &value), -1);
  EXPECT_EQ(TypeParam::compare(&value, nullptr), 1);
}

TYPED_TEST(TypedArray, TheBlockHoldsExactlyTheValues) {
  using Value = typename TypeParam::Value;
  const std::vector<Value> values(std::begin(TypeParam::ordered), std::end(TypeParam::ordered));
  this->push(values);
  EXPECT_EQ(valuesOf<TypeParam>(this->made), values);
  this->made->removeAt(this->made, 1);
  std::vector<Value> rest = values;
  rest.erase(rest.begin() + 1);
  EXPECT_EQ(valuesOf<TypeParam>(this->made), rest);
}

TYPED_TEST(TypedArray, FindUsesTheInstalledCompareFunction) {
  const Array &array = this->made;
  this->push({TypeParam::ordered[2], TypeParam::ordered[1], TypeParam::ordered[2]});
  EXPECT_EQ(array->find(array, elementFor<TypeParam>(TypeParam::ordered[1])), array->getAt(array, 1));
  EXPECT_EQ(array->find(array, elementFor<TypeParam>(TypeParam::ordered[2])), array->getAt(array, 0));
  EXPECT_EQ(array->find(array, elementFor<TypeParam>(TypeParam::ordered[3])), nullptr);
}

TYPED_TEST(TypedArray, SortAndSearchTakeTheAddressForm) {
  using Value = typename TypeParam::Value;
  const Array &array = this->made;
  std::vector<Value> values(std::begin(TypeParam::ordered), std::end(TypeParam::ordered));
  std::mt19937 random(7);
  for (int round = 0; round < scale(200); ++round) {
    std::shuffle(values.begin(), values.end(), random);
    array->empty(array);
    this->push(values);
    array->sort(array, TypeParam::compare);
    const std::vector<Value> sorted(std::begin(TypeParam::ordered), std::end(TypeParam::ordered));
    ASSERT_EQ(valuesOf<TypeParam>(array), sorted);
    for (size_t i = 0; i < sorted.size(); ++i) {
      ASSERT_EQ(array->search(array, &sorted[i], TypeParam::compare),
                static_cast<Value *>(array->getData(array)) + i);
    }
  }
}

TYPED_TEST(TypedArray, ASearchForAValueThatIsNotThereFindsNothing) {
  const Array &array = this->made;
  this->push({TypeParam::ordered[0], TypeParam::ordered[2]});
  EXPECT_EQ(array->search(array, &TypeParam::ordered[1], TypeParam::compare), nullptr);
}

TYPED_TEST(TypedArray, IsStoredAsCountAndBytes) {
  using Value = typename TypeParam::Value;
  const Storage file;
  const std::vector<Value> values(std::begin(TypeParam::ordered), std::end(TypeParam::ordered));
  this->push(values);
  EXPECT_EQ(this->made->write(this->made, file), 1);
  const auto count = static_cast<int32_t>(values.size());
  std::string expected(sizeof count + values.size() * sizeof(Value), '\0');
  memcpy(expected.data(), &count, sizeof count);
  memcpy(expected.data() + sizeof count, values.data(), values.size() * sizeof(Value));
  EXPECT_EQ(file.bytes(), expected);
  const Array other(TypeParam::constructor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(valuesOf<TypeParam>(other), values);
}

TYPED_TEST(TypedArray, ACopyIsOfTheSameClassAndPolicy) {
  this->push({TypeParam::ordered[1]});
  const Array copy = this->made.copy();
  EXPECT_EQ(copy.fields().klass, this->made.fields().klass);
  EXPECT_EQ(copy.fields().compareFunction, TypeParam::installed);
  EXPECT_EQ(valuesOf<TypeParam>(copy), valuesOf<TypeParam>(this->made));
}

TEST(PtrArray, KeepsPointersAndFreesNothing) {
  int32_t targets[2] = {1, 2};
  const Array array(ztPtrArray_ctor);
  array->pushBack(array, &targets[0]);
  array->pushBack(array, &targets[1]);
  EXPECT_EQ(array->getAt(array, 1), &targets[1]);
  array->removeAt(array, 0);
  EXPECT_EQ(array->getAt(array, 0), &targets[1]);
  array->empty(array);
  EXPECT_EQ(targets[0], 1);
}

TEST(PtrArray, CompareFunctionFollowsTheFlagThatWasSet) {
  const Array array(OddPtrArray_ctor);
  EXPECT_EQ(array.fields().byPointer, 0U);
  EXPECT_EQ(array.fields().compareFunction, &ztPtrArray_compare_func);
  const void *element = &array;
  array->pushBack(array, &element);
  EXPECT_EQ(array->find(array, &element), array->getData(array));
}

TEST(FloatArray, ComparesUnorderedPairsAsLess) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  const double one = 1;
  for (const auto &pair : {std::pair(none, one), std::pair(one, none), std::pair(none, none)}) {
    EXPECT_EQ(ztFloatArray_compare_func(&pair.first, &pair.second), -1);
    EXPECT_EQ(ztFloatArray_compare_func_ptr(wordOf(pair.first), wordOf(pair.second)), -1);
  }
}

TEST(FloatArray, BothZerosAreEqual) {
  const double zero = 0.0;
  const double minusZero = -0.0;
  EXPECT_EQ(ztFloatArray_compare_func(&zero, &minusZero), 0);
  EXPECT_EQ(ztFloatArray_compare_func_ptr(wordOf(zero), wordOf(minusZero)), 0);
}

TEST(CharArray, CompareFunctionsTakeUnalignedAddresses) {
  char bytes[sizeof(double) + sizeof(int32_t) + 2] = {};
  const int32_t number = 5;
  memcpy(bytes + 1, &number, sizeof number);
  EXPECT_EQ(ztIntArray_compare_func(bytes + 1, &number), 0);
  const double value = 0.5;
  memcpy(bytes + 1, &value, sizeof value);
  EXPECT_EQ(ztFloatArray_compare_func(bytes + 1, &value), 0);
}
