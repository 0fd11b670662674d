#include "tags/zttag.h"

#include "core/ztmem.h"
#include "io/zttxtfile.h"
#include "tests/tags/attributes.hh"

// An integer attribute that can neither be copied nor stored.
#define StubbornTag_FIELDS ztIntTag_FIELDS
#define StubbornTag_METHODS ztIntTag_METHODS
ZT_DECLARE_CLASS(StubbornTag)

static void *stubbornTagClone(const void *, void *) {
  return nullptr;
}

static int32_t stubbornResult;

static int32_t stubbornTagWrite(const void *, void *) {
  return stubbornResult;
}

static int32_t stubbornTagRead(void *, void *) {
  return stubbornResult;
}

static void stubbornTagMethods(StubbornTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, clone, stubbornTagClone);
  ZT_OVERRIDE_METHOD(methods, write, stubbornTagWrite);
  ZT_OVERRIDE_METHOD(methods, read, stubbornTagRead);
}

ZT_DEFINE_CLASS(StubbornTag, ztIntTag, stubbornTagMethods)

// An integer attribute that counts the live ones, and notes what is done to it.
#define NotingTag_FIELDS ztIntTag_FIELDS
#define NotingTag_METHODS ztIntTag_METHODS
ZT_DECLARE_CLASS(NotingTag)

static int32_t notingLive;
static std::vector<std::string> notes;

static int32_t notingTagCreate(void *object) {
  ++notingLive;
  return ztIntTag_table()->create(object);
}

static void notingTagDestroy(void *object) {
  --notingLive;
  ztIntTag_table()->destroy(object);
}

static int32_t notingTagSetValue(void *object, int32_t index, const void *value) {
  const auto *attribute = static_cast<const ztTagAttribute *>(object);
  notes.push_back("setValue " + std::to_string(index) + (value == nullptr ? " NULL" : "") + " of " +
                  attribute->name + (attribute->owner == nullptr ? "" : ", owned"));
  return ztIntTag_table()->setValue(object, index, value);
}

static int32_t notingTagSetNumValues(void *object, int32_t count) {
  notes.push_back("setNumValues " + std::to_string(count));
  return ztIntTag_table()->setNumValues(object, count);
}

static void notingTagMethods(NotingTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, notingTagCreate);
  ZT_OVERRIDE_METHOD(methods, destroy, notingTagDestroy);
  ZT_OVERRIDE_METHOD(methods, setValue, notingTagSetValue);
  ZT_OVERRIDE_METHOD(methods, setNumValues, notingTagSetNumValues);
}

ZT_DEFINE_CLASS(NotingTag, ztIntTag, notingTagMethods)

namespace {

// A listening tag; each of the tests inserts what it needs.
class Tag : public testing::Test {
 protected:
  ~Tag() override {
    if (tag != nullptr) release(tag);
  }

  ztTagAttribute *at(const ztTagHandle &handle) const {
    return static_cast<ztTagAttribute *>(methods->getByHandle(tag, &handle));
  }
  int32_t countIn() const {
    return tag->attributes == nullptr ? 0 : ztPtrArray_of(tag->attributes)->getSize(tag->attributes);
  }

  ListeningTag *tag = static_cast<ListeningTag *>(ListeningTag_ctor(nullptr, 1));
  const ztTagMethods *methods = ztTag_of(tag);
};

// A tag with three attributes: three integers, three floats, and three integers again.
class FilledTag : public Tag {
 protected:
  const ztTagHandle ints = insert(tag, "ints", Ints{1, 2, 4});
  const ztTagHandle floats = insert(tag, "floats", Floats{1.5, 2.5, 4.5});
  const ztTagHandle others = insert(tag, "others", Ints{10, 20, 40});
  const int32_t changesBefore = tag->changes;
  // None designates an attribute, by its index or by its type.
  const std::vector<ztTagHandle> badHandles = {{0, 2},         {1, 1},         {0, -1},       {0, 0},
                                               {3, 1},         {3, 2},         {100, 1},      {-1, 1},
                                               {INT32_MAX, 1}, {INT32_MIN, 2}, {INT32_MAX, 2}};
};

using Attributes = std::vector<const void *>;

int32_t collect(void *, void *attribute, void *userData) {
  static_cast<Attributes *>(userData)->push_back(attribute);
  return 1;
}

}  // namespace

TEST_F(Tag, IsANodeWithoutAttributes) {
  EXPECT_EQ(tag->attributes, nullptr);
  EXPECT_EQ(methods->emptySlot2, nullptr);
  EXPECT_EQ(ztOOP_isClassOf(tag, "ztRoot"), 1);
  EXPECT_EQ(tag->parentUid, -1);
  void *made = ztNewFromName("ztTag");
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(static_cast<ztTag *>(made)->attributes, nullptr);
  release(made);
}

// Insertion ---------------------------------------------------------------------------------------

TEST_F(Tag, TheFirstInsertionMakesTheArrayAndHandleZero) {
  void *attribute = ztFloatTag_ctor(nullptr, 1);
  ztTagHandle handle = {-1, -1};
  const double initial = 2.5;
  EXPECT_EQ(methods->insertNew(tag, "first", attribute, &handle, 42, 3, &initial), 1);
  EXPECT_EQ(handle.index, 0);
  EXPECT_EQ(handle.type, floatType);
  EXPECT_EQ(ztOOP_classOf(tag->attributes), ztPtrArrayClass_Instance());
  EXPECT_EQ(methods->getByHandle(tag, &handle), attribute);
  EXPECT_EQ(valuesOf<double>(attribute), (Floats{2.5, 2.5, 2.5}));
  EXPECT_STREQ(at(handle)->name, "first");
  EXPECT_EQ(at(handle)->userValue, 42);
  EXPECT_EQ(at(handle)->owner, tag);
  EXPECT_EQ(ztTagAttribute_of(attribute)->getRefCount(attribute), 1);
}

TEST_F(Tag, HandlesCountUp) {
  for (int32_t i = 0; i < 20; ++i) {
    const ztTagHandle handle = i % 2 ? insert(tag, "n", Ints{i}) : insert(tag, "n", Floats{1.0 * i});
    EXPECT_EQ(handle.index, i);
    EXPECT_EQ(handle.type, i % 2 ? intType : floatType);
  }
  EXPECT_EQ(countIn(), 20);
}

