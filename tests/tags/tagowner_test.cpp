#include "tests/tags/attributes.hh"
#include "tests/tags/steps.hh"

#include <setjmp.h>

#include <atomic>
#include <functional>
#include <thread>

// Which tag an attribute belongs to, when hosts take it out, when either of the two ends, and when a copy
// tells the owner of its source.

namespace {

// Inserts the attribute with an initial value, of which its owner is told.
int32_t insertInto(const Tag &tag, const char *name, void *attribute, ztTagHandle *handle = nullptr) {
  const int32_t initial = 4;
  return tag->insertNew(tag, name, attribute, handle, 0, 3, &initial);
}

int32_t set(void *attribute, int32_t value) {
  return setValue(attribute, 0, value);
}

ztTagAttribute *attributeIn(const ztTag *tag, int32_t index) {
  return static_cast<ztTagAttribute *>(ztPtrArray_of(tag->attributes)->getAt(tag->attributes, index));
}

// The attributes of the tag, as the host can reach them.
ztPtrArray *arrayOf(const Tag &tag) {
  return tag.fields().attributes;
}

ztTagAttribute *attributeIn(const Tag &tag, int32_t index) {
  return static_cast<ztTagAttribute *>(ztPtrArray_of(arrayOf(tag))->getAt(arrayOf(tag), index));
}

// An array with so many copies of the tag.
Array arrayOfTags(const Tag &tag, int count) {
  Array array(ztArray_ctor);
  array->setElementSize(array, sizeof(ListeningTag), 0);
  array->setElementConstructor(array, ListeningTag_ctor);
  for (int i = 0; i < count; ++i) EXPECT_NE(array->pushBack(array, tag), nullptr);
  return array;
}

// A way in which a host can take the only attribute out of a tag's array.
struct TakeOut {
  const char *name;
  void (*call)(ztPtrArray *attributes);
};

std::ostream &operator<<(std::ostream &out, const TakeOut &way) {
  return out << way.name;
}

void byRemoveAt(ztPtrArray *attributes) {
  ztPtrArray_of(attributes)->removeAt(attributes, 0);
}

const TakeOut ways[] = {
    {"RemoveAt", byRemoveAt},
    {"SetAt", [](ztPtrArray *attributes) { ztPtrArray_of(attributes)->setAt(attributes, nullptr, 0); }},
    {"Empty", [](ztPtrArray *attributes) { ztPtrArray_of(attributes)->empty(attributes); }},
    {"SetSize", [](ztPtrArray *attributes) { ztPtrArray_of(attributes)->setSize(attributes, 4); }},
    {"Resize", [](ztPtrArray *attributes) { ztPtrArray_of(attributes)->resize(attributes, 0); }},
};

class TagOwnerTakenOut : public testing::TestWithParam<TakeOut> {
 protected:
  TagOwnerTakenOut() {
    GetParam().call(arrayOf(tag));
  }
  // Whether the attribute tells this tag, and only this one, of what is set.
  void expectToTell(const Tag &owner) const {
    EXPECT_EQ(attribute->owner, &owner.fields());
    const int32_t changes = owner.changes();
    EXPECT_EQ(set(attribute, 5), 1);
    EXPECT_EQ(owner.changes(), changes + 1);
  }

  Tag tag;
  Tag other;
  const ztTagHandle handle = tag.insert("taken", ztIntTag_ctor, {1, 2, 3});
  ztTagAttribute *attribute = attributeIn(tag, 0);
};

INSTANTIATE_TEST_SUITE_P(By, TagOwnerTakenOut, testing::ValuesIn(ways), testing::PrintToStringParamName());

// A copy of an attribute, which tells the tag that holds its source of its initial value.
class TagOwnerOfACopy : public testing::Test {
 protected:
  TagOwnerOfACopy() {
    tag.fields().onChange = [](void *, void *) {
      if (whenTold) whenTold();
    };
  }
  ~TagOwnerOfACopy() override {
    whenTold = nullptr;
  }
  // Inserts the copy into another tag, whose owner's source throws when it is told.
  void insertThrowing() {
    whenTold = [] { throw 1; };
    EXPECT_THROW(insertInto(other, "copy", copy), int);
    whenTold = nullptr;
    EXPECT_EQ(copy->owner, &tag.fields()) << "it names the owner that is told of it";
  }

