#include "containers/ztarray.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "containers/ztarrays.h"
#include "core/ztmem.h"
#include "io/ztstring.h"
#include "io/zttxtfile.h"
#include "tests/containers/elements.hh"
#include "tests/containers/noting.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/storage.hh"

namespace {

using Array = Owned<ztArray, ztArrayMethods>;

Array arrayOf(Elements &elements, const Numbers &numbers) {
  Array array(ztArray_ctor);
  elements.configure(array);
  for (const int32_t number : numbers) array->pushBack(array, elements.make(number));
  return array;
}

Array objectArray(const Numbers &numbers) {
  Elements elements(Policy::constructed);
  return arrayOf(elements, numbers);
}

Array intArray(const Numbers &numbers) {
  Array array(ztArray_ctor);
  Elements(Policy::byValue).configure(array);
  for (const int32_t &number : numbers) array->pushBack(array, &number);
  return array;
}

Array pointerArray(int32_t elementSize, const std::vector<const void *> &pointers) {
  Array array(ztArray_ctor);
  array->setElementSize(array, elementSize, 1);
  for (const void *pointer : pointers) array->pushBack(array, pointer);
  return array;
}

// An array of so many characters.
Array charArray(int32_t count) {
  Array array(ztCharArray_ctor);
  array->setSize(array, count);
  memset(array->getData(array), 'a', static_cast<size_t>(count));
  return array;
}

// The number that an element stands for. New elements are 0, of which a NULL pointer is the stored form.
int32_t numberOf(const Array &array, const void *element) {
  if (element == nullptr) return 0;
  if (array.fields().elementConstructor == nullptr) return *static_cast<const int32_t *>(element);
  const auto *object = static_cast<const Counted *>(element);
  EXPECT_EQ(object->refCount, 1);
  EXPECT_EQ(ztOOP_isClassOf(object, "Counted"), 1);
  return object->value;
}

Numbers numbersOf(const Array &array) {
  Numbers numbers;
  const int32_t count = array->getSize(array);
  for (int32_t i = 0; i < count; ++i) numbers.push_back(numberOf(array, array->getAt(array, i)));
  return numbers;
}

// Where an element is kept, and where one would be.
void *slotOf(const Array &array, int32_t index) {
  const auto data = reinterpret_cast<intptr_t>(array->getData(array));
  return reinterpret_cast<void *>(data + intptr_t{array->getElementSize(array)} * index);
}

int32_t compareStoredNumbers(const void *first, const void *second) {
  return ztIntArray_compare_func(*static_cast<const int32_t *const *>(first),
                                 *static_cast<const int32_t *const *>(second));
}

// One array for each element policy.
class ztArrayByPolicy : public testing::TestWithParam<Policy> {
 protected:
  ztArrayByPolicy() {
    elements.configure(array);
  }

  const void *make(int32_t number) {
    return elements.make(number);
  }
  void push(const Numbers &numbers) {
    for (const int32_t number : numbers) EXPECT_NE(array->pushBack(array, make(number)), nullptr);
  }
  Numbers numbers() const {
    return numbersOf(array);
  }
  Array another(const Numbers &numbers) {
    return arrayOf(elements, numbers);
  }

  Elements elements{GetParam()};
  NoneLost live;  // from here on: the elements keep an object of their own
  Array array{ztArray_ctor};
};

INSTANTIATE_TEST_SUITE_P(Policies, ztArrayByPolicy, testing::ValuesIn(allPolicies),
                         testing::PrintToStringParamName());

class ztArrayOfObjects : public testing::Test {
 protected:
  NoneLost live;
};

}  // namespace

// With each policy --------------------------------------------------------------------------------

TEST_P(ztArrayByPolicy, EmptyArrayHasNoBlockAndMayBeEmptiedAgain) {
  for (const auto clear : {array->empty, array->destroy}) {
    clear(array);
    EXPECT_EQ(array->getSize(array), 0);
    EXPECT_EQ(array->isEmpty(array), 1);
    EXPECT_EQ(array->getData(array), nullptr);
    EXPECT_EQ(array->getFront(array), nullptr);
    EXPECT_EQ(array->getBack(array), nullptr);
    const Array copy = array.copy();
    EXPECT_EQ(copy->getData(copy), nullptr);
    EXPECT_EQ(copy->getSize(copy), 0);
    push({1, 2});
    clear(array);
  }
}

TEST_P(ztArrayByPolicy, PushBackReturnsTheAddressOfTheNewSlot) {
  push({1, 2});
  const void *third = make(3);
  const void *slot = array->pushBack(array, third);
  EXPECT_EQ(slot, slotOf(array, 2));
  EXPECT_EQ(numbers(), Numbers({1, 2, 3}));
  EXPECT_EQ(array->isEmpty(array), 0);
  EXPECT_EQ(array->getFront(array), array->getAt(array, 0));
  EXPECT_EQ(array->getBack(array), array->getAt(array, 2));
  EXPECT_EQ(array->getAt(array, 2), GetParam() == Policy::byPointer ? third : slot);
}

TEST_P(ztArrayByPolicy, PushBackTakesAnElementOfTheArray) {
  push({5});
  for (int i = 0; i < 200; ++i) ASSERT_NE(array->pushBack(array, array->getAt(array, i / 2)), nullptr);
  EXPECT_EQ(numbers(), Numbers(201, 5));
}

TEST_P(ztArrayByPolicy, SetAtOverwritesInPlace) {
  push({1, 2, 3});
  EXPECT_EQ(array->setAt(array, make(9), 1), slotOf(array, 1));
  EXPECT_EQ(numbers(), Numbers({1, 9, 3}));
  EXPECT_EQ(array->setAt(array, array->getAt(array, 2), 2), slotOf(array, 2));
  EXPECT_EQ(numbers(), Numbers({1, 9, 3}));
  array->setAt(array, array->getAt(array, 0), 2);
  EXPECT_EQ(numbers(), Numbers({1, 9, 1}));
}