TEST_F(Tag, InsertionNamesSizesAndSetsAheadOfTheOwner) {
  notes.clear();
  void *attribute = NotingTag_ctor(nullptr, 1);
  const int32_t initial = 6;
  EXPECT_EQ(methods->insertNew(tag, "new", attribute, nullptr, 0, 2, &initial), 1);
  EXPECT_EQ(notes, (std::vector<std::string>{"setNumValues 2", "setValue -1 of new"}));
  EXPECT_EQ(tag->changes, 0);
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{6, 6}));
}

TEST_F(Tag, ANullInitialValueLeavesTheValues) {
  void *attribute = newAttribute(Ints{7, 8, 9});
  EXPECT_EQ(methods->insertNew(tag, "kept", attribute, nullptr, 0, 4, nullptr), 1);
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{7, 8, 9, 0}));
}

TEST_F(Tag, InsertsAnAttributeWithoutValues) {
  const int32_t initial = 6;
  ztTagHandle handle;
  EXPECT_EQ(methods->insertNew(tag, "none", ztIntTag_ctor(nullptr, 1), &handle, 0, 0, &initial), 1);
  EXPECT_EQ(methods->getNumValues(tag, &handle), 0);
  int32_t out = 77;
  EXPECT_EQ(methods->getValue(tag, &handle, 0, &out), nullptr);
  EXPECT_EQ(methods->setValue(tag, &handle, 0, &initial), 0);
  EXPECT_EQ(out, 77);
}

TEST_F(Tag, ACountThatCannotBeLeavesTheNumberOfValues) {
  for (const int32_t count : {-1, INT32_MIN, INT32_MAX}) {
    void *attribute = newAttribute(Ints{7, 8});
    const int32_t initial = 6;
    EXPECT_EQ(methods->insertNew(tag, "count", attribute, nullptr, 0, count, &initial), 1);
    EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{6, 6}));
  }
}

TEST_F(Tag, NamesAreCutTo31Characters) {
  for (const size_t length : {0u, 1u, 30u, 31u, 32u, 33u, 200u}) {
    const std::string name(length, 'n');
    void *fresh = ListeningTag_ctor(nullptr, 1);
    const ztTagHandle handle = insert(fresh, name.c_str(), Ints{1});
    auto *attribute = static_cast<ztTagAttribute *>(ztTag_of(fresh)->getByHandle(fresh, &handle));
    const std::string kept = name.substr(0, 31);
    EXPECT_EQ(std::string(attribute->name, 32), fieldOf(kept, 32));
    EXPECT_EQ(attribute->type, intType);
    EXPECT_EQ(ztTag_of(fresh)->getByName(fresh, kept.c_str(), nullptr), attribute);
    void *found = ztTag_of(fresh)->getByName(fresh, name.c_str(), nullptr);
    EXPECT_EQ(found, length > 31 ? nullptr : attribute);
    release(fresh);
  }
}

TEST_F(Tag, RefusesNoAttribute) {
  ztTagHandle handle = {-7, -7};
  EXPECT_EQ(methods->insertNew(tag, "name", nullptr, &handle, 0, 1, nullptr), 0);
  EXPECT_EQ(handle.index, -7);
  EXPECT_EQ(countIn(), 0);
}

TEST_F(Tag, AcceptsAnEmptyNameOnlyAsTheFirst) {
  const int32_t live = notingLive;
  EXPECT_EQ(methods->insertNew(tag, "", NotingTag_ctor(nullptr, 1), nullptr, 0, 1, nullptr), 1);
  EXPECT_EQ(notingLive, live + 1);
  for (const char *name : {"", static_cast<const char *>(nullptr)}) {
    ztTagHandle handle = {-7, -7};
    EXPECT_EQ(methods->insertNew(tag, name, NotingTag_ctor(nullptr, 1), &handle, 0, 1, nullptr), 0);
    EXPECT_EQ(handle.index, -7);
    EXPECT_EQ(notingLive, live + 1) << "the refused attribute was not released";
  }
  EXPECT_EQ(countIn(), 1);
}

TEST_F(Tag, ANullNameIsTheEmptyOne) {
  ztTagHandle handle;
  EXPECT_EQ(methods->insertNew(tag, nullptr, ztIntTag_ctor(nullptr, 1), &handle, 0, 1, nullptr), 1);
  EXPECT_STREQ(at(handle)->name, "");
}

TEST_F(Tag, RefusesAnAttributeThatBearsTheNameAlready) {
  insert(tag, "first", Ints{1});
  const int32_t live = notingLive;
  auto *attribute = static_cast<ztTagAttribute *>(NotingTag_ctor(nullptr, 1));
  strcpy(attribute->name, "second");
  EXPECT_EQ(methods->insertNew(tag, "second", attribute, nullptr, 0, 1, nullptr), 0);
  EXPECT_EQ(notingLive, live);
  EXPECT_EQ(countIn(), 1);
}

TEST_F(Tag, RefusingReleasesOneReferenceOnly) {
  insert(tag, "first", Ints{1});
  auto *attribute = newAttribute(Ints{3});
  strcpy(attribute->name, "second");
  keep(attribute);
  EXPECT_EQ(methods->insertNew(tag, "second", attribute, nullptr, 0, 1, nullptr), 0);
  EXPECT_EQ(ztTagAttribute_of(attribute)->getRefCount(attribute), 2);
  EXPECT_EQ(attribute->owner, nullptr);
  release(attribute);
}

TEST_F(Tag, AcceptsItsOwnNameInAnEmptyTag) {
  auto *attribute = newAttribute(Ints{3});
  strcpy(attribute->name, "only");
  EXPECT_EQ(methods->insertNew(tag, attribute->name, attribute, nullptr, 0, 1, nullptr), 1);
  EXPECT_STREQ(attribute->name, "only");
}

TEST_F(Tag, DuplicateNamesAreAccepted) {
  const ztTagHandle first = insert(tag, "same", Ints{1});
  const ztTagHandle second = insert(tag, "same", Floats{2});
  EXPECT_EQ(second.index, 1);
  int32_t index = -7;
  EXPECT_EQ(methods->getByName(tag, "same", &index), at(first));
  EXPECT_EQ(index, 0);
}

TEST_F(FilledTag, RefusesAnAttributeThatIsInATagWithoutReleasingIt) {
  ztTagAttribute *attribute = at(ints);
  void *other = ListeningTag_ctor(nullptr, 1);
  for (void *given : {static_cast<void *>(tag), other}) {
    ztTagHandle handle = {-7, -7};
    const int32_t initial = 99;
    EXPECT_EQ(ztTag_of(given)->insertNew(given, "again", attribute, &handle, 9, 1, &initial), 0);
    EXPECT_EQ(handle.index, -7);
  }
  EXPECT_EQ(attribute->owner, tag);
  EXPECT_EQ(countIn(), 3);
  EXPECT_STREQ(attribute->name, "ints");
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{1, 2, 4}));
  EXPECT_EQ(ztTagAttribute_of(attribute)->getRefCount(attribute), 1);
  release(other);
}