  Tag tag;
  Tag other;
  Tag third;
  const ztTagHandle handle = tag.insert("source", ztIntTag_ctor, {1, 2, 3});
  ztTagAttribute *source = attributeIn(tag, 0);
  ztTagAttribute *copy = static_cast<ztTagAttribute *>(newCopy(source));
  ztTagHandle inserted = {-7, -7};
  static std::function<void()> whenTold;
};

std::function<void()> TagOwnerOfACopy::whenTold;

}  // namespace

// Taken out of the array --------------------------------------------------------------------------

TEST_P(TagOwnerTakenOut, GoesIntoAnotherTagThatEndsLast) {
  EXPECT_EQ(insertInto(other, "new", attribute), 1);
  EXPECT_EQ(attribute->owner, &other.fields());
  end(tag);
  expectToTell(other);
}

TEST_P(TagOwnerTakenOut, GoesIntoAnotherTagThatEndsFirst) {
  EXPECT_EQ(insertInto(other, "new", attribute), 1);
  end(other);
  EXPECT_EQ(tag->getByName(tag, "new", nullptr), nullptr);
}

TEST_P(TagOwnerTakenOut, GoesIntoAnotherTagAfterTheFirstHasEnded) {
  end(tag);
  EXPECT_EQ(attribute->owner, nullptr);
  EXPECT_EQ(insertInto(other, "new", attribute), 1);
  EXPECT_EQ(attribute->owner, &other.fields());
}

TEST_P(TagOwnerTakenOut, GoesIntoAnotherTagAndEndsBeforeBoth) {
  EXPECT_EQ(insertInto(other, "new", attribute), 1);
  release(attribute);
  EXPECT_EQ(other->getByName(other, "new", nullptr), nullptr);
  EXPECT_EQ(other.count(), 1);
}

TEST_P(TagOwnerTakenOut, GoesBackIntoItsTag) {
  const int32_t places = tag.count();
  ztTagHandle again = {-7, -7};
  EXPECT_EQ(insertInto(tag, "again", attribute, &again), 1);
  EXPECT_EQ(again.index, places);
  EXPECT_EQ(tag.at(again), attribute);
  EXPECT_EQ(insertInto(other, "elsewhere", attribute), 0);
}

TEST_P(TagOwnerTakenOut, EndsWithItsHostsReferenceBeforeTheTag) {
  release(attribute);
  end(tag);
}

TEST_P(TagOwnerTakenOut, LosesItsOwnerWithTheTagAsItsCopyDoes) {
  const Attribute taken(attribute);
  const Attribute copy = copyOf(attribute);
  end(tag);
  EXPECT_EQ(attribute->owner, nullptr);
  EXPECT_EQ(taken.set(0, 5), 1);
  EXPECT_EQ(copy.set(0, 5), 1);
  EXPECT_EQ(copy.fields().owner, nullptr);
}

TEST_P(TagOwnerTakenOut, CanBeTakenOutOfTheNextTagToo) {
  EXPECT_EQ(insertInto(other, "new", attribute), 1);
  GetParam().call(arrayOf(other));
  EXPECT_EQ(insertInto(tag, "back", attribute), 1);
  end(other);
  expectToTell(tag);
}

// What its maker is told while it is being inserted is the owner that it still names.
TEST_P(TagOwnerTakenOut, TellsTheTagThatItWasTakenFromOfItsInitialValueOnly) {
  const int32_t changes = tag.changes();
  EXPECT_EQ(insertInto(other, "new", attribute), 1);
  EXPECT_EQ(tag.changes(), changes + 1);
  EXPECT_EQ(other.changes(), 0);
  expectToTell(other);
  EXPECT_EQ(tag.changes(), changes + 1);
}

