#include "tags/zttagattr.h"

#include "tests/tags/attributes.hh"

#include <utility>
#include <vector>

// The classes of the tests ------------------------------------------------------------------------

// Values that are neither stored nor read.
#define FleetingValues_FIELDS ztIntArray_FIELDS
#define FleetingValues_METHODS ztIntArray_METHODS
ZT_DECLARE_CLASS(FleetingValues)

static int32_t fleetingResult;

static void fleetingValuesMethods(FleetingValuesMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, [](const void *, void *) { return fleetingResult; });
  ZT_OVERRIDE_METHOD(methods, read, [](void *, void *) { return fleetingResult; });
}

ZT_DEFINE_CLASS(FleetingValues, ztIntArray, fleetingValuesMethods)

static void listeningTagAttrChanged(void *object, void *attribute) {
  auto *tag = static_cast<ListeningTag *>(object);
  ++tag->changes;
  tag->lastAttribute = attribute;
  if (tag->onChange != nullptr) tag->onChange(tag, attribute);
}

static void listeningTagMethods(ListeningTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, [](void *object) -> int32_t {
    auto *tag = static_cast<ListeningTag *>(object);
    tag->changes = 0;
    tag->lastAttribute = nullptr;
    tag->onChange = nullptr;
    return ztTag_table()->create(object);
  });
  ZT_OVERRIDE_METHOD(methods, attrChanged, listeningTagAttrChanged);
}

ZT_DEFINE_CLASS(ListeningTag, ztTag, listeningTagMethods)

namespace {

// An attribute of either kind.
class ztTagAttributeTest : public testing::TestWithParam<ztCtor> {
 protected:
  void have(const Numbers &values) const {
    setValues(attribute, values);
  }

  const Attribute attribute{GetParam()};
  ztTagAttribute &fields = attribute.fields();
  const int32_t type = fields.type;
  const int32_t otherType = type == intType ? floatType : intType;
  const ztCtor otherKind = type == intType ? ztFloatTag_ctor : ztIntTag_ctor;
};

INSTANTIATE_TEST_SUITE_P(Of, ztTagAttributeTest, testing::Values(ztIntTag_ctor, ztFloatTag_ctor),
                         [](const auto &kind) { return kind.param == ztIntTag_ctor ? "Ints" : "Floats"; });

class ztTagAttributeWithoutValues : public testing::Test {
 protected:
  const Attribute attribute{ztTagAttribute_ctor};
  ztTagAttribute &fields = attribute.fields();
};

// An attribute in a listening tag.
class ztTagAttributeInATag : public testing::Test {
 protected:
  // The changes that the tag was told of since the attribute was inserted.
  int32_t changes() const {
    return tag.changes() - changesBefore;
  }

  Tag tag;
  const ztTagHandle handle = tag.insert("held", ztIntTag_ctor, {1, 2, 3});
  ztTagAttribute *attribute = tag.at(handle);
  const ztTagAttributeMethods *methods = ztTagAttribute_of(attribute);
  const int32_t changesBefore = tag.changes();
};

void expectDefaults(const ztTagAttribute &fields) {
  EXPECT_EQ(fields.owner, nullptr);
  EXPECT_EQ(std::string(fields.name, sizeof fields.name), std::string(32, '\0'));
  EXPECT_EQ(fields.changed, 1u);
  EXPECT_EQ(fields.userValue, 1);
}

}  // namespace

// Defaults ----------------------------------------------------------------------------------------

TEST_F(ztTagAttributeWithoutValues, HasItsDefaultsAndSoHasItsCopy) {
  const Attribute copy = copyOf(&fields);
  for (const Attribute *described : {&attribute, &copy}) {
    expectDefaults(described->fields());
    EXPECT_EQ(described->fields().type, -1);
    EXPECT_EQ(described->fields().values, nullptr);
    EXPECT_EQ(described->fields().refCount, 1);
  }
  EXPECT_EQ(ztTagAttributeVersion(nullptr, attribute), 1u);
}

TEST_P(ztTagAttributeTest, HasTheDefaultsOfItsParentAndOneValueZero) {
  expectDefaults(fields);
  EXPECT_EQ(attribute.values(), "0");
  EXPECT_EQ(ztOOP_isClassOf(attribute, "ztTagAttribute"), 1);
  const Owned made(ztNewFromName(ztOOP_classNameOf(attribute)));
  EXPECT_EQ(valuesOf(made), "0");
}

