#include "containers/ztlists.h"

#include "core/ztmem.h"
#include "io/ztstring.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

#include <string>

namespace {

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

void *word(uintptr_t value) {
  return reinterpret_cast<void *>(value);
}

void *newString(const char *text) {
  void *string = ztString_ctor(nullptr, 1);
  ztString_of(string)->set(string, text);
  return string;
}

std::string textOf(const void *string) {
  return ztString_of(string)->get(string);
}

}  // namespace

TEST(TypedLists, AreListsThatOnlyConfigure) {
  struct {
    ztCtor constructor;
    const char *name;
  } const classes[] = {
      {ztIntList_ctor, "ztIntList"}, {ztStringList_ctor, "ztStringList"}, {ztPtrList_ctor, "ztPtrList"}};
  for (const auto &row : classes) {
    void *list = row.constructor(nullptr, 1);
    const ztClass *klass = ztOOP_classOf(list);
    EXPECT_STREQ(klass->name, row.name);
    EXPECT_STREQ(klass->parent->name, "ztList");
    EXPECT_EQ(klass->instanceSize, int32_t{sizeof(ztList)});
    EXPECT_EQ(ztList_of(list)->getSize(list), 0);
    EXPECT_EQ(static_cast<ztList *>(list)->itemConstructor, ztListItem_ctor);
    release(list);

    void *named = ztNewFromName(row.name);
    ASSERT_NE(named, nullptr) << row.name;
    EXPECT_EQ(ztOOP_classOf(named), klass);
    release(named);
  }
}

// Integers ----------------------------------------------------------------------------------------

TEST(IntList, KeepsFourBytesByValue) {
  auto *list = static_cast<ztIntList *>(ztIntList_ctor(nullptr, 1));
  EXPECT_EQ(list->elementSize, 4);
  EXPECT_EQ(list->byPointer, 0U);
  EXPECT_EQ(list->elementConstructor, nullptr);
  EXPECT_EQ(list->compareFunction, ztIntList_compare_func);
  release(list);
}

TEST(IntList, FindsByValue) {
  void *list = ztIntList_ctor(nullptr, 1);
  const ztIntListMethods *methods = ztIntList_of(list);
  for (const int32_t number : {INT_MIN, -1, 0, INT_MAX}) methods->pushBack(list, &number);
  for (const int32_t number : {INT_MAX, 0, -1, INT_MIN}) {
    const ztListItem *item = methods->find(list, &number);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(*static_cast<const int32_t *>(item->data), number);
    EXPECT_NE(item->data, &number);
  }
  const int32_t missing = 1;
  EXPECT_EQ(methods->find(list, &missing), nullptr);
  release(list);
}

TEST(IntList, PopBackFreesTheCopyAndPopFrontHandsItOver) {
  void *list = ztIntList_ctor(nullptr, 1);
  for (int32_t number = 1; number <= 3; ++number) ztIntList_of(list)->pushBack(list, &number);
  void *first = ztIntList_of(list)->getFront(list);
  ztIntList_of(list)->popFront(list);
  EXPECT_EQ(*static_cast<int32_t *>(first), 1);
  ztm_free(first);
  ztIntList_of(list)->popBack(list);
  EXPECT_EQ(*static_cast<int32_t *>(ztIntList_of(list)->getBack(list)), 2);
  release(list);
}

TEST(IntList, CompareFunctionsOrderSignedValues) {
  const int32_t values[] = {INT_MIN, -1, 0, 1, INT_MAX};
  for (size_t i = 0; i < 5; ++i) {
    for (size_t j = 0; j < 5; ++j) {
      const int32_t expected = i == j ? 0 : i > j ? 1 : -1;
      EXPECT_EQ(ztIntList_compare_func(&values[i], &values[j]), expected);
      // The upper half of the word does not count.
      const uintptr_t first = static_cast<uint32_t>(values[i]) | uintptr_t{7} << 32;
      const uintptr_t second = static_cast<uint32_t>(values[j]) | uintptr_t{5} << 32;
      EXPECT_EQ(ztIntList_compare_func_ptr(word(first), word(second)), expected);
    }
  }
}

TEST(IntList, AddressThatIsMissingSortsFirst) {
  const int32_t value = INT_MIN;
  EXPECT_EQ(ztIntList_compare_func(nullptr, &value), -1);
  EXPECT_EQ(ztIntList_compare_func(&value, nullptr), 1);
  EXPECT_EQ(ztIntList_compare_func(nullptr, nullptr), 0);
}

// Strings -----------------------------------------------------------------------------------------

TEST(StringList, KeepsStringObjects) {
  auto *list = static_cast<ztStringList *>(ztStringList_ctor(nullptr, 1));
  EXPECT_EQ(list->elementSize, int32_t{sizeof(ztString)});
  EXPECT_EQ(list->byPointer, 0U);
  EXPECT_EQ(list->elementConstructor, ztString_ctor);
  EXPECT_EQ(list->compareFunction, ztStringList_compare_func);
  release(list);
}

