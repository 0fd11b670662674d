#include "containers/ztlists.h"

#include "io/ztstring.h"
#include "tests/helpers/owned.hh"

#include <gtest/gtest.h>

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

}  // namespace

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
  List list(ztStringList_ctor);
  for (const char *text : {"red", "", "blue"}) list->pushBack(list, scratch(text));
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

static void lengthStringMethods(LengthStringMethods *methods) {
  methods->isEqual = [](const void *object, const void *other) -> int32_t {
    return ztString_of(object)->length(object) == ztString_of(other)->length(other);
  };
  methods->isMajor = [](const void *object, const void *other) {
    return ztString_of(object)->length(object) > ztString_of(other)->length(other) ? 5 : 0;
  };
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

// A list of pointers that keeps copies of them after all.
#define PtrCopyList_FIELDS ztPtrList_FIELDS
#define PtrCopyList_METHODS ztPtrList_METHODS
ZT_DECLARE_CLASS(PtrCopyList)

static void ptrCopyListMethods(PtrCopyListMethods *methods) {
  methods->setElementSize = [](void *object, int32_t size, uint32_t) {
    ztPtrList_table()->setElementSize(object, size, 0);
  };
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