// Values ------------------------------------------------------------------------------------------

TEST_P(ztTagAttributeTest, SetsAndGetsValuesByIndex) {
  have({1, 2, 3});
  EXPECT_EQ(attribute.set(1, 20), 1);
  EXPECT_EQ(attribute.values(), "1 20 3");
  const Value out(attribute);
  EXPECT_EQ(attribute->getValue(attribute, 2, out), ztArray_of(fields.values)->getAt(fields.values, 2));
  EXPECT_EQ(out.number(), 3);
}

TEST_P(ztTagAttributeTest, TakesAnIndexAtOrBehindTheCountForTheFirst) {
  for (const int32_t index : {3, 5, 7, INT32_MAX}) {
    have({1, 2, 3});
    const Value out(attribute);
    EXPECT_EQ(attribute->getValue(attribute, index, out), attribute->getValue(attribute, 0, nullptr));
    EXPECT_EQ(out.number(), 1);
    EXPECT_EQ(attribute.set(index, 9), 1);
    EXPECT_EQ(attribute.values(), "9 2 3");
  }
}

TEST_P(ztTagAttributeTest, SetsEveryValueAtIndexMinusOne) {
  have({1, 2, 3});
  EXPECT_EQ(attribute.set(-1, 8), 1);
  EXPECT_EQ(attribute.values(), "8 8 8");
  have({1, 2, 3});
  const void *own = attribute->getValue(attribute, 1, nullptr);
  EXPECT_EQ(attribute->setValue(attribute, -1, own), 1);
  EXPECT_EQ(attribute.values(), "2 2 2") << "one of its own";
}

TEST_P(ztTagAttributeTest, RefusesIndexesBelowMinusOneAndGetsNothingThere) {
  have({1, 2, 3});
  fields.changed = 0;
  const Value out(attribute);
  EXPECT_EQ(attribute->getValue(attribute, -1, out), nullptr);
  for (const int32_t index : {-2, -3, INT32_MIN}) {
    EXPECT_EQ(attribute.set(index, 9), 0);
    EXPECT_EQ(attribute->getValue(attribute, index, out), nullptr);
  }
  EXPECT_EQ(out.number(), untouched);
  EXPECT_EQ(attribute.values(), "1 2 3");
  EXPECT_EQ(fields.changed, 0u);
}

TEST_P(ztTagAttributeTest, RefusesANullValue) {
  have({1, 2});
  fields.changed = 0;
  for (const int32_t index : {-1, 0, 1, 2}) EXPECT_EQ(attribute->setValue(attribute, index, nullptr), 0);
  EXPECT_EQ(attribute.values(), "1 2");
  EXPECT_EQ(fields.changed, 0u);
}

TEST_P(ztTagAttributeTest, IsMarkedChangedByAValueThatIsSet) {
  for (const int32_t index : {0, -1, 100}) {
    fields.changed = 0;
    EXPECT_EQ(attribute.set(index, 5), 1);
    EXPECT_EQ(fields.changed, 1u);
  }
}

