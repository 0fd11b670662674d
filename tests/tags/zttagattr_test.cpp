#include "tags/zttagattr.h"

#include "io/zttxtfile.h"
#include "tests/tags/attributes.hh"

#include <stdlib.h>

#include <utility>

// The classes of the tests ------------------------------------------------------------------------

// Values that are neither stored nor read.
#define FleetingValues_FIELDS ztIntArray_FIELDS
#define FleetingValues_METHODS ztIntArray_METHODS
ZT_DECLARE_CLASS(FleetingValues)

static int32_t fleetingResult;

static int32_t fleetingValuesWrite(const void *, void *) {
  return fleetingResult;
}

static int32_t fleetingValuesRead(void *, void *) {
  return fleetingResult;
}

static void fleetingValuesMethods(FleetingValuesMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, fleetingValuesWrite);
  ZT_OVERRIDE_METHOD(methods, read, fleetingValuesRead);
}

ZT_DEFINE_CLASS(FleetingValues, ztIntArray, fleetingValuesMethods)

static int32_t refusingFileAccept(void *object) {
  auto *file = static_cast<RefusingFile *>(object);
  return ++file->calls <= file->allowed;
}

static int32_t refusingFileWriteInt(void *object, int32_t) {
  return refusingFileAccept(object);
}

static int32_t refusingFileWriteBuf(void *object, int32_t n, const void *) {
  return refusingFileAccept(object) ? n : 0;
}

static int32_t refusingFileCreate(void *object) {
  auto *file = static_cast<RefusingFile *>(object);
  file->allowed = 0;
  file->calls = 0;
  return ztFile_table()->create(object);
}

static void refusingFileMethods(RefusingFileMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, refusingFileCreate);
  ZT_OVERRIDE_METHOD(methods, writeInt, refusingFileWriteInt);
  ZT_OVERRIDE_METHOD(methods, writeBuf, refusingFileWriteBuf);
}

ZT_DEFINE_CLASS(RefusingFile, ztFile, refusingFileMethods)

static int32_t listeningTagCreate(void *object) {
  auto *tag = static_cast<ListeningTag *>(object);
  tag->changes = 0;
  tag->lastAttribute = nullptr;
  tag->onChange = nullptr;
  return ztTag_table()->create(object);
}

static void listeningTagAttrChanged(void *object, void *attribute) {
  auto *tag = static_cast<ListeningTag *>(object);
  ++tag->changes;
  tag->lastAttribute = attribute;
  if (tag->onChange != nullptr) tag->onChange(tag, attribute);
}

static void listeningTagMethods(ListeningTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, listeningTagCreate);
  ZT_OVERRIDE_METHOD(methods, attrChanged, listeningTagAttrChanged);
}

ZT_DEFINE_CLASS(ListeningTag, ztTag, listeningTagMethods)

namespace {

// The two kinds of attributes, by their values.
template <typename Value>
class Attribute : public testing::Test {
 protected:
  using Values = std::vector<Value>;

  ~Attribute() override {
    release(attribute);
  }

  void have(const Values &values) {
    setValues(attribute, values);
  }
  Values have() const {
    return valuesOf<Value>(attribute);
  }
  int32_t set(int32_t index, Value value) {
    return methods->setValue(attribute, index, &value);
  }

  ztTagAttribute *attribute = static_cast<ztTagAttribute *>(constructorFor(Value())(nullptr, 1));
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
};

using AttributeKinds = testing::Types<int32_t, double>;

struct KindNames {
  template <typename Value>
  static std::string GetName(int) {
    return std::is_same_v<Value, int32_t> ? "Int" : "Float";
  }
};

TYPED_TEST_SUITE(Attribute, AttributeKinds, KindNames);

// A bare attribute, which has no values.
class BareAttribute : public testing::Test {
 protected:
  ~BareAttribute() override {
    release(attribute);
  }

  ztTagAttribute *attribute = static_cast<ztTagAttribute *>(ztTagAttribute_ctor(nullptr, 1));
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
};

// An attribute in a listening tag, and one more reference to neither.
class HeldAttribute : public testing::Test {
 protected:
  ~HeldAttribute() override {
    if (tag != nullptr) release(tag);
  }

  void killTag() {
    release(tag);
    tag = nullptr;
  }
  static int32_t set(void *changed, int32_t value) {
    return ztTagAttribute_of(changed)->setValue(changed, 0, &value);
  }
  static ztTagAttribute *copyOfAttribute(const void *source) {
    return static_cast<ztTagAttribute *>(copyOf(source));
  }

  ListeningTag *tag = static_cast<ListeningTag *>(ListeningTag_ctor(nullptr, 1));
  const ztTagHandle handle = insert(tag, "held", Ints{1, 2, 3});
  ztTagAttribute *attribute = static_cast<ztTagAttribute *>(ztTag_of(tag)->getByHandle(tag, &handle));
  const int32_t changesBefore = tag->changes;
};

}  // namespace

// Defaults ----------------------------------------------------------------------------------------

TEST_F(BareAttribute, HasItsDefaults) {
  EXPECT_EQ(attribute->owner, nullptr);
  EXPECT_EQ(std::string(attribute->name, sizeof attribute->name), std::string(32, '\0'));
  EXPECT_EQ(attribute->type, -1);
  EXPECT_EQ(attribute->changed, 1u);
  EXPECT_EQ(attribute->userValue, 1);
  EXPECT_EQ(attribute->values, nullptr);
  EXPECT_EQ(methods->getRefCount(attribute), 1);
  EXPECT_EQ(ztTagAttributeVersion(nullptr, attribute), 1u);
}

