#include "containers/ztarray.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

#include "containers/ztarrays.h"
#include "io/ztstring.h"
#include "io/zttxtfile.h"
#include "tests/helpers/faults.hh"
#include "tests/helpers/owned.hh"
#include "tests/helpers/scale.hh"
#include "tests/helpers/storage.hh"

// Elements ----------------------------------------------------------------------------------------

// Piece: an object with a number, and memory of its own that repeats it.
#define Piece_FIELDS \
  ztBaseClass_FIELDS \
  int32_t number;    \
  int32_t *owned;
#define Piece_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Piece)

// A subclass of the same size.
#define PieceTwin_FIELDS Piece_FIELDS
#define PieceTwin_METHODS Piece_METHODS
ZT_DECLARE_CLASS(PieceTwin)

// A subclass that a slot for a Piece cannot hold.
#define PieceLarger_FIELDS Piece_FIELDS int64_t more;
#define PieceLarger_METHODS Piece_METHODS
ZT_DECLARE_CLASS(PieceLarger)

// An array that counts the calls of its own methods.
#define WatchedArray_FIELDS ztArray_FIELDS
#define WatchedArray_METHODS ztArray_METHODS
ZT_DECLARE_CLASS(WatchedArray)

// A file that cannot seek, or fails to once it was asked a few times.
#define PipeFile_FIELDS ztFile_FIELDS
#define PipeFile_METHODS ztFile_METHODS
ZT_DECLARE_CLASS(PipeFile)

static int livePieces;
static int32_t refusedNumber = -1;  // a Piece of this number cannot be cloned
static std::vector<std::string> pieceCalls;

static int32_t *newOwned(int32_t number) {
  auto *owned = static_cast<int32_t *>(ztm_alloc(sizeof(int32_t)));
  if (owned != nullptr) *owned = number;
  return owned;
}

static int32_t pieceCreate(void *object) {
  if (!ztBaseClass_table()->create(object)) return 0;
  ++livePieces;
  pieceCalls.emplace_back("create");
  static_cast<Piece *>(object)->number = 0;
  static_cast<Piece *>(object)->owned = newOwned(0);
  return static_cast<Piece *>(object)->owned != nullptr;
}

static void *pieceClone(const void *object, void *target) {
  const int32_t number = static_cast<const Piece *>(object)->number;
  if (number == refusedNumber) return nullptr;
  auto *copy = static_cast<Piece *>(ztBaseClass_table()->clone(object, target));
  copy->owned = newOwned(number);
  if (copy->owned == nullptr) return nullptr;
  ++livePieces;
  pieceCalls.emplace_back("clone");
  return copy;
}

static int32_t pieceAssign(void *object, const void *other) {
  auto *piece = static_cast<Piece *>(object);
  piece->number = static_cast<const Piece *>(other)->number;
  *piece->owned = piece->number;
  return 1;
}

static void pieceDestroy(void *object) {
  --livePieces;
  pieceCalls.emplace_back("destroy");
  ztm_free(static_cast<Piece *>(object)->owned);
  ztBaseClass_table()->destroy(object);
}

static int32_t pieceRead(void *object, void *file) {
  return ztFile_of(file)->readInt(file, &static_cast<Piece *>(object)->number);
}

static int32_t pieceWrite(const void *object, void *file) {
  return ztFile_of(file)->writeInt(file, static_cast<const Piece *>(object)->number);
}

static void pieceMethods(PieceMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, pieceCreate);
  ZT_OVERRIDE_METHOD(methods, clone, pieceClone);
  ZT_OVERRIDE_METHOD(methods, assign, pieceAssign);
  ZT_OVERRIDE_METHOD(methods, destroy, pieceDestroy);
  ZT_OVERRIDE_METHOD(methods, read, pieceRead);
  ZT_OVERRIDE_METHOD(methods, write, pieceWrite);
}

static void pieceTwinMethods(PieceTwinMethods *) {}

static void pieceLargerMethods(PieceLargerMethods *) {}

ZT_DEFINE_CLASS(Piece, ztBaseClass, pieceMethods)
ZT_DEFINE_CLASS(PieceTwin, Piece, pieceTwinMethods)
ZT_DEFINE_CLASS(PieceLarger, Piece, pieceLargerMethods)

static int32_t comparePieces(const void *first, const void *second) {
  return ztIntArray_compare_func(&static_cast<const Piece *>(first)->number,
                                 &static_cast<const Piece *>(second)->number);
}

static int32_t compareStoredNumbers(const void *first, const void *second) {
  return ztIntArray_compare_func(*static_cast<const int32_t *const *>(first),
                                 *static_cast<const int32_t *const *>(second));
}

static std::vector<std::string> arrayCalls;

static void *watchedGetAt(const void *object, int32_t index) {
  arrayCalls.push_back("getAt " + std::to_string(index));
  return ztArray_table()->getAt(object, index);
}

static void *watchedPushBack(void *object, const void *element) {
  arrayCalls.emplace_back("pushBack");
  return ztArray_table()->pushBack(object, element);
}

static void watchedEmpty(void *object) {
  arrayCalls.emplace_back("empty");
  ztArray_table()->empty(object);
}

static int32_t watchedSetSize(void *object, int32_t count) {
  arrayCalls.push_back("setSize " + std::to_string(count));
  return ztArray_table()->setSize(object, count);
}

static int32_t sizeHidden;  // elements at the end that the array keeps to itself

static int32_t watchedGetSize(const void *object) {
  arrayCalls.emplace_back("getSize");
  return ztArray_table()->getSize(object) - sizeHidden;
}

static void *watchedGetData(const void *object) {
  arrayCalls.emplace_back("getData");
  return ztArray_table()->getData(object);
}

static void watchedMethods(WatchedArrayMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, getAt, watchedGetAt);
  ZT_OVERRIDE_METHOD(methods, pushBack, watchedPushBack);
  ZT_OVERRIDE_METHOD(methods, empty, watchedEmpty);
  ZT_OVERRIDE_METHOD(methods, setSize, watchedSetSize);
  ZT_OVERRIDE_METHOD(methods, getSize, watchedGetSize);
  ZT_OVERRIDE_METHOD(methods, getData, watchedGetData);
}

ZT_DEFINE_CLASS(WatchedArray, ztArray, watchedMethods)

static int tellsThatSucceed;
static int seeksThatSucceed;

static int64_t pipeTell(void *file) {
  return tellsThatSucceed-- > 0 ? ztFile_table()->tell(file) : -1;
}

static int32_t pipeGoToEnd(void *file) {
  return seeksThatSucceed-- > 0 ? ztFile_table()->goToEnd(file) : -1;
}

static int32_t buffersRead;

static int32_t pipeReadBuf(void *file, int32_t n, void *buffer) {
  ++buffersRead;
  return ztFile_table()->readBuf(file, n, buffer);
}

static void pipeMethods(PipeFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, readBuf, pipeReadBuf);
  ZT_OVERRIDE_METHOD(methods, tell, pipeTell);
  ZT_OVERRIDE_METHOD(methods, goToEnd, pipeGoToEnd);
}

ZT_DEFINE_CLASS(PipeFile, ztFile, pipeMethods)

namespace {

using Array = Owned<ztArray, ztArrayMethods>;
using PieceObject = Owned<Piece, PieceMethods>;
using Numbers = std::vector<int32_t>;

PieceObject newPiece(int32_t number, ztCtor constructor = Piece_ctor) {
  PieceObject piece(constructor);
  piece.fields().number = number;
  *piece.fields().owned = number;
  return piece;
}

Array intArray(const Numbers &numbers) {
  Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(int32_t), 0);
  for (const int32_t number : numbers) array->pushBack(array, &number);
  return array;
}

Array pieceArray(const Numbers &numbers) {
  Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(Piece), 0);
  array->setElementConstructor(array, Piece_ctor);
  for (const int32_t number : numbers) {
    const PieceObject piece = newPiece(number);
    array->pushBack(array, piece);
  }
  return array;
}

Array pointerArray(int32_t elementSize, const std::vector<const void *> &pointers) {
  Array array(ztArray_ctor);
  array->setElementSize(array, elementSize, 1);
  for (const void *pointer : pointers) array->pushBack(array, pointer);
  return array;
}

Numbers intsOf(const Array &array) {
  const auto *data = static_cast<const int32_t *>(array->getData(array));
  return Numbers(data, data + array->getSize(array));
}