TEST_F(FilledTag, AnAttributeThatSurvivedItsTagCanBeInsertedAgain) {
  ztTagAttribute *attribute = at(ints);
  keep(attribute);
  release(tag);
  EXPECT_EQ(attribute->owner, nullptr);
  tag = static_cast<ListeningTag *>(ListeningTag_ctor(nullptr, 1));
  ztTagAttribute_of(attribute)->ref(attribute);
  EXPECT_EQ(methods->insertNew(tag, "new", attribute, nullptr, 0, 3, nullptr), 1);
  EXPECT_EQ(attribute->owner, tag);
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{1, 2, 4}));
  release(attribute);
}

TEST_F(FilledTag, ACopyOfAnAttributeCanBeInsertedAnywhere) {
  auto *other = static_cast<ListeningTag *>(ListeningTag_ctor(nullptr, 1));
  for (ListeningTag *target : {tag, other}) {
    auto *copy = static_cast<ztTagAttribute *>(copyOf(at(ints)));
    ztTagHandle handle;
    EXPECT_EQ(methods->insertNew(target, "copy", copy, &handle, 0, 3, nullptr), 1);
    EXPECT_EQ(methods->getByHandle(target, &handle), copy);
    EXPECT_EQ(copy->owner, target);
  }
  const ztTagHandle first = {0, intType};
  release(tag);
  tag = nullptr;
  const int32_t value = 5;
  EXPECT_EQ(methods->setValue(other, &first, 1, &value), 1);
  EXPECT_EQ(other->changes, 1);
  release(other);
}

TEST_F(FilledTag, ACopyTellsItsSourcesOwnerOfItsInitialValueOnly) {
  void *copy = copyOf(at(ints));
  auto *other = static_cast<ListeningTag *>(ListeningTag_ctor(nullptr, 1));
  const int32_t initial = 5;
  ztTagHandle handle;
  EXPECT_EQ(methods->insertNew(other, "copy", copy, &handle, 0, 1, &initial), 1);
  EXPECT_EQ(tag->changes, changesBefore + 1);
  EXPECT_EQ(other->changes, 0);
  EXPECT_EQ(methods->setValue(other, &handle, 0, &initial), 1);
  EXPECT_EQ(tag->changes, changesBefore + 1);
  EXPECT_EQ(other->changes, 1);
  release(other);
}

static void *tagToRelease;

TEST_F(FilledTag, TheOwnerOfACopiesSourceMayReleaseTheTagItGoesTo) {
  void *copy = copyOf(at(ints));
  tagToRelease = ListeningTag_ctor(nullptr, 1);
  tag->onChange = [](void *, void *) { release(tagToRelease); };
  const int32_t initial = 5;
  ztTagHandle handle = {-7, -7};
  EXPECT_EQ(methods->insertNew(tagToRelease, "copy", copy, &handle, 0, 1, &initial), 0);
  EXPECT_EQ(handle.index, -7);
  tag->onChange = nullptr;
}

// Finding -----------------------------------------------------------------------------------------

TEST_F(FilledTag, FindsByHandle) {
  EXPECT_STREQ(at(ints)->name, "ints");
  EXPECT_STREQ(at(floats)->name, "floats");
  EXPECT_STREQ(at(others)->name, "others");
}

TEST_F(FilledTag, FindsByName) {
  int32_t index = -7;
  EXPECT_EQ(methods->getByName(tag, "floats", &index), at(floats));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(methods->getByName(tag, "others", nullptr), at(others));
}

TEST_F(FilledTag, FindsNoOtherName) {
  int32_t index = -7;
  for (const char *name : {"", "int", "intsx", "INTS", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(methods->getByName(tag, name, &index), nullptr);
  }
  EXPECT_EQ(index, -7);
}

TEST_F(Tag, FindsNothingWithoutAttributes) {
  const ztTagHandle handle = {0, intType};
  EXPECT_EQ(methods->getByName(tag, "name", nullptr), nullptr);
  EXPECT_EQ(methods->getByName(tag, "", nullptr), nullptr);
  EXPECT_EQ(methods->getByHandle(tag, &handle), nullptr);
  EXPECT_EQ(methods->deallocWise(tag, "name"), 0);
}

TEST_F(FilledTag, BadHandlesAreRejectedByEveryOperation) {
  const std::string before = Records().of(tag);
  const auto reject = [&](const ztTagHandle *bad) {
    const int32_t value = 99;
    double out = 77;
    EXPECT_EQ(methods->getByHandle(tag, bad), nullptr);
    EXPECT_EQ(methods->setValue(tag, bad, 0, &value), 0);
    EXPECT_EQ(methods->setValue(tag, bad, -1, &value), 0);
    EXPECT_EQ(methods->setNumValues(tag, bad, 5, &value), 0);
    EXPECT_EQ(methods->getNumValues(tag, bad), 0);
    EXPECT_EQ(methods->getValue(tag, bad, 0, &out), nullptr);
    EXPECT_EQ(methods->getValues(tag, bad), nullptr);
    EXPECT_EQ(methods->getAverageValue(tag, bad, &out), nullptr);
    EXPECT_EQ(methods->getTotalValue(tag, bad, &out), nullptr);
    EXPECT_EQ(methods->allocWise(tag, bad), 0);
    EXPECT_EQ(methods->swapTags(tag, bad, &ints), 0);
    EXPECT_EQ(methods->swapTags(tag, &ints, bad), 0);
    EXPECT_EQ(out, 77);
  };
  for (const ztTagHandle &bad : badHandles) {
    SCOPED_TRACE(std::to_string(bad.index) + ", " + std::to_string(bad.type));
    reject(&bad);
  }
  reject(nullptr);
  EXPECT_EQ(Records().of(tag), before);
  EXPECT_EQ(tag->changes, changesBefore);
}

// Values ------------------------------------------------------------------------------------------

TEST_F(FilledTag, SetsAndGetsValues) {
  const int32_t whole = 7;
  const double fraction = 0.25;
  EXPECT_EQ(methods->setValue(tag, &ints, 1, &whole), 1);
  EXPECT_EQ(methods->setValue(tag, &floats, 9, &fraction), 1);
  EXPECT_EQ(tag->changes, changesBefore + 2);
  EXPECT_EQ(tag->lastAttribute, at(floats));
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 7, 4}));
  EXPECT_EQ(valuesOf<double>(at(floats)), (Floats{0.25, 2.5, 4.5}));
  double out = 0;
  EXPECT_EQ(methods->getValue(tag, &floats, 2, &out),
            ztTagAttribute_of(at(floats))->getValue(at(floats), 2, nullptr));
  EXPECT_EQ(out, 4.5);
  EXPECT_NE(methods->getValue(tag, &floats, 1, nullptr), nullptr);
  EXPECT_EQ(methods->setValue(tag, &ints, 1, nullptr), 0);
  EXPECT_EQ(methods->setValue(tag, &ints, -2, &whole), 0);
  EXPECT_EQ(methods->getValue(tag, &ints, -1, &out), nullptr);
}