TEST_P(ztTagAttributeTest, KeepsValuesAndAddsZerosForAnotherNumberUnmarked) {
  have({1, 2, 3});
  fields.changed = 0;
  const std::pair<int32_t, const char *> rows[] = {{5, "1 2 3 0 0"}, {2, "1 2"}, {2, "1 2"}};
  for (const auto &[count, expected] : rows) {
    EXPECT_EQ(attribute->setNumValues(attribute, count), 1);
    EXPECT_EQ(attribute.values(), expected);
  }
  for (const int32_t count : {-1, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(attribute->setNumValues(attribute, count), 0);
    EXPECT_EQ(attribute.values(), "1 2");
  }
  EXPECT_EQ(attribute->setNumValues(attribute, 0), 1);
  EXPECT_EQ(fields.changed, 0u);
}

TEST_P(ztTagAttributeTest, HasNothingToSetOrGetWithoutValues) {
  have({});
  fields.changed = 0;
  const Value out(attribute);
  for (const int32_t index : {0, 1, 5}) {
    EXPECT_EQ(attribute.set(index, 4), 0);
    EXPECT_EQ(attribute->getValue(attribute, index, out), nullptr);
  }
  EXPECT_EQ(out.number(), untouched);
  EXPECT_EQ(fields.changed, 0u);
  EXPECT_EQ(attribute.set(-1, 4), 1);
  EXPECT_EQ(attribute.values(), "");
  EXPECT_EQ(attribute->setNumValues(attribute, 2), 1);
  EXPECT_EQ(attribute.values(), "0 0");
}

TEST_P(ztTagAttributeTest, ReturnsTheOutputOfTotalAndAverageAndClearsTheMark) {
  attribute.total();
  EXPECT_EQ(fields.changed, 0u);
  fields.changed = 1;
  attribute.average();
  EXPECT_EQ(fields.changed, 0u);
  EXPECT_EQ(attribute->getTotalValue(attribute, nullptr), nullptr);
  EXPECT_EQ(attribute->getAverageValue(attribute, nullptr), nullptr);
}

TEST_F(ztTagAttributeWithoutValues, SetsAndGetsNoneButClearsTheMark) {
  const Value value(sizeof(double), 5);
  EXPECT_EQ(attribute->setValue(attribute, 0, value), 0);
  EXPECT_EQ(attribute->setValue(attribute, -1, value), 0);
  EXPECT_EQ(attribute->getValue(attribute, 0, value), nullptr);
  EXPECT_EQ(attribute->setNumValues(attribute, 3), 0);
  EXPECT_EQ(attribute->getTotalValue(attribute, value), static_cast<void *>(value));
  EXPECT_EQ(fields.changed, 0u);
  fields.changed = 1;
  EXPECT_EQ(attribute->getAverageValue(attribute, value), static_cast<void *>(value));
  EXPECT_EQ(fields.changed, 0u);
  EXPECT_EQ(value.number(), 5);
}

// A host's attribute may keep its values by pointer.
TEST_F(ztTagAttributeWithoutValues, GivesNothingForANullThatItKeeps) {
  fields.values = static_cast<ztArray *>(ztPtrArray_ctor(nullptr, 1));
  EXPECT_EQ(attribute->setNumValues(attribute, 2), 1);
  void *out = &fields;
  EXPECT_EQ(attribute->getValue(attribute, 1, &out), nullptr);
  EXPECT_EQ(out, &fields);
  EXPECT_EQ(attribute->setValue(attribute, 1, this), 1);
  EXPECT_EQ(attribute->getValue(attribute, 1, nullptr), this);
}

// Notification ------------------------------------------------------------------------------------

TEST_F(ztTagAttributeInATag, TellsItsOwnerOnceForEachSettingWhenItIsDone) {
  EXPECT_EQ(setValue(attribute, 0, 7), 1);
  EXPECT_EQ(changes(), 1);
  EXPECT_EQ(tag.fields().lastAttribute, attribute);
  attribute->changed = 0;
  tag.fields().onChange = [](void *, void *changed) {
    EXPECT_EQ(valuesOf(changed), "4 4 4");
    EXPECT_EQ(static_cast<ztTagAttribute *>(changed)->changed, 1u);
  };
  EXPECT_EQ(setValue(attribute, -1, 4), 1);
  EXPECT_EQ(changes(), 2);
}

TEST_F(ztTagAttributeInATag, TellsNothingWhereNoValueIsSet) {
  methods->setValue(attribute, 0, nullptr);
  setValue(attribute, -2, 4);
  methods->setNumValues(attribute, 6);
  int32_t out = 0;
  methods->getValue(attribute, 0, &out);
  methods->getTotalValue(attribute, &out);
  methods->getAverageValue(attribute, &out);
  methods->setNumValues(attribute, 0);
  setValue(attribute, 0, 4);
  EXPECT_EQ(changes(), 0);
}

TEST_F(ztTagAttributeInATag, LetsItsOwnerSetAValueInTurn) {
  tag.fields().onChange = [](void *, void *changed) {
    int32_t value = 0;
    ztTagAttribute_of(changed)->getValue(changed, 0, &value);
    if (value < 5) setValue(changed, 0, value + 1);
  };
  EXPECT_EQ(setValue(attribute, 0, 1), 1);
  EXPECT_EQ(valuesOf(attribute), "5 2 3");
  EXPECT_EQ(changes(), 5);
}

TEST_F(ztTagAttributeInATag, LetsItsOwnerReleaseItself) {
  static Tag *owner = nullptr;
  owner = &tag;
  tag.fields().onChange = [](void *, void *) { end(*owner); };
  EXPECT_EQ(setValue(attribute, 0, 1), 1);
}

TEST_F(ztTagAttributeInATag, TellsAnOwnerThatTheHostNamed) {
  const Attribute own(ztIntTag_ctor);
  own.fields().owner = &tag.fields();
  EXPECT_EQ(own.set(0, 3), 1);
  EXPECT_EQ(changes(), 1);
  EXPECT_EQ(tag.fields().lastAttribute, own.address());
  end(tag);
}

// Owners ------------------------------------------------------------------------------------------

TEST_F(ztTagAttributeInATag, OutlivesItsOwner) {
  keep(attribute);
  end(tag);
  EXPECT_EQ(attribute->owner, nullptr);
  EXPECT_EQ(methods->getRefCount(attribute), 2);
  EXPECT_EQ(setValue(attribute, 0, 6), 1);
  EXPECT_EQ(valuesOf(attribute), "6 2 3");
  release(attribute);
}

TEST_F(ztTagAttributeInATag, HasCopiesThatNameTheOwnerTellItAndOutliveIt) {
  const Attribute copy = copyOf(attribute);
  EXPECT_EQ(copy.fields().owner, &tag.fields());
  EXPECT_EQ(copy.set(0, 7), 1);
  EXPECT_EQ(changes(), 1);
  EXPECT_EQ(tag.fields().lastAttribute, copy.address());
  EXPECT_EQ(valuesOf(attribute), "1 2 3");
  end(tag);
  EXPECT_EQ(copy.set(0, 8), 1);
  EXPECT_EQ(copy.fields().owner, nullptr);
  EXPECT_EQ(copy.values(), "8 2 3");
}

TEST_F(ztTagAttributeInATag, HasCopiesOfCopiesThatOutliveTheOwner) {
  Attribute copy = copyOf(attribute);
  const Attribute second = copyOf(copy.address());
  end(copy);
  EXPECT_EQ(second.fields().owner, &tag.fields());
  end(tag);
  const Attribute third = copyOf(second.address());
  EXPECT_EQ(third.fields().owner, nullptr);
  EXPECT_EQ(second.set(0, 1), 1);
  EXPECT_EQ(third.set(0, 1), 1);
}

TEST_F(ztTagAttributeInATag, HasManyCopiesThatEachKnowWhetherTheirOwnerLives) {
  Tag other;
  ztTagAttribute *source = other.at(other.insert("other", ztIntTag_ctor, {5}));
  std::vector<Attribute> ofThis, ofOther;
  for (int i = 0; i < 100; ++i) {
    ofThis.push_back(copyOf(attribute));
    ofOther.push_back(copyOf(source));
  }
  for (size_t i = 0; i < 100; i += 3) ofThis[i] = copyOf(attribute);
  end(other);
  for (const Attribute &copy : ofThis) EXPECT_EQ(copy.set(0, 1), 1);
  EXPECT_EQ(changes(), 100);
  for (const Attribute &copy : ofOther) EXPECT_EQ(copy.set(0, 1), 1);
  EXPECT_EQ(changes(), 100);
  end(tag);
  for (const Attribute &copy : ofThis) EXPECT_EQ(copy.set(0, 1), 1);
}

TEST_F(ztTagAttributeInATag, HasCopiesThatOutliveTheOwnerWhenAnArrayMovedThem) {
  const Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(ztIntTag), 0);
  array->setElementConstructor(array, ztIntTag_ctor);
  for (int i = 0; i < 50; ++i) ASSERT_NE(array->pushBack(array, attribute), nullptr);
  array->removeAt(array, 0);
  setValue(array->getAt(array, 48), 0, 7);
  EXPECT_EQ(changes(), 1);
  end(tag);
  for (int i = 0; i < 49; ++i) EXPECT_EQ(setValue(array->getAt(array, i), 0, 8), 1);
}