// Also checks that every object is whole.
Numbers piecesOf(const Array &array) {
  Numbers numbers;
  for (int32_t i = 0; i < array->getSize(array); ++i) {
    const auto *piece = static_cast<const Piece *>(array->getAt(array, i));
    EXPECT_EQ(piece->refCount, 1);
    EXPECT_TRUE(piece->klass == PieceClass_Instance() || piece->klass == PieceTwinClass_Instance());
    numbers.push_back(piece->number);
  }
  return numbers;
}

// Every test leaves as many Piece objects as it found.
class ArrayTest : public testing::Test {
 protected:
  void SetUp() override {
    refusedNumber = -1;
    tellsThatSucceed = 0;
    sizeHidden = 0;
    seeksThatSucceed = 0;
    // The first object of a class registers it, which needs memory too.
    newPiece(0);
    pieceCalls.clear();
    arrayCalls.clear();
  }
  void TearDown() override {
    EXPECT_EQ(livePieces, 0);
  }
};

}  // namespace

// Policy by value ---------------------------------------------------------------------------------

TEST_F(ArrayTest, NewArrayIsEmpty) {
  const Array array(ztArray_ctor);
  EXPECT_EQ(array->getSize(array), 0);
  EXPECT_EQ(array->isEmpty(array), 1);
  EXPECT_EQ(array->getData(array), nullptr);
  EXPECT_EQ(array->getFront(array), nullptr);
  EXPECT_EQ(array->getBack(array), nullptr);
  array->empty(array);
  EXPECT_EQ(array->getSize(array), 0);
}

TEST_F(ArrayTest, PushBackReturnsTheAddressOfTheNewSlot) {
  const Array array = intArray({1, 2});
  const int32_t third = 3;
  void *slot = array->pushBack(array, &third);
  EXPECT_EQ(slot, static_cast<int32_t *>(array->getData(array)) + 2);
  EXPECT_EQ(intsOf(array), Numbers({1, 2, 3}));
  EXPECT_EQ(array->getAt(array, 1), static_cast<int32_t *>(array->getData(array)) + 1);
  EXPECT_EQ(array->isEmpty(array), 0);
  EXPECT_EQ(*static_cast<int32_t *>(array->getFront(array)), 1);
  EXPECT_EQ(*static_cast<int32_t *>(array->getBack(array)), 3);
}

TEST_F(ArrayTest, FirstPushAllocatesAndLaterOnesResizeToTheVeryContents) {
  const int before = reallocationsOfNothing;
  const Array array = intArray({});
  for (int32_t count = 1; count <= 3; ++count) {
    array->pushBack(array, &count);
    EXPECT_EQ(lastSizeAskedFor, count * 4);
  }
  array->removeAt(array, 0);
  EXPECT_EQ(lastSizeAskedFor, 8);
  const Array pieces = pieceArray({1, 2});
  const Array pointers = pointerArray(8, {&before, &before});
  EXPECT_EQ(lastSizeAskedFor, 16);
  EXPECT_EQ(reallocationsOfNothing, before) << "the first block is allocated";
}

TEST_F(ArrayTest, PushBackCopiesTheElement) {
  Numbers numbers = {7};
  const Array array = intArray(numbers);
  numbers[0] = 8;
  EXPECT_EQ(intsOf(array), Numbers({7}));
}

TEST_F(ArrayTest, PushBackTakesAnElementOfTheArray) {
  const Array array = intArray({5});
  for (int i = 0; i < 200; ++i) {
    ASSERT_NE(array->pushBack(array, array->getAt(array, i / 2)), nullptr);
  }
  EXPECT_EQ(intsOf(array), Numbers(201, 5));
}

TEST_F(ArrayTest, GetAtByValueIsAddressArithmetic) {
  const Array array = intArray({1, 2});
  const auto data = reinterpret_cast<intptr_t>(array->getData(array));
  for (const int32_t index : {-1, 2, INT_MAX, INT_MIN}) {
    EXPECT_EQ(reinterpret_cast<intptr_t>(array->getAt(array, index)), data + intptr_t{4} * index);
  }
}

TEST_F(ArrayTest, SetAtOverwritesInPlace) {
  const Array array = intArray({1, 2, 3});
  const int32_t nine = 9;
  EXPECT_EQ(array->setAt(array, &nine, 1), array->getAt(array, 1));
  EXPECT_EQ(intsOf(array), Numbers({1, 9, 3}));
  EXPECT_EQ(array->setAt(array, array->getAt(array, 2), 2), array->getAt(array, 2));
  EXPECT_EQ(intsOf(array), Numbers({1, 9, 3}));
  array->setAt(array, array->getAt(array, 0), 2);
  EXPECT_EQ(intsOf(array), Numbers({1, 9, 1}));
}

TEST_F(ArrayTest, IndexOutOfRangeChangesNothing) {
  const int32_t nine = 9;
  const Array array = intArray({1, 2, 3});
  const Array none = intArray({});
  for (const int32_t index : {-1, 3, INT_MAX, INT_MIN}) {
    EXPECT_EQ(array->setAt(array, &nine, index), nullptr);
    array->removeAt(array, index);
    EXPECT_EQ(none->setAt(none, &nine, index), nullptr);
    none->removeAt(none, index);
  }
  none->removeAt(none, 0);
  EXPECT_EQ(intsOf(array), Numbers({1, 2, 3}));
  EXPECT_EQ(none->getData(none), nullptr);
  EXPECT_EQ(none->getSize(none), 0);
}

TEST_F(ArrayTest, RemoveAtMakesANewBlockWithoutTheElement) {
  const Array array = intArray({1, 2, 3, 4});
  const void *before = array->getData(array);
  array->removeAt(array, 1);
  EXPECT_NE(array->getData(array), before);
  EXPECT_EQ(intsOf(array), Numbers({1, 3, 4}));
  array->removeAt(array, 0);
  EXPECT_EQ(intsOf(array), Numbers({3, 4}));
  array->removeAt(array, 1);
  EXPECT_EQ(intsOf(array), Numbers({3}));
}

TEST_F(ArrayTest, RemovingTheLastElementLeavesNoBlock) {
  const Array array = intArray({1});
  array->removeAt(array, 0);
  EXPECT_EQ(array->getData(array), nullptr);
  EXPECT_EQ(array->getSize(array), 0);
  const int32_t two = 2;
  array->pushBack(array, &two);
  EXPECT_EQ(intsOf(array), Numbers({2}));
}

TEST_F(ArrayTest, SetSizeDiscardsAndZeroes) {
  const Array array = intArray({1, 2, 3});
  EXPECT_EQ(array->setSize(array, 5), 1);
  EXPECT_EQ(intsOf(array), Numbers(5, 0));
  EXPECT_EQ(array->setSize(array, 0), 1);
  EXPECT_EQ(array->getData(array), nullptr);
  EXPECT_EQ(array->setSize(array, 0), 1);
}

TEST_F(ArrayTest, SetSizeToTheCurrentCountKeepsTheContents) {
  const Array array = intArray({1, 2, 3});
  const void *before = array->getData(array);
  EXPECT_EQ(array->setSize(array, 3), 1);
  EXPECT_EQ(array->getData(array), before);
  EXPECT_EQ(intsOf(array), Numbers({1, 2, 3}));
}

TEST_F(ArrayTest, ResizeKeepsTheContents) {
  const Array array = intArray({1, 2, 3});
  EXPECT_EQ(array->resize(array, 5), 1);
  EXPECT_EQ(intsOf(array), Numbers({1, 2, 3, 0, 0}));
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(intsOf(array), Numbers({1, 2}));
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(intsOf(array), Numbers({1, 2}));
  EXPECT_EQ(array->resize(array, 4), 1);
  EXPECT_EQ(intsOf(array), Numbers({1, 2, 0, 0}));
  EXPECT_EQ(array->resize(array, 0), 1);
  EXPECT_EQ(array->getData(array), nullptr);
  EXPECT_EQ(array->resize(array, 3), 1);
  EXPECT_EQ(intsOf(array), Numbers(3, 0));
}