TEST_F(FilledTag, SetNumValuesSetsEveryValue) {
  const int32_t initial = 3;
  EXPECT_EQ(methods->setNumValues(tag, &ints, 5, &initial), 1);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{3, 3, 3, 3, 3}));
  EXPECT_EQ(tag->changes, changesBefore + 1);
  EXPECT_EQ(methods->getNumValues(tag, &ints), 5);
}

TEST_F(FilledTag, SetNumValuesWithoutAnInitialValueKeepsThem) {
  EXPECT_EQ(methods->setNumValues(tag, &floats, 4, nullptr), 1);
  EXPECT_EQ(valuesOf<double>(at(floats)), (Floats{1.5, 2.5, 4.5, 0}));
  EXPECT_EQ(methods->setNumValues(tag, &floats, 0, nullptr), 1);
  EXPECT_EQ(methods->getNumValues(tag, &floats), 0);
  EXPECT_EQ(tag->changes, changesBefore);
}

TEST_F(FilledTag, SetNumValuesThatCannotBeSetsNothing) {
  const int32_t initial = 3;
  for (const int32_t count : {-1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(methods->setNumValues(tag, &ints, count, &initial), 0);
  }
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
  EXPECT_EQ(tag->changes, changesBefore);
}

TEST_F(FilledTag, HandsOutTheArrayOfValuesItself) {
  EXPECT_EQ(methods->getValues(tag, &ints), at(ints)->values);
  EXPECT_EQ(methods->getNumValues(tag, &ints), 3);
}

TEST_F(FilledTag, ForwardsTotalsAndAverages) {
  int32_t whole = 77;
  EXPECT_EQ(methods->getTotalValue(tag, &ints, &whole), &whole);
  EXPECT_EQ(whole, 77);
  EXPECT_EQ(methods->getAverageValue(tag, &ints, &whole), &whole);
  EXPECT_EQ(whole, 7);
  double fraction = 0;
  EXPECT_EQ(methods->getAverageValue(tag, &floats, &fraction), &fraction);
  EXPECT_EQ(fraction, 8.5 / 3);
  EXPECT_EQ(methods->getTotalValue(tag, &floats, &fraction), &fraction);
  EXPECT_EQ(fraction, 8.5 / 3);
  EXPECT_EQ(methods->getTotalValue(tag, &floats, nullptr), nullptr);
}

TEST_F(FilledTag, AllocWiseDoesNothing) {
  EXPECT_EQ(methods->allocWise(tag, &ints), 0);
  EXPECT_EQ(methods->getNumValues(tag, &ints), 3);
}

TEST_F(FilledTag, DeallocWiseLeavesTheFirstValue) {
  EXPECT_EQ(methods->deallocWise(tag, "floats"), 1);
  EXPECT_EQ(valuesOf<double>(at(floats)), (Floats{1.5}));
  EXPECT_EQ(methods->deallocWise(tag, "floats"), 1);
  EXPECT_EQ(methods->setNumValues(tag, &floats, 0, nullptr), 1);
  EXPECT_EQ(methods->deallocWise(tag, "floats"), 1);
  EXPECT_EQ(valuesOf<double>(at(floats)), (Floats{0}));
  EXPECT_EQ(methods->deallocWise(tag, "missing"), 0);
  EXPECT_EQ(methods->deallocWise(tag, nullptr), 0);
  EXPECT_EQ(tag->changes, changesBefore);
}

TEST_F(Tag, ABareTagIgnoresChanges) {
  void *bare = ztTag_ctor(nullptr, 1);
  const ztTagHandle handle = insert(bare, "name", Ints{1});
  const int32_t value = 2;
  EXPECT_EQ(ztTag_of(bare)->setValue(bare, &handle, 0, &value), 1);
  ztTag_of(bare)->attrChanged(bare, nullptr);
  EXPECT_EQ(ztTag_of(bare)->getNumValues(bare, &handle), 1);
  release(bare);
}

TEST_F(Tag, HoldsAnAttributeWithoutValues) {
  void *bare = ztTagAttribute_ctor(nullptr, 1);
  ztTagHandle handle;
  const int32_t value = 1;
  EXPECT_EQ(methods->insertNew(tag, "bare", bare, &handle, 5, 3, &value), 1);
  EXPECT_EQ(handle.type, -1);
  EXPECT_EQ(methods->getByHandle(tag, &handle), bare);
  EXPECT_EQ(methods->getNumValues(tag, &handle), 0);
  EXPECT_EQ(methods->getValues(tag, &handle), nullptr);
  EXPECT_EQ(methods->setValue(tag, &handle, 0, &value), 0);
  EXPECT_EQ(methods->setNumValues(tag, &handle, 2, &value), 0);
  EXPECT_EQ(methods->getValue(tag, &handle, 0, nullptr), nullptr);
  EXPECT_EQ(methods->swapTags(tag, &handle, &handle), 0);
  EXPECT_EQ(methods->deallocWise(tag, "bare"), 0);
  void *copy = copyOf(tag);
  EXPECT_EQ(static_cast<ztTagAttribute *>(methods->getByHandle(copy, &handle))->owner, copy);
  EXPECT_EQ(methods->assign(copy, tag), 1);
  release(copy);
  EXPECT_EQ(methods->write(tag, Records().toWrite()), 0);
}

// Swapping ----------------------------------------------------------------------------------------

TEST_F(FilledTag, SwapsTheValuesOnly) {
  at(ints)->userValue = 1;
  at(others)->userValue = 2;
  int32_t total = 0;
  methods->getTotalValue(tag, &ints, &total);
  methods->getTotalValue(tag, &others, &total);
  const ztArray *first = methods->getValues(tag, &ints);
  EXPECT_EQ(methods->swapTags(tag, &ints, &others), 1);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{10, 20, 40}));
  EXPECT_EQ(valuesOf<int32_t>(at(others)), (Ints{1, 2, 4}));
  EXPECT_EQ(methods->getValues(tag, &others), first);
  EXPECT_STREQ(at(ints)->name, "ints");
  EXPECT_EQ(at(ints)->userValue, 1);
  EXPECT_EQ(at(ints)->changed, 0u);
  EXPECT_EQ(tag->changes, changesBefore);
  EXPECT_EQ(methods->getTotalValue(tag, &ints, &total), &total);
  EXPECT_EQ(total, 7);
  EXPECT_EQ(methods->getTotalValue(tag, &ints, &total), &total);
  EXPECT_EQ(total, 70);
}

