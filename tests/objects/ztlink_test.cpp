#include "objects/ztlink.h"

#include "io/zttxtfile.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/tree_nodes.hh"

#include <gtest/gtest.h>

#include <random>

// A link of the host's with an order: by the identifiers.
#define Ordered_FIELDS ztLink_FIELDS
#define Ordered_METHODS ztLink_METHODS
ZT_DECLARE_CLASS(Ordered)

static int32_t orderedIsEqual(const void *object, const void *other) {
  return static_cast<const Ordered *>(object)->targetId == static_cast<const Ordered *>(other)->targetId;
}

static int32_t orderedIsMajor(const void *object, const void *other) {
  return static_cast<const Ordered *>(object)->targetId > static_cast<const Ordered *>(other)->targetId;
}

static void orderedMethods(OrderedMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, isEqual, orderedIsEqual);
  ZT_OVERRIDE_METHOD(methods, isMajor, orderedIsMajor);
}

ZT_DEFINE_CLASS(Ordered, ztLink, orderedMethods)

static ztLink *newLink(int32_t id, ztCtor constructor = ztLink_ctor) {
  auto *link = static_cast<ztLink *>(constructor(nullptr, 1));
  link->targetId = id;
  return link;
}

static std::string bytesOf(int32_t value) {
  return {reinterpret_cast<const char *>(&value), sizeof value};
}

// A link ------------------------------------------------------------------------------------------

TEST(Link, IsUnsetWhenItIsNew) {
  for (void *object : {ztLink_ctor(nullptr, 1), ztNewFromName("ztLink")}) {
    auto *link = static_cast<ztLink *>(object);
    EXPECT_EQ(link->target, nullptr);
    EXPECT_EQ(link->targetId, -1);
    EXPECT_TRUE(ztOOP_isClass(link, "ztLink"));
    EXPECT_TRUE(ztOOP_isClassOf(link, "ztBaseClass"));
    release(link);
  }
}

TEST(Link, HasTheSlotsOfTheBaseAndOverridesFour) {
  void *link = ztLink_ctor(nullptr, 1);
  EXPECT_EQ(sizeof(ztLinkMethods), 16 * sizeof(void *));
  const ztLinkMethods *methods = ztLink_table();
  const ztBaseClassMethods *base = ztBaseClass_table();
  EXPECT_NE(methods->create, base->create);
  EXPECT_NE(methods->clone, base->clone);
  EXPECT_NE(methods->read, base->read);
  EXPECT_NE(methods->write, base->write);
  EXPECT_EQ(methods->assign, base->assign);
  EXPECT_EQ(methods->isEqual, base->isEqual);
  EXPECT_EQ(methods->isLess, base->isLess);
  EXPECT_EQ(methods->isMajor, base->isMajor);
  EXPECT_EQ(methods->destroy, base->destroy);
  EXPECT_EQ(methods->unRef, base->unRef);
  release(link);
}

TEST(Link, ACopyKeepsTheIdentifierAndIsUnresolved) {
  ztRoot *node = newNode(5);
  ztLink *link = newLink(5);
  ASSERT_EQ(ztLink_resolve(link, node), 1);
  auto *copy = static_cast<ztLink *>(ztLink_newop());
  EXPECT_EQ(ztLink_of(link)->clone(link, copy), copy);
  EXPECT_EQ(copy->targetId, 5);
  EXPECT_EQ(copy->target, nullptr);
  EXPECT_EQ(link->target, node);
  EXPECT_EQ(ztLink_of(link)->clone(link, nullptr), nullptr);
  for (void *object : {static_cast<void *>(copy), static_cast<void *>(link), static_cast<void *>(node)}) {
    release(object);
  }
}

