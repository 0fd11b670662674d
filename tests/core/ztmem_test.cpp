#include "core/ztmem.h"

#include "tests/helpers/captured_log.hh"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <random>
#include <vector>

namespace {

using Blocks = std::vector<void *>;

ztMemStatus status() {
  ztMemStatus result;
  const int32_t blocks = ztm_getmemstatus(&result);
  EXPECT_EQ(result.blocks, blocks);
  return result;
}

// The list from the newest block on, its links checked both ways.
Blocks trackedBlocks() {
  Blocks blocks;
  const ztMemBlock *previous = nullptr;
  for (const ztMemBlock *record = status().first; record != nullptr; record = record->next) {
    EXPECT_EQ(record->prev, previous);
    blocks.push_back(record->block);
    previous = record;
  }
  EXPECT_EQ(static_cast<size_t>(status().blocks), blocks.size());
  return blocks;
}

// A tracked block, and its end.
void *track(int64_t size = 8, int64_t line = 1) {
  return ztm_dbg_alloc(size, "f.c", line, "T");
}

void release(void *block) {
  ztm_dbg_free(block, "f.c", 9);
}

// Three of them, the newest first.
Blocks trackThree() {
  Blocks blocks;
  for (int i = 0; i < 3; ++i) blocks.insert(blocks.begin(), track(8, i));
  return blocks;
}

// The two counts of the report.
struct Calls {
  int allocs = -1;
  int frees = -1;

  bool operator==(const Calls &) const = default;
};

Calls callCounts() {
  CapturedLog log;
  ztm_dumpblocks();
  const std::string report = log.file();
  Calls calls;
  sscanf(report.c_str() + report.find(" - Alloc calls"), " - Alloc calls: %d, free calls: %d", &calls.allocs,
         &calls.frees);
  return calls;
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
  auto *value = ZTM_NEW(double);
  ASSERT_NE(value, nullptr);
  *value = 0.5;
  ztm_free(value);
  EXPECT_EQ(status().blocks, 0);
  EXPECT_EQ(ztm_getmemstatus(nullptr), -1);
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
  EXPECT_EQ(track(size), nullptr);
  ASSERT_EQ(status().blocks, 1);
  EXPECT_EQ(status().first->block, nullptr);
  EXPECT_EQ(status().first->size, size);
  EXPECT_EQ(ztm_removeblock(nullptr), 1);
  EXPECT_EQ(status().blocks, 0);
  EXPECT_EQ(status().bytes, 0);
}

TEST(TrackedMemory, RecordsNullForAFailedResize) {
  void *block = track();
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
  void *second = track(20, 5000000000);
  EXPECT_EQ(trackedBlocks(), (Blocks{second, first}));
  EXPECT_EQ(status().bytes, 30);
  const ztMemBlock *record = ztm_findblock(first);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->size, 10);
  EXPECT_EQ(record->line, 11);
  EXPECT_STREQ(record->file, "first.c");
  EXPECT_STREQ(record->type, "First");
  EXPECT_EQ(status().first->line, 5000000000);
  memset(second, 1, 20);
  release(second);
  release(first);
  EXPECT_EQ(trackedBlocks(), Blocks());
  EXPECT_EQ(status().bytes, 0);
}

TEST(TrackedMemory, ForgetsHeadMiddleAndTail) {
  for (size_t gone = 0; gone < 3; ++gone) {
    Blocks blocks = trackThree();
    release(blocks[gone]);
    blocks.erase(blocks.begin() + static_cast<std::ptrdiff_t>(gone));
    EXPECT_EQ(trackedBlocks(), blocks);
    EXPECT_EQ(status().bytes, 16);
    for (void *block : blocks) release(block);
    EXPECT_EQ(status().first, nullptr);
  }
}

TEST(TrackedMemory, StaysTrueOverARandomHistory) {
  std::mt19937 random(11);
  Blocks model;
  for (int step = 0; step < 500; ++step) {
    if (model.empty() || random() % 3 != 0) {
      model.insert(model.begin(), track(32, step));
    } else {
      const auto at = model.begin() + static_cast<std::ptrdiff_t>(random() % model.size());
      release(*at);
      model.erase(at);
    }
    ASSERT_EQ(trackedBlocks(), model);
    ASSERT_EQ(status().bytes, 32 * static_cast<int64_t>(model.size()));
  }
  for (void *block : model) release(block);
}

