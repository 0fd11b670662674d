// Function objects and member functions as slots.
#include "tests/helpers/captured_log.hh"
#include "zentova.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

enum class Colour : uint8_t { red = 1, green };

struct Source : zt::Class<Source, ztObject> {
  static constexpr auto className = "CppSource";
};

struct Panel : zt::Class<Panel, ztObject> {
  static constexpr auto className = "CppPanel";
  std::string shown;
  void show(int32_t level) {
    shown += std::to_string(level) + " ";
  }
  void showAll(double number, const char *text) {
    shown += std::to_string(number) + text;
  }
};

struct WidePanel : zt::Class<WidePanel, Panel> {
  static constexpr auto className = "CppWidePanel";
};

}  // namespace

TEST(CppSlot, TakesArgumentsOfEveryKind) {
  auto source = zt::make<Source>();
  std::string got;
  auto all = zt::connect(source, "all", [&](int8_t number, double half, const char *text, Colour colour) {
    got = std::to_string(number) + " " + std::to_string(half) + " " + text + " " +
          std::to_string(static_cast<int>(colour));
  });
  EXPECT_TRUE(source->emit("all", -3, 2.5F, "text", Colour::green));
  EXPECT_EQ(got, "-3 2.500000 text 2");
  bool is = false;
  auto one = zt::connect(source, "one", [&](bool value) { is = value; });
  EXPECT_TRUE(zt::emit(source, "one", 256));
  EXPECT_TRUE(is);
  double number = 0;
  auto half = zt::connect(source, "half", [&](double value) { number = value; });
  EXPECT_TRUE(source->emit("half", 0.5));
  EXPECT_EQ(number, 0.5);
  EXPECT_FALSE(source->emit("unknown"));
}

TEST(CppSlot, MayTakeFewerArgumentsThanTheSignalHas) {
  auto source = zt::make<Source>();
  int32_t got = 0;
  auto seen = zt::connect(
      source, "two", [&](int32_t first) { got = first; }, 2);
  EXPECT_TRUE(source->emit("two", 4, 5));
  EXPECT_EQ(got, 4);
  EXPECT_FALSE(zt::connect(
      source, "two", [](int32_t, int32_t) {}, 1));
}

TEST(CppSlot, MayBeAnyFunction) {
  auto source = zt::make<Source>();
  static int32_t sum;
  sum = 0;
  std::function<void(int32_t)> function = [](int32_t value) { sum += value; };
  auto first = zt::connect(source, "changed", function);
  auto second = zt::connect(
      source, "changed", +[](int32_t value) { sum += value; });
  const auto constant = [](int32_t value) noexcept { sum += value; };
  auto third = zt::connect(source.get(), "changed", constant);
  source->emit("changed", 2);
  EXPECT_EQ(sum, 6);
}

TEST(CppSlot, EndsWithItsHandle) {
  auto source = zt::make<Source>();
  int calls = 0;
  const auto alive = std::make_shared<int>(0);
  {
    auto seen = zt::connect(source, "changed", [&calls, alive] { ++calls; });
    EXPECT_TRUE(seen);
    EXPECT_EQ(alive.use_count(), 2);
    source->emit("changed");
  }
  EXPECT_EQ(alive.use_count(), 1);
  source->emit("changed");
  EXPECT_EQ(calls, 1);
}

TEST(CppSlot, OutlivesItsSender) {
  auto source = zt::make<Source>();
  auto seen = zt::connect(source, "changed", [] {});
  source.reset();
  seen.disconnect();
  EXPECT_FALSE(seen);
  seen.disconnect();
}

TEST(CppSlot, MovesWithItsHandle) {
  auto source = zt::make<Source>();
  int calls = 0;
  zt::Connection kept;
  {
    auto seen = zt::connect(source, "changed", [&] { ++calls; });
    kept = std::move(seen);
  }
  source->emit("changed");
  kept = zt::connect(source, "changed", [&] { calls += 10; });
  source->emit("changed");
  EXPECT_EQ(calls, 11);
}

TEST(CppSlot, MayReleaseItsHandle) {
  auto source = zt::make<Source>();
  zt::Connection seen;
  std::string text = "a capture that is too long for a short string";
  std::string after;
  seen = zt::connect(source, "changed", [&seen, &after, text] {
    seen.disconnect();
    after = text;
  });
  source->emit("changed");
  EXPECT_EQ(after, text);
  EXPECT_FALSE(source->emit("changed"));
}

TEST(CppSlot, MayReleaseItsHandleInANestedCall) {
  auto source = zt::make<Source>();
  zt::Connection seen;
  int calls = 0;
  const std::string text = "a capture that is too long for a short string";
  seen = zt::connect(source, "changed", [&, text] {
    if (++calls == 2) {
      seen.disconnect();
    } else {
      source->emit("changed");
    }
    EXPECT_EQ(text.size(), 45U);
  });
  source->emit("changed");
  EXPECT_EQ(calls, 2);
}

TEST(CppSlot, MayReleaseItsSender) {
  auto source = zt::make<Source>();
  auto seen = zt::connect(source, "changed", [&] { source.reset(); });
  source->emit("changed");
  EXPECT_FALSE(source);
}