TEST_F(ztTagAttributeInATag, LeavesTheTagWhenTheHostReleasesIt) {
  const ztTagHandle second = tag.insert("second", ztFloatTag_ctor, {4});
  release(attribute);
  EXPECT_EQ(tag.at(handle), nullptr);
  EXPECT_EQ(tag->getByName(tag, "held", nullptr), nullptr);
  int32_t index = 0;
  EXPECT_EQ(tag->getByName(tag, "second", &index), tag.at(second));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(tag->getNumValues(tag, &second), 1);
}

// Copies ------------------------------------------------------------------------------------------

TEST_P(ztTagAttributeTest, HasACopyOfItsOwn) {
  have({1, 2, 3});
  strcpy(fields.name, "name");
  fields.userValue = 44;
  fields.changed = 0;
  const Attribute copy = copyOf(&fields);
  EXPECT_STREQ(copy.fields().name, "name");
  EXPECT_EQ(copy.fields().userValue, 44);
  EXPECT_EQ(copy.fields().type, type);
  EXPECT_EQ(copy.fields().changed, 0u);
  EXPECT_EQ(copy.fields().owner, nullptr);
  EXPECT_NE(copy.fields().values, fields.values);
  EXPECT_EQ(ztOOP_classOf(copy.fields().values), ztOOP_classOf(fields.values));
  EXPECT_EQ(copy.fields().values->refCount, 1);
  EXPECT_EQ(copy.set(0, 9), 1);
  EXPECT_EQ(copy->setNumValues(copy, 2), 1);
  EXPECT_EQ(copy.values(), "9 2");
  EXPECT_EQ(attribute.values(), "1 2 3");
  EXPECT_EQ(fields.refCount, 1);
  EXPECT_EQ(attribute->setNumValues(attribute, 0), 1);
  EXPECT_EQ(copyOf(&fields).values(), "");
}

