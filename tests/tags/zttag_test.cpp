#include "tags/zttag.h"

#include "core/ztmem.h"
#include "tests/helpers/counted.hh"
#include "tests/tags/attributes.hh"

#include <algorithm>
#include <vector>

// An integer attribute that can neither be copied nor stored.
#define StubbornTag_FIELDS ztIntTag_FIELDS
#define StubbornTag_METHODS ztIntTag_METHODS
ZT_DECLARE_CLASS(StubbornTag)

static int32_t stubbornResult;

static void stubbornTagMethods(StubbornTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, clone, [](const void *, void *) -> void * { return nullptr; });
  ZT_OVERRIDE_METHOD(methods, write, [](const void *, void *) { return stubbornResult; });
  ZT_OVERRIDE_METHOD(methods, read, [](void *, void *) { return stubbornResult; });
}

ZT_DEFINE_CLASS(StubbornTag, ztIntTag, stubbornTagMethods)

// An integer attribute that counts the live ones, and notes what is done to it.
#define NotingTag_FIELDS ztIntTag_FIELDS
#define NotingTag_METHODS ztIntTag_METHODS
ZT_DECLARE_CLASS(NotingTag)

static const int32_t &notingLive = liveOf<NotingTag>;
static std::vector<std::string> notes;

static int32_t notingTagSetNumValues(void *object, int32_t count) {
  notes.push_back("setNumValues " + std::to_string(count));
  return ztIntTag_table()->setNumValues(object, count);
}

static void notingTagMethods(NotingTagMethods *methods) {
  Counting<NotingTag, ztIntTag_table>::overrideIn(methods);
  ZT_OVERRIDE_METHOD(methods, setValue, [](void *object, int32_t index, const void *value) -> int32_t {
    const auto *attribute = static_cast<const ztTagAttribute *>(object);
    notes.push_back("setValue " + std::to_string(index) + (value == nullptr ? " NULL" : "") + " of " +
                    attribute->name + (attribute->owner == nullptr ? "" : ", owned"));
    return ztIntTag_table()->setValue(object, index, value);
  });
  ZT_OVERRIDE_METHOD(methods, setNumValues, notingTagSetNumValues);
}

ZT_DEFINE_CLASS(NotingTag, ztIntTag, notingTagMethods)

namespace {

// A listening tag; each of the tests inserts what it needs.
class ztTagTest : public testing::Test {
 protected:
  // Inserts an attribute with an initial value, or without one; what that gives.
  int32_t insert(const char *name, void *attribute, ztTagHandle *handle = nullptr, int32_t count = 1,
                 const void *initial = nullptr) const {
    return tag->insertNew(tag, name, attribute, handle, 0, count, initial);
  }
  // The same of a new attribute.
  int32_t insertNew(const char *name, ztCtor constructor, ztTagHandle *handle = nullptr) const {
    return insert(name, constructor(nullptr, 1), handle);
  }
  // The attributes that an enumeration meets.
  std::vector<const void *> enumerated() const {
    std::vector<const void *> seen;
    const auto collect = [](void *, void *attribute, void *userData) -> int32_t {
      static_cast<std::vector<const void *> *>(userData)->push_back(attribute);
      return 1;
    };
    EXPECT_EQ(tag->enumTags(tag, collect, &seen), 1);
    return seen;
  }

  Tag tag;
};

// A tag with three attributes: three integers, three floats, and three integers again.
class ztTagFilled : public ztTagTest {
 protected:
  std::string allValues(const Tag &described) const {
    std::string all;
    for (const ztTagHandle &handle : {ints, floats, others}) all += described.values(handle) + "; ";
    return all;
  }
  int32_t changes() const {
    return tag.changes() - changesBefore;
  }

  const ztTagHandle ints = tag.insert("ints", ztIntTag_ctor, {1, 2, 4});
  const ztTagHandle floats = tag.insert("floats", ztFloatTag_ctor, {1.5, 2.5, 4.5});
  const ztTagHandle others = tag.insert("others", ztIntTag_ctor, {10, 20, 40});
  const std::string asMade = "1 2 4; 1.5 2.5 4.5; 10 20 40; ";
  const int32_t changesBefore = tag.changes();
};

}  // namespace

TEST_F(ztTagTest, IsANodeWithoutAttributesAndSoIsItsCopy) {
  EXPECT_EQ(tag.fields().attributes, nullptr);
  EXPECT_EQ(tag->emptySlot2, nullptr);
  EXPECT_EQ(ztOOP_isClassOf(tag, "ztRoot"), 1);
  EXPECT_EQ(tag.fields().parentUid, -1);
  const ztTagHandle handle = {0, intType};
  EXPECT_EQ(tag->getByName(tag, "name", nullptr), nullptr);
  EXPECT_EQ(tag->getByName(tag, "", nullptr), nullptr);
  EXPECT_EQ(tag->getByHandle(tag, &handle), nullptr);
  EXPECT_EQ(tag->deallocWise(tag, "name"), 0);
  EXPECT_TRUE(enumerated().empty());
  const Tag copy = tag.copy();
  EXPECT_EQ(copy.fields().attributes, nullptr);
  copy.insert("own", ztIntTag_ctor, {1});
  EXPECT_EQ(tag.count(), 0);
}

// Insertion ---------------------------------------------------------------------------------------

TEST_F(ztTagTest, MakesTheArrayAndHandleZeroAtTheFirstInsertion) {
  void *attribute = ztFloatTag_ctor(nullptr, 1);
  ztTagHandle handle = {-1, -1};
  const double initial = 2.5;
  EXPECT_EQ(tag->insertNew(tag, "first", attribute, &handle, 42, 3, &initial), 1);
  EXPECT_EQ(handle.index, 0);
  EXPECT_EQ(handle.type, floatType);
  EXPECT_EQ(ztOOP_classOf(tag.fields().attributes), ztPtrArrayClass_Instance());
  EXPECT_EQ(tag.at(handle), attribute);
  EXPECT_EQ(tag.values(handle), "2.5 2.5 2.5");
  EXPECT_STREQ(tag.at(handle)->name, "first");
  EXPECT_EQ(tag.at(handle)->userValue, 42);
  EXPECT_EQ(tag.at(handle)->owner, &tag.fields());
  EXPECT_EQ(tag.at(handle)->refCount, 1);
}