TEST(Link, StoresItsIdentifierAlone) {
  for (const int32_t id : {-1, 0, 5, INT32_MAX, INT32_MIN}) {
    ztLink *link = newLink(id);
    const NodeFile binary;
    EXPECT_EQ(ztLink_of(link)->write(link, binary.get()), 1);
    EXPECT_EQ(binary.bytes(), bytesOf(id));
    const NodeFile text(ztTextFile_ctor);
    EXPECT_EQ(ztLink_of(link)->write(link, text.get()), 1);
    EXPECT_EQ(text.bytes(), std::to_string(id) + "\n");
    for (const NodeFile *file : {&binary, &text}) {
      file->rewind();
      ztLink *read = newLink(77);
      read->target = link;
      EXPECT_EQ(ztLink_of(read)->read(read, file->get()), 1);
      EXPECT_EQ(read->targetId, id);
      EXPECT_EQ(read->target, link) << "reading leaves the target as it is";
      release(read);
    }
    release(link);
  }
}

TEST(Link, StoresAndReadsNothingWithoutAFile) {
  ztLink *link = newLink(7);
  EXPECT_EQ(ztLink_of(link)->write(link, nullptr), 0);
  EXPECT_EQ(ztLink_of(link)->read(link, nullptr), 0);
  EXPECT_EQ(ztLink_table()->write(nullptr, nullptr), 0);
  EXPECT_EQ(ztLink_table()->read(nullptr, nullptr), 0);
  void *closed = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(ztLink_of(link)->write(link, closed), 0);
  EXPECT_EQ(ztLink_of(link)->read(link, closed), 0);
  release(closed);
  const NodeFile empty;
  EXPECT_EQ(ztLink_of(link)->read(link, empty.get()), 0);
  EXPECT_EQ(link->targetId, 7);
  release(link);
}

// Arrays of links ---------------------------------------------------------------------------------

TEST(LinkArray, IsSetUpForLinks) {
  auto *array = static_cast<ztLinkArray *>(ztNewFromName("ztLinkArray"));
  EXPECT_EQ(array->elementSize, static_cast<int32_t>(sizeof(ztLink)));
  EXPECT_EQ(array->elementConstructor, ztLink_ctor);
  EXPECT_EQ(array->compareFunction, ztLinkArray_compare_func);
  EXPECT_EQ(array->count, 0);
  release(array);
}

TEST(LinkArray, KeepsCopiesInPlace) {
  auto *array = static_cast<ztLinkArray *>(ztLinkArray_ctor(nullptr, 1));
  const ztLinkArrayMethods *methods = ztLinkArray_of(array);
  ztRoot *node = newNode(3);
  ztLink *link = newLink(3);
  link->target = node;
  auto *stored = static_cast<ztLink *>(methods->pushBack(array, link));
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored, array->data);
  EXPECT_EQ(stored->targetId, 3);
  EXPECT_EQ(stored->target, nullptr);
  EXPECT_EQ(countOf(stored), 1);
  ASSERT_EQ(methods->resize(array, 3), 1);
  EXPECT_EQ(static_cast<ztLink *>(methods->getAt(array, 2))->targetId, -1);
  release(array);
  release(link);
  release(node);
}

TEST(LinkArray, IsStoredAsItsCountAndTheIdentifiers) {
  auto *array = static_cast<ztLinkArray *>(ztLinkArray_ctor(nullptr, 1));
  const int32_t ids[] = {5, -1, 7};
  ztLinkArray_of(array)->setSize(array, 3);
  for (int32_t i = 0; i < 3; ++i)
    static_cast<ztLink *>(ztLinkArray_of(array)->getAt(array, i))->targetId = ids[i];
  const NodeFile binary;
  EXPECT_EQ(ztLinkArray_of(array)->write(array, binary.get()), 1);
  EXPECT_EQ(binary.bytes(), bytesOf(3) + bytesOf(5) + bytesOf(-1) + bytesOf(7));
  const NodeFile text(ztTextFile_ctor);
  EXPECT_EQ(ztLinkArray_of(array)->write(array, text.get()), 1);
  EXPECT_EQ(text.bytes(), "3\n5\n-1\n7\n");
  for (const NodeFile *file : {&binary, &text}) {
    file->rewind();
    void *read = ztLinkArray_ctor(nullptr, 1);
    EXPECT_EQ(ztLinkArray_of(read)->read(read, file->get()), 1);
    ASSERT_EQ(ztLinkArray_of(read)->getSize(read), 3);
    for (int32_t i = 0; i < 3; ++i) {
      const auto *link = static_cast<const ztLink *>(ztLinkArray_of(read)->getAt(read, i));
      EXPECT_EQ(link->targetId, ids[i]);
      EXPECT_EQ(link->target, nullptr);
    }
    release(read);
  }
  release(array);
}

