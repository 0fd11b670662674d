#include "core/ztmem.h"

#include "tests/helpers/captured_log.hh"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <random>
#include <thread>
#include <vector>

static_assert(offsetof(ztMemBlock, block) == 0);
static_assert(offsetof(ztMemBlock, size) == 8);
static_assert(offsetof(ztMemBlock, line) == 16);
static_assert(offsetof(ztMemBlock, file) == 24);
static_assert(offsetof(ztMemBlock, type) == 536);
static_assert(offsetof(ztMemBlock, next) == 640);
static_assert(offsetof(ztMemBlock, prev) == 648);
static_assert(offsetof(ztMemStatus, bytes) == 8);
static_assert(offsetof(ztMemStatus, first) == 16);

namespace {

ztMemStatus status() {
  ztMemStatus result;
  const int32_t blocks = ztm_getmemstatus(&result);
  EXPECT_EQ(result.blocks, blocks);
  return result;
}

// The list from the newest block on, its links checked both ways.
std::vector<void *> trackedBlocks() {
  std::vector<void *> blocks;
  const ztMemBlock *previous = nullptr;
  for (const ztMemBlock *record = status().first; record != nullptr; record = record->next) {
    EXPECT_EQ(record->prev, previous);
    blocks.push_back(record->block);
    previous = record;
  }
  EXPECT_EQ(static_cast<size_t>(status().blocks), blocks.size());
  return blocks;
}

// The two counts of the report.
std::string callCounts() {
  CapturedLog log;
  ztm_dumpblocks();
  const std::string report = log.file();
  const size_t start = report.find(" - Alloc calls");
  return report.substr(start, report.find('\n', start) - start);
}

TEST(PlainMemory, AllocatesResizesAndReleases) {
  auto *block = static_cast<char *>(ztm_alloc(10));
  ASSERT_NE(block, nullptr);
  memcpy(block, "123456789", 10);
  block = static_cast<char *>(ztm_realloc(block, 100000));
  ASSERT_NE(block, nullptr);
  EXPECT_STREQ(block, "123456789");
  block[99999] = 'x';
  ztm_free(block);
  ztm_free(nullptr);
  void *fresh = ztm_realloc(nullptr, 8);
  EXPECT_NE(fresh, nullptr);
  ztm_free(fresh);
  EXPECT_EQ(status().blocks, 0);
}

TEST(PlainMemory, GivesRoomForAType) {
  auto *value = ZTM_NEW(double);
  ASSERT_NE(value, nullptr);
  *value = 0.5;
  ztm_free(value);
}

#ifndef __SANITIZE_ADDRESS__
TEST(PlainMemory, RefusesANegativeSize) {
  volatile int32_t size = -1;
  EXPECT_EQ(ztm_alloc(size), nullptr);
  void *block = ztm_alloc(4);
  EXPECT_EQ(ztm_realloc(block, size), nullptr);
  ztm_free(block);
}

TEST(TrackedMemory, RecordsAFailedAllocationToo) {
  volatile int64_t size = INT64_MAX - 100;
  EXPECT_EQ(ztm_dbg_alloc(size, "f.c", 3, "Huge"), nullptr);
  ASSERT_EQ(status().blocks, 1);
  EXPECT_EQ(status().first->block, nullptr);
  EXPECT_EQ(status().first->size, size);
  EXPECT_EQ(ztm_removeblock(nullptr), 1);
  EXPECT_EQ(status().blocks, 0);
  EXPECT_EQ(status().bytes, 0);
}

TEST(TrackedMemory, RecordsNullForAFailedResize) {
  void *block = ztm_dbg_alloc(10, "f.c", 3, "T");
  volatile int64_t size = INT64_MAX - 100;
  EXPECT_EQ(ztm_dbg_realloc(block, size), nullptr);
  EXPECT_EQ(ztm_findblock(block), nullptr);
  ASSERT_NE(ztm_findblock(nullptr), nullptr);
  EXPECT_EQ(ztm_findblock(nullptr)->size, size);
  EXPECT_EQ(ztm_removeblock(nullptr), 1);
  EXPECT_EQ(status().bytes, 0);
  free(block);  // still the old one
}
#endif

TEST(TrackedMemory, RecordsEveryBlockNewestFirst) {
  EXPECT_EQ(status().first, nullptr);
  void *first = ztm_dbg_alloc(10, "first.c", 11, "First");
  void *second = ztm_dbg_alloc(20, "second.c", 5000000000, "Second");
  EXPECT_EQ(trackedBlocks(), (std::vector<void *>{second, first}));
  EXPECT_EQ(status().bytes, 30);
  const ztMemBlock *record = ztm_findblock(first);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->size, 10);
  EXPECT_EQ(record->line, 11);
  EXPECT_STREQ(record->file, "first.c");
  EXPECT_STREQ(record->type, "First");
  EXPECT_EQ(status().first->line, 5000000000);
  memset(second, 1, 20);
  ztm_dbg_free(second, "x.c", 1);
  ztm_dbg_free(first, "x.c", 2);
  EXPECT_TRUE(trackedBlocks().empty());
  EXPECT_EQ(status().bytes, 0);
}