TEST(TagOwner, ThatAnArrayMovedLeavesAnAttributeThatIsTakenOutToAnother) {
  const Tag tag;
  tag.insert("moved", ztIntTag_ctor, {1});
  Array array = arrayOfTags(tag, 20);
  array->removeAt(array, 0);
  std::vector<ztTagAttribute *> taken;
  for (int32_t i = 0; i < 19; ++i) {
    const auto *element = static_cast<const ztTag *>(array->getAt(array, i));
    taken.push_back(attributeIn(element, 0));
    EXPECT_EQ(insertInto(tag, "held", taken.back()), 0);
    byRemoveAt(element->attributes);
  }
  for (size_t i = 0; i < 9; ++i) EXPECT_EQ(tag->insertNew(tag, "m", taken[i], nullptr, 0, 1, nullptr), 1);
  end(array);
  for (size_t i = 9; i < 19; ++i) EXPECT_EQ(insertInto(tag, "new", taken[i]), 1);
}

TEST(TagOwner, ThatAnArrayMovedIsToldByCopies) {
  const Tag tag;
  const ztTagHandle handle = tag.insert("source", ztIntTag_ctor, {1});
  Array array = arrayOfTags(tag, 1);
  const Attribute copy = copyOf(attributeIn(static_cast<const ztTag *>(array->getAt(array, 0)), 0));
  for (int i = 0; i < 20; ++i) ASSERT_NE(array->pushBack(array, tag), nullptr);
  auto *moved = static_cast<ListeningTag *>(array->getAt(array, 0));
  ASSERT_NE(tag->getByHandle(moved, &handle), nullptr);
  const int32_t changes = moved->changes;
  EXPECT_EQ(copy.set(0, 3), 1);
  EXPECT_EQ(moved->changes, changes + 1);
  end(array);
  EXPECT_EQ(copy.set(0, 4), 1);
}

TEST(TagOwner, HoldsAnAttributeThatTheHostPutIntoTheArrayOnceItWasHandedOut) {
  const Tag tag;
  tag.insert("first", ztIntTag_ctor, {1});
  auto *attribute = static_cast<ztTagAttribute *>(ztIntTag_ctor(nullptr, 1));
  ztPtrArray_of(arrayOf(tag))->pushBack(arrayOf(tag), attribute);
  const ztTagHandle second = {1, intType};
  EXPECT_EQ(tag.at(second), attribute);
  EXPECT_EQ(attribute->owner, &tag.fields());
  EXPECT_EQ(insertInto(tag, "again", attribute), 0);
  release(attribute);
  EXPECT_EQ(tag.at(second), nullptr);
}

// Such an owner need not have attributes of its own.
TEST(TagOwner, ThatTheHostNamedIsToldByCopiesThatOutliveIt) {
  Tag tag;
  Attribute named(ztIntTag_ctor);
  named.fields().owner = &tag.fields();
  const Attribute copy = copyOf(named.address());
  tag.insert("own", ztIntTag_ctor, {1});
  const Attribute later = copyOf(named.address());
  const int32_t changes = tag.changes();
  EXPECT_EQ(copy.set(0, 3), 1);
  EXPECT_EQ(later.set(0, 3), 1);
  EXPECT_EQ(tag.changes(), changes + 2);
  end(named);
  end(tag);
  for (const Attribute *outliving : {&copy, &later}) {
    EXPECT_EQ(outliving->set(0, 4), 1);
    EXPECT_EQ(outliving->fields().owner, nullptr);
  }
}

// A copy that is being inserted -------------------------------------------------------------------

TEST_F(TagOwnerOfACopy, IsTheOnlyOneMeanwhile) {
  int32_t told = 0;
  whenTold = [&] {
    ++told;
    EXPECT_EQ(insertInto(third, "third", copy), 0);
    EXPECT_EQ(insertInto(other, "twice", copy), 0);
    EXPECT_EQ(insertInto(tag, "source's", copy), 0);
  };
  EXPECT_EQ(insertInto(other, "copy", copy, &inserted), 1);
  EXPECT_EQ(told, 1);
  EXPECT_EQ(third.fields().attributes, nullptr);
  EXPECT_EQ(other.count(), 1);
  EXPECT_EQ(tag.count(), 1);
  EXPECT_EQ(copy->owner, &other.fields());
  EXPECT_EQ(other.at(inserted), copy);
}