TEST_P(ztArrayByPolicy, IndexOutOfRangeChangesNothing) {
  const Array none = another({});
  push({1, 2, 3});
  for (const int32_t index : {-1, 3, INT_MAX, INT_MIN}) {
    EXPECT_EQ(array->setAt(array, make(9), index), nullptr);
    array->removeAt(array, index);
    EXPECT_EQ(none->setAt(none, make(9), index), nullptr);
    none->removeAt(none, index);
    // By value an address, whatever the index.
    EXPECT_EQ(array->getAt(array, index), GetParam() == Policy::byPointer ? nullptr : slotOf(array, index));
  }
  none->removeAt(none, 0);
  EXPECT_EQ(numbers(), Numbers({1, 2, 3}));
  EXPECT_EQ(none->getData(none), nullptr);
  EXPECT_EQ(none->getSize(none), 0);
}

TEST_P(ztArrayByPolicy, RemoveAtMakesANewBlockWithoutTheElement) {
  push({1, 2, 3, 4});
  const void *before = array->getData(array);
  array->removeAt(array, 1);
  EXPECT_NE(array->getData(array), before);
  EXPECT_EQ(numbers(), Numbers({1, 3, 4}));
  array->removeAt(array, 0);
  EXPECT_EQ(numbers(), Numbers({3, 4}));
  array->removeAt(array, 1);
  EXPECT_EQ(numbers(), Numbers({3}));
  array->removeAt(array, 0);
  EXPECT_EQ(array->getData(array), nullptr);
  EXPECT_EQ(numbers(), Numbers());
  push({2});
  EXPECT_EQ(numbers(), Numbers({2}));
}

TEST_P(ztArrayByPolicy, SetSizeDiscardsAndZeroesUnlessTheCountIsTheSame) {
  push({1, 2, 3});
  const void *before = array->getData(array);
  EXPECT_EQ(array->setSize(array, 3), 1);
  EXPECT_EQ(array->getData(array), before);
  EXPECT_EQ(numbers(), Numbers({1, 2, 3}));
  EXPECT_EQ(array->setSize(array, 5), 1);
  EXPECT_EQ(numbers(), Numbers(5, 0));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(array->setSize(array, 0), 1);
    EXPECT_EQ(array->getData(array), nullptr);
  }
}

TEST_P(ztArrayByPolicy, ResizeKeepsTheContents) {
  push({1, 2, 3});
  const Numbers contents[] = {{1, 2, 3, 0, 0}, {1, 2}, {1, 2}, {1, 2, 0, 0}, {}, {0, 0, 0}};
  for (const Numbers &expected : contents) {
    EXPECT_EQ(array->resize(array, static_cast<int32_t>(expected.size())), 1);
    EXPECT_EQ(numbers(), expected);
    EXPECT_EQ(array->getData(array) == nullptr, expected.empty());
  }
}

TEST_P(ztArrayByPolicy, ImpossibleSizesAreRefusedAndChangeNothing) {
  const Array none = another({});
  push({1, 2, 3});
  for (const int32_t count : {-1, INT_MIN, INT_MAX, INT_MAX / array->getElementSize(array) + 1}) {
    EXPECT_EQ(array->setSize(array, count), 0) << count;
    EXPECT_EQ(array->resize(array, count), 0) << count;
    EXPECT_EQ(numbers(), Numbers({1, 2, 3}));
    EXPECT_EQ(none->setSize(none, count), 0) << count;
    EXPECT_EQ(none->resize(none, count), 0) << count;
    EXPECT_EQ(none->getSize(none), 0);
  }
}

TEST_P(ztArrayByPolicy, SortsAndSearchesSlotsAndFindsElements) {
  const bool pointers = GetParam() == Policy::byPointer;
  const ztCompareFunc compare = pointers ? compareStoredNumbers : array.fields().compareFunction;
  push({5, 1, 4, 2, 3, 4});
  EXPECT_EQ(array->find(array, make(4)), array->getAt(array, 2)) << "the first";
  EXPECT_EQ(array->find(array, make(6)), nullptr);
  array->removeAt(array, 5);
  array->sort(array, compare);
  EXPECT_EQ(numbers(), Numbers({1, 2, 3, 4, 5}));
  const void *key = make(4);
  const void *slotKey = pointers ? static_cast<const void *>(&key) : key;
  EXPECT_EQ(array->search(array, slotKey, compare), slotOf(array, 3));
  EXPECT_EQ(array->find(array, key), array->getAt(array, 3));
}

TEST_P(ztArrayByPolicy, CloneIsIndependent) {
  push({1, 2, 3});
  array->ref(array);
  const Array copy = array.copy();
  EXPECT_EQ(copy.fields().refCount, 2);
  array.fields().refCount = copy.fields().refCount = 1;
  EXPECT_EQ(copy.fields().itemManager, &copy.fields());
  EXPECT_EQ(copy.fields().compareFunction, array.fields().compareFunction);
  EXPECT_NE(copy->getData(copy), array->getData(array));
  EXPECT_EQ(copy->getAt(copy, 1) == array->getAt(array, 1), GetParam() == Policy::byPointer);
  copy->setAt(copy, make(9), 0);
  copy->pushBack(copy, make(8));
  copy->removeAt(copy, 1);
  EXPECT_EQ(numbers(), Numbers({1, 2, 3}));
  EXPECT_EQ(numbersOf(copy), Numbers({9, 3, 8}));
}

TEST_P(ztArrayByPolicy, AssignCopiesAsManyElementsAsBothHold) {
  push({1, 2, 3});
  EXPECT_EQ(array->assign(array, another({7})), 1);
  EXPECT_EQ(numbers(), Numbers({7, 2, 3}));
  EXPECT_EQ(array->assign(array, another({4, 5, 6, 7})), 1);
  EXPECT_EQ(numbers(), Numbers({4, 5, 6}));
  EXPECT_EQ(array->assign(array, array), 1);
  EXPECT_EQ(numbers(), Numbers({4, 5, 6}));
  const Array none = another({});
  EXPECT_EQ(none->assign(none, array), 1);
  EXPECT_EQ(none->getSize(none), 0);
  EXPECT_EQ(array->assign(array, none), 1);
  EXPECT_EQ(numbers(), Numbers({4, 5, 6}));
}