TYPED_TEST(Attribute, HasTheDefaultsOfItsParent) {
  EXPECT_EQ(this->attribute->owner, nullptr);
  EXPECT_EQ(std::string(this->attribute->name, 32), std::string(32, '\0'));
  EXPECT_EQ(this->attribute->changed, 1u);
  EXPECT_EQ(this->attribute->userValue, 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{0}));
  EXPECT_EQ(ztOOP_isClassOf(this->attribute, "ztTagAttribute"), 1);
}

TYPED_TEST(Attribute, IsMadeByItsName) {
  void *made = ztNewFromName(ztOOP_classNameOf(this->attribute));
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(valuesOf<TypeParam>(made), (std::vector<TypeParam>{0}));
  release(made);
}

// Values ------------------------------------------------------------------------------------------

TYPED_TEST(Attribute, SetsAndGetsValuesByIndex) {
  this->have({1, 2, 3});
  EXPECT_EQ(this->set(1, 20), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 20, 3}));
  TypeParam out = 0;
  const void *address = this->methods->getValue(this->attribute, 2, &out);
  EXPECT_EQ(out, 3);
  EXPECT_EQ(address, ztArray_of(this->attribute->values)->getAt(this->attribute->values, 2));
}

TYPED_TEST(Attribute, AnIndexAtOrBehindTheCountMeansTheFirst) {
  for (const int32_t index : {3, 5, 7, INT32_MAX}) {
    this->have({1, 2, 3});
    TypeParam out = 0;
    const void *address = this->methods->getValue(this->attribute, index, &out);
    EXPECT_EQ(out, 1);
    EXPECT_EQ(address, this->methods->getValue(this->attribute, 0, nullptr));
    EXPECT_EQ(this->set(index, 9), 1);
    EXPECT_EQ(this->have(), (std::vector<TypeParam>{9, 2, 3}));
  }
}

TYPED_TEST(Attribute, IndexMinusOneSetsEveryValue) {
  this->have({1, 2, 3});
  EXPECT_EQ(this->set(-1, 8), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{8, 8, 8}));
}

TYPED_TEST(Attribute, SetsEveryValueToOneOfItsOwn) {
  this->have({1, 2, 3});
  const void *own = this->methods->getValue(this->attribute, 1, nullptr);
  EXPECT_EQ(this->methods->setValue(this->attribute, -1, own), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{2, 2, 2}));
}

TYPED_TEST(Attribute, RefusesIndexesBelowMinusOne) {
  this->have({1, 2, 3});
  this->attribute->changed = 0;
  for (const int32_t index : {-2, -3, INT32_MIN}) {
    EXPECT_EQ(this->set(index, 9), 0);
    TypeParam out = 77;
    EXPECT_EQ(this->methods->getValue(this->attribute, index, &out), nullptr);
    EXPECT_EQ(out, 77);
  }
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2, 3}));
  EXPECT_EQ(this->attribute->changed, 0u);
}

TYPED_TEST(Attribute, GetsNothingAtIndexMinusOne) {
  TypeParam out = 77;
  EXPECT_EQ(this->methods->getValue(this->attribute, -1, &out), nullptr);
  EXPECT_EQ(out, 77);
}

TYPED_TEST(Attribute, RefusesANullValue) {
  this->have({1, 2});
  this->attribute->changed = 0;
  for (const int32_t index : {-1, 0, 1, 2}) {
    EXPECT_EQ(this->methods->setValue(this->attribute, index, nullptr), 0);
  }
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2}));
  EXPECT_EQ(this->attribute->changed, 0u);
}

TYPED_TEST(Attribute, SettingAValueMarksItChanged) {
  for (const int32_t index : {0, -1, 100}) {
    this->attribute->changed = 0;
    EXPECT_EQ(this->set(index, 5), 1);
    EXPECT_EQ(this->attribute->changed, 1u);
  }
}

TYPED_TEST(Attribute, SetNumValuesKeepsValuesAndAddsZeros) {
  this->have({1, 2, 3});
  EXPECT_EQ(this->methods->setNumValues(this->attribute, 5), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2, 3, 0, 0}));
  EXPECT_EQ(this->methods->setNumValues(this->attribute, 2), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2}));
  EXPECT_EQ(this->methods->setNumValues(this->attribute, 2), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2}));
}

TYPED_TEST(Attribute, SetNumValuesIsNoChangeOfAValue) {
  this->attribute->changed = 0;
  EXPECT_EQ(this->methods->setNumValues(this->attribute, 4), 1);
  EXPECT_EQ(this->methods->setNumValues(this->attribute, 0), 1);
  EXPECT_EQ(this->attribute->changed, 0u);
}

TYPED_TEST(Attribute, SetNumValuesRefusesWhatCannotBe) {
  this->have({1, 2});
  for (const int32_t count : {-1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(this->methods->setNumValues(this->attribute, count), 0);
  }
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2}));
}

