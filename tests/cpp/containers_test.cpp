// The containers and the children of a node as ranges.
#include "zentova.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Point {
  int16_t x;
  double y;
  bool operator==(const Point &) const = default;
};

template <typename T>
using CategoryOf = typename std::iterator_traits<typename T::iterator>::iterator_category;

template <typename Range>
auto listed(const Range &range) {
  return std::vector<typename Range::value_type>(range.begin(), range.end());
}

}  // namespace

static_assert(std::ranges::contiguous_range<zt::Array<int32_t>>);
static_assert(std::ranges::bidirectional_range<zt::List<int32_t>>);
static_assert(std::ranges::bidirectional_range<zt::Children<ztRoot>>);
static_assert(std::ranges::forward_range<zt::Map<int32_t, double>>);
static_assert(std::ranges::forward_range<zt::TextMap<double>>);
static_assert(std::ranges::forward_range<zt::HashTable<int32_t, double>>);
static_assert(std::is_same_v<CategoryOf<zt::List<int32_t>>, std::bidirectional_iterator_tag>);
static_assert(std::is_same_v<CategoryOf<zt::Children<ztRoot>>, std::bidirectional_iterator_tag>);
static_assert(!std::is_copy_constructible_v<zt::Array<int32_t>>);

TEST(CppArray, IsSortedAndSummedByTheStandardAlgorithms) {
  zt::Array<int> array;
  for (const int number : {3, 1, 2}) EXPECT_TRUE(array.push_back(number));
  std::sort(array.begin(), array.end());
  EXPECT_EQ(listed(array), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(std::accumulate(array.begin(), array.end(), 0), 6);
  EXPECT_EQ(*std::ranges::find(array, 2), 2);
  EXPECT_TRUE(ztOOP_isClass(array.get(), "ztIntArray"));
}

TEST(CppArray, HasEveryElementType) {
  zt::Array<double> doubles;
  doubles.resize(3);
  doubles[1] = 2.5;
  EXPECT_EQ(listed(doubles), (std::vector<double>{0, 2.5, 0}));
  zt::Array<char> characters;
  characters.push_back('c');
  EXPECT_EQ(characters[0], 'c');
  zt::Array<const char *> texts;
  texts.push_back("one");
  texts.push_back("two");
  EXPECT_STREQ(texts[1], "two");
  zt::Array<Point> points;
  points.push_back({1, 2});
  points.push_back({3, 4});
  points.erase(0);
  EXPECT_EQ(listed(points), (std::vector<Point>{{3, 4}}));
  points.clear();
  EXPECT_TRUE(points.empty());
}

TEST(CppArray, IsMovedAndServesBackInserters) {
  zt::Array<int> first;
  const int numbers[] = {4, 5};
  std::copy(std::begin(numbers), std::end(numbers), std::back_inserter(first));
  zt::Array<int> second = std::move(first);
  EXPECT_TRUE(first.empty());
  first = std::move(second);
  EXPECT_EQ(listed(first), (std::vector<int>{4, 5}));
}

TEST(CppArray, ViewsOneOfC) {
  auto array = zt::make<ztIntArray>();
  const int32_t number = 7;
  zt::methods(array)->pushBack(array.get(), &number);
  EXPECT_EQ(listed(zt::elements<int32_t>(array)), (std::vector<int32_t>{7}));
  zt::elements<int32_t>(*array).push_back(8);
  EXPECT_EQ(zt::methods(array)->getBack(array.get()),
            array->data == nullptr ? nullptr : &zt::elements<int32_t>(array)[1]);
}

TEST(CppList, IsWalkedInBothDirections) {
  zt::List<int> list;
  for (const int number : {5, 6, 7}) list.push_back(number);
  list.push_front(4);
  for (int &number : list) number *= 2;
  EXPECT_EQ(listed(list), (std::vector<int>{8, 10, 12, 14}));
  EXPECT_EQ(*--list.end(), 14);
  std::reverse(list.begin(), list.end());
  EXPECT_EQ(list.front(), 14);
  EXPECT_EQ(list.back(), 8);
}

TEST(CppList, ErasesAnywhereWithoutLeaks) {
  zt::List<int> list;
  for (int number = 0; number < 6; ++number) list.push_back(number);
  EXPECT_EQ(*list.erase(list.begin()), 1);
  EXPECT_EQ(*list.erase(std::find(list.begin(), list.end(), 3)), 4);
  EXPECT_EQ(list.erase(--list.end()), list.end());
  list.pop_front();
  list.pop_back();
  EXPECT_EQ(listed(list), (std::vector<int>{2}));
  list.clear();
  EXPECT_EQ(list.size(), 0U);
}

TEST(CppList, HoldsPointersAndStructs) {
  int target = 0;
  zt::List<int *> pointers;
  pointers.push_back(&target);
  EXPECT_EQ(pointers.front(), &target);
  pointers.pop_front();
  zt::List<Point> points;
  points.push_back({1, 2});
  EXPECT_EQ(points.back(), (Point{1, 2}));
  auto names = zt::make<ztPtrList>();
  zt::methods(names)->pushBack(names.get(), &target);
  EXPECT_EQ(*zt::elements<int *>(names).begin(), &target);
}

TEST(CppMap, IsWalkedInTheOrderOfItsKeys) {
  zt::Map<int, double> map;
  for (int i = 0; i < 1000; ++i) EXPECT_TRUE(map.insert((i * 37) % 1000, i));
  EXPECT_FALSE(map.insert(37, 9));
  int expected = 0;
  for (auto [key, value] : map) {
    EXPECT_EQ(key, expected++);
    value += 0.5;
  }
  EXPECT_EQ(expected, 1000);
  EXPECT_EQ(*map.find(37), 1.5);
  EXPECT_EQ(std::ranges::count_if(map, [](const auto &pair) { return pair.value < 10; }), 10);
}

TEST(CppMap, FindsAndErases) {
  zt::Map<int, Point> map;
  EXPECT_FALSE(map.erase(1));
  map.insert(1, {2, 3});
  map.insert(2, {4, 5});
  EXPECT_EQ(*map.find(1), (Point{2, 3}));
  EXPECT_TRUE(map.erase(1));
  EXPECT_FALSE(map.erase(1));
  EXPECT_FALSE(map.contains(1));
  auto second = map.begin();
  auto copy = second++;
  EXPECT_EQ((*copy).key, 2);
  EXPECT_TRUE(second == map.end());
  map.clear();
  EXPECT_EQ(map.size(), 0U);
}

TEST(CppMap, HasPointersAsValuesAndTextsAsKeys) {
  zt::Map<const char *, const char *> map;
  map.insert("b", "second");
  map.insert("a", "first");
  EXPECT_STREQ(*map.find(std::string("b").c_str()), "second");
  EXPECT_STREQ((*map.begin()).value, "first");
  EXPECT_EQ((zt::pairs<const char *, const char *>(map).size()), 2U);
}

TEST(CppTextMap, KeepsCopiesOfItsKeys) {
  zt::TextMap<double> lengths;
  std::string river = "Rhine, a name that is too long for a short string";
  EXPECT_TRUE(lengths.insert(river.c_str(), 1230));
  const std::string kept = river;
  river = "Aare";
  EXPECT_TRUE(lengths.insert(river.c_str(), 288));
  EXPECT_FALSE(lengths.insert("Aare", 1));
  EXPECT_EQ(*lengths.find("Aare"), 288);
  EXPECT_EQ((*lengths.begin()).key, std::string("Aare"));
  EXPECT_TRUE(lengths.erase("Aare"));
  EXPECT_FALSE(lengths.erase("Aare"));
  zt::TextMap<double> moved = std::move(lengths);
  EXPECT_EQ(*moved.find(kept.c_str()), 1230);
  lengths = std::move(moved);
  EXPECT_EQ(lengths.size(), 1U);
  lengths.clear();
  EXPECT_TRUE(lengths.empty());
}

TEST(CppHashTable, HasEachPairOnce) {
  zt::HashTable<int32_t, double> table(64);
  EXPECT_TRUE(table.begin() == table.end());
  for (int32_t i = 0; i < 100; ++i) EXPECT_TRUE(table.insert(i, i / 2.0));
  EXPECT_FALSE(table.insert(5, 0));
  double sum = 0;
  for (auto [key, value] : table) sum += value;
  EXPECT_EQ(sum, 2475);
  EXPECT_EQ(std::ranges::distance(table), 100);
  EXPECT_EQ(*table.find(10), 5);
  EXPECT_FALSE(table.contains(100));
  EXPECT_EQ((zt::pairs<int32_t, double>(table.get()).size()), 100U);
  table.clear();
  EXPECT_TRUE(table.begin() == table.end());
}

TEST(CppChildren, AreWalkedInTheirOrder) {
  auto house = zt::make<ztRoot>();
  EXPECT_TRUE(zt::children(house).empty());
  std::vector<ztRoot *> given;
  for (int i = 0; i < 3; ++i) given.push_back(zt::addChild(house, zt::make<ztRoot>()).get());
  EXPECT_EQ(listed(zt::children(house)), given);
  const auto children = zt::children(*house);
  EXPECT_EQ(*std::ranges::find(children, given[1]), given[1]);
  EXPECT_EQ(*--zt::children(house.get()).end(), given[2]);
}