TEST_P(ztTagAttributeTest, HasACopyInTheCallersMemoryThatMayBeDestroyedTwice) {
  have({1, 2, 3});
  union {
    ztIntTag ints;
    ztFloatTag floats;
  } memory;
  void *copy = attribute->clone(attribute, &memory);
  ASSERT_EQ(copy, &memory);
  EXPECT_EQ(valuesOf(copy), "1 2 3");
  attribute->destroy(copy);
  EXPECT_EQ(static_cast<ztTagAttribute *>(copy)->values, nullptr);
  attribute->destroy(copy);
}

TEST_P(ztTagAttributeTest, AssignsAsManyValuesAsBothHave) {
  have({1, 2, 3});
  const Attribute more(GetParam(), {10, 11, 12, 13});
  strcpy(more.fields().name, "other");
  fields.changed = 0;
  EXPECT_EQ(attribute->assign(attribute, Attribute(GetParam(), {7, 8})), 1);
  EXPECT_EQ(attribute.values(), "7 8 3");
  EXPECT_EQ(attribute->assign(attribute, more), 1);
  EXPECT_EQ(attribute.values(), "10 11 12");
  EXPECT_EQ(attribute->assign(attribute, attribute), 1);
  EXPECT_EQ(attribute.values(), "10 11 12");
  EXPECT_STREQ(fields.name, "");
  EXPECT_EQ(fields.changed, 0u);
}

TEST_P(ztTagAttributeTest, AssignsNothingOfAnotherKind) {
  have({1, 2});
  const Attribute bare(ztTagAttribute_ctor);
  EXPECT_EQ(attribute->assign(attribute, Attribute(otherKind, {3, 4})), 1);
  EXPECT_EQ(attribute->assign(attribute, bare), 1);
  EXPECT_EQ(bare->assign(bare, attribute), 1);
  EXPECT_EQ(attribute->assign(attribute, nullptr), 0);
  EXPECT_EQ(attribute.values(), "1 2");
}

// The record --------------------------------------------------------------------------------------

namespace {

constexpr size_t nameSize = 32;

std::string header(const std::string &name, int32_t first, int32_t second, int32_t userValue, size_t count) {
  return fieldOf(name, nameSize) + bytesOf(first) + bytesOf(second) + bytesOf(userValue) +
         bytesOf(static_cast<int32_t>(count));
}

// The bytes of a value of the type.
std::string bytesOfValue(int32_t type, double value) {
  return type == intType ? bytesOf(static_cast<int32_t>(value)) : bytesOf(value);
}

std::string record(const std::string &name, int32_t type, int32_t userValue, const Numbers &values) {
  std::string all = header(name, type, type, userValue, values.size());
  for (const double value : values) all += bytesOfValue(type, value);
  return all;
}

std::string textRecord(const char *name, int32_t type, int32_t userValue, const Numbers &values) {
  std::string text = fieldOf(name, nameSize) + "\n";
  for (const int32_t number : {type, type, userValue, static_cast<int32_t>(values.size())}) {
    text += std::to_string(number) + "\n";
  }
  for (const double value : values) text += bytesOfValue(type, value) + "\n";
  return text;
}

}  // namespace