TEST_F(FilledTag, SwapsAnAttributeWithItself) {
  EXPECT_EQ(methods->swapTags(tag, &ints, &ints), 1);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
}

TEST_F(FilledTag, SwapsNoDifferentTypesOrCounts) {
  EXPECT_EQ(methods->swapTags(tag, &ints, &floats), 0);
  EXPECT_EQ(methods->swapTags(tag, &floats, &ints), 0);
  ASSERT_EQ(methods->setNumValues(tag, &others, 2, nullptr), 1);
  EXPECT_EQ(methods->swapTags(tag, &ints, &others), 0);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
  EXPECT_EQ(valuesOf<int32_t>(at(others)), (Ints{10, 20}));
}

TEST_F(FilledTag, KeepsItsHandlesWhenAStoredTypeContradictsTheValues) {
  Records records;
  std::string record = records.of(at(ints));
  record.replace(32, 8, bytesOf(floatType) + bytesOf(floatType));
  EXPECT_EQ(records.read(at(ints), record), 0);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
  EXPECT_EQ(methods->getByHandle(tag, std::vector<ztTagHandle>{{ints.index, floatType}}.data()), nullptr);
}

// A host may give attributes of two kinds one type.
TEST_F(FilledTag, SwapsNoDifferentArraysThatPassForOneType) {
  at(ints)->type = floatType;
  const ztTagHandle passing = {ints.index, floatType};
  ASSERT_NE(at(passing), nullptr);
  EXPECT_EQ(methods->swapTags(tag, &passing, &floats), 0);
  EXPECT_EQ(valuesOf<double>(at(floats)), (Floats{1.5, 2.5, 4.5}));
  EXPECT_EQ(ztTagAttribute_of(at(floats))->assign(at(floats), at(passing)), 1);
  EXPECT_EQ(valuesOf<double>(at(floats)), (Floats{1.5, 2.5, 4.5}));
  const int32_t value = 9;
  EXPECT_EQ(methods->setValue(tag, &passing, 0, &value), 0);
  EXPECT_EQ(methods->deallocWise(tag, "ints"), 1);
  at(passing)->type = intType;
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1}));
}

TEST_F(FilledTag, SwapsNoArraysOfOneClassWhoseElementsDifferInSize) {
  for (const int32_t size : {4, 8}) {
    auto *bare = static_cast<ztTagAttribute *>(ztTagAttribute_ctor(nullptr, 1));
    bare->type = 11;
    bare->values = static_cast<ztArray *>(ztArray_ctor(nullptr, 1));
    ztArray_of(bare->values)->setElementSize(bare->values, size, 0);
    ASSERT_EQ(methods->insertNew(tag, "bare", bare, nullptr, 0, 2, nullptr), 1);
  }
  const ztTagHandle four = {3, 11};
  const ztTagHandle eight = {4, 11};
  EXPECT_EQ(methods->swapTags(tag, &four, &eight), 0);
  EXPECT_EQ(methods->swapTags(tag, &four, &four), 1);
}

TEST_F(FilledTag, SwapsNothingWithAnAttributeWithoutValues) {
  auto *bare = static_cast<ztTagAttribute *>(ztTagAttribute_ctor(nullptr, 1));
  bare->type = intType;
  ztTagHandle handle;
  ASSERT_EQ(methods->insertNew(tag, "bare", bare, &handle, 0, 1, nullptr), 1);
  EXPECT_EQ(methods->swapTags(tag, &ints, &handle), 0);
  EXPECT_EQ(methods->swapTags(tag, &handle, &ints), 0);
  EXPECT_EQ(bare->values, nullptr);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
}

// Enumeration -------------------------------------------------------------------------------------

TEST_F(FilledTag, EnumeratesInOrder) {
  Attributes seen;
  EXPECT_EQ(methods->enumTags(tag, collect, &seen), 1);
  EXPECT_EQ(seen, (Attributes{at(ints), at(floats), at(others)}));
}

TEST_F(FilledTag, HandsTheTagToTheCallback) {
  const auto check = [](void *given, void *, void *userData) -> int32_t {
    EXPECT_EQ(given, userData);
    return -1;
  };
  EXPECT_EQ(methods->enumTags(tag, check, tag), 1);
}

TEST_F(FilledTag, TheCallbackStopsTheEnumeration) {
  int32_t visited = 0;
  const auto stopAtSecond = [](void *, void *, void *userData) -> int32_t {
    return ++*static_cast<int32_t *>(userData) < 2;
  };
  EXPECT_EQ(methods->enumTags(tag, stopAtSecond, &visited), 0);
  EXPECT_EQ(visited, 2);
}

TEST_F(Tag, EnumeratesNothingWithoutAttributes) {
  Attributes seen;
  EXPECT_EQ(methods->enumTags(tag, collect, &seen), 1);
  EXPECT_TRUE(seen.empty());
}

TEST_F(FilledTag, DoesNotEnumerateWithoutACallback) {
  EXPECT_EQ(methods->enumTags(tag, nullptr, nullptr), 0);
}

TEST_F(FilledTag, AttributesInsertedMeanwhileAreEnumeratedToo) {
  int32_t visited = 0;
  const auto insertSome = [](void *given, void *, void *userData) -> int32_t {
    if (++*static_cast<int32_t *>(userData) <= 40) insert(given, "more", Ints{1});
    return 1;
  };
  EXPECT_EQ(methods->enumTags(tag, insertSome, &visited), 1);
  EXPECT_EQ(visited, 43);
}

TEST_F(FilledTag, TheCallbackMayReleaseTheTag) {
  int32_t visited = 0;
  const auto releaseTag = [](void *given, void *, void *userData) -> int32_t {
    ++*static_cast<int32_t *>(userData);
    release(given);
    return 1;
  };
  EXPECT_EQ(methods->enumTags(tag, releaseTag, &visited), 1);
  EXPECT_EQ(visited, 1);
  tag = nullptr;
}