TEST_F(ztTagTest, CountsHandlesUp) {
  for (int32_t i = 0; i < 20; ++i) {
    const ztTagHandle handle = tag.insert("n", i % 2 ? ztIntTag_ctor : ztFloatTag_ctor, {1.0 * i});
    EXPECT_EQ(handle.index, i);
    EXPECT_EQ(handle.type, i % 2 ? intType : floatType);
  }
  EXPECT_EQ(tag.count(), 20);
}

TEST_F(ztTagTest, NamesSizesAndSetsAnAttributeAheadOfTheOwner) {
  notes.clear();
  void *attribute = NotingTag_ctor(nullptr, 1);
  const int32_t initial = 6;
  EXPECT_EQ(insert("new", attribute, nullptr, 2, &initial), 1);
  EXPECT_EQ(notes, (std::vector<std::string>{"setNumValues 2", "setValue -1 of new"}));
  EXPECT_EQ(tag.changes(), 0);
  EXPECT_EQ(valuesOf(attribute), "6 6");
}

TEST_F(ztTagTest, LeavesTheValuesWithoutAnInitialOneOrWithACountThatCannotBe) {
  const int32_t six = 6;
  const std::tuple<int32_t, const int32_t *, const char *> rows[] = {{4, nullptr, "7 8 0 0"},
                                                                     {0, &six, ""},
                                                                     {-1, &six, "6 6"},
                                                                     {INT32_MIN, &six, "6 6"},
                                                                     {INT32_MAX, &six, "6 6"}};
  for (const auto &[count, initial, expected] : rows) {
    void *attribute = ztIntTag_ctor(nullptr, 1);
    setValues(attribute, {7, 8});
    EXPECT_EQ(insert("count", attribute, nullptr, count, initial), 1);
    EXPECT_EQ(valuesOf(attribute), expected) << count;
  }
}

TEST_F(ztTagTest, InsertsAnAttributeWithoutValues) {
  const int32_t initial = 6;
  ztTagHandle handle;
  EXPECT_EQ(insert("none", ztIntTag_ctor(nullptr, 1), &handle, 0, &initial), 1);
  EXPECT_EQ(tag->getNumValues(tag, &handle), 0);
  int32_t out = 77;
  EXPECT_EQ(tag->getValue(tag, &handle, 0, &out), nullptr);
  EXPECT_EQ(tag->setValue(tag, &handle, 0, &initial), 0);
  EXPECT_EQ(out, 77);
}

TEST_F(ztTagTest, CutsNamesTo31Characters) {
  for (const size_t length : {0u, 1u, 30u, 31u, 32u, 33u, 200u}) {
    const std::string name(length, 'n');
    const Tag fresh;
    const ztTagAttribute *attribute = fresh.at(fresh.insert(name.c_str(), ztIntTag_ctor, {1}));
    const std::string kept = name.substr(0, 31);
    EXPECT_EQ(std::string(attribute->name, 32), fieldOf(kept, 32));
    EXPECT_EQ(attribute->type, intType);
    EXPECT_EQ(fresh->getByName(fresh, kept.c_str(), nullptr), attribute);
    EXPECT_EQ(fresh->getByName(fresh, name.c_str(), nullptr), length > 31 ? nullptr : attribute);
  }
}