// By value ----------------------------------------------------------------------------------------

TEST(ztArray, FirstPushAllocatesAndLaterOnesResizeToTheVeryContents) {
  const int before = reallocationsOfNothing;
  const Array array = intArray({});
  for (int32_t count = 1; count <= 3; ++count) {
    array->pushBack(array, &count);
    EXPECT_EQ(lastSizeAskedFor, count * 4);
  }
  array->removeAt(array, 0);
  EXPECT_EQ(lastSizeAskedFor, 8);
  const Array objects = objectArray({1, 2});
  const Array pointers = pointerArray(8, {&before, &before});
  EXPECT_EQ(lastSizeAskedFor, 16);
  EXPECT_EQ(reallocationsOfNothing, before) << "the first block is allocated";
}

TEST(ztArray, ANegativeElementSizeHoldsNoElements) {
  const int32_t one = 1;
  for (const uint32_t byPointer : {0U, 1U}) {
    const Array array(ztArray_ctor);
    array->setElementSize(array, -4, byPointer);
    EXPECT_EQ(array->pushBack(array, &one), nullptr);
    EXPECT_EQ(array->setSize(array, 2), 0);
    EXPECT_EQ(array->resize(array, 2), 0);
    EXPECT_EQ(array->getSize(array), 0);
  }
}

TEST(ztArray, ElementsOfNoBytesAreCountedAsFarAsTheSizeCanTell) {
  const Array array(ztArray_ctor);
  const int32_t one = 1;
  for (int i = 0; i < 3; ++i) EXPECT_NE(array->pushBack(array, &one), nullptr);
  EXPECT_EQ(array->getSize(array), 3);
  array->removeAt(array, 0);
  EXPECT_EQ(array->resize(array, 5), 1);
  EXPECT_EQ(array->setSize(array, 7), 1);
  EXPECT_EQ(array->getAt(array, 6), array->getData(array));
  const Array copy = array.copy();
  EXPECT_EQ(copy->getSize(copy), 7);
  for (const auto setCount : {array->setSize, array->resize}) {
    EXPECT_EQ(setCount(array, INT32_MAX), 1);
    EXPECT_EQ(array->pushBack(array, &one), nullptr);
    EXPECT_EQ(array->getSize(array), INT32_MAX);
    EXPECT_EQ(array->resize(array, 3), 1);
  }
}

static int nullKeysCompared;

static int32_t compareWithNull(const void *key, const void *slot) {
  if (key != nullptr) return ztIntArray_compare_func(key, slot);
  ++nullKeysCompared;
  const int32_t wanted = 4;
  return ztIntArray_compare_func(&wanted, slot);
}

TEST(ztArray, SearchHandsTheKeyNullToAHostsFunctionOnly) {
  const Array array = intArray({1, 2, 4, 8});
  nullKeysCompared = 0;
  EXPECT_EQ(array->search(array, nullptr, compareWithNull), array->getAt(array, 2));
  EXPECT_GT(nullKeysCompared, 0);
  EXPECT_EQ(array->search(array, nullptr, ztIntArray_compare_func), nullptr);
}

static int matchesTried;

static int32_t isSame(const void *stored, const void *given) {
  ++matchesTried;
  return *static_cast<const int32_t *>(stored) == *static_cast<const int32_t *>(given);
}

static int32_t isNever(const void *, const void *) {
  return 0;
}

TEST(ztArray, PushBackUniqueTakesAMatchFunctionAndStopsAtTheFirstMatch) {
  const Array array = intArray({});
  const int32_t numbers[] = {1, 2, 1, 3, 2};
  const int32_t added[] = {1, 1, 0, 1, 0};
  for (int i = 0; i < 5; ++i) {
    matchesTried = 0;
    EXPECT_EQ(array->pushBackUnique(array, &numbers[i], isSame), added[i]);
  }
  EXPECT_EQ(matchesTried, 2);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2, 3}));
  // A compare function tells a match where elements differ.
  const Array other = intArray({1});
  EXPECT_EQ(other->pushBackUnique(other, &numbers[1], ztIntArray_compare_func), 0);
  EXPECT_EQ(other->pushBackUnique(other, &numbers[0], ztIntArray_compare_func), 1);
  EXPECT_EQ(numbersOf(other), Numbers({1, 1}));
}

TEST(ztArray, SortThenSearchFindsEveryElement) {
  std::mt19937 random(1);
  Numbers numbers(500);
  for (int32_t &number : numbers) number = static_cast<int32_t>(random() % 1000) - 500;
  const Array array = intArray(numbers);
  array->sort(array, ztIntArray_compare_func);
  std::sort(numbers.begin(), numbers.end());
  ASSERT_EQ(numbersOf(array), numbers);
  for (int32_t key = -510; key < 510; ++key) {
    const void *found = array->search(array, &key, ztIntArray_compare_func);
    const bool present = std::binary_search(numbers.begin(), numbers.end(), key);
    ASSERT_EQ(found != nullptr && *static_cast<const int32_t *>(found) == key, present) << key;
    ASSERT_EQ(found != nullptr, present) << key;
  }
}

TEST(ztArray, WithoutCompareFunctionOrElementsOrKeyNothingIsFound) {
  const int32_t one = 1;
  const Array array = intArray({2, 1});
  EXPECT_EQ(array->find(array, nullptr), nullptr);
  array->setCompareFunction(array, nullptr);
  EXPECT_EQ(array->find(array, &one), nullptr);
  EXPECT_EQ(array->search(array, &one, nullptr), nullptr);
  array->sort(array, nullptr);
  EXPECT_EQ(numbersOf(array), Numbers({2, 1}));
  const Array none = intArray({});
  none->sort(none, ztIntArray_compare_func);
  EXPECT_EQ(none->search(none, &one, ztIntArray_compare_func), nullptr);
  EXPECT_EQ(none->find(none, &one), nullptr);
}