TEST(CppSlot, WhatItThrowsReachesTheEmittersCaller) {
  auto source = zt::make<Source>();
  int calls = 0;
  auto first = zt::connect(source, "changed", [&](int32_t value) {
    ++calls;
    if (value == 1) throw std::runtime_error("one");
  });
  auto second = zt::connect(source, "changed", [&](int32_t) { ++calls; });
  EXPECT_THROW(source->emit("changed", 1), std::runtime_error);
  // Slots are called in no order, so the second one may have been called before.
  calls = 0;
  EXPECT_TRUE(source->emit("changed", 2));
  EXPECT_EQ(calls, 2);
  first.disconnect();
  EXPECT_TRUE(source->emit("changed", 1));
  EXPECT_EQ(calls, 3);
}

TEST(CppSlot, MayReleaseItsHandleAndThrow) {
  auto source = zt::make<Source>();
  zt::Connection seen;
  seen = zt::connect(source, "changed", [&] {
    seen.disconnect();
    throw std::runtime_error("gone");
  });
  EXPECT_THROW(source->emit("changed"), std::runtime_error);
  EXPECT_FALSE(source->emit("changed"));
}

TEST(CppSlot, OfDestroyedMayThrow) {
  auto source = zt::make<Source>();
  ztObject *object = source.get();
  int calls = 0;
  auto seen = zt::connect(source, "destroyed", [&] {
    ++calls;
    throw std::runtime_error("end");
  });
  EXPECT_THROW(source.reset(), std::runtime_error);
  EXPECT_FALSE(source);
  // What is left is the C part, which may be released once more.
  EXPECT_TRUE(ztOOP_isClass(object, "ztObject"));
  seen.disconnect();
  ztObject_of(object)->unRef(object);
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(zt::make<Source>());
}

TEST(CppSlot, IsAMemberFunction) {
  auto source = zt::make<Source>();
  auto panel = zt::make<Panel>();
  EXPECT_TRUE(zt::connect<&Panel::show>(source, "changed", panel));
  EXPECT_TRUE(zt::connect<&Panel::showAll>(source, "all", *panel));
  source->emit("changed", 4);
  source->emit("all", 0.5, "!");
  EXPECT_EQ(panel->shown, "4 0.500000!");
  EXPECT_TRUE(zt::disconnect<&Panel::show>(source, "changed", panel.get()));
  EXPECT_FALSE(zt::disconnect<&Panel::show>(source, "changed", panel));
  EXPECT_FALSE(source->emit("changed", 5));
  panel.reset();
  EXPECT_FALSE(source->emit("all", 0.5, "!"));
}

TEST(CppSlot, OfAParentIsDisconnectedByEither) {
  auto source = zt::make<Source>();
  auto wide = zt::make<WidePanel>();
  EXPECT_TRUE(zt::connect<&Panel::show>(source, "changed", wide));
  const zt::Ptr<Panel> panel = wide;
  EXPECT_TRUE(zt::disconnect<&Panel::show>(source, "changed", panel));
}

TEST(CppSlot, CannotBeConnectedToNothing) {
  const CapturedLog log;
  EXPECT_FALSE(zt::connect(zt::Ptr<Source>(), "changed", [] {}));
}

// Changes of one property --------------------------------------------------------------------------

namespace {

struct Basin : zt::Class<Basin, ztObject> {
  static constexpr auto className = "CppBasin";
  int32_t level = 0;
  double limit = 0;
  std::string name;
  static void define(zt::Def<Basin> &c) {
    c.property<&Basin::level>("level").property<&Basin::limit>("limit").property<&Basin::name>("name");
  }
};

}  // namespace

TEST(CppOnChange, TellsTheNewValueOfOneProperty) {
  auto basin = zt::make<Basin>();
  std::string told;
  auto level = zt::onChange(basin, "level", [&](int32_t value) { told += std::to_string(value) + " "; });
  auto limit = zt::onChange(basin, "limit", [&](double value) { told += std::to_string(value) + " "; });
  auto name = zt::onChange(basin, "name", [&](const char *value) { told += value + std::string(" "); });
  auto any = zt::onChange(basin, "level", [&] { told += "! "; });
  EXPECT_TRUE(level && limit && name && any);
  zt::Property<int32_t>("level").set(basin, 3);
  zt::Property<double>("limit").set(basin, 0.5);
  zt::Property<std::string>("name").set(basin, "west");
  EXPECT_EQ(told, "3 ! 0.500000 west ");
}

TEST(CppOnChange, EndsWithItsHandleOrItsObject) {
  auto basin = zt::make<Basin>();
  int calls = 0;
  auto first = zt::onChange(basin, "level", [&] { ++calls; });
  auto second = zt::onChange(basin, "level", [&] { ++calls; });
  first.disconnect();
  zt::Property<int32_t>("level").set(basin, 3);
  EXPECT_EQ(calls, 1);
  basin.reset();
  second.disconnect();
}

TEST(CppOnChange, TellsWhatCannotBeConnected) {
  const CapturedLog log;
  auto basin = zt::make<Basin>();
  EXPECT_FALSE(zt::onChange(basin, "levels", [] {}));
  EXPECT_FALSE(zt::onChange(zt::Ptr<Basin>(), "level", [] {}));
}