TEST_F(TagOwnerOfACopy, LeavesItsPlaceEmptyWhenItIsReleasedMeanwhile) {
  whenTold = [&] { release(copy); };
  EXPECT_EQ(insertInto(other, "copy", copy, &inserted), 0);
  EXPECT_EQ(inserted.index, -7);
  EXPECT_EQ(attributeIn(other, 0), nullptr);
  whenTold = nullptr;
  EXPECT_EQ(other.insert("next", ztIntTag_ctor, {1}).index, 1);
}

TEST_F(TagOwnerOfACopy, LeavesItToTheHostWhenItIsTakenOutMeanwhile) {
  whenTold = [&] { byRemoveAt(arrayOf(other)); };
  EXPECT_EQ(insertInto(other, "copy", copy), 0);
  EXPECT_EQ(other.count(), 0);
  whenTold = nullptr;
  EXPECT_EQ(insertInto(third, "copy", copy), 1);
  EXPECT_EQ(copy->owner, &third.fields());
}

TEST_F(TagOwnerOfACopy, GivesTheHandleOfItsOwnPlaceWhenOthersAreInsertedMeanwhile) {
  whenTold = [&] {
    whenTold = nullptr;
    other.insert("between", ztFloatTag_ctor, {1});
  };
  EXPECT_EQ(insertInto(other, "copy", copy, &inserted), 1);
  EXPECT_EQ(inserted.index, 0);
  EXPECT_EQ(other.at(inserted), copy);
}

TEST_F(TagOwnerOfACopy, IsTheNewOneWhenTheOwnerOfItsSourceEndsMeanwhile) {
  whenTold = [&] { end(tag); };
  EXPECT_EQ(insertInto(other, "copy", copy), 1);
  EXPECT_EQ(copy->owner, &other.fields());
  EXPECT_EQ(set(copy, 9), 1);
  EXPECT_EQ(other.changes(), 1);
}

TEST_F(TagOwnerOfACopy, HoldsItWhenTheOwnerOfItsSourceJumpsOut) {
  static jmp_buf out;
  whenTold = [] { longjmp(out, 1); };
  if (setjmp(out) == 0) {
    insertInto(other, "copy", copy);
    FAIL() << "the owner was not told";
  }
  whenTold = nullptr;
  EXPECT_EQ(attributeIn(other, 0), copy);
  EXPECT_EQ(insertInto(third, "third", copy), 0);
  EXPECT_EQ(other.at({0, intType}), copy);
  EXPECT_EQ(copy->owner, &other.fields());
  const int32_t changes = tag.changes();
  EXPECT_EQ(set(copy, 5), 1);
  EXPECT_EQ(tag.changes(), changes);
  EXPECT_EQ(other.changes(), 1);
}

TEST_F(TagOwnerOfACopy, ReleasesItWhenTheOwnerOfItsSourceThrew) {
  insertThrowing();
  keep(copy);
  end(other);
  EXPECT_EQ(copy->owner, nullptr);
  EXPECT_EQ(insertInto(third, "third", copy), 1);
  EXPECT_EQ(copy->owner, &third.fields());
  release(copy);
}

TEST_F(TagOwnerOfACopy, LetsItBeTakenOutWhenTheOwnerOfItsSourceThrew) {
  insertThrowing();
  byRemoveAt(arrayOf(other));
  end(other);
  EXPECT_EQ(copy->owner, &tag.fields());
  EXPECT_EQ(insertInto(third, "third", copy), 1);
  EXPECT_EQ(copy->owner, &third.fields());
}