TEST(StringList, HoldsStringsOfItsOwn) {
  void *list = ztStringList_ctor(nullptr, 1);
  void *string = newString("one");
  ztStringList_of(list)->pushBack(list, string);
  ztString_of(string)->set(string, "two");
  ztStringList_of(list)->pushBack(list, string);
  EXPECT_EQ(ztString_of(string)->getRefCount(string), 1);
  release(string);
  EXPECT_EQ(textOf(ztStringList_of(list)->getFront(list)), "one");
  EXPECT_EQ(textOf(ztStringList_of(list)->getBack(list)), "two");
  release(list);
}

TEST(StringList, TakesTheScratchStringAgainAndAgain) {
  void *list = ztStringList_ctor(nullptr, 1);
  for (const char *text : {"red", "green", "blue"}) {
    ztStringList_of(list)->pushBack(list, ztString_functions()->newString(nullptr, text));
  }
  EXPECT_EQ(textOf(ztStringList_of(list)->getAt(list, 0)), "red");
  EXPECT_EQ(textOf(ztStringList_of(list)->getAt(list, 1)), "green");
  EXPECT_EQ(textOf(ztStringList_of(list)->getAt(list, 2)), "blue");
  const ztListItem *found =
      ztStringList_of(list)->find(list, ztString_functions()->newString(nullptr, "green"));
  EXPECT_EQ(found, ztStringList_of(list)->getItemAt(list, 1));
  EXPECT_EQ(ztStringList_of(list)->find(list, ztString_functions()->newString(nullptr, "Green")), nullptr);
  release(list);
}

TEST(StringList, CopyHoldsNewStringsEqualToTheSources) {
  auto *list = static_cast<ztStringList *>(ztStringList_ctor(nullptr, 1));
  for (const char *text : {"red", "", "blue"}) {
    ztStringList_of(list)->pushBack(list, ztString_functions()->newString(nullptr, text));
  }
  auto *copy = static_cast<ztStringList *>(ztStringList_newop());
  ASSERT_EQ(ztStringList_of(list)->clone(list, copy), copy);
  ASSERT_EQ(copy->count, 3U);
  for (int32_t i = 0; i < 3; ++i) {
    void *original = ztStringList_of(list)->getAt(list, i);
    void *copied = ztStringList_of(copy)->getAt(copy, i);
    EXPECT_NE(copied, original);
    EXPECT_EQ(ztString_of(copied)->isEqual(copied, original), 1);
    EXPECT_NE(ztString_of(copied)->get(copied), ztString_of(original)->get(original));
  }
  release(list);
  EXPECT_EQ(textOf(ztStringList_of(copy)->getBack(copy)), "blue");
  release(copy);
}

TEST(StringList, PopFrontHandsTheStringOver) {
  void *list = ztStringList_ctor(nullptr, 1);
  ztStringList_of(list)->pushBack(list, ztString_functions()->newString(nullptr, "kept"));
  void *string = ztStringList_of(list)->getFront(list);
  ztStringList_of(list)->popFront(list);
  release(list);
  EXPECT_EQ(textOf(string), "kept");
  EXPECT_EQ(ztString_of(string)->getRefCount(string), 1);
  release(string);
}

TEST(StringList, CompareFunctionsOrderByBytes) {
  const char *const texts[] = {"", "B", "Ba", "a", "\xff"};
  for (size_t i = 0; i < 5; ++i) {
    for (size_t j = 0; j < 5; ++j) {
      void *first = newString(texts[i]);
      void *second = newString(texts[j]);
      const int32_t expected = i == j ? 0 : i > j ? 1 : -1;
      EXPECT_EQ(ztStringList_compare_func(first, second), expected) << i << ' ' << j;
      EXPECT_EQ(ztStringList_compare_func_ptr(first, second), expected) << i << ' ' << j;
      release(first);
      release(second);
    }
  }
}

// A string whose order is its host's: by length alone.
#define LengthString_FIELDS ztString_FIELDS
#define LengthString_METHODS ztString_METHODS
ZT_DECLARE_CLASS(LengthString)

static int32_t lengthStringIsEqual(const void *object, const void *other) {
  return ztString_of(object)->length(object) == ztString_of(other)->length(other);
}

static int32_t lengthStringIsMajor(const void *object, const void *other) {
  return ztString_of(object)->length(object) > ztString_of(other)->length(other) ? 5 : 0;
}

static void lengthStringMethods(LengthStringMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, isEqual, lengthStringIsEqual);
  ZT_OVERRIDE_METHOD(methods, isMajor, lengthStringIsMajor);
}

ZT_DEFINE_CLASS(LengthString, ztString, lengthStringMethods)