TEST(ztArray, NullArgumentsAreRefused) {
  const Array array = intArray({1});
  EXPECT_EQ(array->pushBack(array, nullptr), nullptr);
  EXPECT_EQ(array->pushBackUnique(array, nullptr, nullptr), 0);
  EXPECT_EQ(array->setAt(array, nullptr, 0), nullptr);
  EXPECT_EQ(array->read(array, nullptr), 0);
  EXPECT_EQ(array->write(array, nullptr), 0);
  EXPECT_EQ(numbersOf(array), Numbers({1}));
}

// By pointer --------------------------------------------------------------------------------------

TEST(ztArrayOfPointers, KeepsTheVeryPointers) {
  int32_t targets[3] = {1, 2, 3};
  const Array array = pointerArray(8, {&targets[0], &targets[1], nullptr});
  EXPECT_EQ(array->getFront(array), &targets[0]);
  EXPECT_EQ(array->getAt(array, 1), &targets[1]);
  EXPECT_EQ(array->getBack(array), nullptr);
  array->setAt(array, &targets[2], 2);
  EXPECT_EQ(array->getBack(array), &targets[2]);
  array->setAt(array, nullptr, 2);
  EXPECT_EQ(array->getBack(array), nullptr);
  array->empty(array);
  EXPECT_EQ(targets[1], 2);
  // An address in its own block, too, which moves.
  array->pushBack(array, nullptr);
  const void *first = array->getData(array);
  for (int i = 0; i < 100; ++i) array->pushBack(array, first);
  EXPECT_EQ(array->getBack(array), first);
}

TEST(ztArrayOfPointers, ReadsAtAStrideOfEightWhateverTheElementSize) {
  alignas(8) const char targets[16] = {};
  // At 16 bytes a slot every second pointer that is read lies between two slots.
  const Array wide = pointerArray(16, {&targets[0], &targets[1], &targets[2]});
  EXPECT_EQ(wide->getAt(wide, 0), &targets[0]);
  EXPECT_EQ(wide->getAt(wide, 1), nullptr);
  EXPECT_EQ(wide->getAt(wide, 2), &targets[1]);
  wide->removeAt(wide, 1);
  EXPECT_EQ(wide->getAt(wide, 0), &targets[0]);
  EXPECT_EQ(wide->getAt(wide, 1), nullptr);
  wide->resize(wide, 4);
  EXPECT_EQ(wide->getAt(wide, 2), &targets[2]);
  EXPECT_EQ(wide->getAt(wide, 3), nullptr);
}

// The slots of these hold the low bytes of the pointers only; each read stays within the block.
TEST(ztArrayOfPointers, WithASmallElementSizeStaysInTheBlock) {
  for (const int32_t size : {0, 1, 3, 4, 7, 9, 12}) {
    const void *pointer = reinterpret_cast<const void *>(uintptr_t{0x0102030405060708});
    const Array array = pointerArray(size, {pointer, pointer, pointer});
    array->setCompareFunction(array, ztPtrArray_compare_func_ptr);
    uintptr_t low = 0;
    memcpy(&low, array->getData(array), static_cast<size_t>(size < 8 ? size : 8));
    const uintptr_t mask = size >= 8 ? ~uintptr_t{0} : (uintptr_t{1} << (8 * size)) - 1;
    EXPECT_EQ(low, reinterpret_cast<uintptr_t>(pointer) & mask);
    for (int round = 0; round < 4; ++round) {
      for (int32_t i = 0; i < array->getSize(array); ++i) {
        const void *read = array->getAt(array, i);
        EXPECT_EQ(array->find(array, read), read);
        array->setAt(array, pointer, i);
      }
      const Array copy = array.copy();
      const auto bytes = static_cast<size_t>(array->getSize(array)) * static_cast<size_t>(std::max(size, 8));
      EXPECT_EQ(memcmp(copy->getData(copy), array->getData(array), bytes), 0);
      array->resize(array, array->getSize(array) + 5);
      array->removeAt(array, 2);
      array->resize(array, array->getSize(array) - 3);
      array->pushBack(array, pointer);
    }
  }
}

// With an element constructor ---------------------------------------------------------------------

TEST_F(ztArrayOfObjects, KeepsCopiesInTheBlock) {
  const Array array = objectArray({});
  const CountedObject object = counted(4);
  object.fields().refCount = 2;
  for (int i = 0; i < 2; ++i) array->pushBack(array, object);
  EXPECT_EQ(object.fields().refCount, 2);
  object.fields().refCount = 1;
  object.fields().value = 5;
  EXPECT_NE(static_cast<Counted *>(array->getAt(array, 0))->owned, object.fields().owned);
  EXPECT_EQ(numbersOf(array), Numbers({4, 4}));
  EXPECT_EQ(live.made(), 3);
}

TEST_F(ztArrayOfObjects, ConstructorComesBeforeTheByPointerFlag) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(Counted), 1);
  array->setElementConstructor(array, Counted_ctor);
  const CountedObject object = counted(4);
  for (int i = 0; i < 3; ++i) array->pushBack(array, object);
  EXPECT_EQ(array->getAt(array, 2), slotOf(array, 2));
  EXPECT_EQ(numbersOf(array), Numbers({4, 4, 4}));
  EXPECT_EQ(array->pushBack(array, nullptr), nullptr);
  array->setCompareFunction(array, compareCounted);
  EXPECT_EQ(array->find(array, object), array->getData(array));
  array->removeAt(array, 1);
  EXPECT_EQ(array->resize(array, 4), 1);
  const Array copy = array.copy();
  EXPECT_EQ(numbersOf(copy), Numbers({4, 4, 0, 0}));
  EXPECT_EQ(array->setAt(array, object, 3), array->getAt(array, 3));
  EXPECT_EQ(copy->assign(copy, array), 1);
  EXPECT_EQ(numbersOf(copy), Numbers({4, 4, 0, 4}));
}