TYPED_TEST(Attribute, WithoutValuesThereIsNothingToSetOrGet) {
  EXPECT_EQ(this->methods->setNumValues(this->attribute, 0), 1);
  this->attribute->changed = 0;
  TypeParam out = 77;
  for (const int32_t index : {0, 1, 5}) {
    EXPECT_EQ(this->set(index, 4), 0);
    EXPECT_EQ(this->methods->getValue(this->attribute, index, &out), nullptr);
  }
  EXPECT_EQ(out, 77);
  EXPECT_EQ(this->attribute->changed, 0u);
  EXPECT_EQ(this->set(-1, 4), 1);
  EXPECT_EQ(countOf(this->attribute), 0);
  EXPECT_EQ(this->methods->setNumValues(this->attribute, 2), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{0, 0}));
}

TYPED_TEST(Attribute, TotalAndAverageReturnTheOutputAndClearTheMark) {
  TypeParam out = 0;
  EXPECT_EQ(this->methods->getTotalValue(this->attribute, &out), &out);
  EXPECT_EQ(this->attribute->changed, 0u);
  this->attribute->changed = 1;
  EXPECT_EQ(this->methods->getAverageValue(this->attribute, &out), &out);
  EXPECT_EQ(this->attribute->changed, 0u);
  EXPECT_EQ(this->methods->getTotalValue(this->attribute, nullptr), nullptr);
  EXPECT_EQ(this->methods->getAverageValue(this->attribute, nullptr), nullptr);
}

TEST_F(BareAttribute, HasNoValues) {
  int32_t value = 5;
  EXPECT_EQ(methods->setValue(attribute, 0, &value), 0);
  EXPECT_EQ(methods->setValue(attribute, -1, &value), 0);
  EXPECT_EQ(methods->getValue(attribute, 0, &value), nullptr);
  EXPECT_EQ(methods->setNumValues(attribute, 3), 0);
  EXPECT_EQ(value, 5);
}

TEST_F(BareAttribute, TakesNoTotalOrAverageButClearsTheMark) {
  double out = 5;
  EXPECT_EQ(methods->getTotalValue(attribute, &out), &out);
  EXPECT_EQ(attribute->changed, 0u);
  attribute->changed = 1;
  EXPECT_EQ(methods->getAverageValue(attribute, &out), &out);
  EXPECT_EQ(attribute->changed, 0u);
  EXPECT_EQ(out, 5);
}

// Notification ------------------------------------------------------------------------------------

// A host's attribute may keep its values by pointer.
TEST_F(BareAttribute, GivesNothingForANullThatItKeeps) {
  attribute->values = static_cast<ztArray *>(ztPtrArray_ctor(nullptr, 1));
  EXPECT_EQ(methods->setNumValues(attribute, 2), 1);
  void *out = attribute;
  EXPECT_EQ(methods->getValue(attribute, 1, &out), nullptr);
  EXPECT_EQ(out, attribute);
  EXPECT_EQ(methods->setValue(attribute, 1, this), 1);
  EXPECT_EQ(methods->getValue(attribute, 1, nullptr), this);
}

TEST_F(HeldAttribute, TellsItsOwnerOnceForEachSetting) {
  EXPECT_EQ(set(attribute, 7), 1);
  EXPECT_EQ(tag->changes, changesBefore + 1);
  EXPECT_EQ(tag->lastAttribute, attribute);
  const int32_t value = 9;
  EXPECT_EQ(ztTagAttribute_of(attribute)->setValue(attribute, -1, &value), 1);
  EXPECT_EQ(tag->changes, changesBefore + 2);
}

TEST_F(HeldAttribute, TellsItsOwnerAfterTheValuesAreSet) {
  tag->onChange = [](void *, void *changed) {
    EXPECT_EQ(valuesOf<int32_t>(changed), (Ints{4, 4, 4}));
    EXPECT_EQ(static_cast<ztTagAttribute *>(changed)->changed, 1u);
  };
  attribute->changed = 0;
  const int32_t value = 4;
  EXPECT_EQ(ztTagAttribute_of(attribute)->setValue(attribute, -1, &value), 1);
  EXPECT_EQ(tag->changes, changesBefore + 1);
}

TEST_F(HeldAttribute, TellsNothingWhereNoValueIsSet) {
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
  const int32_t value = 4;
  int32_t out = 0;
  methods->setValue(attribute, 0, nullptr);
  methods->setValue(attribute, -2, &value);
  methods->setNumValues(attribute, 6);
  methods->getValue(attribute, 0, &out);
  methods->getTotalValue(attribute, &out);
  methods->getAverageValue(attribute, &out);
  methods->setNumValues(attribute, 0);
  methods->setValue(attribute, 0, &value);
  EXPECT_EQ(tag->changes, changesBefore);
}

TEST_F(HeldAttribute, ItsOwnerMaySetAValueInTurn) {
  tag->onChange = [](void *, void *changed) {
    int32_t value = 0;
    ztTagAttribute_of(changed)->getValue(changed, 0, &value);
    if (value < 5) set(changed, value + 1);
  };
  EXPECT_EQ(set(attribute, 1), 1);
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{5, 2, 3}));
  EXPECT_EQ(tag->changes, changesBefore + 5);
}

TEST_F(HeldAttribute, ItsOwnerMayReleaseItselfWhenTold) {
  tag->onChange = [](void *owner, void *) { release(owner); };
  EXPECT_EQ(set(attribute, 1), 1);
  tag = nullptr;
}