TEST_F(ztTagTest, TakesAnEmptyNameOrNoneForTheFirstOnly) {
  ztTagHandle handle = {-7, -7};
  EXPECT_EQ(insert("name", nullptr, &handle), 0) << "no attribute";
  EXPECT_EQ(tag.count(), 0);
  const int32_t live = notingLive;
  EXPECT_EQ(insertNew("", NotingTag_ctor), 1);
  EXPECT_EQ(notingLive, live + 1);
  for (const char *name : {"", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(insertNew(name, NotingTag_ctor, &handle), 0);
    EXPECT_EQ(notingLive, live + 1) << "the refused attribute was not released";
  }
  EXPECT_EQ(handle.index, -7);
  EXPECT_EQ(tag.count(), 1);
  const Tag other;
  EXPECT_EQ(other->insertNew(other, nullptr, ztIntTag_ctor(nullptr, 1), &handle, 0, 1, nullptr), 1);
  EXPECT_STREQ(other.at(handle)->name, "");
}

TEST_F(ztTagTest, RefusesAnAttributeThatHasTheNameAlreadyAndReleasesOneReference) {
  tag.insert("first", ztIntTag_ctor, {1});
  const int32_t live = notingLive;
  auto *attribute = static_cast<ztTagAttribute *>(NotingTag_ctor(nullptr, 1));
  strcpy(attribute->name, "second");
  keep(attribute);
  EXPECT_EQ(insert("second", attribute), 0);
  EXPECT_EQ(attribute->refCount, 2);
  EXPECT_EQ(attribute->owner, nullptr);
  EXPECT_EQ(insert("second", attribute), 0);
  EXPECT_EQ(notingLive, live);
  EXPECT_EQ(tag.count(), 1);
}

TEST_F(ztTagTest, AcceptsAnAttributesOwnNameWhileItIsEmpty) {
  auto *attribute = static_cast<ztTagAttribute *>(ztIntTag_ctor(nullptr, 1));
  strcpy(attribute->name, "only");
  EXPECT_EQ(insert(attribute->name, attribute), 1);
  EXPECT_STREQ(attribute->name, "only");
}

TEST_F(ztTagTest, AcceptsDuplicateNamesAndFindsTheFirst) {
  const ztTagHandle first = tag.insert("same", ztIntTag_ctor, {1});
  EXPECT_EQ(tag.insert("same", ztFloatTag_ctor, {2}).index, 1);
  int32_t index = -7;
  EXPECT_EQ(tag->getByName(tag, "same", &index), tag.at(first));
  EXPECT_EQ(index, 0);
}

TEST_F(ztTagFilled, RefusesAnAttributeThatIsInATagWithoutReleasingIt) {
  ztTagAttribute *attribute = tag.at(ints);
  Tag other;
  for (const Tag *given : {&tag, &other}) {
    ztTagHandle handle = {-7, -7};
    const int32_t initial = 99;
    EXPECT_EQ((*given)->insertNew(*given, "again", attribute, &handle, 9, 1, &initial), 0);
    EXPECT_EQ(handle.index, -7);
  }
  EXPECT_EQ(attribute->owner, &tag.fields());
  EXPECT_EQ(tag.count(), 3);
  EXPECT_STREQ(attribute->name, "ints");
  EXPECT_EQ(valuesOf(attribute), "1 2 4");
  EXPECT_EQ(attribute->refCount, 1);
}

TEST_F(ztTagFilled, LeavesAnAttributeThatSurvivesItToBeInsertedAgain) {
  ztTagAttribute *attribute = tag.at(ints);
  keep(attribute);
  tag = Tag();
  EXPECT_EQ(attribute->owner, nullptr);
  ztTagAttribute_of(attribute)->ref(attribute);
  EXPECT_EQ(insert("new", attribute, nullptr, 3), 1);
  EXPECT_EQ(attribute->owner, &tag.fields());
  EXPECT_EQ(valuesOf(attribute), "1 2 4");
  release(attribute);
}

TEST_F(ztTagFilled, TakesACopyOfAnAttributeOfItsOwnOrAnothers) {
  Tag other;
  for (const Tag *target : {&tag, &other}) {
    auto *copy = static_cast<ztTagAttribute *>(newCopy(tag.at(ints)));
    ztTagHandle handle;
    EXPECT_EQ((*target)->insertNew(*target, "copy", copy, &handle, 0, 3, nullptr), 1);
    EXPECT_EQ(target->at(handle), copy);
    EXPECT_EQ(copy->owner, &target->fields());
  }
  end(tag);
  const ztTagHandle first = {0, intType};
  const int32_t value = 5;
  EXPECT_EQ(other->setValue(other, &first, 1, &value), 1);
  EXPECT_EQ(other.changes(), 1);
}

TEST_F(ztTagFilled, IsToldByACopyThatGoesElsewhereOfItsInitialValueOnly) {
  const Tag other;
  const int32_t initial = 5;
  ztTagHandle handle;
  EXPECT_EQ(other->insertNew(other, "copy", newCopy(tag.at(ints)), &handle, 0, 1, &initial), 1);
  EXPECT_EQ(changes(), 1);
  EXPECT_EQ(other.changes(), 0);
  EXPECT_EQ(other->setValue(other, &handle, 0, &initial), 1);
  EXPECT_EQ(changes(), 1);
  EXPECT_EQ(other.changes(), 1);
}

static void *tagToRelease;

TEST_F(ztTagFilled, MayReleaseTheTagThatACopyGoesTo) {
  tagToRelease = ListeningTag_ctor(nullptr, 1);
  tag.fields().onChange = [](void *, void *) { release(tagToRelease); };
  const int32_t initial = 5;
  ztTagHandle handle = {-7, -7};
  EXPECT_EQ(tag->insertNew(tagToRelease, "copy", newCopy(tag.at(ints)), &handle, 0, 1, &initial), 0);
  EXPECT_EQ(handle.index, -7);
  tag.fields().onChange = nullptr;
}

// Finding -----------------------------------------------------------------------------------------

TEST_F(ztTagFilled, FindsByHandleAndByName) {
  EXPECT_STREQ(tag.at(ints)->name, "ints");
  EXPECT_STREQ(tag.at(floats)->name, "floats");
  EXPECT_STREQ(tag.at(others)->name, "others");
  int32_t index = -7;
  for (const char *name : {"", "int", "intsx", "INTS", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(tag->getByName(tag, name, &index), nullptr);
  }
  EXPECT_EQ(index, -7);
  EXPECT_EQ(tag->getByName(tag, "floats", &index), tag.at(floats));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(tag->getByName(tag, "others", nullptr), tag.at(others));
}

TEST_F(ztTagFilled, RefusesABadHandleInEveryOperation) {
  const std::string before = recordOf(tag);
  const auto reject = [&](const ztTagHandle *bad) {
    const int32_t value = 99;
    double out = 77;
    EXPECT_EQ(tag->getByHandle(tag, bad), nullptr);
    EXPECT_EQ(tag->setValue(tag, bad, 0, &value), 0);
    EXPECT_EQ(tag->setValue(tag, bad, -1, &value), 0);
    EXPECT_EQ(tag->setNumValues(tag, bad, 5, &value), 0);
    EXPECT_EQ(tag->getNumValues(tag, bad), 0);
    EXPECT_EQ(tag->getValue(tag, bad, 0, &out), nullptr);
    EXPECT_EQ(tag->getValues(tag, bad), nullptr);
    EXPECT_EQ(tag->getAverageValue(tag, bad, &out), nullptr);
    EXPECT_EQ(tag->getTotalValue(tag, bad, &out), nullptr);
    EXPECT_EQ(tag->allocWise(tag, bad), 0);
    EXPECT_EQ(tag->swapTags(tag, bad, &ints), 0);
    EXPECT_EQ(tag->swapTags(tag, &ints, bad), 0);
    EXPECT_EQ(out, 77);
  };
  // None designates an attribute, by its index or by its type.
  const ztTagHandle badHandles[] = {{0, 2},   {1, 1},  {0, -1},        {0, 0},         {3, 1},        {3, 2},
                                    {100, 1}, {-1, 1}, {INT32_MAX, 1}, {INT32_MIN, 2}, {INT32_MAX, 2}};
  for (const ztTagHandle &bad : badHandles) {
    SCOPED_TRACE(std::to_string(bad.index) + ", " + std::to_string(bad.type));
    reject(&bad);
  }
  reject(nullptr);
  EXPECT_EQ(recordOf(tag), before);
  EXPECT_EQ(changes(), 0);
}

// Values ------------------------------------------------------------------------------------------

TEST_F(ztTagFilled, SetsAndGetsValues) {
  const int32_t whole = 7;
  const double fraction = 0.25;
  EXPECT_EQ(tag->setValue(tag, &ints, 1, &whole), 1);
  EXPECT_EQ(tag->setValue(tag, &floats, 9, &fraction), 1);
  EXPECT_EQ(changes(), 2);
  EXPECT_EQ(tag.fields().lastAttribute, tag.at(floats));
  EXPECT_EQ(allValues(tag), "1 7 4; 0.25 2.5 4.5; 10 20 40; ");
  double out = 0;
  EXPECT_EQ(tag->getValue(tag, &floats, 2, &out),
            ztTagAttribute_of(tag.at(floats))->getValue(tag.at(floats), 2, nullptr));
  EXPECT_EQ(out, 4.5);
  EXPECT_NE(tag->getValue(tag, &floats, 1, nullptr), nullptr);
  EXPECT_EQ(tag->setValue(tag, &ints, 1, nullptr), 0);
  EXPECT_EQ(tag->setValue(tag, &ints, -2, &whole), 0);
  EXPECT_EQ(tag->getValue(tag, &ints, -1, &out), nullptr);
  EXPECT_EQ(tag->getValues(tag, &ints), tag.at(ints)->values) << "the array itself";
  EXPECT_EQ(tag->getNumValues(tag, &ints), 3);
}

TEST_F(ztTagFilled, SetsTheNumberOfValuesAndEachToTheInitialOne) {
  const int32_t initial = 3;
  for (const int32_t count : {-1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(tag->setNumValues(tag, &ints, count, &initial), 0);
  }
  EXPECT_EQ(tag->setNumValues(tag, &floats, 4, nullptr), 1);
  EXPECT_EQ(tag.values(floats), "1.5 2.5 4.5 0");
  EXPECT_EQ(tag->setNumValues(tag, &floats, 0, nullptr), 1);
  EXPECT_EQ(tag->getNumValues(tag, &floats), 0);
  EXPECT_EQ(tag.values(ints), "1 2 4");
  EXPECT_EQ(changes(), 0);
  EXPECT_EQ(tag->setNumValues(tag, &ints, 5, &initial), 1);
  EXPECT_EQ(tag.values(ints), "3 3 3 3 3");
  EXPECT_EQ(changes(), 1);
  EXPECT_EQ(tag->getNumValues(tag, &ints), 5);
}

TEST_F(ztTagFilled, ForwardsTotalsAndAverages) {
  int32_t whole = 77;
  EXPECT_EQ(tag->getTotalValue(tag, &ints, &whole), &whole);
  EXPECT_EQ(whole, 77);
  EXPECT_EQ(tag->getAverageValue(tag, &ints, &whole), &whole);
  EXPECT_EQ(whole, 7);
  double fraction = 0;
  EXPECT_EQ(tag->getAverageValue(tag, &floats, &fraction), &fraction);
  EXPECT_EQ(fraction, 8.5 / 3);
  EXPECT_EQ(tag->getTotalValue(tag, &floats, &fraction), &fraction);
  EXPECT_EQ(fraction, 8.5 / 3);
  EXPECT_EQ(tag->getTotalValue(tag, &floats, nullptr), nullptr);
}

TEST_F(ztTagFilled, DoesNothingInAllocWiseAndLeavesTheFirstValueInDeallocWise) {
  EXPECT_EQ(tag->allocWise(tag, &ints), 0);
  for (const char *expected : {"1.5", "1.5"}) {
    EXPECT_EQ(tag->deallocWise(tag, "floats"), 1);
    EXPECT_EQ(tag.values(floats), expected);
  }
  EXPECT_EQ(tag->setNumValues(tag, &floats, 0, nullptr), 1);
  EXPECT_EQ(tag->deallocWise(tag, "floats"), 1);
  EXPECT_EQ(allValues(tag), "1 2 4; 0; 10 20 40; ");
  EXPECT_EQ(tag->deallocWise(tag, "missing"), 0);
  EXPECT_EQ(tag->deallocWise(tag, nullptr), 0);
  EXPECT_EQ(changes(), 0);
}

TEST(ztTag, IgnoresChanges) {
  const Tag bare(ztTag_ctor);
  const ztTagHandle handle = bare.insert("name", ztIntTag_ctor, {1});
  const int32_t value = 2;
  EXPECT_EQ(bare->setValue(bare, &handle, 0, &value), 1);
  bare->attrChanged(bare, nullptr);
  EXPECT_EQ(bare->getNumValues(bare, &handle), 1);
}

TEST_F(ztTagTest, HoldsAnAttributeWithoutValues) {
  void *bare = ztTagAttribute_ctor(nullptr, 1);
  ztTagHandle handle;
  const int32_t value = 1;
  EXPECT_EQ(insert("bare", bare, &handle, 3, &value), 1);
  EXPECT_EQ(handle.type, -1);
  EXPECT_EQ(tag->getByHandle(tag, &handle), bare);
  EXPECT_EQ(tag->getNumValues(tag, &handle), 0);
  EXPECT_EQ(tag->getValues(tag, &handle), nullptr);
  EXPECT_EQ(tag->setValue(tag, &handle, 0, &value), 0);
  EXPECT_EQ(tag->setNumValues(tag, &handle, 2, &value), 0);
  EXPECT_EQ(tag->getValue(tag, &handle, 0, nullptr), nullptr);
  EXPECT_EQ(tag->swapTags(tag, &handle, &handle), 0);
  EXPECT_EQ(tag->deallocWise(tag, "bare"), 0);
  const Tag copy = tag.copy();
  EXPECT_EQ(copy.at(handle)->owner, &copy.fields());
  EXPECT_EQ(copy->assign(copy, tag), 1);
  EXPECT_EQ(tag->write(tag, Storage()), 0);
}

// Swapping ----------------------------------------------------------------------------------------

TEST_F(ztTagFilled, SwapsTheValuesOnly) {
  tag.at(ints)->userValue = 1;
  tag.at(others)->userValue = 2;
  int32_t total = 0;
  tag->getTotalValue(tag, &ints, &total);
  tag->getTotalValue(tag, &others, &total);
  const ztArray *first = tag->getValues(tag, &ints);
  EXPECT_EQ(tag->swapTags(tag, &ints, &others), 1);
  EXPECT_EQ(allValues(tag), "10 20 40; 1.5 2.5 4.5; 1 2 4; ");
  EXPECT_EQ(tag->getValues(tag, &others), first);
  EXPECT_STREQ(tag.at(ints)->name, "ints");
  EXPECT_EQ(tag.at(ints)->userValue, 1);
  EXPECT_EQ(tag.at(ints)->changed, 0u);
  EXPECT_EQ(changes(), 0);
  for (const int32_t expected : {7, 70}) {
    EXPECT_EQ(tag->getTotalValue(tag, &ints, &total), &total);
    EXPECT_EQ(total, expected);
  }
  EXPECT_EQ(tag->swapTags(tag, &ints, &ints), 1);
  EXPECT_EQ(tag.values(ints), "10 20 40");
}

TEST_F(ztTagFilled, SwapsNoDifferentTypesOrCounts) {
  EXPECT_EQ(tag->swapTags(tag, &ints, &floats), 0);
  EXPECT_EQ(tag->swapTags(tag, &floats, &ints), 0);
  ASSERT_EQ(tag->setNumValues(tag, &others, 2, nullptr), 1);
  EXPECT_EQ(tag->swapTags(tag, &ints, &others), 0);
  EXPECT_EQ(allValues(tag), "1 2 4; 1.5 2.5 4.5; 10 20; ");
}

TEST_F(ztTagFilled, KeepsItsHandlesWhenAStoredTypeContradictsTheValues) {
  std::string record = recordOf(tag.at(ints));
  record.replace(32, 8, bytesOf(floatType) + bytesOf(floatType));
  EXPECT_EQ(readRecord(tag.at(ints), record), 0);
  EXPECT_EQ(tag.values(ints), "1 2 4");
  EXPECT_EQ(tag.at({ints.index, floatType}), nullptr);
}

// A host may give attributes of two kinds one type.
TEST_F(ztTagFilled, SwapsNoDifferentArraysThatPassForOneType) {
  tag.at(ints)->type = floatType;
  const ztTagHandle passing = {ints.index, floatType};
  ASSERT_NE(tag.at(passing), nullptr);
  EXPECT_EQ(tag->swapTags(tag, &passing, &floats), 0);
  EXPECT_EQ(tag.values(floats), "1.5 2.5 4.5");
  EXPECT_EQ(ztTagAttribute_of(tag.at(floats))->assign(tag.at(floats), tag.at(passing)), 1);
  EXPECT_EQ(tag.values(floats), "1.5 2.5 4.5");
  const int32_t value = 9;
  EXPECT_EQ(tag->setValue(tag, &passing, 0, &value), 0);
  EXPECT_EQ(tag->deallocWise(tag, "ints"), 1);
  tag.at(passing)->type = intType;
  EXPECT_EQ(tag.values(ints), "1");
}

TEST_F(ztTagTest, SwapsNoArraysOfOneClassWhoseElementsDifferInSize) {
  for (const int32_t size : {4, 8}) {
    auto *bare = static_cast<ztTagAttribute *>(ztTagAttribute_ctor(nullptr, 1));
    bare->type = 11;
    bare->values = static_cast<ztArray *>(ztArray_ctor(nullptr, 1));
    ztArray_of(bare->values)->setElementSize(bare->values, size, 0);
    ASSERT_EQ(insert("bare", bare, nullptr, 2), 1);
  }
  const ztTagHandle four = {0, 11};
  const ztTagHandle eight = {1, 11};
  EXPECT_EQ(tag->swapTags(tag, &four, &eight), 0);
  EXPECT_EQ(tag->swapTags(tag, &four, &four), 1);
}

TEST_F(ztTagFilled, SwapsNothingWithAnAttributeWithoutValues) {
  auto *bare = static_cast<ztTagAttribute *>(ztTagAttribute_ctor(nullptr, 1));
  bare->type = intType;
  ztTagHandle handle;
  ASSERT_EQ(insert("bare", bare, &handle), 1);
  EXPECT_EQ(tag->swapTags(tag, &ints, &handle), 0);
  EXPECT_EQ(tag->swapTags(tag, &handle, &ints), 0);
  EXPECT_EQ(bare->values, nullptr);
  EXPECT_EQ(tag.values(ints), "1 2 4");
}

// Enumeration -------------------------------------------------------------------------------------

static int32_t visited;  // calls of a callback

TEST_F(ztTagFilled, EnumeratesInOrder) {
  EXPECT_EQ(enumerated(), (std::vector<const void *>{tag.at(ints), tag.at(floats), tag.at(others)}));
  EXPECT_EQ(tag->enumTags(tag, nullptr, nullptr), 0);
}

TEST_F(ztTagFilled, HandsItselfToTheCallbackThatMayStopTheEnumeration) {
  visited = 0;
  const auto stopAtSecond = [](void *given, void *, void *userData) -> int32_t {
    EXPECT_EQ(given, userData);
    return ++visited < 2 ? -1 : 0;
  };
  EXPECT_EQ(tag->enumTags(tag, stopAtSecond, tag), 0);
  EXPECT_EQ(visited, 2);
}

TEST_F(ztTagFilled, EnumeratesAttributesInsertedMeanwhileToo) {
  visited = 0;
  const auto insertSome = [](void *, void *, void *userData) -> int32_t {
    if (++visited <= 40) static_cast<const Tag *>(userData)->insert("more", ztIntTag_ctor, {1});
    return 1;
  };
  EXPECT_EQ(tag->enumTags(tag, insertSome, &tag), 1);
  EXPECT_EQ(visited, 43);
}

TEST_F(ztTagFilled, EndsTheEnumerationWhenTheCallbackReleasesTheTag) {
  visited = 0;
  const auto releaseTag = [](void *, void *, void *userData) -> int32_t {
    ++visited;
    end(*static_cast<Tag *>(userData));
    return 1;
  };
  EXPECT_EQ(tag->enumTags(tag, releaseTag, &tag), 1);
  EXPECT_EQ(visited, 1);
}

TEST_F(ztTagFilled, EnumeratesOnWhenTheCallbackReleasesTheAttribute) {
  visited = 0;
  const auto releaseIt = [](void *, void *attribute, void *) -> int32_t {
    release(attribute);
    return ++visited;
  };
  EXPECT_EQ(tag->enumTags(tag, releaseIt, nullptr), 1);
  EXPECT_EQ(visited, 3);
  EXPECT_EQ(tag.at(ints), nullptr);
}

// An attribute that is gone -----------------------------------------------------------------------

TEST_F(ztTagFilled, KeepsTheOtherHandlesWhenAnAttributeIsGone) {
  release(tag.at(floats));
  EXPECT_EQ(tag.at(floats), nullptr);
  EXPECT_EQ(tag.values(others), "10 20 40");
  EXPECT_EQ(tag->getByName(tag, "floats", nullptr), nullptr);
  EXPECT_EQ(enumerated(), (std::vector<const void *>{tag.at(ints), tag.at(others)}));
  EXPECT_EQ(tag.insert("next", ztIntTag_ctor, {1}).index, 3);
}

TEST_F(ztTagFilled, IsCopiedAssignedAndStoredWhenAnAttributeIsGone) {
  release(tag.at(floats));
  const Tag copy = tag.copy();
  EXPECT_EQ(copy.at(floats), nullptr);
  EXPECT_EQ(copy.values(others), "10 20 40");
  setValue(tag.at(others), 0, 3);
  EXPECT_EQ(copy->assign(copy, tag), 1);
  EXPECT_EQ(copy.values(others), "3 20 40");
  EXPECT_EQ(copy->setNumValues(copy, &others, 1, nullptr), 1);
  EXPECT_EQ(readRecord(copy, recordOf(tag)), 1);
  EXPECT_EQ(copy.values(others), "3 20 40");
}

TEST_F(ztTagFilled, KeepsTheValuesThatTheOtherLacks) {
  const Tag other = tag.copy();
  release(other.at(floats));
  setValue(other.at(others), -1, 3);
  EXPECT_EQ(tag->assign(tag, other), 1);
  EXPECT_EQ(allValues(tag), "1 2 4; 1.5 2.5 4.5; 3 3 3; ");
}

// Copies ------------------------------------------------------------------------------------------

TEST_F(ztTagFilled, HasACopyThatOwnsNewAttributes) {
  tag.at(ints)->userValue = 31;
  const Tag copy = tag.copy();
  EXPECT_NE(copy.fields().attributes, tag.fields().attributes);
  EXPECT_EQ(ztOOP_classOf(copy.fields().attributes), ztPtrArrayClass_Instance());
  for (const ztTagHandle &handle : {ints, floats, others}) {
    const ztTagAttribute *attribute = copy.at(handle);
    ASSERT_NE(attribute, nullptr);
    EXPECT_NE(attribute, tag.at(handle));
    EXPECT_EQ(ztOOP_classOf(attribute), ztOOP_classOf(tag.at(handle)));
    EXPECT_EQ(attribute->owner, &copy.fields());
    EXPECT_EQ(tag.at(handle)->owner, &tag.fields());
    EXPECT_STREQ(attribute->name, tag.at(handle)->name);
    EXPECT_EQ(attribute->refCount, 1);
  }
  EXPECT_EQ(copy.at(ints)->userValue, 31);
}

TEST_F(ztTagFilled, HasACopyThatIsIndependent) {
  tag.copy();  // and ends
  setValue(tag.at(ints), 0, 1);
  EXPECT_EQ(changes(), 1);
  const Tag copy = tag.copy();
  copy.changes() = 0;
  setValue(copy.at(ints), 0, 50);
  EXPECT_EQ(copy.changes(), 1);
  EXPECT_EQ(changes(), 1);
  copy.insert("more", ztIntTag_ctor, {1});
  EXPECT_EQ(tag.count(), 3);
  end(tag);
  EXPECT_EQ(copy.values(ints), "50 2 4");
  setValue(copy.at(ints), 1, 50);
  EXPECT_EQ(copy.changes(), 3);
}

TEST_F(ztTagFilled, HasNoCopyWhereAnAttributeHasNone) {
  EXPECT_EQ(insertNew("stubborn", StubbornTag_ctor), 1);
  tag.insert("behind", ztIntTag_ctor, {1});
  void *fresh = ListeningTag_newop();
  EXPECT_EQ(tag->clone(tag, fresh), nullptr);
  ztm_free(fresh);
  EXPECT_EQ(tag.at(ints)->owner, &tag.fields());
  EXPECT_EQ(allValues(tag), asMade);
  EXPECT_EQ(tag.count(), 5);
}

TEST_F(ztTagFilled, IsCopiedWithTheNodeAboveIt) {
  const Node node(ztRoot_ctor);
  tag->ref(tag);  // its own and the node's
  node->addChild(node, tag);
  const Node copy = node.copy();
  void *child = copy->getChildAt(copy, 0);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(static_cast<ztTagAttribute *>(tag->getByHandle(child, &ints))->owner, child);
  EXPECT_EQ(valuesOf(tag->getByHandle(child, &ints)), "1 2 4");
}

TEST_F(ztTagFilled, HearsItsAttributesWhereAnArrayMovedIt) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(ListeningTag), 0);
  array->setElementConstructor(array, ListeningTag_ctor);
  for (int i = 0; i < 30; ++i) ASSERT_NE(array->pushBack(array, tag), nullptr);
  array->removeAt(array, 3);
  for (int i = 0; i < 29; ++i) {
    auto *element = static_cast<ListeningTag *>(array->getAt(array, i));
    element->changes = 0;
    setValue(tag->getByHandle(element, &ints), 0, 50);
    EXPECT_EQ(element->changes, 1);
    setValue(tag->getByName(element, "floats", nullptr), 0, 0.5);
    EXPECT_EQ(element->changes, 2);
  }
  EXPECT_EQ(changes(), 0);
}

TEST_F(ztTagFilled, AssignsAttributeToAttribute) {
  const Tag other;
  const ztTagHandle first = other.insert("first", ztIntTag_ctor, {7, 8, 9});
  const ztTagHandle second = other.insert("second", ztIntTag_ctor, {7, 8, 9});
  EXPECT_EQ(other->assign(other, tag), 1);
  EXPECT_EQ(other.values(first), "1 2 4");
  EXPECT_EQ(other.values(second), "7 8 9");
  EXPECT_STREQ(other.at(first)->name, "first");
  EXPECT_EQ(other->setNumValues(other, &second, 1, nullptr), 1);
  EXPECT_EQ(tag->assign(tag, other), 1);
  EXPECT_EQ(tag.values(others), "10 20 40");
  EXPECT_EQ(tag.count(), 3);
}

TEST_F(ztTagFilled, TakesNoAttributesOfANodeThatIsNoTag) {
  const Node parent(ztRoot_ctor);
  parent->addChild(parent, tag);
  const Node other(ztRoot_ctor);
  void *plain = ztRoot_ctor(nullptr, 1);
  other->addChild(other, plain);
  EXPECT_EQ(parent->assign(parent, other), 1);
  EXPECT_EQ(tag.values(ints), "1 2 4");
  EXPECT_EQ(other->assign(other, parent), 1);
  tag->setParent(tag, nullptr);
  release(tag);  // what attaching and detaching added
  EXPECT_EQ(tag->getRefCount(tag), 2);
}

TEST_F(ztTagFilled, AssignsNothingWhereATagHasNoAttributes) {
  const Tag empty;
  EXPECT_EQ(empty->assign(empty, tag), 1);
  EXPECT_EQ(empty.fields().attributes, nullptr);
  EXPECT_EQ(tag->assign(tag, empty), 1);
  EXPECT_EQ(tag->assign(tag, tag), 1);
  EXPECT_EQ(allValues(tag), asMade);
  EXPECT_EQ(tag->assign(tag, nullptr), 0);
}

// Destruction -------------------------------------------------------------------------------------

TEST_F(ztTagTest, ReleasesItsAttributes) {
  const int32_t live = notingLive;
  for (const char *name : {"a", "b", "c"}) ASSERT_EQ(insertNew(name, NotingTag_ctor), 1);
  EXPECT_EQ(notingLive, live + 3);
  end(tag);
  EXPECT_EQ(notingLive, live);
}

TEST_F(ztTagFilled, IsDestroyedTwiceWithoutHarm) {
  tag->destroy(tag);
  EXPECT_EQ(tag.fields().attributes, nullptr);
  tag->destroy(tag);
  EXPECT_EQ(tag.at(ints), nullptr);
}

TEST(ztTag, MayLieInTheCallersMemory) {
  ztTag memory;
  ztTag_ctor(&memory, 1);
  const ztTagMethods *methods = ztTag_of(&memory);
  EXPECT_EQ(methods->insertNew(&memory, "name", ztIntTag_ctor(nullptr, 1), nullptr, 0, 1, nullptr), 1);
  const ztTagHandle handle = {0, intType};
  EXPECT_EQ(methods->getNumValues(&memory, &handle), 1);
  methods->destroy(&memory);
}

// The record --------------------------------------------------------------------------------------

namespace {

std::string nodeRecord(const Tag &tag) {
  const ListeningTag &node = tag.fields();
  return bytesOf(node.uid) + std::string(node.name, sizeof node.name) + bytesOf(node.parentUid);
}

constexpr size_t nodeSize = 4 + 80 + 4;
constexpr size_t attributeSize = 32 + 4 + 4 + 4 + 4;  // without values

}  // namespace

TEST_F(ztTagFilled, WritesTheNodeAndThenEachAttribute) {
  const std::string name(tag.fields().name, sizeof tag.fields().name);
  const std::pair<ztCtor, std::string> nodes[] = {
      {ztFile_ctor, nodeRecord(tag)},
      {ztTextFile_ctor, std::to_string(tag.fields().uid) + "\n" + name + "\n-1\n"}};
  for (const auto &[form, node] : nodes) {
    EXPECT_EQ(recordOf(tag, form), node + recordOf(tag.at(ints), form) + recordOf(tag.at(floats), form) +
                                       recordOf(tag.at(others), form));
  }
}

TEST_F(ztTagTest, HasTheRecordOfANodeWithoutAttributes) {
  const std::string record = recordOf(tag);
  EXPECT_EQ(record, nodeRecord(tag));
  tag.fields().uid = 0;
  EXPECT_EQ(readRecord(tag, record), 1);
  EXPECT_EQ(nodeRecord(tag), record);
}

TEST_F(ztTagFilled, ReadsWhatWasWritten) {
  setValues(tag.at(ints), {65, 66, 67});
  setValues(tag.at(others), {70, 71});
  tag.at(floats)->userValue = 9;
  tag->setName(tag, "stored");
  for (const ztCtor form : {ztFile_ctor, ztTextFile_ctor}) {
    const Tag other;
    other.insert("a", ztIntTag_ctor, {0});
    other.insert("b", ztFloatTag_ctor, {0});
    other.insert("c", ztIntTag_ctor, {0});
    other.changes() = 0;
    EXPECT_EQ(readRecord(other, recordOf(tag, form), form), 1);
    EXPECT_STREQ(other.fields().name, "stored");
    EXPECT_EQ(other.fields().uid, tag.fields().uid);
    EXPECT_EQ(other.changes(), 0);
    for (const char *name : {"ints", "floats", "others"}) {
      EXPECT_EQ(valuesOf(other->getByName(other, name, nullptr)),
                valuesOf(tag->getByName(tag, name, nullptr)));
    }
    EXPECT_EQ(other.at(floats)->userValue, 9);
    EXPECT_EQ(other.at(floats)->owner, &other.fields());
  }
}

TEST(ztTag, IsReadByTheIdentityOfItsClass) {
  const Tag plain(ztTag_ctor);
  const Storage file;
  ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, plain, file), 1);
  ASSERT_EQ(plain->write(plain, file), 1);
  EXPECT_EQ(file.bytes().size(), 104 + nodeSize);
  const Tag read(ztBaseClass_functions()->classRead(nullptr, file));
  ASSERT_NE(static_cast<void *>(read), nullptr);
  EXPECT_EQ(ztOOP_classOf(read), ztTagClass_Instance());
  EXPECT_EQ(read->read(read, file), 1);
  EXPECT_EQ(read.fields().uid, plain.fields().uid);
}