TEST_F(FilledTag, TheCallbackMayReleaseTheAttribute) {
  int32_t visited = 0;
  const auto releaseIt = [](void *, void *attribute, void *userData) -> int32_t {
    ++*static_cast<int32_t *>(userData);
    release(attribute);
    return 1;
  };
  EXPECT_EQ(methods->enumTags(tag, releaseIt, &visited), 1);
  EXPECT_EQ(visited, 3);
  EXPECT_EQ(at(ints), nullptr);
}

// An attribute that is gone -----------------------------------------------------------------------

class TagWithAGap : public FilledTag {
 protected:
  TagWithAGap() {
    release(at(floats));
  }
};

TEST_F(TagWithAGap, KeepsTheOtherHandles) {
  EXPECT_EQ(at(floats), nullptr);
  EXPECT_EQ(valuesOf<int32_t>(at(others)), (Ints{10, 20, 40}));
  EXPECT_EQ(methods->getByName(tag, "floats", nullptr), nullptr);
  const ztTagHandle next = insert(tag, "next", Ints{1});
  EXPECT_EQ(next.index, 3);
}

TEST_F(TagWithAGap, EnumeratesTheOthers) {
  Attributes seen;
  EXPECT_EQ(methods->enumTags(tag, collect, &seen), 1);
  EXPECT_EQ(seen, (Attributes{at(ints), at(others)}));
}

TEST_F(TagWithAGap, IsCopiedAssignedAndStored) {
  void *copy = copyOf(tag);
  EXPECT_EQ(methods->getByHandle(copy, &floats), nullptr);
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(copy, &others)), (Ints{10, 20, 40}));
  const int32_t value = 3;
  EXPECT_EQ(methods->setValue(tag, &others, 0, &value), 1);
  EXPECT_EQ(methods->assign(copy, tag), 1);
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(copy, &others)), (Ints{3, 20, 40}));
  const std::string record = Records().of(tag);
  EXPECT_EQ(methods->setNumValues(copy, &others, 1, nullptr), 1);
  EXPECT_EQ(Records().read(copy, record), 1);
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(copy, &others)), (Ints{3, 20, 40}));
  release(copy);
}

TEST_F(FilledTag, KeepsTheValuesForWhichTheOtherHasAGap) {
  void *other = copyOf(tag);
  release(methods->getByHandle(other, &floats));
  const int32_t value = 3;
  EXPECT_EQ(methods->setValue(other, &others, -1, &value), 1);
  EXPECT_EQ(methods->assign(tag, other), 1);
  EXPECT_EQ(valuesOf<double>(at(floats)), (Floats{1.5, 2.5, 4.5}));
  EXPECT_EQ(valuesOf<int32_t>(at(others)), (Ints{3, 3, 3}));
  release(other);
}

// Copies ------------------------------------------------------------------------------------------

TEST_F(FilledTag, ACopyOwnsNewAttributes) {
  at(ints)->userValue = 31;
  auto *copy = static_cast<ListeningTag *>(copyOf(tag));
  EXPECT_NE(copy->attributes, tag->attributes);
  EXPECT_EQ(ztOOP_classOf(copy->attributes), ztPtrArrayClass_Instance());
  for (const ztTagHandle &handle : {ints, floats, others}) {
    auto *attribute = static_cast<ztTagAttribute *>(methods->getByHandle(copy, &handle));
    ASSERT_NE(attribute, nullptr);
    EXPECT_NE(attribute, at(handle));
    EXPECT_EQ(ztOOP_classOf(attribute), ztOOP_classOf(at(handle)));
    EXPECT_EQ(attribute->owner, copy);
    EXPECT_EQ(at(handle)->owner, tag);
    EXPECT_STREQ(attribute->name, at(handle)->name);
    EXPECT_EQ(ztTagAttribute_of(attribute)->getRefCount(attribute), 1);
  }
  EXPECT_EQ(static_cast<ztTagAttribute *>(methods->getByHandle(copy, &ints))->userValue, 31);
  release(copy);
}

TEST_F(FilledTag, ACopyIsIndependent) {
  auto *copy = static_cast<ListeningTag *>(copyOf(tag));
  const int32_t changes = copy->changes;
  const int32_t value = 50;
  EXPECT_EQ(methods->setValue(copy, &ints, 0, &value), 1);
  EXPECT_EQ(copy->changes, changes + 1);
  EXPECT_EQ(tag->changes, changesBefore);
  insert(copy, "more", Ints{1});
  EXPECT_EQ(countIn(), 3);
  release(tag);
  tag = nullptr;
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(copy, &ints)), (Ints{50, 2, 4}));
  EXPECT_EQ(methods->setValue(copy, &ints, 1, &value), 1);
  EXPECT_EQ(copy->changes, changes + 3);
  release(copy);
}

TEST_F(FilledTag, ACopyOutlivedByItsSourceLeavesItAlone) {
  release(copyOf(tag));
  const int32_t value = 50;
  EXPECT_EQ(methods->setValue(tag, &ints, 0, &value), 1);
  EXPECT_EQ(tag->changes, changesBefore + 1);
}

TEST_F(Tag, CopiesATagWithoutAttributes) {
  auto *copy = static_cast<ztTag *>(copyOf(tag));
  EXPECT_EQ(copy->attributes, nullptr);
  insert(copy, "own", Ints{1});
  EXPECT_EQ(countIn(), 0);
  release(copy);
}

TEST_F(FilledTag, AnAttributeThatCannotBeCopiedFailsTheCopyAndLeavesNothing) {
  EXPECT_EQ(methods->insertNew(tag, "stubborn", StubbornTag_ctor(nullptr, 1), nullptr, 0, 1, nullptr), 1);
  insert(tag, "behind", Ints{1});
  void *fresh = ListeningTag_newop();
  EXPECT_EQ(methods->clone(tag, fresh), nullptr);
  ztm_free(fresh);
  EXPECT_EQ(at(ints)->owner, tag);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
  EXPECT_EQ(countIn(), 5);
}

TEST_F(FilledTag, CopiesTheAttributesOfItsChildren) {
  void *node = ztRoot_ctor(nullptr, 1);
  ztRoot_of(node)->addChild(node, tag);
  void *copy = copyOf(node);
  void *child = ztRoot_of(copy)->getChildAt(copy, 0);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(static_cast<ztTagAttribute *>(methods->getByHandle(child, &ints))->owner, child);
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(child, &ints)), (Ints{1, 2, 4}));
  release(copy);
  release(node);
  tag = nullptr;
}

