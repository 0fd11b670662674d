#include "containers/ztarrays.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "containers/ztlists.h"
#include "containers/ztqueues.h"
#include "containers/ztstacks.h"
#include "tests/helpers/owned.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/storage.hh"

// A pointer array whose subclass decides on another element policy.
#define OddPtrArray_FIELDS ztPtrArray_FIELDS
#define OddPtrArray_METHODS ztPtrArray_METHODS
ZT_DECLARE_CLASS(OddPtrArray)

static void oddMethods(OddPtrArrayMethods *methods) {
  methods->setElementSize = [](void *object, int32_t size, uint32_t) {
    ztPtrArray_table()->setElementSize(object, size, 0);
  };
}

ZT_DEFINE_CLASS(OddPtrArray, ztPtrArray, oddMethods)

namespace {

using Array = Owned<ztArray, ztArrayMethods>;

// The two forms of a compare function: of values by their addresses, and of words that hold them.
struct Comparison {
  ztCompareFunc byAddress;
  ztCompareFunc ofWords;
};

// What one typed array is: its constructor and name, the compare function that it has, an ordered list of
// values and what compares those: its own functions first, then those of other containers.
struct IntTraits {
  using Value = int32_t;
  static constexpr ztCtor constructor = ztIntArray_ctor;
  static constexpr const char *name = "ztIntArray";
  static constexpr ztCompareFunc installed = ztIntArray_compare_func;
  static constexpr Value ordered[] = {INT_MIN, INT_MIN + 1, -1, 0, 1, 256, INT_MAX};
  static constexpr Comparison comparisons[] = {{ztIntArray_compare_func, ztIntArray_compare_func_ptr},
                                               {ztIntList_compare_func, ztIntList_compare_func_ptr}};
};

struct CharTraits {
  using Value = int8_t;
  static constexpr ztCtor constructor = ztCharArray_ctor;
  static constexpr const char *name = "ztCharArray";
  static constexpr ztCompareFunc installed = ztCharArray_compare_func;
  static constexpr Value ordered[] = {-128, -1, 0, 1, 'A', 'a', 127};
  static constexpr Comparison comparisons[] = {{ztCharArray_compare_func, ztCharArray_compare_func_ptr}};
};

struct FloatTraits {
  using Value = double;
  static constexpr ztCtor constructor = ztFloatArray_ctor;
  static constexpr const char *name = "ztFloatArray";
  static constexpr ztCompareFunc installed = ztFloatArray_compare_func;
  static constexpr Value ordered[] = {-HUGE_VAL, -1e300, -0.5, 0.0, 5e-324, 0.25, 0.5, 1e18, HUGE_VAL};
  static constexpr Comparison comparisons[] = {{ztFloatArray_compare_func, ztFloatArray_compare_func_ptr}};
};

struct PtrTraits {
  using Value = uintptr_t;
  static constexpr ztCtor constructor = ztPtrArray_ctor;
  static constexpr const char *name = "ztPtrArray";
  static constexpr ztCompareFunc installed = ztPtrArray_compare_func_ptr;
  static constexpr Value ordered[] = {0, 1, 4096, UINTPTR_MAX / 2, UINTPTR_MAX / 2 + 1, UINTPTR_MAX};
  static constexpr Comparison comparisons[] = {{ztPtrArray_compare_func, ztPtrArray_compare_func_ptr},
                                               {ztPtrList_compare_func, ztPtrList_compare_func_ptr},
                                               {ztPtrQueue_compare_func, ztPtrQueue_compare_func_ptr},
                                               {ztPtrStack_compare_func, ztPtrStack_compare_func_ptr}};
};

template <typename Value>
const void *wordOf(Value value) {
  // Only the low bytes count.
  uintptr_t word = ~uintptr_t{0};
  memcpy(&word, &value, sizeof value);
  return reinterpret_cast<const void *>(word);
}

template <typename Traits>
class ztTypedArrays : public testing::Test {
 protected:
  using Value = typename Traits::Value;
  using Values = std::vector<Value>;

  // The element in the form that the array takes.
  static const void *elementFor(const Value &value) {
    if constexpr (std::is_same_v<Traits, PtrTraits>) return reinterpret_cast<const void *>(value);
    return &value;
  }
  void push(const Values &values) {
    for (const auto &value : values) made->pushBack(made, elementFor(value));
  }
  static Values valuesOf(const Array &array) {
    const auto *data = static_cast<const Value *>(array->getData(array));
    return {data, data + array->getSize(array)};
  }