TEST_F(HeldAttribute, TellsAnOwnerThatTheHostNamed) {
  ztTagAttribute *own = newAttribute(Ints{0});
  own->owner = tag;
  EXPECT_EQ(set(own, 3), 1);
  EXPECT_EQ(tag->changes, changesBefore + 1);
  EXPECT_EQ(tag->lastAttribute, own);
  killTag();
  release(own);
}

// Owners ------------------------------------------------------------------------------------------

TEST_F(HeldAttribute, OutlivesItsOwner) {
  keep(attribute);
  killTag();
  EXPECT_EQ(attribute->owner, nullptr);
  EXPECT_EQ(ztTagAttribute_of(attribute)->getRefCount(attribute), 2);
  EXPECT_EQ(set(attribute, 6), 1);
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{6, 2, 3}));
  release(attribute);
}

TEST_F(HeldAttribute, ACopyNamesTheOwnerAndTellsIt) {
  ztTagAttribute *copy = copyOfAttribute(attribute);
  EXPECT_EQ(copy->owner, tag);
  EXPECT_EQ(set(copy, 8), 1);
  EXPECT_EQ(tag->changes, changesBefore + 1);
  EXPECT_EQ(tag->lastAttribute, copy);
  EXPECT_EQ(valuesOf<int32_t>(attribute), (Ints{1, 2, 3}));
  release(copy);
}

TEST_F(HeldAttribute, ACopyOutlivesTheOwner) {
  ztTagAttribute *copy = copyOfAttribute(attribute);
  killTag();
  EXPECT_EQ(set(copy, 8), 1);
  EXPECT_EQ(copy->owner, nullptr);
  EXPECT_EQ(valuesOf<int32_t>(copy), (Ints{8, 2, 3}));
  release(copy);
}

TEST_F(HeldAttribute, ACopyOfACopyOutlivesTheOwner) {
  ztTagAttribute *copy = copyOfAttribute(attribute);
  ztTagAttribute *second = copyOfAttribute(copy);
  release(copy);
  EXPECT_EQ(second->owner, tag);
  killTag();
  ztTagAttribute *third = copyOfAttribute(second);
  EXPECT_EQ(third->owner, nullptr);
  EXPECT_EQ(set(second, 1), 1);
  EXPECT_EQ(set(third, 1), 1);
  release(second);
  release(third);
}

TEST_F(HeldAttribute, ManyCopiesEachKnowWhetherTheirOwnerLives) {
  void *other = ListeningTag_ctor(nullptr, 1);
  const ztTagHandle otherHandle = insert(other, "other", Ints{5});
  std::vector<ztTagAttribute *> ofThis, ofOther;
  for (int i = 0; i < 100; ++i) {
    ofThis.push_back(copyOfAttribute(attribute));
    ofOther.push_back(copyOfAttribute(ztTag_of(other)->getByHandle(other, &otherHandle)));
  }
  for (size_t i = 0; i < 100; i += 3) {
    release(ofThis[i]);
    ofThis[i] = copyOfAttribute(attribute);
  }
  release(other);
  for (ztTagAttribute *copy : ofThis) EXPECT_EQ(set(copy, 1), 1);
  EXPECT_EQ(tag->changes, changesBefore + 100);
  for (ztTagAttribute *copy : ofOther) EXPECT_EQ(set(copy, 1), 1);
  EXPECT_EQ(tag->changes, changesBefore + 100);
  killTag();
  for (ztTagAttribute *copy : ofThis) EXPECT_EQ(set(copy, 1), 1);
  for (ztTagAttribute *copy : ofThis) release(copy);
  for (ztTagAttribute *copy : ofOther) release(copy);
}

TEST_F(HeldAttribute, CopiesThatAnArrayMovesOutliveTheOwner) {
  void *array = ztArray_ctor(nullptr, 1);
  const ztArrayMethods *methods = ztArray_of(array);
  methods->setElementSize(array, sizeof(ztIntTag), 0);
  methods->setElementConstructor(array, ztIntTag_ctor);
  for (int i = 0; i < 50; ++i) ASSERT_NE(methods->pushBack(array, attribute), nullptr);
  methods->removeAt(array, 0);
  set(methods->getAt(array, 48), 7);
  EXPECT_EQ(tag->changes, changesBefore + 1);
  killTag();
  for (int i = 0; i < 49; ++i) EXPECT_EQ(set(methods->getAt(array, i), 8), 1);
  methods->unRef(array);
}

TEST_F(HeldAttribute, ReleasedByTheHostItLeavesTheTag) {
  const ztTagHandle second = insert(tag, "second", Floats{4});
  release(attribute);
  const ztTagMethods *methods = ztTag_of(tag);
  EXPECT_EQ(methods->getByHandle(tag, &handle), nullptr);
  EXPECT_EQ(methods->getByName(tag, "held", nullptr), nullptr);
  int32_t index = 0;
  EXPECT_EQ(methods->getByName(tag, "second", &index), methods->getByHandle(tag, &second));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(methods->getNumValues(tag, &second), 1);
}

// Copies ------------------------------------------------------------------------------------------