TEST_F(FilledTag, TagsThatAnArrayMovesHearTheirAttributes) {
  void *array = ztArray_ctor(nullptr, 1);
  const ztArrayMethods *arrayMethods = ztArray_of(array);
  arrayMethods->setElementSize(array, sizeof(ListeningTag), 0);
  arrayMethods->setElementConstructor(array, ListeningTag_ctor);
  for (int i = 0; i < 30; ++i) ASSERT_NE(arrayMethods->pushBack(array, tag), nullptr);
  arrayMethods->removeAt(array, 3);
  const int32_t value = 50;
  for (int i = 0; i < 29; ++i) {
    auto *element = static_cast<ListeningTag *>(arrayMethods->getAt(array, i));
    const int32_t changes = element->changes;
    EXPECT_EQ(methods->setValue(element, &ints, 0, &value), 1);
    EXPECT_EQ(element->changes, changes + 1);
    void *attribute = methods->getByName(element, "floats", nullptr);
    const double fraction = 0.5;
    EXPECT_EQ(ztTagAttribute_of(attribute)->setValue(attribute, 0, &fraction), 1);
    EXPECT_EQ(element->changes, changes + 2);
  }
  EXPECT_EQ(tag->changes, changesBefore);
  arrayMethods->unRef(array);
}

TEST_F(FilledTag, AssignsAttributeToAttribute) {
  void *other = ListeningTag_ctor(nullptr, 1);
  const ztTagHandle first = insert(other, "first", Ints{7, 8, 9});
  const ztTagHandle second = insert(other, "second", Ints{7, 8, 9});
  EXPECT_EQ(methods->assign(other, tag), 1);
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(other, &first)), (Ints{1, 2, 4}));
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(other, &second)), (Ints{7, 8, 9}));
  EXPECT_STREQ(static_cast<ztTagAttribute *>(methods->getByHandle(other, &first))->name, "first");
  EXPECT_EQ(methods->setNumValues(other, &second, 1, nullptr), 1);
  EXPECT_EQ(methods->assign(tag, other), 1);
  EXPECT_EQ(valuesOf<int32_t>(at(others)), (Ints{10, 20, 40}));
  EXPECT_EQ(countIn(), 3);
  release(other);
}

TEST_F(FilledTag, BelowANodeTakesNoAttributesFromANodeThatIsNoTag) {
  void *parent = ztRoot_ctor(nullptr, 1);
  ztRoot_of(parent)->addChild(parent, tag);
  void *other = ztRoot_ctor(nullptr, 1);
  void *plain = ztRoot_ctor(nullptr, 1);
  ztRoot_of(other)->addChild(other, plain);
  EXPECT_EQ(ztRoot_of(parent)->assign(parent, other), 1);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
  EXPECT_EQ(ztRoot_of(other)->assign(other, parent), 1);
  methods->setParent(tag, nullptr);
  release(tag);  // what attaching and detaching added
  EXPECT_EQ(methods->getRefCount(tag), 2);
  release(parent);
  release(other);
}

TEST_F(FilledTag, AssignsNothingWhereATagHasNoAttributes) {
  void *empty = ListeningTag_ctor(nullptr, 1);
  EXPECT_EQ(methods->assign(empty, tag), 1);
  EXPECT_EQ(static_cast<ztTag *>(empty)->attributes, nullptr);
  EXPECT_EQ(methods->assign(tag, empty), 1);
  EXPECT_EQ(methods->assign(tag, tag), 1);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
  EXPECT_EQ(methods->assign(tag, nullptr), 0);
  release(empty);
}

// Destruction -------------------------------------------------------------------------------------

TEST_F(Tag, ReleasesItsAttributes) {
  const int32_t live = notingLive;
  for (const char *name : {"a", "b", "c"}) {
    ASSERT_EQ(methods->insertNew(tag, name, NotingTag_ctor(nullptr, 1), nullptr, 0, 1, nullptr), 1);
  }
  EXPECT_EQ(notingLive, live + 3);
  release(tag);
  tag = nullptr;
  EXPECT_EQ(notingLive, live);
}

TEST_F(FilledTag, DestroyingItTwiceIsHarmless) {
  methods->destroy(tag);
  EXPECT_EQ(tag->attributes, nullptr);
  methods->destroy(tag);
  EXPECT_EQ(at(ints), nullptr);
}

TEST_F(FilledTag, MayLieInTheCallersMemory) {
  ztTag memory;
  ztTag_ctor(&memory, 1);
  const ztTagHandle handle = insert(&memory, "name", Ints{4});
  EXPECT_EQ(ztTag_of(&memory)->getNumValues(&memory, &handle), 1);
  ztTag_of(&memory)->destroy(&memory);
}

// The record --------------------------------------------------------------------------------------

namespace {

std::string nodeRecord(const ztRoot *node) {
  return bytesOf(node->uid) + std::string(node->name, sizeof node->name) + bytesOf(node->parentUid);
}

constexpr size_t nodeSize = 4 + 80 + 4;
constexpr size_t attributeSize = 32 + 4 + 4 + 4 + 4;  // without values

}  // namespace

TEST_F(FilledTag, WritesTheNodeAndThenEachAttribute) {
  Records records;
  EXPECT_EQ(records.of(tag), nodeRecord(reinterpret_cast<ztRoot *>(tag)) + Records().of(at(ints)) +
                                 Records().of(at(floats)) + Records().of(at(others)));
}

TEST_F(Tag, WithoutAttributesTheRecordIsTheNodes) {
  const std::string record = Records().of(tag);
  EXPECT_EQ(record, nodeRecord(reinterpret_cast<ztRoot *>(tag)));
  tag->uid = 0;
  EXPECT_EQ(Records().read(tag, record), 1);
  EXPECT_EQ(nodeRecord(reinterpret_cast<ztRoot *>(tag)), record);
}

TEST_F(FilledTag, WritesText) {
  const std::string node =
      std::to_string(tag->uid) + "\n" + std::string(tag->name, sizeof tag->name) + "\n-1\n";
  EXPECT_EQ(Records(ztTextFile_ctor).of(tag), node + Records(ztTextFile_ctor).of(at(ints)) +
                                                  Records(ztTextFile_ctor).of(at(floats)) +
                                                  Records(ztTextFile_ctor).of(at(others)));
}

