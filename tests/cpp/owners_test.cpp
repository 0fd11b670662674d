// Owners of objects, and pointers to them.
#include "tests/helpers/captured_log.hh"
#include "zentova.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

int living = 0;

struct Lamp : zt::Class<Lamp, ztRoot> {
  static constexpr auto className = "CppLamp";
  Lamp() {
    ++living;
  }
  ~Lamp() {
    --living;
  }
};

struct Picky : zt::Class<Picky, ztRoot> {
  static constexpr auto className = "CppPicky";
  void *findChildById(int32_t) const {
    return const_cast<Picky *>(this);
  }
  static void define(zt::Def<Picky> &c) {
    c.method<&Picky::findChildById>(&Methods::findChildById);
  }
};

}  // namespace

static_assert(!std::is_copy_constructible_v<zt::Own<Lamp>>);
static_assert(std::is_convertible_v<zt::Own<Lamp>, zt::Own<ztRoot>>);
static_assert(!std::is_convertible_v<zt::Own<ztRoot>, zt::Own<Lamp>>);
static_assert(!std::is_convertible_v<zt::Own<Lamp>, zt::Ptr<Lamp>>, "the object would be gone");
static_assert(std::is_convertible_v<zt::Own<Lamp> &, zt::Ptr<Lamp>>);

TEST(Own, ReleasesItsObjectOnce) {
  {
    auto lamp = zt::make<Lamp>();
    EXPECT_EQ(living, 1);
    zt::Own<ztRoot> root = std::move(lamp);
    EXPECT_FALSE(lamp);
    zt::Own<ztRoot> &same = root;
    root = std::move(same);
    EXPECT_TRUE(root);
    lamp = zt::make<Lamp>();
    EXPECT_EQ(living, 2);
    lamp.reset();
    EXPECT_EQ(living, 1);
  }
  EXPECT_EQ(living, 0);
}

TEST(Own, HandsItsObjectOver) {
  auto lamp = zt::make<Lamp>();
  Lamp *handedOver = lamp.release();
  EXPECT_FALSE(lamp);
  const zt::Own<Lamp> again(handedOver);
  EXPECT_EQ(living, 1);
}

TEST(Own, FillsAVector) {
  std::vector<zt::Own<Lamp>> lamps;
  for (int i = 0; i < 10; ++i) lamps.push_back(zt::make<Lamp>());
  lamps.erase(lamps.begin());
  EXPECT_EQ(living, 9);
  lamps.clear();
  EXPECT_EQ(living, 0);
}

TEST(Shared, LivesUntilItsLastOwnerEnds) {
  zt::Shared<Lamp> first = zt::make<Lamp>();
  EXPECT_EQ(first->refCount, 2);
  {
    const zt::Shared<Lamp> second = first;
    const zt::Shared<ztRoot> third = second;
    EXPECT_EQ(third->refCount, 4);
    first = zt::Shared<Lamp>();
    EXPECT_EQ(living, 1);
  }
  EXPECT_EQ(living, 0);
}

TEST(Shared, IsMovedWithoutCounting) {
  zt::Shared<Lamp> first = zt::make<Lamp>();
  const zt::Shared<Lamp> second = std::move(first);
  EXPECT_EQ(second->refCount, 2);
}

TEST(Ptr, DoesNotCount) {
  auto lamp = zt::make<Lamp>();
  const zt::Ptr<Lamp> pointer = lamp;
  const zt::Ptr<ztRoot> root = pointer;
  EXPECT_EQ(root->refCount, 1);
  EXPECT_EQ(root.get(), lamp.get());
  EXPECT_TRUE(pointer == zt::Ptr<Lamp>(lamp));
}

TEST(Weak, BecomesNullWhenItsObjectEnds) {
  auto lamp = zt::make<Lamp>();
  zt::Weak<Lamp> weak(lamp);
  const zt::Weak<Lamp> copy = weak;
  zt::Weak<Lamp> other;
  other = weak;
  EXPECT_EQ(copy.get(), lamp.get());
  lamp.reset();
  EXPECT_FALSE(weak);
  EXPECT_FALSE(copy);
  EXPECT_FALSE(other);
}

TEST(Weak, EndsBeforeItsObject) {
  auto lamp = zt::make<Lamp>();
  {
    zt::Weak<Lamp> weak(lamp);
    weak = zt::Weak<Lamp>();
    const zt::Weak<Lamp> second(*lamp);
  }
  lamp.reset();
  EXPECT_EQ(living, 0);
}

TEST(Weak, IsNullInTheSlotsOfDestroyed) {
  auto lamp = zt::make<Lamp>();
  const zt::Weak<Lamp> weak(lamp);
  bool wasNull = false;
  auto seen = zt::connect(lamp, "destroyed", [&] { wasNull = !weak; });
  lamp.reset();
  EXPECT_TRUE(wasNull);
}

TEST(Child, BelongsToItsParent) {
  {
    auto house = zt::make<ztRoot>();
    auto lamp = zt::make<Lamp>();
    const zt::Ptr<Lamp> given = zt::addChild(house, std::move(lamp));
    EXPECT_FALSE(lamp);
    EXPECT_EQ(zt::methods(given)->getParent(given.get()), house.get());
    EXPECT_EQ(living, 1);
  }
  EXPECT_EQ(living, 0);
}

TEST(Child, ThatIsRefusedStaysWithItsOwner) {
  auto picky = zt::make<Picky>();
  auto lamp = zt::make<Lamp>();
  EXPECT_FALSE(zt::addChild(picky, std::move(lamp)));
  EXPECT_TRUE(lamp);
  EXPECT_TRUE(zt::children(picky).empty());
}

TEST(Child, ThatASlotDestroysIsGone) {
  auto house = zt::make<ztRoot>();
  auto seen = zt::connect(house, "childAdded", [](void *child) { ztBaseClass_of(child)->unRef(child); });
  EXPECT_FALSE(zt::addChild(house, zt::make<Lamp>()));
  EXPECT_EQ(living, 0);
}

TEST(Child, IsTakenFromItsParent) {
  zt::Own<Lamp> taken;
  {
    auto house = zt::make<ztRoot>();
    const zt::Ptr<Lamp> lamp = zt::addChild(house, zt::make<Lamp>());
    taken = zt::takeChild(lamp);
    EXPECT_TRUE(zt::children(house).empty());
    EXPECT_FALSE(zt::takeChild(lamp));
  }
  EXPECT_EQ(living, 1);
  auto other = zt::make<ztRoot>();
  zt::addChild(other, std::move(taken));
  other.reset();
  EXPECT_EQ(living, 0);
}