TYPED_TEST(Attribute, ACopyIsItsOwn) {
  this->have({1, 2, 3});
  strcpy(this->attribute->name, "name");
  this->attribute->userValue = 44;
  this->attribute->changed = 0;
  keep(this->attribute);
  auto *copy = static_cast<ztTagAttribute *>(copyOf(this->attribute));
  EXPECT_STREQ(copy->name, "name");
  EXPECT_EQ(copy->userValue, 44);
  EXPECT_EQ(copy->type, this->attribute->type);
  EXPECT_EQ(copy->changed, 0u);
  EXPECT_EQ(copy->owner, nullptr);
  EXPECT_NE(copy->values, this->attribute->values);
  EXPECT_EQ(ztOOP_classOf(copy->values), ztOOP_classOf(this->attribute->values));
  EXPECT_EQ(ztArray_of(copy->values)->getRefCount(copy->values), 1);
  const TypeParam value = 9;
  EXPECT_EQ(this->methods->setValue(copy, 0, &value), 1);
  EXPECT_EQ(this->methods->setNumValues(copy, 2), 1);
  EXPECT_EQ(valuesOf<TypeParam>(copy), (std::vector<TypeParam>{9, 2}));
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2, 3}));
  release(copy);
  release(this->attribute);
  EXPECT_EQ(this->methods->getRefCount(this->attribute), 2);
}

TYPED_TEST(Attribute, ACopyMayLieInTheCallersMemory) {
  this->have({1, 2, 3});
  union {
    ztIntTag ints;
    ztFloatTag floats;
  } memory;
  void *copy = this->methods->clone(this->attribute, &memory);
  ASSERT_EQ(copy, &memory);
  EXPECT_EQ(valuesOf<TypeParam>(copy), (std::vector<TypeParam>{1, 2, 3}));
  ztTagAttribute_of(copy)->destroy(copy);
  ztTagAttribute_of(copy)->destroy(copy);
}

TYPED_TEST(Attribute, CopiesAnAttributeWithoutValues) {
  ASSERT_EQ(this->methods->setNumValues(this->attribute, 0), 1);
  void *copy = copyOf(this->attribute);
  EXPECT_EQ(countOf(copy), 0);
  release(copy);
}

TEST_F(BareAttribute, IsCopied) {
  auto *copy = static_cast<ztTagAttribute *>(copyOf(attribute));
  EXPECT_EQ(copy->values, nullptr);
  EXPECT_EQ(copy->type, -1);
  release(copy);
}

TYPED_TEST(Attribute, AssignsAsManyValuesAsBothHave) {
  this->have({1, 2, 3});
  ztTagAttribute *fewer = newAttribute<TypeParam>({7, 8});
  ztTagAttribute *more = newAttribute<TypeParam>({10, 11, 12, 13});
  strcpy(more->name, "other");
  this->attribute->changed = 0;
  EXPECT_EQ(this->methods->assign(this->attribute, fewer), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{7, 8, 3}));
  EXPECT_EQ(this->methods->assign(this->attribute, more), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{10, 11, 12}));
  EXPECT_EQ(this->methods->assign(this->attribute, this->attribute), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{10, 11, 12}));
  EXPECT_STREQ(this->attribute->name, "");
  EXPECT_EQ(this->attribute->changed, 0u);
  release(fewer);
  release(more);
}

TEST(AttributeAssign, TakesNothingFromAnotherKind) {
  ztTagAttribute *ints = newAttribute(Ints{1, 2});
  ztTagAttribute *floats = newAttribute(Floats{3, 4});
  void *bare = ztTagAttribute_ctor(nullptr, 1);
  EXPECT_EQ(ztTagAttribute_of(ints)->assign(ints, floats), 1);
  EXPECT_EQ(ztTagAttribute_of(floats)->assign(floats, ints), 1);
  EXPECT_EQ(ztTagAttribute_of(ints)->assign(ints, bare), 1);
  EXPECT_EQ(ztTagAttribute_of(bare)->assign(bare, ints), 1);
  EXPECT_EQ(valuesOf<int32_t>(ints), (Ints{1, 2}));
  EXPECT_EQ(valuesOf<double>(floats), (Floats{3, 4}));
  EXPECT_EQ(ztTagAttribute_of(ints)->assign(ints, nullptr), 0);
  release(ints);
  release(floats);
  release(bare);
}

TYPED_TEST(Attribute, DestroyingItTwiceIsHarmless) {
  this->methods->destroy(this->attribute);
  EXPECT_EQ(this->attribute->values, nullptr);
  this->methods->destroy(this->attribute);
}

// The record --------------------------------------------------------------------------------------

namespace {

constexpr size_t nameSize = 32;

template <typename Value>
std::string recordOf(const char *name, int32_t type, int32_t userValue, const std::vector<Value> &values) {
  std::string record = fieldOf(name, nameSize) + bytesOf(type) + bytesOf(type) + bytesOf(userValue) +
                       bytesOf(static_cast<int32_t>(values.size()));
  for (const Value value : values) record += bytesOf(value);
  return record;
}

template <typename Value>
std::string textOf(const char *name, int32_t type, int32_t userValue, const std::vector<Value> &values) {
  std::string text = fieldOf(name, nameSize) + "\n";
  for (const int32_t number : {type, type, userValue, static_cast<int32_t>(values.size())}) {
    text += std::to_string(number) + "\n";
  }
  for (const Value value : values) text += bytesOf(value) + "\n";
  return text;
}

}  // namespace