TEST_F(TagOwnerOfACopy, MayThrowWhenAValueIsSetOrInAnEnumeration) {
  const Attribute released(copy);
  whenTold = [] { throw 1; };
  EXPECT_THROW(set(source, 8), int);
  EXPECT_THROW(set(copy, 9), int);
  whenTold = nullptr;
  EXPECT_EQ(valuesOf(source), "8 2 3");
  EXPECT_EQ(valuesOf(copy), "9 2 3");
  EXPECT_EQ(source->changed, 1u);
  tag.insert("more", ztIntTag_ctor, {1});
  const auto throwing = [](void *, void *, void *) -> int32_t { throw 1; };
  EXPECT_THROW(tag->enumTags(tag, throwing, nullptr), int);
  int32_t visited = 0;
  const auto count = [](void *, void *, void *userData) { return ++*static_cast<int32_t *>(userData); };
  EXPECT_EQ(tag->enumTags(tag, count, &visited), 1);
  EXPECT_EQ(visited, 2);
}

// The end of an owner -----------------------------------------------------------------------------

// An attribute that does something when it ends, which may be to throw.
#define EndingTag_FIELDS ztIntTag_FIELDS
#define EndingTag_METHODS ztIntTag_METHODS
ZT_DECLARE_CLASS(EndingTag)

static std::function<void()> whenItEnds;

static void endingTagMethods(EndingTagMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, [](void *object) {
    if (whenItEnds) whenItEnds();
    ztIntTag_table()->destroy(object);
  });
}

ZT_DEFINE_CLASS(EndingTag, ztIntTag, endingTagMethods)

namespace {

// A tag whose first of three attributes does something when it ends.
class TagOwnerAtItsEnd : public testing::Test {
 protected:
  TagOwnerAtItsEnd() {
    EXPECT_EQ(insertInto(tag, "ending", ending), 1);
    tag.insert("next", ztIntTag_ctor, {1});
    tag.insert("last", ztIntTag_ctor, {1});
  }
  ~TagOwnerAtItsEnd() override {
    whenItEnds = nullptr;
  }

  Tag tag;
  void *ending = EndingTag_ctor(nullptr, 1);
};

}  // namespace

TEST_F(TagOwnerAtItsEnd, LetsAnAttributeReleaseTheNext) {
  whenItEnds = [next = attributeIn(tag, 1)] { release(next); };
  end(tag);
}

TEST_F(TagOwnerAtItsEnd, ReleasesWhatIsInsertedMeanwhile) {
  whenItEnds = [address = static_cast<void *>(tag)] {
    void *late = ztIntTag_ctor(nullptr, 1);
    EXPECT_EQ(ztTag_of(address)->insertNew(address, "late", late, nullptr, 0, 1, nullptr), 1);
  };
  end(tag);
}

TEST_F(TagOwnerAtItsEnd, ReleasesAtItsNextTheOthersWhenAnAttributeThrows) {
  ztTagAttribute *next = attributeIn(tag, 1);
  keep(next);
  whenItEnds = [] { throw 1; };
  EXPECT_THROW(release(tag), int);
  EXPECT_EQ(next->owner, &tag.fields());
  end(tag);
  EXPECT_EQ(next->owner, nullptr);
  EXPECT_EQ(set(next, 5), 1);
  whenItEnds = nullptr;
  release(ending);
  release(next);
}

// Many tags and copies ----------------------------------------------------------------------------

namespace {

// Tags with an attribute each, and as many copies of those.
struct TagsAndCopies {
  explicit TagsAndCopies(int32_t count) : tags(static_cast<size_t>(count)) {
    for (const Tag &tag : tags) {
      tag.insert("source", ztIntTag_ctor, {1});
      copies.push_back(copyOf(attributeIn(tag, 0)));
    }
  }
  std::vector<Tag> tags;
  std::vector<Attribute> copies;
};

// The fewest instructions of several calls: some meet an allocator that tidies up.
template <typename Prepare, typename Call>
int64_t leastStepsOf(Prepare prepare, Call call) {
  int64_t least = INT64_MAX;
  for (int i = 0; i < 3; ++i) {
    void *prepared = prepare();
    const int64_t steps = stepsOf([&] { call(prepared); });
    least = steps < least ? steps : least;
  }
  return least;
}

int64_t stepsOfEndBeside(int32_t count) {
  const TagsAndCopies others(count);
  const auto makeTag = [] {
    void *tag = ListeningTag_ctor(nullptr, 1);
    ztTag_of(tag)->insertNew(tag, "own", ztIntTag_ctor(nullptr, 1), nullptr, 0, 1, nullptr);
    return tag;
  };
  return leastStepsOf(makeTag, release);
}

int64_t stepsOfCopyBeside(int32_t count) {
  const TagsAndCopies others(count);
  const auto source = [&] { return attributeIn(others.tags[0], 0); };
  return leastStepsOf(source, [](void *attribute) { copyOf(static_cast<ztTagAttribute *>(attribute)); });
}

constexpr int32_t manyTags = 5000;

}  // namespace

