#include "objects/ztlink.h"

#include "io/zttxtfile.h"
#include "tags/zttag.h"
#include "tests/helpers/scale.hh"
#include "tests/objects/gauge.hh"
#include "tests/objects/tree_nodes.hh"

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

namespace {

using ztLinkTest = ForestTest;

// A link that goes with its scope.
class Link : public Owned<ztLink, ztLinkMethods> {
 public:
  explicit Link(int32_t id, ztCtor constructor = ztLink_ctor) : Owned(constructor) {
    fields().targetId = id;
  }
};

// Links in an array that goes with the test.
class ztLinkArrayTest : public ForestTest {
 protected:
  ~ztLinkArrayTest() override {
    release(array);
  }
  void setIds(const Numbers &ids) const {
    methods->setSize(array, static_cast<int32_t>(ids.size()));
    for (size_t i = 0; i < ids.size(); ++i) at(i)->targetId = ids[i];
  }
  ztLink *at(size_t index) const {
    return static_cast<ztLink *>(methods->getAt(array, static_cast<int32_t>(index)));
  }
  Numbers ids() const {
    Numbers found;
    for (int32_t i = 0; i < methods->getSize(array); ++i)
      found.push_back(at(static_cast<size_t>(i))->targetId);
    return found;
  }

  ztLinkArray *array = static_cast<ztLinkArray *>(ztNewFromName("ztLinkArray"));
  const ztLinkArrayMethods *methods = ztLinkArray_of(array);
};

}  // namespace

TEST_F(ztLinkTest, IsUnsetWhenItIsNew) {
  for (void *object : {ztLink_ctor(nullptr, 1), ztNewFromName("ztLink")}) {
    const auto *link = static_cast<const ztLink *>(object);
    EXPECT_EQ(link->target, nullptr);
    EXPECT_EQ(link->targetId, -1);
    EXPECT_TRUE(ztOOP_isClass(link, "ztLink"));
    EXPECT_TRUE(ztOOP_isClassOf(link, "ztBaseClass"));
    release(object);
  }
}

TEST_F(ztLinkTest, HasTheSlotsOfTheBaseAndOverridesFour) {
  const Link initialized(1);
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
}

TEST_F(ztLinkTest, IsCopiedWithItsIdentifierAndUnresolved) {
  const Tree node("5");
  const Link link(5);
  ASSERT_EQ(ztLink_resolve(link, node), 1);
  const auto copy = link.copy();
  EXPECT_EQ(copy.fields().targetId, 5);
  EXPECT_EQ(copy.fields().target, nullptr);
  EXPECT_EQ(link.fields().target, node);
  EXPECT_EQ(link->clone(link, nullptr), nullptr);
}

TEST_F(ztLinkTest, StoresItsIdentifierAlone) {
  for (const int32_t id : {-1, 0, 5, INT32_MAX, INT32_MIN}) {
    const std::pair<ztCtor, std::string> forms[] = {{ztFile_ctor, bytesOf(id)},
                                                    {ztTextFile_ctor, std::to_string(id) + "\n"}};
    for (const auto &[constructor, bytes] : forms) {
      const Storage file(constructor);
      const Link link(id);
      EXPECT_EQ(link->write(link, file), 1);
      EXPECT_EQ(file.bytes(), bytes);
      const Link read(77);
      read.fields().target = link;
      EXPECT_EQ(read->read(read, file), 1);
      EXPECT_EQ(read.fields().targetId, id);
      EXPECT_EQ(read.fields().target, link) << "reading leaves the target as it is";
    }
  }
}

TEST_F(ztLinkTest, StoresAndReadsNothingWithoutAFile) {
  const Link link(7);
  const ztLinkMethods *methods = ztLink_table();
  const File closed(ztFile_ctor);
  for (void *none : {static_cast<void *>(nullptr), static_cast<void *>(closed)}) {
    EXPECT_EQ(methods->write(link, none), 0);
    EXPECT_EQ(methods->read(link, none), 0);
  }
  EXPECT_EQ(methods->write(nullptr, nullptr), 0);
  EXPECT_EQ(methods->read(nullptr, nullptr), 0);
  EXPECT_EQ(methods->read(link, Storage()), 0);
  EXPECT_EQ(link.fields().targetId, 7);
}

