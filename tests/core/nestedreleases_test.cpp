// Releases inside many others: an object is destroyed once, whatever releases it meanwhile, and a new one at the
// address of an earlier one is not taken for it.
#include "core/ztbasec.h"

#include "tests/helpers/faults.hh"
#include "tests/helpers/scale.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <utility>
#include <vector>

#define Nest_FIELDS ztBaseClass_FIELDS
#define Nest_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Nest)

namespace {

std::function<void(void *)> atDestroy;

void nestDestroy(void *object) {
  atDestroy(object);
  ztBaseClass_table()->destroy(object);
}

void nestMethods(NestMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, destroy, nestDestroy);
}

}  // namespace

ZT_DEFINE_CLASS(Nest, ztBaseClass, nestMethods)

namespace {

void release(void *object) {
  ztBaseClass_of(object)->unRef(object);
}

class NestedReleases : public testing::TestWithParam<size_t> {
 protected:
  ~NestedReleases() override {
    atDestroy = nullptr;
  }
  // Releases a new object inside the release of `depth` others; `innermost` runs inside all of them.
  void descend(size_t depth, const std::function<void()> &innermost) {
    atDestroy = [=, this](void *object) {
      running.push_back(object);
      if (running.size() < depth) {
        release(Nest_ctor(nullptr, 1));
      } else {
        innermost();
      }
      running.pop_back();
      ++ended;
    };
    release(Nest_ctor(nullptr, 1));
    EXPECT_EQ(running.size(), 0U);
  }

  std::vector<void *> running;
  size_t ended = 0;
};

TEST_P(NestedReleases, AreEachEndedOnce) {
  for (int round = 0; round < 3; ++round) {
    ended = 0;
    descend(GetParam(), [this] {
      for (void *object : running) release(object);
    });
    EXPECT_EQ(ended, GetParam());
  }
}

TEST_P(NestedReleases, AreEachEndedOnceWithoutMemory) {
  descend(GetParam(), [] {});  // makes room for the records
  ended = 0;
  void *first = Nest_ctor(nullptr, 1);
  std::vector<void *> rest;
  while (rest.size() + 1 < GetParam()) rest.push_back(Nest_ctor(nullptr, 1));
  atDestroy = [&](void *object) {
    running.push_back(object);
    if (!rest.empty()) {
      void *next = rest.back();
      rest.pop_back();
      release(next);
    }
    for (void *one : running) release(one);
    running.pop_back();
    ++ended;
  };
  const Fault fault(0, true);
  release(first);
  fault.end();
  EXPECT_EQ(ended, GetParam());
}

// The depth goes up and down at random. Each level releases running objects again, and ends new ones.
TEST_P(NestedReleases, AreEndedAsAModelSays) {
  std::mt19937 random(static_cast<uint32_t>(GetParam()));
  const auto below = [&](size_t limit) {
    return std::uniform_int_distribution<size_t>(0, limit - 1)(random);
  };
  int left = scale(20000);
  size_t begun = 0;
  std::function<void()> begin = [&] {
    ++begun;
    const size_t before = ended;
    release(Nest_ctor(nullptr, 1));
    EXPECT_GT(ended, before) << "a new object was taken for one that is being released";
  };
  atDestroy = [&](void *object) {
    EXPECT_EQ(std::count(running.begin(), running.end(), object), 0) << "is destroyed twice";
    running.push_back(object);
    while (left-- > 0 && below(GetParam() + 4) > 3) {
      if (running.size() < GetParam() && below(4) != 0) begin();
      release(running[below(running.size())]);
    }
    running.pop_back();
    ++ended;
  };
  while (left > 0) begin();
  EXPECT_EQ(ended, begun);
}

INSTANTIATE_TEST_SUITE_P(All, NestedReleases, testing::Values(1, 10, 17, 31, 32, 33, 34, 66, 300));

}  // namespace