TEST_P(ztTagAttributeTest, WritesNameTypeTwiceUserValueAndValues) {
  EXPECT_EQ(recordOf(Attribute(GetParam(), {})), record("", type, 1, {}));
  have({1, -2, 3});
  strcpy(fields.name, "speed");
  fields.userValue = -5;
  EXPECT_EQ(recordOf(attribute), record("speed", type, -5, {1, -2, 3}));
  EXPECT_EQ(recordOf(attribute, ztTextFile_ctor), textRecord("speed", type, -5, {1, -2, 3}));
}

TEST_P(ztTagAttributeTest, ReadsWhatWasWritten) {
  // Values whose bytes are no white space, which the text form would lose behind a number.
  have({65, -66, 67000});
  strcpy(fields.name, "height");
  fields.userValue = 12;
  for (const ztCtor form : {ztFile_ctor, ztTextFile_ctor}) {
    const Attribute other(GetParam(), {1});
    memset(other.fields().name, 'x', sizeof fields.name);
    other.fields().userValue = 0;
    other.fields().changed = 0;
    EXPECT_EQ(readRecord(other, recordOf(attribute, form), form), 1);
    EXPECT_STREQ(other.fields().name, "height");
    EXPECT_EQ(other.fields().type, type);
    EXPECT_EQ(other.fields().userValue, 12);
    EXPECT_EQ(other.values(), "65 -66 67000");
    EXPECT_EQ(other.fields().changed, 0u);
  }
}

TEST_P(ztTagAttributeTest, ReadsOverTheValuesItHas) {
  have({1, 2, 3});
  EXPECT_EQ(readRecord(attribute, record("n", type, 2, {})), 1);
  EXPECT_EQ(attribute.values(), "");
  EXPECT_EQ(readRecord(attribute, record("n", type, 2, {4, 5})), 1);
  EXPECT_EQ(attribute.values(), "4 5");
}

TEST_F(ztTagAttributeInATag, IsReadTellingNothingAndKeepingTheOwner) {
  EXPECT_EQ(readRecord(attribute, record("n", 1, 2, {5})), 1);
  EXPECT_EQ(changes(), 0);
  EXPECT_EQ(attribute->owner, &tag.fields());
}

TEST_P(ztTagAttributeTest, ReadsTheSecondTypeAsItsOwnWhereItIsThere) {
  const std::string value = bytesOfValue(type, 4);
  EXPECT_EQ(readRecord(attribute, header("n", 11, 12, 2, 1) + value), 1);
  EXPECT_EQ(fields.type, 12);
  EXPECT_EQ(readRecord(attribute, header("n", 11, 12, 2, 1).substr(0, nameSize + 4)), 0);
  EXPECT_EQ(fields.type, 11);
}

// Whoever goes by the type has room for 4 bytes with 1, and for 8 with 2.
TEST_P(ztTagAttributeTest, ReadsNoTypeThatContradictsTheValues) {
  const std::pair<int32_t, int32_t> words[] = {
      {otherType, otherType}, {type, otherType}, {otherType, type}, {11, otherType}};
  for (const auto &[first, second] : words) {
    have({1, 2});
    fields.userValue = 5;
    EXPECT_EQ(readRecord(attribute, header("read", first, second, 9, 1) + bytesOfValue(type, 4)), 0);
    EXPECT_EQ(fields.type, type);
    EXPECT_STREQ(fields.name, "read");
    EXPECT_EQ(fields.userValue, 5);
    EXPECT_EQ(attribute.values(), "1 2");
    const std::string types = std::to_string(first) + "\n" + std::to_string(second);
    const std::string text = fieldOf("text", nameSize) + "\n" + types + "\n9\n0\n";
    EXPECT_EQ(readRecord(attribute, text, ztTextFile_ctor), 0);
    EXPECT_EQ(fields.type, type);
    EXPECT_STREQ(fields.name, "text");
  }
  fields.type = 11;
  EXPECT_EQ(readRecord(attribute, header("n", otherType, otherType, 2, 1) + bytesOfValue(type, 4)), 0);
  EXPECT_EQ(fields.type, 11) << "one of the host's";
}

static void expectNothingCopied(const Attribute &attribute, size_t size) {
  const Value value(size);
  for (const int32_t index : {-1, 0, 1}) EXPECT_EQ(attribute->setValue(attribute, index, value), 0);
  for (const int32_t index : {0, 1, 5}) EXPECT_EQ(attribute->getValue(attribute, index, value), nullptr);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(attribute->getTotalValue(attribute, value), static_cast<void *>(value));
    EXPECT_EQ(attribute->getAverageValue(attribute, value), static_cast<void *>(value));
  }
  EXPECT_EQ(value.number(), untouched);
}