TEST_F(ArrayTest, ImpossibleSizesAreRefusedAndChangeNothing) {
  const Array array = intArray({1, 2, 3});
  for (const int32_t count : {-1, INT_MIN, INT_MAX, INT_MAX / 4 + 1}) {
    EXPECT_EQ(array->setSize(array, count), 0) << count;
    EXPECT_EQ(array->resize(array, count), 0) << count;
    EXPECT_EQ(intsOf(array), Numbers({1, 2, 3}));
  }
  const Array none = intArray({});
  EXPECT_EQ(none->resize(none, INT_MAX), 0);
  EXPECT_EQ(none->setSize(none, INT_MAX), 0);
  EXPECT_EQ(none->getSize(none), 0);
}

TEST_F(ArrayTest, ANegativeElementSizeHoldsNoElements) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, -4, 0);
  const int32_t one = 1;
  EXPECT_EQ(array->pushBack(array, &one), nullptr);
  EXPECT_EQ(array->setSize(array, 2), 0);
  EXPECT_EQ(array->resize(array, 2), 0);
  EXPECT_EQ(array->getSize(array), 0);
  const Array pointers = pointerArray(-4, {});
  EXPECT_EQ(pointers->pushBack(pointers, &one), nullptr);
  EXPECT_EQ(pointers->getSize(pointers), 0);
}

TEST_F(ArrayTest, ElementsOfNoBytesAreCounted) {
  const Array array(ztArray_ctor);
  const int32_t one = 1;
  for (int i = 0; i < 3; ++i) EXPECT_NE(array->pushBack(array, &one), nullptr);
  EXPECT_EQ(array->getSize(array), 3);
  array->removeAt(array, 0);
  EXPECT_EQ(array->resize(array, 5), 1);
  EXPECT_EQ(array->setSize(array, 7), 1);
  EXPECT_EQ(array->getSize(array), 7);
  EXPECT_EQ(array->getAt(array, 6), array->getData(array));
  const Array copy = array.copy();
  EXPECT_EQ(copy->getSize(copy), 7);
}

TEST_F(ArrayTest, ElementsOfNoBytesAreNotCountedPastWhatTheSizeCanTell) {
  Array array(ztArray_ctor);
  ASSERT_EQ(array->setSize(array, INT32_MAX), 1);
  EXPECT_EQ(array->pushBack(array, array), nullptr);
  EXPECT_EQ(array->getSize(array), INT32_MAX);
  EXPECT_EQ(array->resize(array, 3), 1);
  EXPECT_EQ(array->resize(array, INT32_MAX), 1);
  EXPECT_EQ(array->pushBack(array, array), nullptr);
  EXPECT_EQ(array->getSize(array), INT32_MAX);
}

static int nullKeysCompared;

static int32_t compareWithNull(const void *key, const void *slot) {
  if (key != nullptr) return ztIntArray_compare_func(key, slot);
  ++nullKeysCompared;
  const int32_t wanted = 4;
  return ztIntArray_compare_func(&wanted, slot);
}

TEST_F(ArrayTest, SearchHandsTheKeyNullToAHostsFunctionOnly) {
  const Array array(ztIntArray_ctor);
  for (const int32_t number : {1, 2, 4, 8}) array->pushBack(array, &number);
  nullKeysCompared = 0;
  EXPECT_EQ(array->search(array, nullptr, compareWithNull), array->getAt(array, 2));
  EXPECT_GT(nullKeysCompared, 0);
  EXPECT_EQ(array->search(array, nullptr, ztIntArray_compare_func), nullptr);
}

TEST_F(ArrayTest, PushBackUniqueTakesAMatchFunction) {
  const Array array = intArray({});
  ztCompareFunc isSame = [](const void *stored, const void *given) -> int32_t {
    return *static_cast<const int32_t *>(stored) == *static_cast<const int32_t *>(given);
  };
  for (const int32_t number : {1, 2, 1, 3, 2}) array->pushBackUnique(array, &number, isSame);
  EXPECT_EQ(intsOf(array), Numbers({1, 2, 3}));
  const int32_t three = 3;
  EXPECT_EQ(array->pushBackUnique(array, &three, isSame), 0);
  const int32_t four = 4;
  EXPECT_EQ(array->pushBackUnique(array, &four, isSame), 1);
}

TEST_F(ArrayTest, PushBackUniqueTakesACompareFunctionTheWrongWayRound) {
  const Array array = intArray({});
  const int32_t one = 1;
  const int32_t two = 2;
  EXPECT_EQ(array->pushBackUnique(array, &one, ztIntArray_compare_func), 1);
  EXPECT_EQ(array->pushBackUnique(array, &two, ztIntArray_compare_func), 0);
  EXPECT_EQ(array->pushBackUnique(array, &one, ztIntArray_compare_func), 1);
  EXPECT_EQ(intsOf(array), Numbers({1, 1}));
}

TEST_F(ArrayTest, PushBackUniqueStopsAtTheFirstMatch) {
  static int calls;
  calls = 0;
  const Array array = intArray({1, 2, 3});
  ztCompareFunc isSame = [](const void *stored, const void *given) -> int32_t {
    ++calls;
    return *static_cast<const int32_t *>(stored) == *static_cast<const int32_t *>(given);
  };
  const int32_t two = 2;
  array->pushBackUnique(array, &two, isSame);
  EXPECT_EQ(calls, 2);
}

TEST_F(ArrayTest, SortThenSearchFindsEveryElement) {
  std::mt19937 random(1);
  Numbers numbers(500);
  for (int32_t &number : numbers) number = static_cast<int32_t>(random() % 1000) - 500;
  const Array array = intArray(numbers);
  array->sort(array, ztIntArray_compare_func);
  std::sort(numbers.begin(), numbers.end());
  ASSERT_EQ(intsOf(array), numbers);
  for (int32_t key = -510; key < 510; ++key) {
    const void *found = array->search(array, &key, ztIntArray_compare_func);
    const bool present = std::binary_search(numbers.begin(), numbers.end(), key);
    ASSERT_EQ(found != nullptr, present) << key;
    if (present) {
      ASSERT_EQ(*static_cast<const int32_t *>(found), key);
    }
  }
}

TEST_F(ArrayTest, FindReturnsTheFirstEqualElement) {
  const Array array = intArray({4, 2, 4, 2});
  array->setCompareFunction(array, ztIntArray_compare_func);
  const int32_t two = 2;
  const int32_t five = 5;
  EXPECT_EQ(array->find(array, &two), array->getAt(array, 1));
  EXPECT_EQ(array->find(array, &five), nullptr);
  EXPECT_EQ(array->find(array, nullptr), nullptr);
}

TEST_F(ArrayTest, WithoutCompareFunctionOrElementsNothingIsFound) {
  const int32_t one = 1;
  const Array array = intArray({2, 1});
  EXPECT_EQ(array->find(array, &one), nullptr);
  EXPECT_EQ(array->search(array, &one, nullptr), nullptr);
  EXPECT_EQ(array->search(array, nullptr, ztIntArray_compare_func), nullptr);
  array->sort(array, nullptr);
  EXPECT_EQ(intsOf(array), Numbers({2, 1}));
  const Array none = intArray({});
  none->setCompareFunction(none, ztIntArray_compare_func);
  none->sort(none, ztIntArray_compare_func);
  EXPECT_EQ(none->search(none, &one, ztIntArray_compare_func), nullptr);
  EXPECT_EQ(none->find(none, &one), nullptr);
}

TEST_F(ArrayTest, NullArgumentsAreRefused) {
  const Array array = intArray({1});
  EXPECT_EQ(array->pushBack(array, nullptr), nullptr);
  EXPECT_EQ(array->pushBackUnique(array, nullptr, nullptr), 0);
  EXPECT_EQ(array->setAt(array, nullptr, 0), nullptr);
  EXPECT_EQ(array->assign(array, nullptr), 0);
  EXPECT_EQ(array->read(array, nullptr), 0);
  EXPECT_EQ(array->write(array, nullptr), 0);
  EXPECT_EQ(array->clone(array, nullptr), nullptr);
  EXPECT_EQ(intsOf(array), Numbers({1}));
}