TEST_F(FilledTag, ReadsWhatWasWritten) {
  setValues(at(ints), Ints{65, 66, 67});
  setValues(at(others), Ints{70, 71});
  at(floats)->userValue = 9;
  methods->setName(tag, "stored");
  for (const ztCtor fileClass : {ztFile_ctor, ztTextFile_ctor}) {
    const std::string record = Records(fileClass).of(tag);
    auto *other = static_cast<ListeningTag *>(ListeningTag_ctor(nullptr, 1));
    insert(other, "a", Ints{0});
    insert(other, "b", Floats{0});
    insert(other, "c", Ints{0});
    const int32_t changes = other->changes;
    EXPECT_EQ(Records(fileClass).read(other, record), 1);
    EXPECT_STREQ(other->name, "stored");
    EXPECT_EQ(other->uid, tag->uid);
    EXPECT_EQ(other->changes, changes);
    EXPECT_EQ(valuesOf<int32_t>(methods->getByName(other, "ints", nullptr)), (Ints{65, 66, 67}));
    EXPECT_EQ(valuesOf<double>(methods->getByName(other, "floats", nullptr)), (Floats{1.5, 2.5, 4.5}));
    EXPECT_EQ(valuesOf<int32_t>(methods->getByName(other, "others", nullptr)), (Ints{70, 71}));
    EXPECT_EQ(static_cast<ztTagAttribute *>(methods->getByHandle(other, &floats))->userValue, 9);
    EXPECT_EQ(static_cast<ztTagAttribute *>(methods->getByHandle(other, &floats))->owner, other);
    release(other);
  }
}

TEST_F(FilledTag, ReadsItsClassByItsIdentity) {
  void *plain = ztTag_ctor(nullptr, 1);
  Records records;
  void *file = records.toWrite();
  ASSERT_EQ(ztBaseClass_functions()->classWrite(nullptr, plain, file), 1);
  ASSERT_EQ(ztTag_of(plain)->write(plain, file), 1);
  const std::string record = records.written();
  EXPECT_EQ(record.size(), 104 + nodeSize);
  file = records.toRead(record);
  void *read = ztBaseClass_functions()->classRead(nullptr, file);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(ztOOP_classOf(read), ztTagClass_Instance());
  EXPECT_EQ(ztTag_of(read)->read(read, file), 1);
  EXPECT_EQ(static_cast<ztTag *>(read)->uid, static_cast<ztTag *>(plain)->uid);
  release(read);
  release(plain);
}

// Missing element bytes at the very end read as zeros; all else must be there.
TEST_F(FilledTag, ReadingACutRecordFails) {
  const std::string record = Records().of(tag);
  const size_t lastValues = nodeSize + 3 * attributeSize + 3 * 4 + 3 * 8;
  ASSERT_EQ(record.size(), lastValues + 3 * 4);
  Records records;
  for (size_t size = 0; size < record.size(); ++size) {
    EXPECT_EQ(records.read(tag, record.substr(0, size)), size >= lastValues) << size;
  }
  EXPECT_EQ(records.read(tag, record), 1);
  EXPECT_EQ(Records().of(tag), record);
}

TEST_F(FilledTag, ATagWithFewerAttributesReadsThoseItHas) {
  Records records;
  const std::string record = records.of(tag);
  void *fewer = ListeningTag_ctor(nullptr, 1);
  insert(fewer, "one", Ints{0});
  EXPECT_EQ(records.read(fewer, record), 1);
  EXPECT_EQ(valuesOf<int32_t>(methods->getByHandle(fewer, &ints)), (Ints{1, 2, 4}));
  EXPECT_EQ(records.position(), static_cast<int64_t>(nodeSize + attributeSize + 3 * 4));
  release(fewer);
}

TEST_F(FilledTag, ATagWithMoreAttributesFailsToRead) {
  const std::string record = Records().of(tag);
  insert(tag, "more", Ints{5});
  EXPECT_EQ(Records().read(tag, record), 0);
  EXPECT_EQ(valuesOf<int32_t>(at({3, intType})), (Ints{5}));
}

TEST_F(FilledTag, ATagWithOtherAttributesStaysWhole) {
  const std::string record = Records().of(tag);
  void *other = ListeningTag_ctor(nullptr, 1);
  const ztTagHandle first = insert(other, "a", Floats{0.5});
  insert(other, "b", Ints{0});
  EXPECT_EQ(Records().read(other, record), 0);
  const auto *attribute = static_cast<const ztTagAttribute *>(methods->getByHandle(other, &first));
  ASSERT_NE(attribute, nullptr);
  EXPECT_STREQ(attribute->name, "ints");
  EXPECT_EQ(valuesOf<double>(attribute), (Floats{0.5}));
  double total = 0;
  EXPECT_EQ(methods->getTotalValue(other, &first, &total), &total);
  EXPECT_EQ(total, 0.5);
  EXPECT_NE(methods->getByName(other, "b", nullptr), nullptr);
  release(other);
}

TEST_F(FilledTag, AnAttributeThatFailsEndsReadingAndWriting) {
  EXPECT_EQ(methods->insertNew(tag, "stubborn", StubbornTag_ctor(nullptr, 1), nullptr, 0, 1, nullptr), 1);
  const std::string record = Records().of(at(ints));
  insert(tag, "behind", Ints{1});
  // A host's own may hand on what a text file's primitives give.
  for (const int32_t failure : {0, -1}) {
    stubbornResult = failure;
    Records records;
    EXPECT_EQ(methods->write(tag, records.toWrite()), 0);
    const std::string written = records.written();
    EXPECT_EQ(written.size(), nodeSize + 3 * attributeSize + 3 * 4 + 3 * 8 + 3 * 4);
    EXPECT_EQ(Records().read(tag, written + record), 0);
    EXPECT_EQ(valuesOf<int32_t>(at({4, intType})), (Ints{1}));
  }
}

TEST_F(FilledTag, ReadAndWriteNeedAnOpenFile) {
  void *closed = ztFile_ctor(nullptr, 1);
  for (void *file : {closed, static_cast<void *>(nullptr)}) {
    EXPECT_EQ(methods->write(tag, file), 0);
    EXPECT_EQ(methods->read(tag, file), 0);
  }
  release(closed);
  EXPECT_EQ(valuesOf<int32_t>(at(ints)), (Ints{1, 2, 4}));
}

TEST_F(FilledTag, WritingStopsAtTheFirstFailure) {
  auto *file = static_cast<RefusingFile *>(RefusingFile_ctor(nullptr, 1));
  // The node's record takes three writes, an attribute's five and one for each value.
  for (const int32_t allowed : {0, 1, 2, 3, 7, 11, 15, 19, 23}) {
    file->allowed = allowed;
    file->calls = 0;
    EXPECT_EQ(methods->write(tag, file), 0) << allowed;
  }
  file->allowed = 3 + 3 * (5 + 3);
  file->calls = 0;
  EXPECT_EQ(methods->write(tag, file), 1);
  EXPECT_EQ(file->calls, file->allowed);
  release(file);
}