TEST_P(ztTagAttributeTest, CopiesNothingUnderATypeThatContradictsTheValues) {
  have({1, 2});
  fields.type = otherType;
  expectNothingCopied(attribute, valueSizeOf(Attribute(otherKind)));
  fields.type = type;
  EXPECT_EQ(attribute.values(), "1 2");
}

TEST_P(ztTagAttributeTest, CopiesNothingOfValuesThatAHostReplacedByOthersOfAnotherSize) {
  const Attribute other(otherKind, {1, 2});
  const size_t size = valueSizeOf(attribute);
  const size_t otherSize = valueSizeOf(other);
  std::swap(fields.values, other.fields().values);
  expectNothingCopied(attribute, size);
  expectNothingCopied(other, otherSize);
  fields.type = otherType;
  EXPECT_EQ(attribute.total(), untouched) << "the class knows how to add its own kind only";
  EXPECT_EQ(attribute.values(), "1 2") << "they are reached again";
}

TEST_P(ztTagAttributeTest, AddsNoValuesOfAnotherSizeUnderATypeOfTheHosts) {
  fields.type = 11;
  ztArray_of(fields.values)->setElementSize(fields.values, 100, 0);
  ztArray_of(fields.values)->empty(fields.values);
  ASSERT_EQ(attribute->setNumValues(attribute, 3), 1);
  double out = untouched;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(attribute->getTotalValue(attribute, &out), &out);
  EXPECT_EQ(out, untouched);
}

TEST_P(ztTagAttributeTest, CutsANameWithoutAnEnd) {
  EXPECT_EQ(readRecord(attribute, record(std::string(nameSize, 'n'), type, 2, {4})), 1);
  EXPECT_EQ(fields.name, std::string(31, 'n'));
}

// Missing element bytes read as zeros; all else must be there.
TEST_P(ztTagAttributeTest, FailsToReadARecordThatIsCutAheadOfTheValues) {
  const std::string whole = record("name", type, 2, {4, 5});
  const size_t values = nameSize + 16;
  for (size_t size = 0; size < whole.size(); ++size) {
    have({7});
    EXPECT_EQ(readRecord(attribute, whole.substr(0, size)), size >= values) << size;
    EXPECT_EQ(ztArray_of(fields.values)->getSize(fields.values), size >= values ? 2 : 1) << size;
    EXPECT_EQ(attribute.set(0, 3), 1);
  }
  have({7});
  EXPECT_EQ(readRecord(attribute, whole.substr(0, values + valueSizeOf(attribute))), 1);
  EXPECT_EQ(attribute.values(), "4 0");
  const std::string text = textRecord("name", type, 7, {65, 66});
  const size_t count = text.find("7\n2\n") + 2;
  for (size_t size = 0; size < text.size(); ++size) {
    have({7});
    EXPECT_EQ(readRecord(attribute, text.substr(0, size), ztTextFile_ctor), size > count) << size;
    EXPECT_EQ(ztArray_of(fields.values)->getSize(fields.values), size > count ? 2 : 1) << size;
  }
}

TEST_P(ztTagAttributeTest, FailsToReadAnImpossibleCount) {
  have({7});
  for (const int32_t count : {-1, INT32_MIN, INT32_MAX, 100000000}) {
    std::string damaged = record("name", type, 2, {4, 5});
    damaged.replace(nameSize + 12, 4, bytesOf(count));
    EXPECT_EQ(readRecord(attribute, damaged), 0) << count;
    EXPECT_EQ(attribute.values(), "7");
  }
}

TEST_P(ztTagAttributeTest, NeedsAnOpenFileToReadAndWrite) {
  const Owned closed(ztFile_ctor);
  const Owned closedText(ztTextFile_ctor);
  for (void *file :
       {static_cast<void *>(nullptr), static_cast<void *>(closed), static_cast<void *>(closedText)}) {
    EXPECT_EQ(attribute->write(attribute, file), 0);
    EXPECT_EQ(attribute->read(attribute, file), 0);
  }
}