TEST_F(ArrayTest, NullArrayGivesNothing) {
  const ztArrayMethods *methods = ztArray_of(intArray({1}));
  const int32_t one = 1;
  EXPECT_EQ(methods->pushBack(nullptr, &one), nullptr);
  EXPECT_EQ(methods->pushBackUnique(nullptr, &one, ztIntArray_compare_func), 0);
  methods->removeAt(nullptr, 0);
  EXPECT_EQ(methods->getAt(nullptr, 0), nullptr);
  EXPECT_EQ(methods->setAt(nullptr, &one, 0), nullptr);
  methods->empty(nullptr);
  EXPECT_EQ(methods->setSize(nullptr, 1), 0);
  EXPECT_EQ(methods->resize(nullptr, 1), 0);
  EXPECT_EQ(methods->getFront(nullptr), nullptr);
  EXPECT_EQ(methods->getBack(nullptr), nullptr);
  EXPECT_EQ(methods->getData(nullptr), nullptr);
  EXPECT_EQ(methods->getSize(nullptr), 0);
  EXPECT_EQ(methods->isEmpty(nullptr), 0);
  methods->sort(nullptr, ztIntArray_compare_func);
  EXPECT_EQ(methods->search(nullptr, &one, ztIntArray_compare_func), nullptr);
  EXPECT_EQ(methods->find(nullptr, &one), nullptr);
  EXPECT_EQ(methods->assign(nullptr, nullptr), 0);
  methods->destroy(nullptr);
}

TEST_F(ArrayTest, DestroyTwiceIsHarmless) {
  ztArray array;
  ztArray_ctor(&array, 1);
  const ztArrayMethods *methods = ztArray_of(&array);
  methods->setElementSize(&array, sizeof(int32_t), 0);
  EXPECT_EQ(methods->setSize(&array, 10), 1);
  methods->destroy(&array);
  methods->destroy(&array);
  EXPECT_EQ(methods->getSize(&array), 0);
}

// Policy by pointer -------------------------------------------------------------------------------

TEST_F(ArrayTest, ByPointerKeepsTheVeryPointers) {
  int32_t targets[3] = {1, 2, 3};
  const Array array = pointerArray(8, {&targets[0], &targets[1], nullptr});
  EXPECT_EQ(array->getAt(array, 0), &targets[0]);
  EXPECT_EQ(array->getFront(array), &targets[0]);
  EXPECT_EQ(array->getAt(array, 1), &targets[1]);
  EXPECT_EQ(array->getBack(array), nullptr);
  void *slot = array->setAt(array, &targets[2], 2);
  EXPECT_EQ(slot, static_cast<void **>(array->getData(array)) + 2);
  EXPECT_EQ(array->getBack(array), &targets[2]);
  array->removeAt(array, 0);
  EXPECT_EQ(array->getFront(array), &targets[1]);
  array->empty(array);
  EXPECT_EQ(targets[1], 2);
}

TEST_F(ArrayTest, ByPointerIndexOutOfRangeGivesNull) {
  const int32_t target = 1;
  const Array array = pointerArray(8, {&target, &target});
  for (const int32_t index : {-1, 2, INT_MAX, INT_MIN}) {
    EXPECT_EQ(array->getAt(array, index), nullptr);
    EXPECT_EQ(array->setAt(array, nullptr, index), nullptr);
    array->removeAt(array, index);
  }
  EXPECT_EQ(array->getAt(array, 1), &target);
  EXPECT_EQ(array->getSize(array), 2);
}

TEST_F(ArrayTest, ByPointerCanHoldAddressesInItsOwnBlock) {
  const Array array = pointerArray(8, {nullptr});
  const void *first = array->getData(array);
  for (int i = 0; i < 100; ++i) array->pushBack(array, first);
  EXPECT_EQ(array->getBack(array), first);
}

TEST_F(ArrayTest, ByPointerSortsAndSearchesSlotsAndFindsPointers) {
  Numbers targets = {3, 1, 2};
  const Array array = pointerArray(8, {&targets[0], &targets[1], &targets[2]});
  array->sort(array, compareStoredNumbers);
  EXPECT_EQ(array->getAt(array, 0), &targets[1]);
  EXPECT_EQ(array->getAt(array, 1), &targets[2]);
  EXPECT_EQ(array->getAt(array, 2), &targets[0]);
  const void *key = &targets[2];
  EXPECT_EQ(array->search(array, &key, compareStoredNumbers),
            static_cast<void **>(array->getData(array)) + 1);
  array->setCompareFunction(array, ztIntArray_compare_func);
  const int32_t three = 3;
  EXPECT_EQ(array->find(array, &three), &targets[0]);
}

TEST_F(ArrayTest, ByPointerReadsAtAStrideOfEightWhateverTheElementSize) {
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
TEST_F(ArrayTest, ByPointerWithASmallElementSizeStaysInTheBlock) {
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
      if (array->getSize(array) > 0) {
        EXPECT_EQ(memcmp(copy->getData(copy), array->getData(array),
                         static_cast<size_t>(array->getSize(array)) * static_cast<size_t>(std::max(size, 8))),
                  0);
      }
      array->resize(array, array->getSize(array) + 5);
      array->removeAt(array, 2);
      array->resize(array, array->getSize(array) - 3);
      array->pushBack(array, pointer);
    }
  }
}

// Policy with an element constructor --------------------------------------------------------------

TEST_F(ArrayTest, ConstructedElementsAreCopiesInTheBlock) {
  const Array array = pieceArray({});
  const PieceObject piece = newPiece(4);
  piece->ref(piece);
  void *slot = array->pushBack(array, piece);
  EXPECT_EQ(slot, array->getData(array));
  EXPECT_EQ(piece.fields().refCount, 2);
  EXPECT_NE(static_cast<Piece *>(slot)->owned, piece.fields().owned);
  EXPECT_EQ(*static_cast<Piece *>(slot)->owned, 4);
  array->pushBack(array, piece);
  piece.fields().number = 5;
  EXPECT_EQ(piecesOf(array), Numbers({4, 4}));
  EXPECT_EQ(livePieces, 3);
}

TEST_F(ArrayTest, ConstructorComesBeforeTheByPointerFlag) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(Piece), 1);
  array->setElementConstructor(array, Piece_ctor);
  const PieceObject piece = newPiece(4);
  for (int i = 0; i < 3; ++i) array->pushBack(array, piece);
  EXPECT_EQ(array->getAt(array, 2), static_cast<Piece *>(array->getData(array)) + 2);
  EXPECT_EQ(piecesOf(array), Numbers({4, 4, 4}));
  EXPECT_EQ(array->pushBack(array, nullptr), nullptr);
  array->setCompareFunction(array, comparePieces);
  EXPECT_EQ(array->find(array, piece), array->getData(array));
  array->removeAt(array, 1);
  EXPECT_EQ(array->resize(array, 4), 1);
  const Array copy = array.copy();
  EXPECT_EQ(piecesOf(copy), Numbers({4, 4, 0, 0}));
  EXPECT_EQ(array->setAt(array, piece, 3), array->getAt(array, 3));
  EXPECT_EQ(copy->assign(copy, array), 1);
  EXPECT_EQ(piecesOf(copy), Numbers({4, 4, 0, 4}));
}

TEST_F(ArrayTest, PushBackTakesAnObjectOfTheArray) {
  const Array array = pieceArray({6});
  for (int i = 0; i < 100; ++i) {
    ASSERT_NE(array->pushBack(array, array->getAt(array, i / 2)), nullptr);
  }
  EXPECT_EQ(piecesOf(array), Numbers(101, 6));
}

TEST_F(ArrayTest, ASubclassObjectOfTheSameSizeKeepsItsClass) {
  const Array array = pieceArray({1});
  const PieceObject twin = newPiece(2, PieceTwin_ctor);
  array->pushBack(array, twin);
  array->setAt(array, twin, 0);
  EXPECT_EQ(static_cast<Piece *>(array->getAt(array, 0))->klass, PieceTwinClass_Instance());
  array->resize(array, 3);
  EXPECT_EQ(static_cast<Piece *>(array->getAt(array, 1))->klass, PieceTwinClass_Instance());
  EXPECT_EQ(static_cast<Piece *>(array->getAt(array, 2))->klass, PieceClass_Instance());
  EXPECT_EQ(piecesOf(array), Numbers({2, 2, 0}));
}

TEST_F(ArrayTest, AnObjectOfALargerClassIsRefused) {
  const Array array = pieceArray({1});
  const PieceObject larger = newPiece(2, PieceLarger_ctor);
  EXPECT_EQ(array->pushBack(array, larger), nullptr);
  EXPECT_EQ(array->setAt(array, larger, 0), nullptr);
  EXPECT_EQ(piecesOf(array), Numbers({1}));
}