TEST(LinkArray, ComparesThroughTheMethodTable) {
  ztLink *one = newLink(1, Ordered_ctor);
  ztLink *two = newLink(2, Ordered_ctor);
  ztLink *same = newLink(2, Ordered_ctor);
  for (const ztCompareFunc compare : {ztLinkArray_compare_func, ztLinkArray_compare_func_ptr}) {
    EXPECT_EQ(compare(two, same), 0);
    EXPECT_EQ(compare(two, one), 1);
    EXPECT_EQ(compare(one, two), -1);
    EXPECT_EQ(compare(nullptr, nullptr), 0);
    EXPECT_EQ(compare(one, nullptr), 1);
    EXPECT_EQ(compare(nullptr, one), -1);
  }
  for (ztLink *link : {one, two, same}) release(link);
}

TEST(LinkArray, SortsOrderedLinks) {
  void *array = ztLinkArray_ctor(nullptr, 1);
  for (const int32_t id : {3, 1, 2}) {
    ztLink *link = newLink(id, Ordered_ctor);
    ASSERT_NE(ztLinkArray_of(array)->pushBack(array, link), nullptr);
    release(link);
  }
  ztLinkArray_of(array)->sort(array, ztLinkArray_compare_func);
  for (int32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(static_cast<ztLink *>(ztLinkArray_of(array)->getAt(array, i))->targetId, i + 1);
  }
  release(array);
}

// Resolving ---------------------------------------------------------------------------------------

TEST(ResolvingALink, FindsTheNodeAnywhereBelow) {
  Forest forest;
  ztRoot *top = newNode(1);
  ztRoot *left = newChild(top, 2);
  ztRoot *low = newChild(left, 3);
  ztRoot *right = newChild(top, 4);
  ztLink *link = newLink(0);
  for (ztRoot *node : {top, left, low, right}) {
    link->targetId = node->uid;
    EXPECT_EQ(ztLink_resolve(link, top), 1);
    EXPECT_EQ(link->target, node);
  }
  link->targetId = 4;
  EXPECT_EQ(ztLink_resolve(link, left), 0) << "it is beside that node";
  EXPECT_EQ(link->target, nullptr);
  release(link);
  release(top);
}

TEST(ResolvingALink, FindsNothingForWhatIsNotThere) {
  Forest forest;
  ztRoot *top = newNode(-1);
  newChild(top, 2);
  for (const int32_t id : {-1, 0, 3}) {
    ztLink *link = newLink(id);
    link->target = top;
    EXPECT_EQ(ztLink_resolve(link, top), 0);
    EXPECT_EQ(link->target, nullptr);
    EXPECT_EQ(link->targetId, id);
    release(link);
  }
  ztLink *link = newLink(2);
  EXPECT_EQ(ztLink_resolve(link, nullptr), 0);
  EXPECT_EQ(ztLink_resolve(nullptr, top), 0);
  release(link);
  release(top);
}

