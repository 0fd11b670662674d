// What the operations of tags and attributes give for no object.
#include "tags/ztfloattag.h"
#include "tags/ztinttag.h"
#include "tags/zttag.h"
#include "tests/helpers/null_object.hh"

namespace {

constexpr auto attributeSlots = [](const auto *m) {
  baseSlots(m);
  callAll(m->setValue, m->getValue, m->getAverageValue, m->getTotalValue, m->setNumValues);
};
constexpr auto tagSlots = [](const auto *m) {
  baseSlots(m);
  slotCalled = sizeof(ztRootMethods) / sizeof(void *);  // the others are those of a node
  callAll(m->insertNew, m->setValue, m->setNumValues, m->getNumValues, m->getValue, m->getValues,
          m->getAverageValue, m->getTotalValue, m->enumTags, m->getByName, m->getByHandle);
  ++slotCalled;  // the empty one
  callAll(m->allocWise, m->deallocWise, m->attrChanged, m->swapTags);
};

}  // namespace

TEST(ztTagAttribute, GivesNothingForNullInEachKind) {
  expectNothing(ztTagAttribute_ctor, ztTagAttribute_table(), attributeSlots, AssignOfNull::fails);
  expectNothing(ztIntTag_ctor, ztIntTag_table(), attributeSlots, AssignOfNull::fails);
  expectNothing(ztFloatTag_ctor, ztFloatTag_table(), attributeSlots, AssignOfNull::fails);
}

TEST(ztTag, GivesNothingForNull) {
  expectNothing(ztTag_ctor, ztTag_table(), tagSlots, AssignOfNull::fails);
}