TEST_F(ztArrayOfObjects, ASubclassObjectOfTheSameSizeKeepsItsClassAndALargerIsRefused) {
  const Array array = objectArray({1});
  const CountedObject twin = counted(2, CountedTwin_ctor);
  const CountedObject larger = counted(3, CountedLarger_ctor);
  array->pushBack(array, twin);
  array->setAt(array, twin, 0);
  EXPECT_EQ(array->pushBack(array, larger), nullptr);
  EXPECT_EQ(array->setAt(array, larger, 0), nullptr);
  array->resize(array, 3);
  EXPECT_EQ(numbersOf(array), Numbers({2, 2, 0}));
  const ztClass *const classes[] = {twin.fields().klass, twin.fields().klass, CountedClass_Instance()};
  for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(ztOOP_classOf(array->getAt(array, i)), classes[i]);
}

TEST_F(ztArrayOfObjects, ObjectsSmallerThanTheSlotsAreHeld) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(CountedLarger) + 8, 0);
  array->setElementConstructor(array, Counted_ctor);
  const CountedObject object = counted(1);
  const CountedObject larger = counted(2, CountedLarger_ctor);
  array->pushBack(array, object);
  array->pushBack(array, larger);
  array->setAt(array, larger, 0);
  array->setAt(array, object, 1);
  EXPECT_EQ(array->resize(array, 3), 1);
  const Array copy = array.copy();
  const int32_t values[] = {2, 1, 0};
  for (int32_t i = 0; i < 3; ++i) EXPECT_EQ(static_cast<Counted *>(copy->getAt(copy, i))->value, values[i]);
}

TEST_F(ztArrayOfObjects, AnElementSizeThatTheConstructorOverrunsIsRefused) {
  for (const int32_t size : {0, 8, 16, int32_t{sizeof(Counted)} - 1}) {
    const Array array(ztArray_ctor);
    array->setElementSize(array, size, 0);
    array->setElementConstructor(array, Counted_ctor);
    EXPECT_EQ(array->pushBack(array, counted(1)), nullptr);
    EXPECT_EQ(array->setSize(array, 2), 0);
    EXPECT_EQ(array->resize(array, 2), 0);
    EXPECT_EQ(array->getSize(array), 0);
  }
}

TEST_F(ztArrayOfObjects, SlotsThatTheConstructorWouldOverrunTakeNoNewObjectsButAPlainOne) {
  const Array array = objectArray({1, 2});
  array->setElementConstructor(array, CountedLarger_ctor);
  EXPECT_EQ(array->resize(array, 3), 0);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
  EXPECT_EQ(array->setAt(array, counted(refusesToClone), 1), nullptr);
  EXPECT_EQ(live.made(), 1) << "the first one";
  EXPECT_STREQ(ztBaseClassClassName(nullptr, array->getAt(array, 1)), "ztBaseClass");
  EXPECT_EQ(array->getSize(array), 2);
  EXPECT_EQ(array->resize(array, 1), 1) << "fewer need no new one";
  EXPECT_EQ(numbersOf(array), Numbers({1}));
}

TEST_F(ztArrayOfObjects, AnObjectThatRefusesToBeClonedIsNotAddedAndLeavesANewObjectInPlace) {
  const Array array = objectArray({1, 2});
  const CountedObject object = counted(refusesToClone);
  EXPECT_EQ(array->pushBack(array, object), nullptr);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
  EXPECT_EQ(array->setAt(array, object, 1), nullptr);
  EXPECT_EQ(numbersOf(array), Numbers({1, 0}));
  const Array none = objectArray({});
  EXPECT_EQ(none->pushBack(none, object), nullptr);
  EXPECT_EQ(none->getData(none), nullptr);
  EXPECT_EQ(none->getSize(none), 0);
}

TEST_F(ztArrayOfObjects, AFileCannotBeAnElement) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(ztFile), 0);
  array->setElementConstructor(array, ztFile_ctor);
  const Storage file;
  EXPECT_EQ(array->pushBack(array, file), nullptr);
  EXPECT_EQ(array->getSize(array), 0);
  EXPECT_EQ(array->setSize(array, 2), 1);
  EXPECT_EQ(array->setAt(array, file, 0), nullptr);
  EXPECT_EQ(ztFile_of(array->getAt(array, 0))->getFileName(array->getAt(array, 0))[0], '\0');
}

// An object that notes how it begins and ends.
#define NotingCounted_FIELDS Counted_FIELDS
#define NotingCounted_METHODS Counted_METHODS
ZT_DECLARE_CLASS(NotingCounted)

static void notingCountedMethods(NotingCountedMethods *methods) {
  note<"create", &NotingCountedMethods::create>(methods);
  note<"clone", &NotingCountedMethods::clone>(methods);
  note<"destroy", &NotingCountedMethods::destroy>(methods);
}

ZT_DEFINE_CLASS(NotingCounted, Counted, notingCountedMethods)

TEST_F(ztArrayOfObjects, MakesAndDestroysThemInOrder) {
  const Array array = objectArray({});
  array->setElementConstructor(array, NotingCounted_ctor);
  const CountedObject object = counted(3, NotingCounted_ctor);
  for (int i = 0; i < 2; ++i) array->pushBack(array, object);
  taken();
  EXPECT_EQ(array->setAt(array, object, 0), array->getAt(array, 0));
  EXPECT_EQ(taken(), Notes({"destroy", "clone"}));
  array->setAt(array, array->getAt(array, 1), 1);
  EXPECT_EQ(taken(), Notes()) << "the object that is there";
  EXPECT_EQ(array->resize(array, 3), 1);
  EXPECT_EQ(taken(), Notes({"clone", "clone", "create", "destroy", "destroy"}));
  EXPECT_EQ(numbersOf(array), Numbers({3, 3, 0}));
  EXPECT_EQ(array->resize(array, 1), 1);
  EXPECT_EQ(taken(), Notes({"clone", "destroy", "destroy", "destroy"}));
  EXPECT_EQ(array->setSize(array, 2), 1);
  EXPECT_EQ(taken(), Notes({"destroy", "create", "create"}));
  array->removeAt(array, 0);
  EXPECT_EQ(live.made(), 2) << "the one in the array and the one beside it";
  array->empty(array);
  EXPECT_EQ(live.made(), 1);
}