TYPED_TEST(Attribute, WritesNameTypeTwiceUserValueAndValues) {
  const std::vector<TypeParam> values = {1, -2, 3};
  this->have(values);
  strcpy(this->attribute->name, "speed");
  this->attribute->userValue = -5;
  const int32_t type = this->attribute->type;
  EXPECT_EQ(Records().of(this->attribute), recordOf("speed", type, -5, values));
  EXPECT_EQ(Records(ztTextFile_ctor).of(this->attribute), textOf("speed", type, -5, values));
}

TYPED_TEST(Attribute, WritesAnAttributeWithoutValues) {
  this->have({});
  const int32_t type = this->attribute->type;
  EXPECT_EQ(Records().of(this->attribute), recordOf<TypeParam>("", type, 1, {}));
}

TYPED_TEST(Attribute, ReadsWhatWasWritten) {
  // Values whose bytes are no white space, which the text form would lose behind a number.
  const std::vector<TypeParam> values = {65, -66, 67000};
  for (const ztCtor fileClass : {ztFile_ctor, ztTextFile_ctor}) {
    this->have(values);
    strcpy(this->attribute->name, "height");
    this->attribute->userValue = 12;
    Records records(fileClass);
    const std::string record = records.of(this->attribute);
    auto *other = static_cast<ztTagAttribute *>(copyOf(this->attribute));
    setValues(other, std::vector<TypeParam>{1});
    memset(other->name, 'x', sizeof other->name);
    other->userValue = 0;
    other->changed = 0;
    EXPECT_EQ(records.read(other, record), 1);
    EXPECT_STREQ(other->name, "height");
    EXPECT_EQ(other->type, this->attribute->type);
    EXPECT_EQ(other->userValue, 12);
    EXPECT_EQ(valuesOf<TypeParam>(other), values);
    EXPECT_EQ(other->changed, 0u);
    release(other);
  }
}

TYPED_TEST(Attribute, ReadsOverTheValuesItHas) {
  this->have({1, 2, 3});
  EXPECT_EQ(Records().read(this->attribute, recordOf<TypeParam>("n", this->attribute->type, 2, {})), 1);
  EXPECT_EQ(countOf(this->attribute), 0);
  EXPECT_EQ(Records().read(this->attribute, recordOf<TypeParam>("n", this->attribute->type, 2, {4, 5})), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{4, 5}));
}

TEST_F(HeldAttribute, ReadingTellsNothingAndKeepsTheOwner) {
  EXPECT_EQ(Records().read(attribute, recordOf("n", 1, 2, Ints{5})), 1);
  EXPECT_EQ(tag->changes, changesBefore);
  EXPECT_EQ(attribute->owner, tag);
}

TYPED_TEST(Attribute, TheSecondTypeWordIsTheOneThatStays) {
  std::string record = recordOf<TypeParam>("n", this->attribute->type, 2, {4});
  record.replace(nameSize, 8, bytesOf(int32_t{11}) + bytesOf(int32_t{12}));
  EXPECT_EQ(Records().read(this->attribute, record), 1);
  EXPECT_EQ(this->attribute->type, 12);
}

// Whoever goes by the type has room for 4 bytes with 1, and for 8 with 2.
TYPED_TEST(Attribute, ReadingRefusesATypeThatContradictsTheValues) {
  const int32_t own = this->attribute->type;
  const int32_t other = own == intType ? floatType : intType;
  const std::vector<std::pair<int32_t, int32_t>> words = {
      {other, other}, {own, other}, {other, own}, {11, other}};
  for (const auto &[first, second] : words) {
    this->have({1, 2});
    this->attribute->userValue = 5;
    std::string record = recordOf<TypeParam>("read", own, 9, {4});
    record.replace(nameSize, 8, bytesOf(first) + bytesOf(second));
    EXPECT_EQ(Records().read(this->attribute, record), 0);
    EXPECT_EQ(this->attribute->type, own);
    EXPECT_STREQ(this->attribute->name, "read");
    EXPECT_EQ(this->attribute->userValue, 5);
    EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2}));
    const std::string text =
        fieldOf("text", nameSize) + "\n" + std::to_string(first) + "\n" + std::to_string(second) + "\n9\n0\n";
    EXPECT_EQ(Records(ztTextFile_ctor).read(this->attribute, text), 0);
    EXPECT_EQ(this->attribute->type, own);
    EXPECT_STREQ(this->attribute->name, "text");
  }
}

TYPED_TEST(Attribute, ReadingRefusesAContradictionAlsoOfATypeOfTheHosts) {
  const int32_t other = this->attribute->type == intType ? floatType : intType;
  this->attribute->type = 11;
  EXPECT_EQ(Records().read(this->attribute, recordOf<TypeParam>("n", other, 2, {4})), 0);
  EXPECT_EQ(this->attribute->type, 11);
}

TYPED_TEST(Attribute, TheFirstTypeStaysWhereTheSecondIsCutOff) {
  const std::string record = recordOf<TypeParam>("n", 11, 2, {4}).substr(0, nameSize + 4);
  EXPECT_EQ(Records().read(this->attribute, record), 0);
  EXPECT_EQ(this->attribute->type, 11);
}

// Memory of just so many bytes, so that one more is noticed.
template <typename Value>
class Room {
 public:
  explicit Room(Value value) : bytes(static_cast<Value *>(malloc(sizeof value))) {
    *bytes = value;
  }
  ~Room() {
    free(bytes);
  }
  Room(const Room &) = delete;
  Room &operator=(const Room &) = delete;