TEST(TrackedMemory, ForgetsHeadMiddleAndTail) {
  for (size_t gone = 0; gone < 3; ++gone) {
    std::vector<void *> blocks;
    for (int i = 0; i < 3; ++i) blocks.insert(blocks.begin(), ztm_dbg_alloc(8, "f.c", i, "T"));
    ztm_dbg_free(blocks[gone], "f.c", 9);
    blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(gone));
    EXPECT_EQ(trackedBlocks(), blocks);
    EXPECT_EQ(status().bytes, 16);
    for (void *block : blocks) ztm_dbg_free(block, "f.c", 9);
    EXPECT_EQ(status().first, nullptr);
  }
}

TEST(TrackedMemory, StaysTrueOverARandomHistory) {
  std::mt19937 random(11);
  std::vector<void *> model;
  int64_t bytes = 0;
  for (int step = 0; step < 500; ++step) {
    if (model.empty() || random() % 3 != 0) {
      model.insert(model.begin(), ztm_dbg_alloc(32, "f.c", step, "T"));
      bytes += 32;
    } else {
      const auto at = model.begin() + static_cast<std::ptrdiff_t>(random() % model.size());
      ztm_dbg_free(*at, "f.c", step);
      model.erase(at);
      bytes -= 32;
    }
    ASSERT_EQ(trackedBlocks(), model);
    ASSERT_EQ(status().bytes, bytes);
  }
  for (void *block : model) ztm_dbg_free(block, "f.c", 0);
}

TEST(TrackedMemory, ForgettingABlockDoesNotReleaseIt) {
  auto *block = static_cast<char *>(ztm_dbg_alloc(4, "f.c", 1, "T"));
  EXPECT_EQ(ztm_removeblock(block), 1);
  EXPECT_EQ(ztm_removeblock(block), 0);
  EXPECT_EQ(ztm_findblock(block), nullptr);
  block[3] = 'x';
  free(block);
  EXPECT_EQ(ztm_removeblock(nullptr), 0);
}

TEST(TrackedMemory, RecordsABlockOfTheHosts) {
  int here = 0;
  ztm_addblock(&here, 4, "f.c", 2, "int");
  ASSERT_NE(ztm_findblock(&here), nullptr);
  EXPECT_STREQ(ztm_findblock(&here)->type, "int");
  EXPECT_EQ(status().bytes, 4);
  EXPECT_EQ(ztm_removeblock(&here), 1);
}

TEST(TrackedMemory, FindsTheNewestRecordOfABlock) {
  int here = 0;
  ztm_addblock(&here, 1, "older.c", 1, "T");
  ztm_addblock(&here, 2, "newer.c", 2, "T");
  EXPECT_STREQ(ztm_findblock(&here)->file, "newer.c");
  EXPECT_EQ(ztm_removeblock(&here), 1);
  EXPECT_STREQ(ztm_findblock(&here)->file, "older.c");
  EXPECT_EQ(ztm_removeblock(&here), 1);
}

TEST(TrackedMemory, MakesARecordWithoutRecordingIt) {
  int here = 0;
  ztMemBlock *record = ztm_allocblock(&here, 4, "f.c", 7, "int");
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->block, &here);
  EXPECT_EQ(record->next, nullptr);
  EXPECT_EQ(record->prev, nullptr);
  EXPECT_EQ(ztm_findblock(&here), nullptr);
  EXPECT_EQ(status().blocks, 0);
  free(record);
}

TEST(TrackedMemory, CutsLongNames) {
  int here = 0;
  for (const size_t length : {510U, 511U, 512U, 10000U}) {
    const std::string name(length, 'n');
    ztm_addblock(&here, 1, name.c_str(), 1, name.c_str());
    EXPECT_EQ(ztm_findblock(&here)->file, name.substr(0, 511));
    EXPECT_EQ(ztm_findblock(&here)->type, name.substr(0, 103));
    EXPECT_EQ(ztm_removeblock(&here), 1);
  }
}

TEST(TrackedMemory, ReportsLongNamesCut) {
  int here = 0;
  ztm_addblock(&here, 1, std::string(10000, 'f').c_str(), 1, std::string(10000, 't').c_str());
  CapturedLog log;
  ztm_dumpblocks();
  const std::string line = " @ Unfreed block: " + std::string(511 - 18, 'f');
  EXPECT_NE(log.file().find("\n" + line + "\n"), std::string::npos);
  EXPECT_EQ(ztm_removeblock(&here), 1);
}

TEST(TrackedMemory, TakesNullNames) {
  void *block = ztm_dbg_alloc(1, nullptr, 1, nullptr);
  EXPECT_STREQ(ztm_findblock(block)->file, "");
  EXPECT_STREQ(ztm_findblock(block)->type, "");
  ztm_dbg_free(block, nullptr, 2);
  CapturedLog log;
  block = malloc(1);
  ztm_dbg_free(block, nullptr, 2);
  EXPECT_EQ(log.file().substr(log.file().find(" : ")), " : , 2\n");
}

