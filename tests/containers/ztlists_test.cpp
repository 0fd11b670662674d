#include "containers/ztlists.h"

#include "core/ztmem.h"
#include "io/ztstring.h"
#include "tests/helpers/owned.hh"

#include <gtest/gtest.h>

#include <limits.h>

#include <string>

namespace {

using List = Owned<ztList, ztListMethods>;
using String = Owned<ztString, ztStringMethods>;

String newString(const char *text, ztCtor constructor = ztString_ctor) {
  String string(constructor);
  string->set(string, text);
  return string;
}

// The library's own string for passing a text, which each call changes.
void *scratch(const char *text) {
  return ztString_functions()->newString(nullptr, text);
}

std::string textOf(const void *string) {
  return ztString_of(string)->get(string);
}

List stringList(const std::vector<const char *> &texts) {
  List list(ztStringList_ctor);
  for (const char *text : texts) list->pushBack(list, scratch(text));
  return list;
}

}  // namespace

TEST(ztTypedLists, AreListsThatOnlyConfigure) {
  struct {
    ztCtor constructor;
    const char *name;
    int32_t elementSize;
    uint32_t byPointer;
    ztCtor elementConstructor;
    ztCompareFunc compare;
  } const classes[] = {
      {ztIntList_ctor, "ztIntList", 4, 0, nullptr, ztIntList_compare_func},
      {ztStringList_ctor, "ztStringList", sizeof(ztString), 0, ztString_ctor, ztStringList_compare_func},
      {ztPtrList_ctor, "ztPtrList", 8, 1, nullptr, ztPtrList_compare_func_ptr},
  };
  for (const auto &row : classes) {
    SCOPED_TRACE(row.name);
    const List list(row.constructor);
    const ztClass *klass = ztOOP_classOf(list);
    EXPECT_STREQ(klass->name, row.name);
    EXPECT_STREQ(klass->parent->name, "ztList");
    EXPECT_EQ(klass->instanceSize, int32_t{sizeof(ztList)});
    EXPECT_EQ(List(ztNewFromName(row.name)).fields().klass, klass);
    EXPECT_EQ(list->getSize(list), 0);
    EXPECT_EQ(list.fields().itemConstructor, ztListItem_ctor);
    EXPECT_EQ(list.fields().elementSize, row.elementSize);
    EXPECT_EQ(list.fields().byPointer, row.byPointer);
    EXPECT_EQ(list.fields().elementConstructor, row.elementConstructor);
    EXPECT_EQ(list.fields().compareFunction, row.compare);
  }
}

TEST(ztIntList, FindsByValue) {
  const List list(ztIntList_ctor);
  for (const int32_t number : {INT_MIN, -1, 0, INT_MAX}) list->pushBack(list, &number);
  for (const int32_t number : {INT_MAX, 0, -1, INT_MIN}) {
    const ztListItem *item = list->find(list, &number);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(*static_cast<const int32_t *>(item->data), number);
    EXPECT_NE(item->data, &number);
  }
  const int32_t missing = 1;
  EXPECT_EQ(list->find(list, &missing), nullptr);
}

TEST(ztIntList, PopBackFreesTheCopyAndPopFrontHandsItOver) {
  const List list(ztIntList_ctor);
  for (const int32_t number : {1, 2, 3}) list->pushBack(list, &number);
  void *first = list->getFront(list);
  list->popFront(list);
  EXPECT_EQ(*static_cast<int32_t *>(first), 1);
  ztm_free(first);
  list->popBack(list);
  EXPECT_EQ(*static_cast<int32_t *>(list->getBack(list)), 2);
}

// Strings -----------------------------------------------------------------------------------------

TEST(ztStringList, HoldsStringsOfItsOwnAndFindsThemByText) {
  const List list(ztStringList_ctor);
  {
    const String string = newString("red");
    list->pushBack(list, string);
    string->set(string, "green");
    list->pushBack(list, string);
    EXPECT_EQ(string->getRefCount(string), 1);
  }
  list->pushBack(list, scratch("blue"));
  EXPECT_EQ(textOf(list->getAt(list, 0)), "red");
  EXPECT_EQ(textOf(list->getAt(list, 1)), "green");
  EXPECT_EQ(textOf(list->getAt(list, 2)), "blue");
  EXPECT_EQ(list->find(list, scratch("green")), list->getItemAt(list, 1));
  EXPECT_EQ(list->find(list, scratch("Green")), nullptr);
}