TEST_F(ztArrayOfObjects, ResizeAndCloneThatCannotCopyOneKeepThemAll) {
  const Array array = objectArray({1, 2, 3});
  static_cast<Counted *>(array->getAt(array, 2))->value = refusesToClone;
  EXPECT_EQ(array->resize(array, 5), 0);
  ztArray target;
  ztArray_ctor(&target, 0);
  EXPECT_EQ(array->clone(array, &target), nullptr);
  EXPECT_EQ(live.made(), 3);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2, refusesToClone}));
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
}

// Assigning elements that differ ------------------------------------------------------------------

TEST_F(ztArrayOfObjects, AssignNeedsAgreeingElements) {
  const Array array = intArray({1, 2});
  EXPECT_EQ(array->assign(array, charArray(2)), 0);
  EXPECT_EQ(numbersOf(array), Numbers({1, 2}));
  const Array objects = objectArray({1});
  const Array raw(ztArray_ctor);
  raw->setElementSize(raw, sizeof(Counted), 0);
  raw->setSize(raw, 1);
  EXPECT_EQ(objects->assign(objects, raw), 0);
  EXPECT_EQ(numbersOf(objects), Numbers({1}));
}

TEST_F(ztArrayOfObjects, AssignGivesAnObjectOfAnotherClassOnlyWhatBothHave) {
  // A string looks for its text where a bare object has nothing.
  const Array strings(ztStringArray_ctor);
  ASSERT_EQ(strings->setSize(strings, 2), 1);
  void *string = strings->getAt(strings, 0);
  ztString_of(string)->set(string, "kept");
  const Array others(ztArray_ctor);
  others->setElementConstructor(others, ztBaseClass_ctor);
  others->setElementSize(others, sizeof(ztBaseClass), 0);
  ASSERT_EQ(others->setSize(others, 2), 1);
  EXPECT_EQ(strings->assign(strings, others), 1);
  EXPECT_STREQ(ztString_of(string)->get(string), "kept");
  EXPECT_EQ(others->assign(others, strings), 1);
  // An object of a subclass has all that its parent has.
  const Array objects = objectArray({1, 2});
  const Array twins = objectArray({});
  ASSERT_NE(twins->pushBack(twins, counted(8, CountedTwin_ctor)), nullptr);
  EXPECT_EQ(objects->assign(objects, twins), 1);
  EXPECT_EQ(numbersOf(objects), Numbers({8, 2}));
  EXPECT_EQ(twins->assign(twins, objectArray({9})), 1);
  EXPECT_EQ(numbersOf(twins), Numbers({9}));
}

// Calls among the methods -------------------------------------------------------------------------

// An array that notes the calls of its own methods, and keeps elements at its end to itself.
#define NotingArray_FIELDS ztArray_FIELDS
#define NotingArray_METHODS ztArray_METHODS
ZT_DECLARE_CLASS(NotingArray)

static int32_t hidden;

static void notingMethods(NotingArrayMethods *methods) {
  methods->getSize = [](const void *object) { return ztArray_table()->getSize(object) - hidden; };
  note<"getSize", &NotingArrayMethods::getSize>(methods);
  note<"getAt", &NotingArrayMethods::getAt>(methods);
  note<"pushBack", &NotingArrayMethods::pushBack>(methods);
  note<"empty", &NotingArrayMethods::empty>(methods);
  note<"setSize", &NotingArrayMethods::setSize>(methods);
  note<"getData", &NotingArrayMethods::getData>(methods);
}

ZT_DEFINE_CLASS(NotingArray, ztArray, notingMethods)

TEST(ztArraySubclass, SearchLooksThroughTheSizeThatTheArrayTells) {
  const Array array(NotingArray_ctor);
  array->setElementSize(array, sizeof(int32_t), 0);
  for (const int32_t number : {1, 2, 3}) array->pushBack(array, &number);
  const int32_t three = 3;
  for (hidden = 4; hidden >= 1; --hidden) {
    EXPECT_EQ(array->search(array, &three, ztIntArray_compare_func), nullptr) << hidden;
  }
  EXPECT_EQ(array->search(array, &three, ztIntArray_compare_func), array->getAt(array, 2));
}

TEST(ztArraySubclass, OperationsReachEachOtherThroughTheMethodTable) {
  const int32_t one = 1;
  const int32_t two = 2;
  Array array(NotingArray_ctor);
  array->setElementSize(array, sizeof(int32_t), 0);
  taken();
  EXPECT_EQ(array->pushBackUnique(array, &one, isNever), 1);
  EXPECT_EQ(taken(), Notes({"pushBack"}));
  EXPECT_EQ(array->pushBackUnique(array, &two, isNever), 1);
  EXPECT_EQ(taken(), Notes({"getAt 0", "pushBack"}));
  array->getFront(array);
  array->getBack(array);
  EXPECT_EQ(taken(), Notes({"getAt 0", "getAt 1"}));
  array->search(array, &one, ztIntArray_compare_func);
  EXPECT_EQ(taken(), Notes({"getSize", "getData"}));
  array->resize(array, 0);
  EXPECT_EQ(taken(), Notes({"empty"}));
  array->resize(array, 2);
  EXPECT_EQ(taken(), Notes({"setSize 2", "empty"}));
  array->setSize(array, 2);
  EXPECT_EQ(taken(), Notes({"setSize 2"}));
  const Storage file;
  array->write(array, file);
  file->goToBegin(file);
  array->setSize(array, 0);
  taken();
  array->read(array, file);
  EXPECT_EQ(taken(), Notes({"setSize 2", "empty"}));
  array = Array(NotingArray_ctor);
  EXPECT_EQ(taken(), Notes({"empty"}));
}

// The stored form ---------------------------------------------------------------------------------