TEST(TrackedMemory, ForgettingABlockDoesNotReleaseIt) {
  auto *block = static_cast<char *>(track(4));
  EXPECT_EQ(ztm_removeblock(block), 1);
  EXPECT_EQ(ztm_removeblock(block), 0);
  EXPECT_EQ(ztm_findblock(block), nullptr);
  block[3] = 'x';
  free(block);
  EXPECT_EQ(ztm_removeblock(nullptr), 0);
}

TEST(TrackedMemory, FindsTheNewestRecordOfABlockOfTheHosts) {
  int here = 0;
  ztm_addblock(&here, 1, "older.c", 1, "int");
  ztm_addblock(&here, 2, "newer.c", 2, "int");
  EXPECT_EQ(status().bytes, 3);
  EXPECT_STREQ(ztm_findblock(&here)->type, "int");
  for (const char *file : {"newer.c", "older.c"}) {
    EXPECT_STREQ(ztm_findblock(&here)->file, file);
    EXPECT_EQ(ztm_removeblock(&here), 1);
  }
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

TEST(TrackedMemory, CutsLongNamesAlsoInTheReport) {
  int here = 0;
  for (const size_t length : {510U, 511U, 512U, 10000U}) {
    const std::string name(length, 'n');
    ztm_addblock(&here, 1, name.c_str(), 1, name.c_str());
    EXPECT_EQ(ztm_findblock(&here)->file, name.substr(0, 511));
    EXPECT_EQ(ztm_findblock(&here)->type, name.substr(0, 103));
    CapturedLog log;
    ztm_dumpblocks();
    EXPECT_NE(log.file().find("\n @ Unfreed block: " + std::string(511 - 18, 'n') + "\n"), std::string::npos);
    EXPECT_EQ(ztm_removeblock(&here), 1);
  }
}

TEST(TrackedMemory, TakesNullNames) {
  void *block = ztm_dbg_alloc(1, nullptr, 1, nullptr);
  EXPECT_STREQ(ztm_findblock(block)->file, "");
  EXPECT_STREQ(ztm_findblock(block)->type, "");
  ztm_dbg_free(block, nullptr, 2);
  CapturedLog log;
  ztm_dbg_free(malloc(1), nullptr, 2);
  EXPECT_EQ(log.file().substr(log.file().find(" : ")), " : , 2\n");
}

TEST(TrackedMemory, ResizesABlockAndItsRecord) {
  void *block = track(10, 3);
  strcpy(static_cast<char *>(block), "kept");
  const Calls counts = callCounts();
  block = ztm_dbg_realloc(block, 1000000);
  EXPECT_STREQ(static_cast<char *>(block), "kept");
  const ztMemBlock *record = ztm_findblock(block);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->size, 1000000);
  EXPECT_EQ(record->line, 3);
  EXPECT_EQ(status().blocks, 1);
  EXPECT_EQ(status().bytes, 1000000);
  block = ztm_dbg_realloc(block, 5);
  EXPECT_EQ(status().bytes, 5);
  EXPECT_EQ(callCounts(), counts);
  release(block);
}

TEST(TrackedMemory, AResizedBlockKeepsItsPlace) {
  Blocks blocks = trackThree();
  for (const size_t resized : {size_t{2}, size_t{1}, size_t{0}}) {
    blocks[resized] = ztm_dbg_realloc(blocks[resized], 100000);
    EXPECT_EQ(trackedBlocks(), blocks);
  }
  for (void *block : blocks) release(block);
}

TEST(TrackedMemory, ResizesAnUnknownBlockWithoutARecord) {
  void *block = ztm_dbg_realloc(ztm_alloc(10), 2000);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(ztm_findblock(block), nullptr);
  ztm_free(block);
  block = ztm_dbg_realloc(nullptr, 16);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(status().blocks, 0);
  ztm_free(block);
}

TEST(TrackedMemory, CountsItsCalls) {
  const Calls before = callCounts();
  release(nullptr);
  EXPECT_EQ(callCounts(), before);
  void *block = track();
  EXPECT_EQ(callCounts(), (Calls{before.allocs + 1, before.frees}));
  release(block);
  EXPECT_EQ(callCounts(), (Calls{before.allocs + 1, before.frees + 1}));
}

TEST(TrackedMemory, ABlockReleasedThePlainWayStaysInTheReport) {
  ztm_free(track(64));
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

}  // namespace