TEST(TrackedMemory, ResizesABlockAndItsRecord) {
  auto *block = static_cast<char *>(ztm_dbg_alloc(10, "f.c", 3, "T"));
  strcpy(block, "kept");
  const std::string counts = callCounts();
  auto *moved = static_cast<char *>(ztm_dbg_realloc(block, 1000000));
  EXPECT_STREQ(moved, "kept");
  const ztMemBlock *record = ztm_findblock(moved);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->size, 1000000);
  EXPECT_EQ(record->line, 3);
  EXPECT_EQ(status().blocks, 1);
  EXPECT_EQ(status().bytes, 1000000);
  moved = static_cast<char *>(ztm_dbg_realloc(moved, 5));
  EXPECT_EQ(status().bytes, 5);
  EXPECT_EQ(callCounts(), counts);
  ztm_dbg_free(moved, "f.c", 4);
}

TEST(TrackedMemory, AResizedBlockKeepsItsPlace) {
  std::vector<void *> blocks;
  for (int i = 0; i < 3; ++i) blocks.insert(blocks.begin(), ztm_dbg_alloc(8, "f.c", i, "T"));
  for (const size_t resized : {size_t{2}, size_t{1}, size_t{0}}) {
    blocks[resized] = ztm_dbg_realloc(blocks[resized], 100000);
    EXPECT_EQ(trackedBlocks(), blocks);
  }
  for (void *block : blocks) ztm_dbg_free(block, "f.c", 9);
}

TEST(TrackedMemory, StaysTrueWhileThreadsUseIt) {
  const auto use = [] {
    for (int i = 0; i < 500; ++i) {
      void *block = ztm_dbg_alloc(10, "f.c", i, "T");
      block = ztm_dbg_realloc(block, 20 + i);
      ASSERT_NE(ztm_findblock(block), nullptr);
      ztm_dbg_free(block, "f.c", i);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(use);
  for (std::thread &thread : threads) thread.join();
  EXPECT_TRUE(trackedBlocks().empty());
  EXPECT_EQ(status().bytes, 0);
}

TEST(TrackedMemory, ResizesAnUnknownBlockWithoutARecord) {
  void *block = ztm_alloc(10);
  block = ztm_dbg_realloc(block, 2000);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(ztm_findblock(block), nullptr);
  ztm_free(block);
  block = ztm_dbg_realloc(nullptr, 16);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(status().blocks, 0);
  ztm_free(block);
}

TEST(TrackedMemory, CountsItsCalls) {
  const std::string before = callCounts();
  ztm_dbg_free(nullptr, "f.c", 1);
  EXPECT_EQ(callCounts(), before);
  int allocs = 0;
  int frees = 0;
  ASSERT_EQ(sscanf(before.c_str(), " - Alloc calls: %d, free calls: %d", &allocs, &frees), 2);
  void *block = ztm_dbg_alloc(1, "f.c", 1, "T");
  EXPECT_EQ(callCounts(),
            " - Alloc calls: " + std::to_string(allocs + 1) + ", free calls: " + std::to_string(frees));
  ztm_dbg_free(block, "f.c", 1);
  EXPECT_EQ(callCounts(),
            " - Alloc calls: " + std::to_string(allocs + 1) + ", free calls: " + std::to_string(frees + 1));
}

TEST(TrackedMemory, WarnsAboutAnUnknownBlockAndReleasesIt) {
  void *block = ztm_alloc(3);
  char address[32];
  snprintf(address, sizeof address, "%X", static_cast<uint32_t>(reinterpret_cast<uintptr_t>(block)));
  CapturedLog log;
  ztm_dbg_free(block, "host.c", 42);
  EXPECT_EQ(log.file(),
            std::string("WARNING: Trying to remove an invalid block: ") + address + " : host.c, 42\n");
}

TEST(TrackedMemory, ABlockReleasedThePlainWayStaysInTheReport) {
  void *block = ztm_dbg_alloc(64, "f.c", 1, "T");
  ztm_free(block);
  EXPECT_EQ(status().blocks, 1);
  EXPECT_EQ(status().bytes, 64);
  EXPECT_EQ(ztm_removeblock(status().first->block), 1);
}

TEST(TrackedMemory, SumsPast31BitsWrap) {
  int here[2];
  ztm_addblock(&here[0], INT32_MAX, "f.c", 1, "T");
  ztm_addblock(&here[1], 1, "f.c", 1, "T");
  EXPECT_EQ(status().bytes, INT32_MIN);
  EXPECT_EQ(ztm_removeblock(&here[0]), 1);
  EXPECT_EQ(status().bytes, 1);
  EXPECT_EQ(ztm_removeblock(&here[1]), 1);
}

TEST(MemoryStatus, RefusesNull) {
  EXPECT_EQ(ztm_getmemstatus(nullptr), -1);
}

}  // namespace