TEST_F(ztTagAttributeWithoutValues, HasNoRecord) {
  const Storage file;
  EXPECT_EQ(attribute->write(attribute, file), 0);
  EXPECT_EQ(file.bytes(), "");
  EXPECT_EQ(readRecord(attribute, record("n", 1, 2, {5})), 0);
  EXPECT_STREQ(fields.name, "");
}

// Every primitive that an attribute writes counts: the first refusal ends it.
TEST_P(ztTagAttributeTest, StopsWritingAtTheFirstFailure) {
  have({1, 2});
  const size_t primitivesAheadOfTheValues = 5;
  for (size_t allowed = 0; allowed <= primitivesAheadOfTheValues; ++allowed) {
    const Storage file(FaultyFile_ctor);
    FileScript script;
    script.answerAll(0, static_cast<int>(allowed));
    const bool isEnough = allowed == primitivesAheadOfTheValues;
    EXPECT_EQ(attribute->write(attribute, file), isEnough) << allowed;
    if (!isEnough) {
      EXPECT_EQ(script.calls.size(), allowed + 1);
    }
  }
}

TEST(ztTagAttribute, FailsWithValuesOfAHostsClassThatAreNotStoredOrRead) {
  const Attribute attribute(ztIntTag_ctor);
  release(attribute.fields().values);
  attribute.fields().values = static_cast<ztArray *>(FleetingValues_ctor(nullptr, 1));
  for (const int32_t result : {0, -1, 1}) {
    fleetingResult = result;
    const Storage file;
    EXPECT_EQ(attribute->write(attribute, file), result == 1) << result;
    EXPECT_EQ(readRecord(attribute, file.bytes()), result == 1) << result;
  }
}

// Handles -----------------------------------------------------------------------------------------

TEST(ztTagHandle, IsWrittenAndReadAsTwoWords) {
  const ztTagHandle handles[] = {{3, floatType}, {-3, 70000}};
  for (const auto &[index, type] : handles) {
    const std::pair<ztCtor, std::string> forms[] = {
        {ztFile_ctor, bytesOf(index) + bytesOf(type)},
        {ztTextFile_ctor, std::to_string(index) + "\n" + std::to_string(type) + "\n"}};
    for (const auto &[form, expected] : forms) {
      const Storage file(form);
      const ztTagHandle handle = {index, type};
      EXPECT_EQ(ztTat_writeHandle(file, &handle), 1);
      EXPECT_EQ(file.bytes(), expected);
      ztTagHandle read = {0, 0};
      EXPECT_EQ(ztTat_readHandle(Storage(form, expected), &read), 1);
      EXPECT_EQ(read.index, index);
      EXPECT_EQ(read.type, type);
    }
  }
}

TEST(ztTagHandle, IsReadUpToTheEndOfTheFile) {
  const std::string whole = bytesOf(int32_t{3}) + bytesOf(int32_t{1});
  for (size_t size = 0; size < whole.size(); ++size) {
    ztTagHandle handle = {-9, -9};
    EXPECT_EQ(ztTat_readHandle(Storage(ztFile_ctor, whole.substr(0, size)), &handle), 0) << size;
    if (size == 0) {
      EXPECT_EQ(handle.index, -9);
    }
    if (size <= 4) {
      EXPECT_EQ(handle.type, -9);
    }
  }
}

TEST(ztTagHandle, NeedsAnOpenFileAndAHandle) {
  ztTagHandle handle = {1, 1};
  const Owned closed(ztFile_ctor);
  for (void *file : {static_cast<void *>(nullptr), static_cast<void *>(closed)}) {
    EXPECT_EQ(ztTat_readHandle(file, &handle), 0);
    EXPECT_EQ(ztTat_writeHandle(file, &handle), 0);
  }
  const Storage file(ztFile_ctor, "12345678");
  EXPECT_EQ(ztTat_readHandle(file, nullptr), 0);
  const Storage empty;
  EXPECT_EQ(ztTat_writeHandle(empty, nullptr), 0);
  EXPECT_EQ(empty.bytes(), "");
}

TEST(ztTagHandle, IsWrittenNoFurtherOnceAWriteFailed) {
  const ztTagHandle handle = {1, 1};
  for (const int32_t allowed : {0, 1, 2}) {
    const Storage file(FaultyFile_ctor);
    FileScript script;
    script.answerAll(0, allowed);
    EXPECT_EQ(ztTat_writeHandle(file, &handle), allowed == 2);
    EXPECT_EQ(script.count("writeInt"), allowed == 2 ? 2 : allowed + 1);
  }
}