  Value *const bytes;
};

template <typename Value>
static void expectNothingCopied(void *attribute) {
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
  const Room<Value> room(77);
  for (const int32_t index : {-1, 0, 1}) EXPECT_EQ(methods->setValue(attribute, index, room.bytes), 0);
  for (const int32_t index : {0, 1, 5}) EXPECT_EQ(methods->getValue(attribute, index, room.bytes), nullptr);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(methods->getTotalValue(attribute, room.bytes), room.bytes);
    EXPECT_EQ(methods->getAverageValue(attribute, room.bytes), room.bytes);
  }
  EXPECT_EQ(*room.bytes, 77);
}

TYPED_TEST(Attribute, CopiesNothingUnderATypeThatContradictsTheValues) {
  using Other = std::conditional_t<std::is_same_v<TypeParam, int32_t>, double, int32_t>;
  this->have({1, 2});
  const int32_t own = this->attribute->type;
  this->attribute->type = own == intType ? floatType : intType;
  expectNothingCopied<Other>(this->attribute);
  this->attribute->type = own;
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{1, 2}));
}

TYPED_TEST(Attribute, CopiesNothingOfValuesThatAHostReplacedByOthersOfAnotherSize) {
  using Other = std::conditional_t<std::is_same_v<TypeParam, int32_t>, double, int32_t>;
  ztTagAttribute *other = newAttribute(std::vector<Other>{1, 2});
  std::swap(this->attribute->values, other->values);
  expectNothingCopied<TypeParam>(this->attribute);
  expectNothingCopied<Other>(other);
  this->attribute->type = other->type;
  // The class knows how to add its own kind only; the values themselves are reached again.
  const Room<Other> room(77);
  EXPECT_EQ(this->methods->getTotalValue(this->attribute, room.bytes), room.bytes);
  EXPECT_EQ(*room.bytes, 77);
  EXPECT_NE(this->methods->getValue(this->attribute, 1, room.bytes), nullptr);
  EXPECT_EQ(*room.bytes, 2);
  release(other);
}

TYPED_TEST(Attribute, AddsNoValuesOfAnotherSizeUnderATypeOfTheHosts) {
  this->attribute->type = 11;
  ztArray_of(this->attribute->values)->setElementSize(this->attribute->values, 100, 0);
  ztArray_of(this->attribute->values)->empty(this->attribute->values);
  ASSERT_EQ(this->methods->setNumValues(this->attribute, 3), 1);
  TypeParam out = 77;
  EXPECT_EQ(this->methods->getTotalValue(this->attribute, &out), &out);
  EXPECT_EQ(this->methods->getTotalValue(this->attribute, &out), &out);
  EXPECT_EQ(out, 77);
}

TYPED_TEST(Attribute, ANameWithoutAnEndIsCut) {
  std::string record = recordOf<TypeParam>("", this->attribute->type, 2, {4});
  record.replace(0, nameSize, std::string(nameSize, 'n'));
  EXPECT_EQ(Records().read(this->attribute, record), 1);
  EXPECT_EQ(this->attribute->name, std::string(31, 'n'));
}

// Missing element bytes read as zeros; all else must be there.
TYPED_TEST(Attribute, ReadingACutRecordFailsAheadOfTheValues) {
  const std::string record = recordOf<TypeParam>("name", this->attribute->type, 2, {4, 5});
  const size_t values = nameSize + 16;
  for (size_t size = 0; size < record.size(); ++size) {
    this->have({7});
    EXPECT_EQ(Records().read(this->attribute, record.substr(0, size)), size >= values) << size;
    EXPECT_EQ(this->have().size(), size >= values ? 2u : 1u) << size;
    EXPECT_EQ(this->set(0, 3), 1);
  }
  this->have({7});
  EXPECT_EQ(Records().read(this->attribute, record.substr(0, values + sizeof(TypeParam))), 1);
  EXPECT_EQ(this->have(), (std::vector<TypeParam>{4, 0}));
}

TYPED_TEST(Attribute, ReadingACutTextFailsAheadOfTheCount) {
  const std::string text = textOf<TypeParam>("name", this->attribute->type, 7, {65, 66});
  const size_t count = text.find("7\n2\n") + 2;
  for (size_t size = 0; size < text.size(); ++size) {
    this->have({7});
    EXPECT_EQ(Records(ztTextFile_ctor).read(this->attribute, text.substr(0, size)), size > count) << size;
    EXPECT_EQ(this->have().size(), size > count ? 2u : 1u) << size;
  }
}

TYPED_TEST(Attribute, ReadingAnImpossibleCountFails) {
  for (const int32_t count : {-1, INT32_MIN, INT32_MAX, 100000000}) {
    this->have({7});
    std::string record = recordOf<TypeParam>("name", this->attribute->type, 2, {4, 5});
    record.replace(nameSize + 12, 4, bytesOf(count));
    EXPECT_EQ(Records().read(this->attribute, record), 0) << count;
    EXPECT_EQ(this->have(), (std::vector<TypeParam>{7}));
  }
}

TYPED_TEST(Attribute, ReadAndWriteNeedAnOpenFile) {
  EXPECT_EQ(this->methods->write(this->attribute, nullptr), 0);
  EXPECT_EQ(this->methods->read(this->attribute, nullptr), 0);
  for (const ztCtor fileClass : {ztFile_ctor, ztTextFile_ctor}) {
    void *closed = fileClass(nullptr, 1);
    EXPECT_EQ(this->methods->write(this->attribute, closed), 0);
    EXPECT_EQ(this->methods->read(this->attribute, closed), 0);
    release(closed);
  }
}