TEST(ResolvingALink, TakesTheFirstOfEqualUids) {
  Forest forest;
  ztRoot *top = newNode(1);
  ztRoot *low = newChild(newChild(top, 2), 5);
  newChild(top, 5);
  ztLink *link = newLink(5);
  EXPECT_EQ(ztLink_resolve(link, top), 1);
  EXPECT_EQ(link->target, low);
  void *array = ztLinkArray_ctor(nullptr, 1);
  ztLinkArray_of(array)->pushBack(array, link);
  EXPECT_EQ(ztLinkArray_resolve(array, top), 1);
  EXPECT_EQ(static_cast<ztLink *>(ztLinkArray_of(array)->getAt(array, 0))->target, low);
  release(array);
  release(link);
  release(top);
}

TEST(ResolvingALink, GoesDownAnyDepth) {
  Forest forest;
  const int levels = scale(50000);
  ztRoot *top = newNode(1);
  ztRoot *at = top;
  for (int32_t uid = 2; uid <= levels; ++uid) {
    ztRoot *below = newNode(uid);
    ASSERT_EQ(setParent(below, at), 1);
    at = below;
  }
  ztLink *link = newLink(levels);
  EXPECT_EQ(ztLink_resolve(link, top), 1);
  EXPECT_EQ(link->target, at);
  release(link);
  release(top);
}

TEST(ResolvingLinks, PointsAllThatHaveANode) {
  Forest forest;
  ztRoot *top = newNode(1);
  newChild(newChild(top, -1), 3);
  void *array = ztLinkArray_ctor(nullptr, 1);
  const ztLinkArrayMethods *methods = ztLinkArray_of(array);
  EXPECT_EQ(ztLinkArray_resolve(array, top), 0);
  const int32_t ids[] = {3, 9, 1, -1, 3, 0};
  methods->setSize(array, 6);
  const auto linkAt = [&](int32_t i) { return static_cast<ztLink *>(methods->getAt(array, i)); };
  for (int32_t i = 0; i < 6; ++i) {
    linkAt(i)->targetId = ids[i];
    linkAt(i)->target = array;
  }
  EXPECT_EQ(ztLinkArray_resolve(array, top), 3);
  for (int32_t i = 0; i < 6; ++i) {
    const auto *target = static_cast<const ztRoot *>(linkAt(i)->target);
    EXPECT_EQ(target == nullptr ? 0 : target->uid, ids[i] == 3 || ids[i] == 1 ? ids[i] : 0);
  }
  EXPECT_EQ(ztLinkArray_resolve(array, nullptr), 0);
  for (int32_t i = 0; i < 6; ++i) EXPECT_EQ(linkAt(i)->target, nullptr);
  EXPECT_EQ(ztLinkArray_resolve(nullptr, top), 0);
  release(array);
  release(top);
}

TEST(ResolvingLinks, AgreesWithOneByOne) {
  Forest forest;
  std::mt19937 random(3);
  std::vector<ztRoot *> nodes = {newNode(1)};
  for (int i = 0; i < scale(3000); ++i) {
    ztRoot *parent = nodes[random() % nodes.size()];
    nodes.push_back(newNode(static_cast<int32_t>(random() % 4000) - 2000));
    ASSERT_EQ(setParent(nodes.back(), parent), 1);
  }
  void *array = ztLinkArray_ctor(nullptr, 1);
  ztLinkArray_of(array)->setSize(array, 200);
  const auto linkAt = [&](int32_t i) {
    return static_cast<ztLink *>(ztLinkArray_of(array)->getAt(array, i));
  };
  for (int32_t i = 0; i < 200; ++i) linkAt(i)->targetId = static_cast<int32_t>(random() % 4200) - 2100;
  const int32_t resolved = ztLinkArray_resolve(array, nodes[0]);
  int32_t expected = 0;
  for (int32_t i = 0; i < 200; ++i) {
    const void *target = linkAt(i)->target;
    expected += ztLink_resolve(linkAt(i), nodes[0]);
    EXPECT_EQ(linkAt(i)->target, target);
  }
  EXPECT_EQ(resolved, expected);
  release(array);
  release(nodes[0]);
}