// Missing element bytes at the very end read as zeros; all else must be there.
TEST_F(ztTagFilled, FailsToReadARecordThatIsCut) {
  const std::string record = recordOf(tag);
  const size_t lastValues = nodeSize + 3 * attributeSize + 3 * 4 + 3 * 8;
  ASSERT_EQ(record.size(), lastValues + 3 * 4);
  for (size_t size = 0; size < record.size(); ++size) {
    EXPECT_EQ(readRecord(tag, record.substr(0, size)), size >= lastValues) << size;
  }
  EXPECT_EQ(readRecord(tag, record), 1);
  EXPECT_EQ(recordOf(tag), record);
}

TEST_F(ztTagFilled, IsReadByATagWithFewerAttributesForThoseItHasButNotByOneWithMore) {
  const Tag fewer;
  fewer.insert("one", ztIntTag_ctor, {0});
  const Storage file(ztFile_ctor, recordOf(tag));
  EXPECT_EQ(fewer->read(fewer, file), 1);
  EXPECT_EQ(fewer.values(ints), "1 2 4");
  EXPECT_EQ(file->tell(file), static_cast<int64_t>(nodeSize + attributeSize + 3 * 4));
  const std::string record = recordOf(tag);
  tag.insert("more", ztIntTag_ctor, {5});
  EXPECT_EQ(readRecord(tag, record), 0);
  EXPECT_EQ(tag.values({3, intType}), "5");
}