TEST_P(ztArrayByPolicy, WritesTheCountAndTheElements) {
  const Storage file;
  push({1, 200});
  EXPECT_EQ(array->write(array, file), 1);
  std::string expected("\2\0\0\0\1\0\0\0\310\0\0\0", 12);
  if (GetParam() == Policy::byPointer) {
    expected.replace(4, 8, static_cast<const char *>(array->getData(array)), 16);
  }
  EXPECT_EQ(file.bytes(), expected);
  const Array other = another({5});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(numbersOf(other), Numbers({1, 200}));
}

TEST_P(ztArrayByPolicy, AnEmptyArrayIsStoredAsItsCount) {
  const Storage file;
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(file.bytes(), std::string(4, '\0'));
  const Array other = another({1, 2});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(other->getSize(other), 0);
}

TEST_P(ztArrayByPolicy, AFileThatCannotBeWrittenOrReadGivesZero) {
  const Storage file;
  file->close(file);
  push({1});
  EXPECT_EQ(array->write(array, file), 0);
  EXPECT_EQ(array->read(array, file), 0);
  EXPECT_EQ(numbers(), Numbers({1}));
}

TEST(ztArrayInFiles, ATruncatedFileLeavesZerosWhateverWasThere) {
  const Storage file;
  const Array array = intArray({0x01010101, 0x02020202, 0x03030303});
  array->write(array, file);
  const std::string whole = file.bytes();
  for (size_t length = 0; length < whole.size(); ++length) {
    for (const Numbers &before : {Numbers{9, 9}, Numbers{9, 9, 9}}) {
      file.hold(whole.substr(0, length));
      const Array other = intArray(before);
      EXPECT_EQ(other->read(other, file), length < 4 ? 0 : 1);
      std::string expected = whole.substr(0, length);
      expected.resize(whole.size(), '\0');
      Numbers numbers(3);
      memcpy(numbers.data(), &expected[4], 12);
      EXPECT_EQ(numbersOf(other), length < 4 ? before : numbers) << length;
    }
  }
}

TEST_F(ztArrayOfObjects, ATruncatedFileLeavesTheObjectsOfAnArrayOfTheSameCountAndElseNewOnes) {
  const Storage file;
  const Array array = objectArray({1, 2, 3});
  array->write(array, file);
  const std::string whole = file.bytes();
  for (size_t count = 0; count < 3; ++count) {
    for (const Numbers &before : {Numbers{}, Numbers{7, 8, 9}}) {
      file.hold(whole.substr(0, 4 + 4 * count));
      const Array other = objectArray(before);
      EXPECT_EQ(other->read(other, file), 1);
      Numbers expected = before.empty() ? Numbers{0, 0, 0} : before;
      for (size_t i = 0; i < count; ++i) expected[i] = static_cast<int32_t>(i) + 1;
      EXPECT_EQ(numbersOf(other), expected);
    }
  }
}

TEST(ztArrayInFiles, ADamagedFileLeavesAUsableArray) {
  const Storage file;
  const Array array = intArray({1, 2, 3});
  array->write(array, file);
  const std::string whole = file.bytes();
  for (size_t position = 0; position < whole.size(); ++position) {
    for (const int byte : {0x00, 0x01, 0x7f, 0x80, 0xff}) {
      std::string damaged = whole;
      damaged[position] = static_cast<char>(byte);
      file.hold(damaged);
      int32_t count = 0;
      memcpy(&count, damaged.data(), sizeof count);
      const Array other = intArray({});
      const bool isMet = count >= 0 && count <= 16384;
      EXPECT_EQ(other->read(other, file), isMet);
      EXPECT_EQ(other->getSize(other), isMet ? count : 0);
      for (const int32_t number : {1, 2}) EXPECT_NE(other->pushBack(other, &number), nullptr);
    }
  }
}

TEST_P(ztArrayByPolicy, ACountPastTheFileIsRefusedAndTheArrayKept) {
  const Storage file;
  push({1, 2});
  for (const int32_t count : {-1, INT_MIN, 65537, INT_MAX}) {
    file.hold(std::string(100, 'x'));
    file->writeInt(file, count);
    file->goToBegin(file);
    EXPECT_EQ(array->read(array, file), 0) << count;
    EXPECT_EQ(numbers(), Numbers({1, 2}));
  }
}

TEST(ztArrayInFiles, ASmallCountPastTheFileIsTaken) {
  const Storage file;
  file->writeInt(file, 16384);
  file->goToBegin(file);
  const Array array = intArray({});
  EXPECT_EQ(array->read(array, file), 1);
  EXPECT_EQ(numbersOf(array), Numbers(16384, 0));
}

TEST(ztArrayInFiles, ALargeCountIsTakenThatTheFileHolds) {
  for (const ztCtor form : {ztFile_ctor, ztTextFile_ctor}) {
    const Storage file(form);
    const Array array = charArray(70000);
    file->writeInt(file, 7);
    array->write(array, file);
    file->writeInt(file, 8);
    file->goToBegin(file);
    int32_t around = 0;
    file->readInt(file, &around);
    const Array other(ztCharArray_ctor);
    EXPECT_EQ(other->read(other, file), 1);
    ASSERT_EQ(other->getSize(other), 70000);
    EXPECT_EQ(memcmp(other->getData(other), array->getData(array), 70000), 0);
    EXPECT_EQ(file->readInt(file, &around), 1);
    EXPECT_EQ(around, 8);
  }
  const Storage text(ztTextFile_ctor);
  text.hold("70000\na\n");
  const Array array = charArray(3);
  EXPECT_EQ(array->read(array, text), 0);
  EXPECT_EQ(array->getSize(array), 3);
}

// A file that notes what is read from it, and that fails to seek once it was asked a few times.
#define PipeFile_FIELDS ztFile_FIELDS
#define PipeFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(PipeFile)

static int tellsThatSucceed;
static int seeksThatSucceed;