TEST_F(BareAttribute, HasNoRecord) {
  Records records;
  EXPECT_EQ(methods->write(attribute, records.toWrite()), 0);
  EXPECT_EQ(records.written(), "");
  EXPECT_EQ(records.read(attribute, recordOf("n", 1, 2, Ints{5})), 0);
  EXPECT_STREQ(attribute->name, "");
}

// Handles -----------------------------------------------------------------------------------------

TEST(TagHandle, IsTwoWords) {
  const ztTagHandle handle = {3, floatType};
  Records binary;
  EXPECT_EQ(ztTat_writeHandle(binary.toWrite(), &handle), 1);
  EXPECT_EQ(binary.written(), bytesOf(int32_t{3}) + bytesOf(floatType));
  Records text(ztTextFile_ctor);
  EXPECT_EQ(ztTat_writeHandle(text.toWrite(), &handle), 1);
  EXPECT_EQ(text.written(), "3\n2\n");
}

TEST(TagHandle, IsReadAsItWasWritten) {
  ztTagHandle handle = {0, 0};
  EXPECT_EQ(ztTat_readHandle(Records().toRead(bytesOf(int32_t{-3}) + bytesOf(int32_t{70000})), &handle), 1);
  EXPECT_EQ(handle.index, -3);
  EXPECT_EQ(handle.type, 70000);
  EXPECT_EQ(ztTat_readHandle(Records(ztTextFile_ctor).toRead("5\n1\n"), &handle), 1);
  EXPECT_EQ(handle.index, 5);
  EXPECT_EQ(handle.type, 1);
}

TEST(TagHandle, ReadingStopsWhereTheFileEnds) {
  const std::string record = bytesOf(int32_t{3}) + bytesOf(int32_t{1});
  for (size_t size = 0; size < record.size(); ++size) {
    ztTagHandle handle = {-9, -9};
    Records records;
    EXPECT_EQ(ztTat_readHandle(records.toRead(record.substr(0, size)), &handle), 0) << size;
    if (size == 0) {
      EXPECT_EQ(handle.index, -9);
    }
    if (size <= 4) {
      EXPECT_EQ(handle.type, -9);
    }
  }
}

TEST(TagHandle, NeedsAFileAndAHandle) {
  ztTagHandle handle = {1, 1};
  Records records;
  EXPECT_EQ(ztTat_readHandle(nullptr, &handle), 0);
  EXPECT_EQ(ztTat_writeHandle(nullptr, &handle), 0);
  EXPECT_EQ(ztTat_writeHandle(records.toWrite(), nullptr), 0);
  EXPECT_EQ(records.written(), "");
  EXPECT_EQ(ztTat_readHandle(records.toRead("12345678"), nullptr), 0);
  void *closed = ztFile_ctor(nullptr, 1);
  EXPECT_EQ(ztTat_writeHandle(closed, &handle), 0);
  EXPECT_EQ(ztTat_readHandle(closed, &handle), 0);
  release(closed);
}

TEST(TagHandle, WritesNothingMoreOnceAWriteFailed) {
  const ztTagHandle handle = {1, 1};
  void *file = RefusingFile_ctor(nullptr, 1);
  for (const int32_t allowed : {0, 1, 2}) {
    auto *refusing = static_cast<RefusingFile *>(file);
    refusing->allowed = allowed;
    refusing->calls = 0;
    EXPECT_EQ(ztTat_writeHandle(file, &handle), allowed == 2);
    EXPECT_EQ(refusing->calls, allowed == 2 ? 2 : allowed + 1);
  }
  release(file);
}

// Every primitive that an attribute writes counts: the first refusal ends it.
TYPED_TEST(Attribute, WritingStopsAtTheFirstFailure) {
  this->have({1, 2});
  auto *file = static_cast<RefusingFile *>(RefusingFile_ctor(nullptr, 1));
  const int32_t primitivesAheadOfTheValues = 5;
  for (int32_t allowed = 0; allowed < primitivesAheadOfTheValues; ++allowed) {
    file->allowed = allowed;
    file->calls = 0;
    EXPECT_EQ(this->methods->write(this->attribute, file), 0) << allowed;
    EXPECT_EQ(file->calls, allowed + 1);
  }
  file->allowed = primitivesAheadOfTheValues;
  file->calls = 0;
  EXPECT_EQ(this->methods->write(this->attribute, file), 1);
  release(file);
}

TEST(ValuesOfAHostsClass, ThatAreNotStoredOrReadFailTheAttribute) {
  void *attribute = ztIntTag_ctor(nullptr, 1);
  auto *fields = static_cast<ztTagAttribute *>(attribute);
  release(fields->values);
  fields->values = static_cast<ztArray *>(FleetingValues_ctor(nullptr, 1));
  for (const int32_t result : {0, -1, 1}) {
    fleetingResult = result;
    Records records;
    EXPECT_EQ(ztTagAttribute_of(attribute)->write(attribute, records.toWrite()), result == 1) << result;
    EXPECT_EQ(Records().read(attribute, records.written()), result == 1) << result;
  }
  release(attribute);
}