TEST_F(ztLinkArrayTest, IsSetUpForLinks) {
  EXPECT_EQ(array->elementSize, static_cast<int32_t>(sizeof(ztLink)));
  EXPECT_EQ(array->elementConstructor, ztLink_ctor);
  EXPECT_EQ(array->compareFunction, ztLinkArray_compare_func);
  EXPECT_EQ(array->count, 0);
}

TEST_F(ztLinkArrayTest, KeepsCopiesInPlace) {
  const Tree node("3");
  const Link link(3);
  link.fields().target = node;
  const auto *stored = static_cast<const ztLink *>(methods->pushBack(array, link));
  ASSERT_NE(stored, nullptr);
  EXPECT_EQ(stored, array->data);
  EXPECT_EQ(stored->targetId, 3);
  EXPECT_EQ(stored->target, nullptr);
  EXPECT_EQ(countOf(stored), 1);
  ASSERT_EQ(methods->resize(array, 3), 1);
  EXPECT_EQ(ids(), (Numbers{3, -1, -1}));
}

TEST_F(ztLinkArrayTest, IsStoredAsItsCountAndTheIdentifiers) {
  const Numbers stored = {5, -1, 7};
  const std::pair<ztCtor, std::string> forms[] = {
      {ztFile_ctor, bytesOf(3) + bytesOf(5) + bytesOf(-1) + bytesOf(7)}, {ztTextFile_ctor, "3\n5\n-1\n7\n"}};
  for (const auto &[constructor, bytes] : forms) {
    setIds(stored);
    const Storage file(constructor);
    EXPECT_EQ(methods->write(array, file), 1);
    EXPECT_EQ(file.bytes(), bytes);
    methods->empty(array);
    EXPECT_EQ(methods->read(array, file), 1);
    EXPECT_EQ(ids(), stored);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(at(i)->target, nullptr);
  }
}

TEST_F(ztLinkArrayTest, ComparesThroughTheMethodTable) {
  const Link one(1, Ordered_ctor);
  const Link two(2, Ordered_ctor);
  const Link same(2, Ordered_ctor);
  for (const ztCompareFunc compare : {ztLinkArray_compare_func, ztLinkArray_compare_func_ptr}) {
    EXPECT_EQ(compare(two, same), 0);
    EXPECT_EQ(compare(two, one), 1);
    EXPECT_EQ(compare(one, two), -1);
    EXPECT_EQ(compare(nullptr, nullptr), 0);
    EXPECT_EQ(compare(one, nullptr), 1);
    EXPECT_EQ(compare(nullptr, one), -1);
  }
}

TEST_F(ztLinkArrayTest, SortsOrderedLinks) {
  for (const int32_t id : {3, 1, 2}) ASSERT_NE(methods->pushBack(array, Link(id, Ordered_ctor)), nullptr);
  methods->sort(array, ztLinkArray_compare_func);
  EXPECT_EQ(ids(), (Numbers{1, 2, 3}));
}

// Resolving ---------------------------------------------------------------------------------------

TEST_F(ztLinkTest, FindsTheNodeAnywhereBelow) {
  const Tree top("1(2(3) 4)");
  const Link link(0);
  for (const int32_t uid : {1, 2, 3, 4}) {
    link.fields().targetId = uid;
    EXPECT_EQ(ztLink_resolve(link, top), 1);
    EXPECT_EQ(link.fields().target, top[uid]);
  }
  EXPECT_EQ(ztLink_resolve(link, top[2]), 0) << "it is beside that node";
  EXPECT_EQ(link.fields().target, nullptr);
}

TEST_F(ztLinkTest, FindsNothingForWhatIsNotThere) {
  const Tree top("-1(2)");
  const Link link(2);
  EXPECT_EQ(ztLink_resolve(link, nullptr), 0);
  EXPECT_EQ(ztLink_resolve(nullptr, top), 0);
  for (const int32_t id : {-1, 0, 3}) {
    link.fields().targetId = id;
    link.fields().target = top;
    EXPECT_EQ(ztLink_resolve(link, top), 0);
    EXPECT_EQ(link.fields().target, nullptr);
    EXPECT_EQ(link.fields().targetId, id);
  }
}

TEST_F(ztLinkArrayTest, TakesTheFirstOfEqualUidsAsALinkDoes) {
  const Tree top("1(2(5) 5)");
  const ztRoot *low = firstChildOf(firstChildOf(top));
  setIds({5});
  EXPECT_EQ(ztLinkArray_resolve(array, top), 1);
  EXPECT_EQ(at(0)->target, low);
  at(0)->target = nullptr;
  EXPECT_EQ(ztLink_resolve(at(0), top), 1);
  EXPECT_EQ(at(0)->target, low);
}