TEST_F(ArrayTest, ObjectsSmallerThanTheSlotsAreHeld) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(PieceLarger) + 8, 0);
  array->setElementConstructor(array, Piece_ctor);
  const PieceObject piece = newPiece(1);
  const PieceObject larger = newPiece(2, PieceLarger_ctor);
  array->pushBack(array, piece);
  array->pushBack(array, larger);
  array->setAt(array, larger, 0);
  array->setAt(array, piece, 1);
  EXPECT_EQ(array->resize(array, 3), 1);
  const Array copy = array.copy();
  EXPECT_EQ(static_cast<Piece *>(copy->getAt(copy, 0))->number, 2);
  EXPECT_EQ(static_cast<Piece *>(copy->getAt(copy, 1))->number, 1);
  EXPECT_EQ(static_cast<Piece *>(copy->getAt(copy, 2))->number, 0);
}

TEST_F(ArrayTest, AnElementSizeThatTheConstructorOverrunsIsRefused) {
  for (const int32_t size : {0, 8, 16, int32_t{sizeof(Piece)} - 1}) {
    const Array array(ztArray_ctor);
    array->setElementSize(array, size, 0);
    array->setElementConstructor(array, Piece_ctor);
    const PieceObject piece = newPiece(1);
    EXPECT_EQ(array->pushBack(array, piece), nullptr);
    EXPECT_EQ(array->setSize(array, 2), 0);
    EXPECT_EQ(array->resize(array, 2), 0);
    EXPECT_EQ(array->getSize(array), 0);
  }
}

TEST_F(ArrayTest, SlotsThatTheConstructorWouldOverrunTakeNoNewObjects) {
  const Array array = pieceArray({1, 2});
  array->setElementConstructor(array, PieceLarger_ctor);
  EXPECT_EQ(array->resize(array, 3), 0);
  EXPECT_EQ(piecesOf(array), Numbers({1, 2}));
  EXPECT_EQ(array->resize(array, 1), 1) << "fewer need no new one";
  EXPECT_EQ(piecesOf(array), Numbers({1}));
}

TEST_F(ArrayTest, ASlotThatTheConstructorWouldOverrunIsLeftWithAPlainObject) {
  const Array array = pieceArray({1, 2});
  const PieceObject piece = newPiece(3);
  array->setElementConstructor(array, PieceLarger_ctor);
  refusedNumber = 3;
  EXPECT_EQ(array->setAt(array, piece, 1), nullptr);
  EXPECT_EQ(livePieces, 2) << "the first one in the array and the one refused";
  EXPECT_STREQ(ztBaseClassClassName(nullptr, array->getAt(array, 1)), "ztBaseClass");
  EXPECT_EQ(array->getSize(array), 2);
}

TEST_F(ArrayTest, AnObjectThatRefusesToBeClonedIsNotAdded) {
  const Array array = pieceArray({1, 2});
  const PieceObject piece = newPiece(3);
  refusedNumber = 3;
  EXPECT_EQ(array->pushBack(array, piece), nullptr);
  EXPECT_EQ(piecesOf(array), Numbers({1, 2}));
  const Array none = pieceArray({});
  EXPECT_EQ(none->pushBack(none, piece), nullptr);
  EXPECT_EQ(none->getData(none), nullptr);
  EXPECT_EQ(none->getSize(none), 0);
}