TEST(ztStringList, CopyHoldsNewStringsEqualToTheSources) {
  List list = stringList({"red", "", "blue"});
  List copy = list.copy();
  ASSERT_EQ(copy->getSize(copy), 3);
  for (int32_t i = 0; i < 3; ++i) {
    void *original = list->getAt(list, i);
    void *copied = copy->getAt(copy, i);
    EXPECT_NE(copied, original);
    EXPECT_EQ(ztString_of(copied)->isEqual(copied, original), 1);
    EXPECT_NE(ztString_of(copied)->get(copied), ztString_of(original)->get(original));
  }
  list = std::move(copy);
  EXPECT_EQ(textOf(list->getBack(list)), "blue");
}

TEST(ztStringList, PopFrontHandsTheStringOver) {
  List list = stringList({"kept"});
  const String string(list->getFront(list));
  list->popFront(list);
  list = List(ztStringList_ctor);
  EXPECT_EQ(textOf(string), "kept");
  EXPECT_EQ(string->getRefCount(string), 1);
}

TEST(ztStringList, CompareFunctionsOrderByBytes) {
  const char *const texts[] = {"", "B", "Ba", "a", "\xff"};
  for (size_t i = 0; i < 5; ++i) {
    for (size_t j = 0; j < 5; ++j) {
      const String first = newString(texts[i]);
      const String second = newString(texts[j]);
      const int32_t order = i == j ? 0 : i > j ? 1 : -1;
      EXPECT_EQ(ztStringList_compare_func(first, second), order) << i << ' ' << j;
      EXPECT_EQ(ztStringList_compare_func_ptr(first, second), order) << i << ' ' << j;
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

TEST(ztStringList, ComparesWithTheFirstStringsOwnMethods) {
  const String own = newString("xyz", LengthString_ctor);
  const String same = newString("abc");
  EXPECT_EQ(ztStringList_compare_func(own, same), 0);
  EXPECT_EQ(ztStringList_compare_func(own, newString("aaaa")), -1);
  EXPECT_EQ(ztStringList_compare_func(own, newString("zz")), 1);
  EXPECT_EQ(ztStringList_compare_func(same, own), -1) << "the plain string compares by bytes";
}

// Pointers ----------------------------------------------------------------------------------------

TEST(ztPtrList, FindsTheVeryPointer) {
  const List list(ztPtrList_ctor);
  const int32_t numbers[3] = {1, 1, 1};
  for (const int32_t &number : numbers) list->pushBack(list, &number);
  EXPECT_EQ(list->find(list, &numbers[1]), list->getItemAt(list, 1));
  EXPECT_EQ(list->getAt(list, 2), &numbers[2]);
  const int32_t equal = 1;
  EXPECT_EQ(list->find(list, &equal), nullptr);
  EXPECT_EQ(list->find(list, nullptr), nullptr);
  list->pushBack(list, nullptr);
  EXPECT_EQ(list->find(list, nullptr), list->getItemAt(list, 3));
}

TEST(ztPtrList, NeverFreesWhatItPointsTo) {
  int32_t *block = static_cast<int32_t *>(ztm_alloc(4));
  *block = 9;
  {
    const List list(ztPtrList_ctor);
    for (int i = 0; i < 4; ++i) list->pushBack(list, block);
    list->popFront(list);
    list->popBack(list);
    list->removeItem(list, list->getItemAt(list, 1));
    const List copy = list.copy();
    EXPECT_EQ(copy->getFront(copy), block);
  }
  EXPECT_EQ(*block, 9);
  ztm_free(block);
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

TEST(ztPtrList, SubclassThatKeepsCopiesComparesByAddressOfThem) {
  const List list(PtrCopyList_ctor);
  EXPECT_EQ(list.fields().compareFunction, ztPtrList_compare_func);
  const void *pointer = &pointer;
  list->pushBack(list, &pointer);
  EXPECT_NE(list->getFront(list), pointer);
  EXPECT_EQ(list->find(list, &pointer), list.fields().head);
}