TEST_F(ztTagFilled, IsNotReadByATagWithOtherAttributesWhichStaysWhole) {
  const Tag other;
  const ztTagHandle first = other.insert("a", ztFloatTag_ctor, {0.5});
  other.insert("b", ztIntTag_ctor, {0});
  EXPECT_EQ(readRecord(other, recordOf(tag)), 0);
  ASSERT_NE(other.at(first), nullptr);
  EXPECT_STREQ(other.at(first)->name, "ints");
  EXPECT_EQ(other.values(first), "0.5");
  double total = 0;
  EXPECT_EQ(other->getTotalValue(other, &first, &total), &total);
  EXPECT_EQ(total, 0.5);
  EXPECT_NE(other->getByName(other, "b", nullptr), nullptr);
}

TEST_F(ztTagFilled, EndsReadingAndWritingAtAnAttributeThatFails) {
  EXPECT_EQ(insertNew("stubborn", StubbornTag_ctor), 1);
  tag.insert("behind", ztIntTag_ctor, {1});
  // A host's own may hand on what a text file's primitives give.
  for (const int32_t failure : {0, -1}) {
    stubbornResult = failure;
    const Storage file;
    EXPECT_EQ(tag->write(tag, file), 0);
    EXPECT_EQ(file.bytes().size(), nodeSize + 3 * attributeSize + 3 * 4 + 3 * 8 + 3 * 4);
    EXPECT_EQ(readRecord(tag, file.bytes() + recordOf(tag.at(ints))), 0);
    EXPECT_EQ(tag.values({4, intType}), "1");
  }
}

TEST_F(ztTagFilled, NeedsAnOpenFileToReadAndWrite) {
  const Owned closed(ztFile_ctor);
  for (void *file : {static_cast<void *>(closed), static_cast<void *>(nullptr)}) {
    EXPECT_EQ(tag->write(tag, file), 0);
    EXPECT_EQ(tag->read(tag, file), 0);
  }
  EXPECT_EQ(allValues(tag), asMade);
}

TEST_F(ztTagFilled, StopsWritingAtTheFirstFailure) {
  // The node's record takes three writes, an attribute's five and one for each value.
  const int all = 3 + 3 * (5 + 3);
  for (const int allowed : {0, 1, 2, 3, 7, 11, 15, 19, 23, all}) {
    const Storage file(FaultyFile_ctor);
    FileScript script;
    script.answerAll(0, allowed);
    EXPECT_EQ(tag->write(tag, file), allowed == all) << allowed;
    if (allowed == all) {
      EXPECT_EQ(script.calls.size(), static_cast<size_t>(all));
    }
  }
}