  const Values inOrder{std::begin(Traits::ordered), std::end(Traits::ordered)};
  const ztCompareFunc compare = Traits::comparisons[0].byAddress;
  const Array made{Traits::constructor};
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

TYPED_TEST_SUITE(ztTypedArrays, AllTraits, TraitsNames);

TYPED_TEST(ztTypedArrays, BothCompareFormsOrderTheValuesAndPutNoAddressFirst) {
  const auto &ordered = TypeParam::ordered;
  for (const Comparison &comparison : TypeParam::comparisons) {
    for (size_t i = 0; i < std::size(ordered); ++i) {
      for (size_t j = 0; j < std::size(ordered); ++j) {
        const int32_t order = i == j ? 0 : i > j ? 1 : -1;
        EXPECT_EQ(comparison.byAddress(&ordered[i], &ordered[j]), order) << i << ' ' << j;
        EXPECT_EQ(comparison.ofWords(wordOf(ordered[i]), wordOf(ordered[j])), order) << i << ' ' << j;
      }
    }
    EXPECT_EQ(comparison.byAddress(nullptr, nullptr), 0);
    EXPECT_EQ(comparison.byAddress(nullptr, &ordered[0]), -1);
    EXPECT_EQ(comparison.byAddress(&ordered[0], nullptr), 1);
  }
}

TYPED_TEST(ztTypedArrays, TheBlockHoldsExactlyTheValues) {
  this->push(this->inOrder);
  EXPECT_EQ(this->valuesOf(this->made), this->inOrder);
  this->made->removeAt(this->made, 1);
  auto rest = this->inOrder;
  rest.erase(rest.begin() + 1);
  EXPECT_EQ(this->valuesOf(this->made), rest);
}

TYPED_TEST(ztTypedArrays, FindUsesTheInstalledCompareFunctionInACopyToo) {
  const auto &ordered = this->inOrder;
  this->push({ordered[2], ordered[1], ordered[2]});
  const Array copy = this->made.copy();
  EXPECT_EQ(copy.fields().klass, this->made.fields().klass);
  EXPECT_EQ(this->valuesOf(copy), this->valuesOf(this->made));
  for (const Array &array : {std::cref(this->made), std::cref(copy)}) {
    EXPECT_EQ(array.fields().compareFunction, TypeParam::installed);
    EXPECT_EQ(array->find(array, this->elementFor(ordered[1])), array->getAt(array, 1));
    EXPECT_EQ(array->find(array, this->elementFor(ordered[2])), array->getAt(array, 0));
    EXPECT_EQ(array->find(array, this->elementFor(ordered[3])), nullptr);
  }
}

TYPED_TEST(ztTypedArrays, SortAndSearchTakeTheAddressForm) {
  const Array &array = this->made;
  const auto &sorted = this->inOrder;
  auto values = sorted;
  std::mt19937 random(7);
  for (int round = 0; round < scale(200); ++round) {
    std::shuffle(values.begin(), values.end(), random);
    array->empty(array);
    this->push(values);
    array->sort(array, this->compare);
    ASSERT_EQ(this->valuesOf(array), sorted);
    for (size_t i = 0; i < sorted.size(); ++i) {
      ASSERT_EQ(array->search(array, &sorted[i], this->compare),
                static_cast<typename TypeParam::Value *>(array->getData(array)) + i);
    }
  }
  array->empty(array);
  this->push({sorted[0], sorted[2]});
  EXPECT_EQ(array->search(array, &sorted[1], this->compare), nullptr);
}

TYPED_TEST(ztTypedArrays, IsStoredAsCountAndBytes) {
  const Storage file;
  const auto &values = this->inOrder;
  const size_t size = values.size() * sizeof values[0];
  this->push(values);
  EXPECT_EQ(this->made->write(this->made, file), 1);
  const auto count = static_cast<int32_t>(values.size());
  std::string expected(sizeof count + size, '\0');
  memcpy(expected.data(), &count, sizeof count);
  memcpy(expected.data() + sizeof count, values.data(), size);
  EXPECT_EQ(file.bytes(), expected);
  const Array other(TypeParam::constructor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(this->valuesOf(other), values);
}

TEST(ztPtrArray, CompareFunctionFollowsTheFlagThatWasSet) {
  const Array array(OddPtrArray_ctor);
  EXPECT_EQ(array.fields().byPointer, 0U);
  EXPECT_EQ(array.fields().compareFunction, &ztPtrArray_compare_func);
  const void *element = &array;
  array->pushBack(array, &element);
  EXPECT_EQ(array->find(array, &element), array->getData(array));
}

TEST(ztFloatArray, ComparesUnorderedPairsAsLessAndBothZerosAsEqual) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  struct {
    double first;
    double second;
    int32_t order;
  } const pairs[] = {{none, 1.0, -1}, {1.0, none, -1}, {none, none, -1}, {0.0, -0.0, 0}};
  for (const auto &[first, second, order] : pairs) {
    EXPECT_EQ(ztFloatArray_compare_func(&first, &second), order) << first << ' ' << second;
    EXPECT_EQ(ztFloatArray_compare_func_ptr(wordOf(first), wordOf(second)), order) << first << ' ' << second;
  }
}

TEST(ztIntArray, CompareFunctionsTakeUnalignedAddresses) {
  char bytes[sizeof(double) + 1] = {};
  const int32_t number = 5;
  memcpy(bytes + 1, &number, sizeof number);
  EXPECT_EQ(ztIntArray_compare_func(bytes + 1, &number), 0);
  const double value = 0.5;
  memcpy(bytes + 1, &value, sizeof value);
  EXPECT_EQ(ztFloatArray_compare_func(bytes + 1, &value), 0);
}