TEST(StringList, ComparesWithTheFirstStringsOwnMethods) {
  void *own = LengthString_ctor(nullptr, 1);
  ztString_of(own)->set(own, "xyz");
  void *same = newString("abc");
  void *longer = newString("aaaa");
  void *shorter = newString("zz");
  EXPECT_EQ(ztStringList_compare_func(own, same), 0);
  EXPECT_EQ(ztStringList_compare_func(own, longer), -1);
  EXPECT_EQ(ztStringList_compare_func(own, shorter), 1);
  EXPECT_EQ(ztStringList_compare_func(same, own), -1) << "the plain string compares by bytes";
  for (void *string : {own, same, longer, shorter}) release(string);
}

// Pointers ----------------------------------------------------------------------------------------

TEST(PtrList, KeepsPointersAndComparesThemThemselves) {
  auto *list = static_cast<ztPtrList *>(ztPtrList_ctor(nullptr, 1));
  EXPECT_EQ(list->elementSize, 8);
  EXPECT_EQ(list->byPointer, 1U);
  EXPECT_EQ(list->elementConstructor, nullptr);
  EXPECT_EQ(list->compareFunction, ztPtrList_compare_func_ptr);
  release(list);
}

TEST(PtrList, FindsTheVeryPointer) {
  void *list = ztPtrList_ctor(nullptr, 1);
  const ztPtrListMethods *methods = ztPtrList_of(list);
  int32_t numbers[3] = {1, 1, 1};
  for (const int32_t &number : numbers) methods->pushBack(list, &number);
  EXPECT_EQ(methods->find(list, &numbers[1]), methods->getItemAt(list, 1));
  EXPECT_EQ(methods->getAt(list, 2), &numbers[2]);
  const int32_t equal = 1;
  EXPECT_EQ(methods->find(list, &equal), nullptr);
  EXPECT_EQ(methods->find(list, nullptr), nullptr);
  methods->pushBack(list, nullptr);
  EXPECT_EQ(methods->find(list, nullptr), methods->getItemAt(list, 3));
  release(list);
}

TEST(PtrList, NeverFreesWhatItPointsTo) {
  int32_t *block = static_cast<int32_t *>(ztm_alloc(4));
  *block = 9;
  void *list = ztPtrList_ctor(nullptr, 1);
  for (int i = 0; i < 4; ++i) ztPtrList_of(list)->pushBack(list, block);
  ztPtrList_of(list)->popFront(list);
  ztPtrList_of(list)->popBack(list);
  ztPtrList_of(list)->removeItem(list, ztPtrList_of(list)->getItemAt(list, 1));
  void *copy = ztPtrList_newop();
  ztPtrList_of(list)->clone(list, copy);
  EXPECT_EQ(ztPtrList_of(copy)->getFront(copy), block);
  release(copy);
  release(list);
  EXPECT_EQ(*block, 9);
  ztm_free(block);
}

TEST(PtrList, CompareFunctionsOrderUnsignedAddresses) {
  void *const pointers[] = {nullptr, word(1), word(0x7fffffffffffffff), word(0x8000000000000000),
                            word(UINTPTR_MAX)};
  for (size_t i = 0; i < 5; ++i) {
    for (size_t j = 0; j < 5; ++j) {
      const int32_t expected = i == j ? 0 : i > j ? 1 : -1;
      EXPECT_EQ(ztPtrList_compare_func(&pointers[i], &pointers[j]), expected) << i << ' ' << j;
      EXPECT_EQ(ztPtrList_compare_func_ptr(pointers[i], pointers[j]), expected) << i << ' ' << j;
    }
  }
}

// A list of pointers that keeps copies of them after all.
#define PtrCopyList_FIELDS ztPtrList_FIELDS
#define PtrCopyList_METHODS ztPtrList_METHODS
ZT_DECLARE_CLASS(PtrCopyList)

static void ptrCopyListSetElementSize(void *object, int32_t size, uint32_t) {
  ztPtrList_table()->setElementSize(object, size, 0);
}

static void ptrCopyListMethods(PtrCopyListMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, setElementSize, ptrCopyListSetElementSize);
}

ZT_DEFINE_CLASS(PtrCopyList, ztPtrList, ptrCopyListMethods)

TEST(PtrList, SubclassThatKeepsCopiesComparesByAddressOfThem) {
  auto *list = static_cast<PtrCopyList *>(PtrCopyList_ctor(nullptr, 1));
  EXPECT_EQ(list->compareFunction, ztPtrList_compare_func);
  void *pointer = word(0x1234);
  PtrCopyList_of(list)->pushBack(list, &pointer);
  EXPECT_NE(list->head->data, pointer);
  EXPECT_EQ(PtrCopyList_of(list)->find(list, &pointer), list->head);
  release(list);
}