static void pipeMethods(PipeFileMethods *methods) {
  note<"readBuf", &PipeFileMethods::readBuf>(methods);
  methods->tell = [](void *file) { return tellsThatSucceed-- > 0 ? ztFile_table()->tell(file) : -1; };
  methods->goToEnd = [](void *file) { return seeksThatSucceed-- > 0 ? ztFile_table()->goToEnd(file) : -1; };
}

ZT_DEFINE_CLASS(PipeFile, ztFile, pipeMethods)

TEST(ztArrayInFiles, AStreamThatCannotSeekIsTakenAtItsWordUpTo64KilobytesAndAskedForNothingPastItsEnd) {
  for (const int steps : {0, 1, 2}) {
    const Storage file(PipeFile_ctor);
    file->writeInt(file, 60000);
    file->writeBuf(file, 3, "abc");
    file->goToBegin(file);
    tellsThatSucceed = steps > 0;  // where it stands
    seeksThatSucceed = steps > 1;  // but not where its end is
    taken();
    const Array array(ztCharArray_ctor);
    EXPECT_EQ(array->read(array, file), 1) << steps;
    EXPECT_EQ(array->getSize(array), 60000);
    EXPECT_STREQ(static_cast<char *>(array->getData(array)), "abc");
    EXPECT_EQ(taken().size(), 4U) << steps;
  }
}

TEST_F(ztArrayOfObjects, TextFormReadsBack) {
  const Storage file(ztTextFile_ctor);
  const Array array = objectArray({3});
  array->pushBack(array, counted(-4));
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(file.bytes(), "2\n3\n-4\n");
  const Array other = objectArray({});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(numbersOf(other), Numbers({3, -4}));
}

// Exhausted memory --------------------------------------------------------------------------------

TEST_P(ztArrayByPolicy, SizesAndReadsWithoutMemoryKeepTheElements) {
  const Storage file;
  const Array stored = another({1, 2});
  stored->write(stored, file);
  push({3, 4, 5});
  for (const int32_t count : {1, 7}) {
    file->goToBegin(file);
    const Fault fault(0, true);
    EXPECT_EQ(array->setSize(array, count), 0);
    EXPECT_EQ(array->resize(array, count), 0);
    EXPECT_EQ(array->read(array, file), 0);
    EXPECT_EQ(fault.struck(), 3);
    EXPECT_EQ(numbers(), Numbers({3, 4, 5}));
  }
}

// What `create` could not finish is for the element class to tell; the array itself has its size.
TEST_F(ztArrayOfObjects, SlotsWhoseCreateFailsCanBeReleased) {
  const Array strings(ztStringArray_ctor);
  const Fault fault(1);
  EXPECT_EQ(strings->setSize(strings, 3), 1);
  EXPECT_TRUE(fault.end());
  EXPECT_EQ(strings->getSize(strings), 3);
  EXPECT_EQ(ztString_table()->get(strings->getAt(strings, 0)), nullptr);
  EXPECT_STREQ(ztString_table()->get(strings->getAt(strings, 1)), "");
}

// Random operations against a model ---------------------------------------------------------------

namespace {

class ztArrayModel : public ztArrayByPolicy {
 protected:
  int32_t below(size_t limit) {
    return static_cast<int32_t>(random() % limit);
  }

  void step() {
    const int32_t number = below(1000);
    const int32_t choice = below(12);
    if (choice < 3) {
      array->pushBack(array, make(number));
      model.push_back(number);
    } else if (choice < 4) {
      resize(below(40));
    } else if (choice < 5) {
      array = array.copy();
    } else if (choice < 6) {
      find(number);
    } else if (choice < 7) {
      if (below(10) == 0) empty();
    } else if (!model.empty()) {
      changeAt(choice, below(model.size()), number);
    }
  }

  void changeAt(int32_t choice, int32_t index, int32_t number) {
    int32_t &modelled = model[static_cast<size_t>(index)];
    if (choice < 8) {
      array->pushBack(array, array->getAt(array, index));
      model.push_back(modelled);
    } else if (choice < 10) {
      array->removeAt(array, index);
      model.erase(model.begin() + index);
    } else if (choice < 11) {
      array->setAt(array, make(number), index);
      modelled = number;
    } else {
      array->setAt(array, array->getAt(array, 0), index);
      modelled = model[0];
    }
  }

  void resize(int32_t count) {
    const bool discards = below(3) == 0;
    ASSERT_EQ((discards ? array->setSize : array->resize)(array, count), 1);
    if (discards && static_cast<size_t>(count) != model.size()) model.clear();
    model.resize(static_cast<size_t>(count), 0);
  }

  void empty() {
    array->empty(array);
    model.clear();
  }

  // A pointer array may hold pointers to nothing, which the compare function does not take.
  void find(int32_t number) {
    if (GetParam() == Policy::byPointer) return;
    const void *found = array->find(array, make(number));
    const auto expected = std::find(model.begin(), model.end(), number);
    const auto index = static_cast<int32_t>(expected - model.begin());
    ASSERT_EQ(found, expected == model.end() ? nullptr : array->getAt(array, index));
  }

  void check() const {
    ASSERT_EQ(numbers(), model);
    ASSERT_EQ(array->isEmpty(array), model.empty());
    ASSERT_EQ(array->getData(array) == nullptr, model.empty());
    if (GetParam() == Policy::constructed) {
      ASSERT_EQ(live.made(), static_cast<int32_t>(model.size()));
    }
    if (model.empty()) return;
    ASSERT_EQ(numberOf(array, array->getFront(array)), model.front());
    ASSERT_EQ(numberOf(array, array->getBack(array)), model.back());
  }

  Numbers model;
  std::mt19937 random{20240611};
};

INSTANTIATE_TEST_SUITE_P(Policies, ztArrayModel, testing::ValuesIn(allPolicies),
                         testing::PrintToStringParamName());

}  // namespace

TEST_P(ztArrayModel, RandomOperationsAgreeWithAVector) {
  for (int i = 0; i < scale(60000) && !HasFatalFailure(); ++i) {
    step();
    check();
  }
}