TEST_F(ArrayTest, AFileCannotBeAnElement) {
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

TEST_F(ArrayTest, SetAtDestroysTheOldObjectThenClonesTheNewOne) {
  const Array array = pieceArray({1, 2});
  const PieceObject piece = newPiece(3);
  pieceCalls.clear();
  EXPECT_EQ(array->setAt(array, piece, 0), array->getAt(array, 0));
  EXPECT_EQ(pieceCalls, std::vector<std::string>({"destroy", "clone"}));
  EXPECT_EQ(piecesOf(array), Numbers({3, 2}));
}

TEST_F(ArrayTest, SetAtOfTheObjectInTheSlotChangesNothing) {
  const Array array = pieceArray({1, 2});
  pieceCalls.clear();
  EXPECT_EQ(array->setAt(array, array->getAt(array, 1), 1), array->getAt(array, 1));
  EXPECT_TRUE(pieceCalls.empty());
  array->setAt(array, array->getAt(array, 1), 0);
  EXPECT_EQ(piecesOf(array), Numbers({2, 2}));
}

TEST_F(ArrayTest, SetAtOfAnObjectThatCannotBeClonedLeavesANewObject) {
  const Array array = pieceArray({1, 2});
  const PieceObject piece = newPiece(3);
  refusedNumber = 3;
  EXPECT_EQ(array->setAt(array, piece, 1), nullptr);
  EXPECT_EQ(piecesOf(array), Numbers({1, 0}));
}

TEST_F(ArrayTest, RemoveAtAndEmptyDestroyTheObjects) {
  const Array array = pieceArray({1, 2, 3, 4});
  array->removeAt(array, 1);
  EXPECT_EQ(livePieces, 3);
  EXPECT_EQ(piecesOf(array), Numbers({1, 3, 4}));
  array->empty(array);
  EXPECT_EQ(livePieces, 0);
  EXPECT_EQ(array->getData(array), nullptr);
  const Array one = pieceArray({1});
  one->removeAt(one, 0);
  EXPECT_EQ(one->getData(one), nullptr);
  EXPECT_EQ(livePieces, 0);
}

TEST_F(ArrayTest, SetSizeConstructsEverySlot) {
  const Array array = pieceArray({1, 2});
  pieceCalls.clear();
  EXPECT_EQ(array->setSize(array, 3), 1);
  EXPECT_EQ(pieceCalls, std::vector<std::string>({"destroy", "destroy", "create", "create", "create"}));
  EXPECT_EQ(piecesOf(array), Numbers({0, 0, 0}));
}

TEST_F(ArrayTest, ResizeClonesConstructsAndThenDestroys) {
  const Array array = pieceArray({1, 2});
  pieceCalls.clear();
  EXPECT_EQ(array->resize(array, 3), 1);
  EXPECT_EQ(pieceCalls, std::vector<std::string>({"clone", "clone", "create", "destroy", "destroy"}));
  EXPECT_EQ(piecesOf(array), Numbers({1, 2, 0}));
  pieceCalls.clear();
  EXPECT_EQ(array->resize(array, 1), 1);
  EXPECT_EQ(pieceCalls, std::vector<std::string>({"clone", "destroy", "destroy", "destroy"}));
  EXPECT_EQ(piecesOf(array), Numbers({1}));
}

TEST_F(ArrayTest, ResizeThatCannotCloneKeepsTheObjects) {
  const Array array = pieceArray({1, 2, 3});
  refusedNumber = 3;
  EXPECT_EQ(array->resize(array, 5), 0);
  EXPECT_EQ(piecesOf(array), Numbers({1, 2, 3}));
  EXPECT_EQ(array->resize(array, 2), 1);
  EXPECT_EQ(piecesOf(array), Numbers({1, 2}));
}

TEST_F(ArrayTest, ConstructedElementsAreSortedSearchedAndFoundInPlace) {
  const Array array = pieceArray({5, 1, 4, 2, 3});
  array->sort(array, comparePieces);
  EXPECT_EQ(piecesOf(array), Numbers({1, 2, 3, 4, 5}));
  const PieceObject key = newPiece(4);
  EXPECT_EQ(array->search(array, key, comparePieces), array->getAt(array, 3));
  array->setCompareFunction(array, comparePieces);
  EXPECT_EQ(array->find(array, key), array->getAt(array, 3));
}

// Copies ------------------------------------------------------------------------------------------

TEST_F(ArrayTest, CloneIsIndependent) {
  const Array array = intArray({1, 2, 3});
  array->setCompareFunction(array, ztIntArray_compare_func);
  array->ref(array);
  const Array copy = array.copy();
  EXPECT_NE(copy->getData(copy), array->getData(array));
  EXPECT_EQ(copy.fields().itemManager, static_cast<void *>(copy));
  EXPECT_EQ(copy.fields().compareFunction, &ztIntArray_compare_func);
  const int32_t nine = 9;
  copy->setAt(copy, &nine, 0);
  copy->pushBack(copy, &nine);
  EXPECT_EQ(intsOf(array), Numbers({1, 2, 3}));
  EXPECT_EQ(intsOf(copy), Numbers({9, 2, 3, 9}));
  EXPECT_EQ(copy.fields().refCount, 2);
}

TEST_F(ArrayTest, CloneOfAnEmptyArrayHasNoBlock) {
  const Array copy = intArray({}).copy();
  EXPECT_EQ(copy->getData(copy), nullptr);
  EXPECT_EQ(copy->getSize(copy), 0);
}

TEST_F(ArrayTest, CloneCopiesObjectsByTheirClass) {
  const Array array = pieceArray({1, 2});
  {
    const Array copy = array.copy();
    EXPECT_EQ(piecesOf(copy), Numbers({1, 2}));
    EXPECT_EQ(livePieces, 4);
    copy->removeAt(copy, 0);
    EXPECT_NE(static_cast<Piece *>(copy->getAt(copy, 0))->owned,
              static_cast<Piece *>(array->getAt(array, 1))->owned);
  }
  EXPECT_EQ(piecesOf(array), Numbers({1, 2}));
}

TEST_F(ArrayTest, CloneSharesThePointers) {
  const int32_t target = 1;
  const Array array = pointerArray(8, {&target});
  const Array copy = array.copy();
  EXPECT_EQ(copy->getAt(copy, 0), &target);
}

TEST_F(ArrayTest, CloneThatCannotCopyAnObjectGivesNull) {
  const Array array = pieceArray({1, 2, 3});
  refusedNumber = 3;
  ztArray target;
  ztArray_ctor(&target, 0);
  EXPECT_EQ(array->clone(array, &target), nullptr);
  EXPECT_EQ(livePieces, 3);
}

TEST_F(ArrayTest, AssignCopiesAsManyElementsAsBothHold) {
  const Array array = intArray({1, 2, 3});
  const Array shorter = intArray({7});
  const Array longer = intArray({4, 5, 6, 7});
  EXPECT_EQ(array->assign(array, shorter), 1);
  EXPECT_EQ(intsOf(array), Numbers({7, 2, 3}));
  EXPECT_EQ(array->assign(array, longer), 1);
  EXPECT_EQ(intsOf(array), Numbers({4, 5, 6}));
  EXPECT_EQ(array->assign(array, array), 1);
  EXPECT_EQ(intsOf(array), Numbers({4, 5, 6}));
  const Array none = intArray({});
  EXPECT_EQ(none->assign(none, array), 1);
  EXPECT_EQ(none->getSize(none), 0);
  EXPECT_EQ(array->assign(array, none), 1);
  EXPECT_EQ(intsOf(array), Numbers({4, 5, 6}));
}

TEST_F(ArrayTest, AssignNeedsAgreeingElements) {
  const Array array = intArray({1, 2});
  const Array bytes(ztCharArray_ctor);
  EXPECT_EQ(bytes->setSize(bytes, 2), 1);
  EXPECT_EQ(array->assign(array, bytes), 0);
  EXPECT_EQ(intsOf(array), Numbers({1, 2}));
  const Array pieces = pieceArray({1});
  const Array raw(ztArray_ctor);
  raw->setElementSize(raw, sizeof(Piece), 0);
  raw->setSize(raw, 1);
  EXPECT_EQ(pieces->assign(pieces, raw), 0);
  EXPECT_EQ(piecesOf(pieces), Numbers({1}));
}

TEST_F(ArrayTest, AssignOfObjectsAssignsEach) {
  const Array array = pieceArray({1, 2, 3});
  const Array other = pieceArray({8, 9});
  EXPECT_EQ(array->assign(array, other), 1);
  EXPECT_EQ(piecesOf(array), Numbers({8, 9, 3}));
  EXPECT_EQ(*static_cast<Piece *>(array->getAt(array, 0))->owned, 8);
}

TEST_F(ArrayTest, AssignGivesAnObjectOfAnotherClassOnlyWhatBothHave) {
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
  const Array pieces = pieceArray({1, 2});
  const Array twins = pieceArray({});
  ASSERT_NE(twins->pushBack(twins, newPiece(8, PieceTwin_ctor)), nullptr);
  EXPECT_EQ(pieces->assign(pieces, twins), 1);
  EXPECT_EQ(piecesOf(pieces), Numbers({8, 2}));
  EXPECT_EQ(twins->assign(twins, pieceArray({9})), 1);
  EXPECT_EQ(piecesOf(twins), Numbers({9}));
}

// Calls among the methods -------------------------------------------------------------------------

TEST_F(ArrayTest, SearchLooksThroughTheSizeThatTheArrayTells) {
  const Array array(WatchedArray_ctor);
  array->setElementSize(array, sizeof(int32_t), 0);
  for (const int32_t number : {1, 2, 3}) array->pushBack(array, &number);
  const int32_t three = 3;
  EXPECT_EQ(array->search(array, &three, ztIntArray_compare_func), array->getAt(array, 2));
  for (const int32_t hidden : {1, 3, 4}) {
    sizeHidden = hidden;
    EXPECT_EQ(array->search(array, &three, ztIntArray_compare_func), nullptr) << hidden;
  }
}

TEST_F(ArrayTest, OperationsReachEachOtherThroughTheMethodTable) {
  using Calls = std::vector<std::string>;
  const int32_t one = 1;
  const int32_t two = 2;
  Array array(WatchedArray_ctor);
  array->setElementSize(array, sizeof(int32_t), 0);
  ztCompareFunc never = [](const void *, const void *) -> int32_t { return 0; };
  const auto calls = [] {
    Calls made;
    made.swap(arrayCalls);
    return made;
  };

  EXPECT_EQ(array->pushBackUnique(array, &one, never), 1);
  EXPECT_EQ(calls(), Calls({"pushBack"}));
  EXPECT_EQ(array->pushBackUnique(array, &two, never), 1);
  EXPECT_EQ(calls(), Calls({"getAt 0", "pushBack"}));
  array->getFront(array);
  array->getBack(array);
  EXPECT_EQ(calls(), Calls({"getAt 0", "getAt 1"}));
  array->search(array, &one, ztIntArray_compare_func);
  EXPECT_EQ(calls(), Calls({"getSize", "getData"}));
  array->resize(array, 0);
  EXPECT_EQ(calls(), Calls({"empty"}));
  array->resize(array, 2);
  EXPECT_EQ(calls(), Calls({"setSize 2", "empty"}));
  array->setSize(array, 2);
  EXPECT_EQ(calls(), Calls({"setSize 2"}));
  const Storage file;
  array->write(array, file);
  file->goToBegin(file);
  array->setSize(array, 0);
  calls();
  array->read(array, file);
  EXPECT_EQ(calls(), Calls({"setSize 2", "empty"}));
  array = Array(WatchedArray_ctor);
  EXPECT_EQ(calls(), Calls({"empty"}));
}

// The stored form ---------------------------------------------------------------------------------

TEST_F(ArrayTest, WritesTheCountAndTheElements) {
  const Storage file;
  const Array array = intArray({1, -1});
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(file.bytes(), std::string("\2\0\0\0\1\0\0\0\xff\xff\xff\xff", 12));
  const Array other = intArray({5});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(intsOf(other), Numbers({1, -1}));
}

TEST_F(ArrayTest, WritesObjectsByTheirClass) {
  const Storage file;
  const Array array = pieceArray({3, 4});
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(file.bytes(), std::string("\2\0\0\0\3\0\0\0\4\0\0\0", 12));
  const Array other = pieceArray({5});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(piecesOf(other), Numbers({3, 4}));
}

TEST_F(ArrayTest, WritesThePointersThemselves) {
  const Storage file;
  const int32_t target = 1;
  const Array array = pointerArray(8, {&target});
  EXPECT_EQ(array->write(array, file), 1);
  const void *stored = nullptr;
  ASSERT_EQ(file.bytes().size(), 12U);
  memcpy(&stored, file.bytes().data() + 4, sizeof stored);
  EXPECT_EQ(stored, &target);
  const Array other = pointerArray(8, {});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(other->getAt(other, 0), &target);
}

TEST_F(ArrayTest, AnEmptyArrayIsStoredAsItsCount) {
  const Storage file;
  const Array array = intArray({});
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(file.bytes(), std::string(4, '\0'));
  const Array other = intArray({1, 2});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(other->getSize(other), 0);
}

TEST_F(ArrayTest, AFileThatCannotBeWrittenOrReadGivesZero) {
  const Storage file;
  file->close(file);
  const Array array = intArray({1});
  EXPECT_EQ(array->write(array, file), 0);
  EXPECT_EQ(array->read(array, file), 0);
  EXPECT_EQ(intsOf(array), Numbers({1}));
}

TEST_F(ArrayTest, ATruncatedFileLeavesZeros) {
  const Storage file;
  const Array array = intArray({0x01010101, 0x02020202, 0x03030303});
  array->write(array, file);
  const std::string whole = file.bytes();
  for (size_t length = 0; length < whole.size(); ++length) {
    file.hold(whole.substr(0, length));
    const Array other = intArray({9, 9});
    if (length < 4) {
      EXPECT_EQ(other->read(other, file), 0);
      EXPECT_EQ(intsOf(other), Numbers({9, 9}));
      continue;
    }
    EXPECT_EQ(other->read(other, file), 1);
    std::string expected = whole.substr(4, length - 4);
    expected.resize(12, '\0');
    ASSERT_EQ(other->getSize(other), 3);
    EXPECT_EQ(memcmp(other->getData(other), expected.data(), 12), 0) << length;
  }
}

TEST_F(ArrayTest, ATruncatedFileLeavesZerosInAnArrayOfTheSameCount) {
  const Storage file;
  const Array array = intArray({1, 2, 3});
  array->write(array, file);
  file.hold(file.bytes().substr(0, 8));
  const Array other = intArray({9, 9, 9});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(intsOf(other), Numbers({1, 0, 0}));
}

TEST_F(ArrayTest, ATruncatedFileLeavesTheObjectsOfAnArrayOfTheSameCount) {
  const Storage file;
  const Array array = pieceArray({1, 2, 3});
  array->write(array, file);
  file.hold(file.bytes().substr(0, 8));
  const Array other = pieceArray({7, 8, 9});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(piecesOf(other), Numbers({1, 8, 9}));
}

TEST_F(ArrayTest, ATruncatedFileLeavesNewObjects) {
  const Storage file;
  const Array array = pieceArray({1, 2, 3});
  array->write(array, file);
  const std::string whole = file.bytes();
  for (size_t length = 4; length < whole.size(); length += 4) {
    file.hold(whole.substr(0, length));
    const Array other = pieceArray({});
    EXPECT_EQ(other->read(other, file), 1);
    Numbers expected = {1, 2, 3};
    for (size_t i = length / 4 - 1; i < 3; ++i) expected[i] = 0;
    EXPECT_EQ(piecesOf(other), expected);
  }
}

TEST_F(ArrayTest, ADamagedFileLeavesAUsableArray) {
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

TEST_F(ArrayTest, ACountPastTheFileIsRefusedAndTheArrayKept) {
  const Storage file;
  for (const int32_t count : {-1, INT_MIN, 65537, INT_MAX}) {
    file.hold(std::string(100, 'x'));
    file->writeInt(file, count);
    file->goToBegin(file);
    const Array array = intArray({1, 2});
    EXPECT_EQ(array->read(array, file), 0) << count;
    EXPECT_EQ(intsOf(array), Numbers({1, 2}));
    const Array pieces = pieceArray({3});
    file->goToBegin(file);
    EXPECT_EQ(pieces->read(pieces, file), 0);
    EXPECT_EQ(piecesOf(pieces), Numbers({3}));
  }
}

TEST_F(ArrayTest, ASmallCountPastTheFileIsTaken) {
  const Storage file;
  file->writeInt(file, 16384);
  file->goToBegin(file);
  const Array array = intArray({});
  EXPECT_EQ(array->read(array, file), 1);
  EXPECT_EQ(intsOf(array), Numbers(16384, 0));
}

TEST_F(ArrayTest, ALargeCountThatTheFileHoldsIsTaken) {
  const Storage file;
  const Array array(ztCharArray_ctor);
  array->setSize(array, 70000);
  memset(array->getData(array), 'a', 70000);
  file->writeInt(file, 7);
  array->write(array, file);
  file->writeInt(file, 8);
  file->goToBegin(file);
  int32_t around = 0;
  file->readInt(file, &around);
  const Array other(ztCharArray_ctor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(other->getSize(other), 70000);
  EXPECT_EQ(memcmp(other->getData(other), array->getData(array), 70000), 0);
  EXPECT_EQ(file->readInt(file, &around), 1);
  EXPECT_EQ(around, 8);
}

TEST_F(ArrayTest, AStreamThatCannotSeekIsTakenAtItsWordUpTo64Kilobytes) {
  for (const int steps : {0, 1, 2}) {
    const Storage file(PipeFile_ctor);
    file->writeInt(file, 60000);
    file->writeBuf(file, 3, "abc");
    file->goToBegin(file);
    tellsThatSucceed = steps > 0;  // where it stands
    seeksThatSucceed = steps > 1;  // but not where its end is
    const Array array(ztCharArray_ctor);
    EXPECT_EQ(array->read(array, file), 1) << steps;
    EXPECT_EQ(array->getSize(array), 60000);
    EXPECT_STREQ(static_cast<char *>(array->getData(array)), "abc");
  }
}

TEST_F(ArrayTest, AStreamThatHasEndedIsAskedForNoMoreElements) {
  const Storage file(PipeFile_ctor);
  file->writeInt(file, 60000);
  file->writeBuf(file, 3, "abc");
  file->goToBegin(file);
  const Array array(ztCharArray_ctor);
  buffersRead = 0;
  EXPECT_EQ(array->read(array, file), 1);
  EXPECT_EQ(array->getSize(array), 60000);
  EXPECT_EQ(buffersRead, 4);
  EXPECT_STREQ(static_cast<char *>(array->getData(array)), "abc");
}

TEST_F(ArrayTest, TextFormReadsBack) {
  const Storage file(ztTextFile_ctor);
  const Array array = pieceArray({3, -4});
  EXPECT_EQ(array->write(array, file), 1);
  EXPECT_EQ(file.bytes(), "2\n3\n-4\n");
  const Array other = pieceArray({});
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(piecesOf(other), Numbers({3, -4}));
}

TEST_F(ArrayTest, ALargeCountInTextFormIsHeldAgainstTheFile) {
  const Storage file(ztTextFile_ctor);
  const Array array(ztCharArray_ctor);
  array->setSize(array, 70000);
  memset(array->getData(array), 'a', 70000);
  array->write(array, file);
  file->goToBegin(file);
  const Array other(ztCharArray_ctor);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(other->getSize(other), 70000);
  EXPECT_EQ(memcmp(other->getData(other), array->getData(array), 70000), 0);
  file.hold("70000\na\n");
  EXPECT_EQ(array->read(array, file), 0);
  EXPECT_EQ(array->getSize(array), 70000);
}

TEST_F(ArrayTest, AnArrayCanBeReadByItsIdentity) {
  const Storage file;
  const Array array(ztIntArray_ctor);
  const int32_t five = 5;
  array->pushBack(array, &five);
  ztBaseClass_functions()->classWrite(nullptr, array, file);
  array->write(array, file);
  file->goToBegin(file);
  const Array other(ztBaseClass_functions()->classRead(nullptr, file));
  EXPECT_EQ(ztArrayIsClass(nullptr, other, "ztIntArray"), 1);
  EXPECT_EQ(other->read(other, file), 1);
  EXPECT_EQ(intsOf(other), Numbers({5}));
}

// Exhausted memory --------------------------------------------------------------------------------

namespace {

// Runs an operation with every one of its allocations failing in turn. Each failure must leave the
// array as it was, unless the operation gives no result by which to tell.
template <typename Operation>
void failEachAllocation(const Numbers &before, const Numbers &after, Operation operation) {
  for (int succeeding = 0;; ++succeeding) {
    const Array array = pieceArray(before);
    const PieceObject piece = newPiece(9);
    const Fault fault(succeeding);
    const bool done = operation(array, piece);
    if (!fault.end()) {
      EXPECT_TRUE(done);
      EXPECT_EQ(piecesOf(array), after);
      EXPECT_GT(succeeding, 0);
      return;
    }
    EXPECT_FALSE(done);
    EXPECT_EQ(piecesOf(array), before);
  }
}

}  // namespace

TEST_F(ArrayTest, PushBackWithoutMemoryChangesNothing) {
  failEachAllocation({1, 2}, {1, 2, 9}, [](const Array &array, const PieceObject &piece) {
    return array->pushBack(array, piece) != nullptr;
  });
  failEachAllocation({}, {9}, [](const Array &array, const PieceObject &piece) {
    ztCompareFunc never = [](const void *, const void *) -> int32_t { return 0; };
    return array->pushBackUnique(array, piece, never) != 0;
  });
}

TEST_F(ArrayTest, RemoveAtWithoutMemoryChangesNothing) {
  failEachAllocation({1, 2, 3}, {1, 3}, [](const Array &array, const PieceObject &) {
    array->removeAt(array, 1);
    return array->getSize(array) == 2;
  });
}

TEST_F(ArrayTest, SizesWithoutMemoryChangeNothing) {
  failEachAllocation({1, 2, 3}, {1},
                     [](const Array &array, const PieceObject &) { return array->resize(array, 1) != 0; });
  const Array numbers = intArray({1, 2, 3});
  for (const int32_t count : {1, 5}) {
    const Fault fault(0);
    EXPECT_EQ(numbers->resize(numbers, count), 0);
    EXPECT_TRUE(fault.end());
    EXPECT_EQ(intsOf(numbers), Numbers({1, 2, 3}));
  }
  const Fault fault(0);
  EXPECT_EQ(numbers->setSize(numbers, 5), 0);
  EXPECT_TRUE(fault.end());
  EXPECT_EQ(intsOf(numbers), Numbers({1, 2, 3}));
}

// What `create` could not finish is for the element class to tell; the array itself has its size.
TEST_F(ArrayTest, SlotsWhoseCreateFailsCanBeReleased) {
  const Array array = pieceArray({});
  const Fault fault(1);
  EXPECT_EQ(array->setSize(array, 3), 1);
  EXPECT_TRUE(fault.end());
  EXPECT_EQ(array->getSize(array), 3);
  EXPECT_EQ(static_cast<Piece *>(array->getAt(array, 0))->owned, nullptr);
}

TEST_F(ArrayTest, CloneWithoutMemoryGivesNullAndLeavesNothing) {
  const Array array = pieceArray({1, 2, 3});
  for (int succeeding = 0; succeeding < 4; ++succeeding) {
    ztArray target;
    ztArray_ctor(&target, 0);
    const Fault fault(succeeding);
    EXPECT_EQ(array->clone(array, &target), nullptr);
    EXPECT_TRUE(fault.end());
    EXPECT_EQ(livePieces, 3);
  }
  EXPECT_EQ(piecesOf(array), Numbers({1, 2, 3}));
}

TEST_F(ArrayTest, ReadWithoutMemoryKeepsTheElements) {
  const Storage file;
  const Array array = intArray({1, 2});
  array->write(array, file);
  file->goToBegin(file);
  const Array other = intArray({5});
  const Fault fault(0);
  EXPECT_EQ(other->read(other, file), 0);
  EXPECT_TRUE(fault.end());
  EXPECT_EQ(intsOf(other), Numbers({5}));
}

// Random operations against a model ---------------------------------------------------------------

namespace {

enum class Kept { byValue, byPointer, constructed };

class ArrayModel : public ArrayTest, public testing::WithParamInterface<Kept> {
 protected:
  ArrayModel() : array(ztArray_ctor), pool(1000) {
    for (size_t i = 0; i < pool.size(); ++i) pool[i] = static_cast<int32_t>(i);
    const Kept kept = GetParam();
    if (kept == Kept::constructed) array->setElementConstructor(array, Piece_ctor);
    const int32_t size = kept == Kept::byValue     ? int32_t{sizeof(int32_t)}
                         : kept == Kept::byPointer ? int32_t{sizeof(void *)}
                                                   : int32_t{sizeof(Piece)};
    array->setElementSize(array, size, kept == Kept::byPointer);
    array->setCompareFunction(array, kept == Kept::constructed ? comparePieces : ztIntArray_compare_func);
  }

  void TearDown() override {
    array->empty(array);
    ArrayTest::TearDown();
  }

  void step() {
    const auto size = static_cast<uint32_t>(model.size());
    const auto index = static_cast<int32_t>(size == 0 ? 0 : random() % size);
    const auto number = static_cast<int32_t>(random() % pool.size());
    switch (random() % 12) {
      case 0:
      case 1:
      case 2:
        with(number, [&](const void *element) { array->pushBack(array, element); });
        model.push_back(number);
        break;
      case 3:
        if (size == 0) break;
        array->pushBack(array, array->getAt(array, index));
        model.push_back(model[static_cast<size_t>(index)]);
        break;
      case 4:
      case 5:
        array->removeAt(array, index);
        if (size > 0) model.erase(model.begin() + index);
        break;
      case 6:
        with(number, [&](const void *element) { array->setAt(array, element, index); });
        if (size > 0) model[static_cast<size_t>(index)] = number;
        break;
      case 7:
        if (size == 0) break;
        array->setAt(array, array->getAt(array, 0), index);
        model[static_cast<size_t>(index)] = model[0];
        break;
      case 8:
        resize(static_cast<int32_t>(random() % 40));
        break;
      case 9:
        copyAndGoOn();
        break;
      case 10:
        find(number);
        break;
      default:
        if (random() % 10 == 0) {
          array->empty(array);
          model.clear();
        }
        break;
    }
  }

  void check() const {
    ASSERT_EQ(array->getSize(array), static_cast<int32_t>(model.size()));
    ASSERT_EQ(array->isEmpty(array), model.empty());
    ASSERT_EQ(array->getData(array) == nullptr, model.empty());
    for (size_t i = 0; i < model.size(); ++i) {
      ASSERT_EQ(numberOf(array->getAt(array, static_cast<int32_t>(i))), model[i]) << i;
    }
    if (model.empty()) return;
    ASSERT_EQ(numberOf(array->getFront(array)), model.front());
    ASSERT_EQ(numberOf(array->getBack(array)), model.back());
    if (GetParam() == Kept::constructed) {
      ASSERT_EQ(livePieces, static_cast<int>(model.size()));
    }
  }

 private:
  template <typename Use>
  void with(int32_t number, Use use) {
    if (GetParam() != Kept::constructed) return use(&pool[static_cast<size_t>(number)]);
    const PieceObject piece = newPiece(number);
    use(piece);
  }

  // New elements are 0, of which a NULL pointer is the stored form.
  int32_t numberOf(const void *element) const {
    if (GetParam() == Kept::constructed) return static_cast<const Piece *>(element)->number;
    return element == nullptr ? 0 : *static_cast<const int32_t *>(element);
  }

  void resize(int32_t count) {
    if (random() % 3 == 0) {
      const bool kept = static_cast<size_t>(count) == model.size() && count != 0;
      ASSERT_EQ(array->setSize(array, count), 1);
      if (!kept) model.assign(static_cast<size_t>(count), 0);
    } else {
      ASSERT_EQ(array->resize(array, count), 1);
      model.resize(static_cast<size_t>(count), 0);
    }
  }

  void copyAndGoOn() {
    array = array.copy();
  }

  void find(int32_t number) {
    if (GetParam() == Kept::byPointer) return;
    with(number, [&](const void *key) {
      const void *found = array->find(array, key);
      const auto expected = std::find(model.begin(), model.end(), number);
      ASSERT_EQ(found != nullptr, expected != model.end());
      if (found != nullptr) {
        ASSERT_EQ(found, array->getAt(array, static_cast<int32_t>(expected - model.begin())));
      }
    });
  }

  Array array;
  Numbers pool;
  Numbers model;
  std::mt19937 random{20240611};
};

}  // namespace

TEST_P(ArrayModel, RandomOperationsAgreeWithAVector) {
  const int operations = scale(60000);
  for (int i = 0; i < operations; ++i) {
    step();
    check();
    if (HasFatalFailure()) return;
    pieceCalls.clear();
  }
}

INSTANTIATE_TEST_SUITE_P(Policies, ArrayModel,
                         testing::Values(Kept::byValue, Kept::byPointer, Kept::constructed),
                         [](const testing::TestParamInfo<Kept> &kept) -> std::string {
                           if (kept.param == Kept::byValue) return "ByValue";
                           return kept.param == Kept::byPointer ? "ByPointer" : "Constructed";
                         });