TEST(TagOwner, TakesNoMoreStepsToEndOrToCopyFromBesideManyCopies) {
  for (const auto stepsBeside : {stepsOfEndBeside, stepsOfCopyBeside}) {
    const int64_t few = stepsBeside(4);
    if (few == 0) GTEST_SKIP() << "instructions cannot be counted here";
    EXPECT_LT(stepsBeside(manyTags), 2 * few);
  }
}

TEST(TagOwner, IsKnownAmongManyTagsAndCopiesThatEndInAnyOrder) {
  TagsAndCopies all(manyTags);
  for (size_t i = 0; i < manyTags; i += 2) end(all.tags[i]);
  for (size_t i = 0; i < manyTags; ++i) {
    Tag &tag = all.tags[i];
    const bool hasEnded = i % 2 == 0;
    const int32_t changes = hasEnded ? 0 : tag.changes();
    ASSERT_EQ(all.copies[i].set(0, 7), 1);
    ASSERT_EQ(all.copies[i].fields().owner, static_cast<void *>(tag));
    if (hasEnded) {
      tag = Tag();
    } else {
      ASSERT_EQ(tag.changes(), changes + 1);
    }
  }
}

// Threads -----------------------------------------------------------------------------------------

namespace {

// Makes tags, their copies and the copies of their attributes, and ends them in turns.
void useTags(int seed, std::atomic<int32_t> *failures) {
  for (int round = 0; round < 60; ++round) {
    Tag tag;
    const ztTagHandle handle = tag.insert("a", ztIntTag_ctor, {1.0 * seed, 1.0 * round, 4});
    const std::string values = tag.values(handle);
    tag.insert("b", ztFloatTag_ctor, {1.0 * seed});
    std::vector<Attribute> copies;
    for (int i = 0; i < 40; ++i) copies.push_back(copyOf(attributeIn(tag, 0)));
    const Tag twin = tag.copy();
    const int32_t changes = tag.changes();
    for (const Attribute &copy : copies) copy.set(0, round);
    if (tag.changes() != changes + 40) ++*failures;
    if (twin.values(handle) != values) ++*failures;
    if (insertInto(twin, "taken", newCopy(copies[0])) != 1) ++*failures;
    ztTagAttribute *taken = attributeIn(tag, 0);
    byRemoveAt(arrayOf(tag));
    end(tag);
    if (taken->owner != nullptr || insertInto(twin, "taken too", taken) != 1) ++*failures;
    for (const Attribute &copy : copies) {
      copy.set(0, 3);
      if (copy.fields().owner != nullptr) ++*failures;
    }
  }
}

}  // namespace

TEST(TagOwner, IsUsedByThreadsOfTheirOwn) {
  std::atomic<int32_t> failures = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(useTags, i, &failures);
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

TEST(TagOwner, MayBeHandedToAnotherThreadAndSoMayCopies) {
  Tag tag;
  tag.insert("a", ztIntTag_ctor, {1});
  std::vector<Attribute> copies;
  std::thread([&] {
    for (int i = 0; i < 100; ++i) copies.push_back(copyOf(attributeIn(tag, 0)));
  }).join();
  const int32_t changes = tag.changes();
  for (const Attribute &copy : copies) copy.set(0, 3);
  EXPECT_EQ(tag.changes(), changes + 100);
  std::thread([&] { end(tag); }).join();
  for (const Attribute &copy : copies) {
    EXPECT_EQ(copy.set(0, 4), 1);
    EXPECT_EQ(copy.fields().owner, nullptr);
  }
}