TEST_F(ztLinkTest, GoesDownAnyDepth) {
  const int levels = scale(50000);
  const Tree top(newChain(levels, LiveNode_ctor));
  const Link link(levels);
  EXPECT_EQ(ztLink_resolve(link, top), 1);
  EXPECT_EQ(link.fields().target, lowestOf(top));
}

TEST_F(ztLinkArrayTest, PointsAllThatHaveANode) {
  const Tree top("1(-1(3))");
  EXPECT_EQ(ztLinkArray_resolve(array, top), 0);
  setIds({3, 9, 1, -1, 3, 0});
  for (size_t i = 0; i < 6; ++i) at(i)->target = array;
  EXPECT_EQ(ztLinkArray_resolve(array, top), 3);
  const void *targets[] = {top[3], nullptr, top, nullptr, top[3], nullptr};
  for (size_t i = 0; i < 6; ++i) EXPECT_EQ(at(i)->target, targets[i]) << i;
  EXPECT_EQ(ztLinkArray_resolve(array, nullptr), 0);
  for (size_t i = 0; i < 6; ++i) EXPECT_EQ(at(i)->target, nullptr);
  EXPECT_EQ(ztLinkArray_resolve(nullptr, top), 0);
}

TEST_F(ztLinkArrayTest, ResolvesAsOneByOne) {
  std::mt19937 random(3);
  const Tree top("1");
  Nodes nodes = {top};
  for (int i = 0; i < scale(3000); ++i) {
    ztRoot *parent = nodes[random() % nodes.size()];
    nodes.push_back(newChild(parent, static_cast<int32_t>(random() % 4000) - 2000));
  }
  Numbers ids;
  for (int i = 0; i < 200; ++i) ids.push_back(static_cast<int32_t>(random() % 4200) - 2100);
  setIds(ids);
  const int32_t resolved = ztLinkArray_resolve(array, top);
  int32_t expected = 0;
  for (size_t i = 0; i < 200; ++i) {
    const void *target = at(i)->target;
    expected += ztLink_resolve(at(i), top);
    EXPECT_EQ(at(i)->target, target);
  }
  EXPECT_EQ(resolved, expected);
}

TEST_F(ztLinkTest, TakesTargetAndIdentifierAtOnce) {
  const Link link(7);
  const Owned<ztRoot, ztRootMethods> node(ztRoot_ctor);
  node->setUid(node, 12);
  EXPECT_EQ(ztLink_set(link, node), 1);
  EXPECT_EQ(link.fields().target, node);
  EXPECT_EQ(link.fields().targetId, 12);
  EXPECT_EQ(node->getRefCount(node), 1);
  EXPECT_EQ(ztLink_resolve(link, node), 1);
  EXPECT_EQ(ztLink_set(link, nullptr), 1);
  EXPECT_EQ(link.fields().target, nullptr);
  EXPECT_EQ(link.fields().targetId, -1);
  EXPECT_EQ(ztLink_resolve(link, node), 0);
  const Link derived(7, Ordered_ctor);
  const Owned<ztTag, ztTagMethods> tag(ztTag_ctor);
  EXPECT_EQ(ztLink_set(derived, tag), 1);
  EXPECT_EQ(derived.fields().targetId, tag->getUid(tag));
}

TEST_F(ztLinkTest, TakesNothingButANodeThatCanBeFound) {
  const Link link(7);
  const Owned<ztRoot, ztRootMethods> node(ztRoot_ctor);
  const Owned<ztObject, ztObjectMethods> object(ztObject_ctor);
  EXPECT_TRUE(isRefused([&] { return ztLink_set(nullptr, node); }, {"ztLink_set", "link", "NULL"}));
  EXPECT_TRUE(isRefused([&] { return ztLink_set(node, node); }, {"link", "'ztRoot'"}));
  EXPECT_TRUE(isRefused([&] { return ztLink_set(link, object); }, {"node", "'ztObject'"}));
  EXPECT_TRUE(isRefused([&] { return ztLink_set(link, link); }, {"node", "'ztLink'"}));
  node->setUid(node, -1);
  EXPECT_TRUE(isRefused([&] { return ztLink_set(link, node); }, {"-1"}));
  EXPECT_EQ(link.fields().target, nullptr);
  EXPECT_EQ(link.fields().targetId, 7);
}
