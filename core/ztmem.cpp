#include "core/ztmem.h"

#include "core/ztlayout.hh"
#include "core/ztlock.hh"
#include "core/ztlogctrl.h"
#include "core/ztmem.hh"
#include "core/zttext.hh"

#include <stdlib.h>

using namespace ztcore;

ZT_PIN_FIELD(ztMemBlock, file, 24);
ZT_PIN_FIELD(ztMemBlock, type, 536);
ZT_PIN_FIELD(ztMemBlock, next, 640);
ZT_PIN_FIELD(ztMemBlock, prev, 648);

// The doubly linked list of records, their number and the sum of their sizes. memoryLock guards all of it.
static ztMemBlock *m_head;
static uint32_t m_totalmem;  // unsigned: a sum past 31 bits wraps
static int32_t m_nblocks;
static uint32_t alloc_called;
static uint32_t free_called;

constinit MemoryFunctions ztcore::memoryFunctions = {malloc, realloc, free, nullptr};

// As an unsigned number a negative size is very large, and memory checkers report it.
void *ztm_alloc(int32_t size) {
  return size < 0 ? nullptr : memoryFunctions.allocate(static_cast<size_t>(size));
}

void *ztm_realloc(void *block, int32_t size) {
  return size < 0 ? nullptr : memoryFunctions.resize(block, static_cast<size_t>(size));
}

void ztm_free(void *block) {
  memoryFunctions.release(block);
}

ztMemBlock *ztm_findblock(const void *block) {
  const Locked locked(memoryLock);
  ztMemBlock *record = m_head;
  while (record != nullptr && record->block != block) record = record->next;
  return record;
}

ztMemBlock *ztm_allocblock(void *block, int64_t size, const char *file, int64_t line, const char *type) {
  auto *record = static_cast<ztMemBlock *>(malloc(sizeof(ztMemBlock)));
  if (record == nullptr) return nullptr;
  record->block = block;
  record->size = size;
  record->line = line;
  copyText(record->file, file);
  copyText(record->type, type);
  record->next = nullptr;
  record->prev = nullptr;
  return record;
}

void ztm_addblock(void *block, int64_t size, const char *file, int64_t line, const char *type) {
  ztMemBlock *record = ztm_allocblock(block, size, file, line, type);
  if (record == nullptr) return;
  const Locked locked(memoryLock);
  record->next = m_head;
  if (m_head != nullptr) m_head->prev = record;
  m_head = record;
  m_totalmem += static_cast<uint32_t>(size);
  ++m_nblocks;
}

int32_t ztm_removeblock(void *block) {
  const Locked locked(memoryLock);
  ztMemBlock *record = ztm_findblock(block);
  if (record == nullptr) return 0;
  if (record->prev != nullptr) {
    record->prev->next = record->next;
  } else {
    m_head = record->next;
  }
  if (record->next != nullptr) record->next->prev = record->prev;
  m_totalmem -= static_cast<uint32_t>(record->size);
  free(record);
  --m_nblocks;
  return 1;
}

void *ztm_dbg_alloc(int64_t size, const char *file, int64_t line, const char *type) {
  void *block = memoryFunctions.allocate(static_cast<size_t>(size));
  ztm_addblock(block, size, file, line, type);
  const Locked locked(memoryLock);
  ++alloc_called;
  return block;
}

void *ztm_dbg_realloc(void *block, int64_t size) {
  // Held until the record is updated: another thread may get the old address at once.
  const Locked locked(memoryLock);
  ztMemBlock *record = ztm_findblock(block);
  void *moved = memoryFunctions.resize(block, static_cast<size_t>(size));
  if (record == nullptr) return moved;
  m_totalmem += static_cast<uint32_t>(size) - static_cast<uint32_t>(record->size);
  record->block = moved;
  record->size = size;
  return moved;
}

static bool forgetFreed(void *block) {
  const Locked locked(memoryLock);
  ++free_called;
  return ztm_removeblock(block) != 0;
}

void ztm_dbg_free(void *block, const char *file, int64_t line) {
  if (block == nullptr) return;
  // Before the release: after it, another thread may get the address.
  if (!forgetFreed(block)) {
    ztLc_log("WARNING: Trying to remove an invalid block: %X : %s, %d\n",
             static_cast<uint32_t>(reinterpret_cast<uintptr_t>(block)), file == nullptr ? "" : file,
             static_cast<int>(line));
  }
  memoryFunctions.release(block);
}

int32_t ztm_getmemstatus(ztMemStatus *status) {
  if (status == nullptr) return -1;
  const Locked locked(memoryLock);
  status->blocks = m_nblocks;
  status->bytes = static_cast<int32_t>(m_totalmem);
  status->first = m_head;
  return m_nblocks;
}

static void logBlock(const ztMemBlock &record) {
  ztLc_log(" @ Unfreed block: %s:\tLine %d,\tAddress 0x%X, size:%d, type: %s\n", record.file,
           static_cast<int>(record.line), static_cast<uint32_t>(reinterpret_cast<uintptr_t>(record.block)),
           static_cast<int>(record.size), record.type);
}

void ztm_dumpblocks(void) {
  const Locked locked(memoryLock);
  uint32_t unfreed = 0;
  ztLc_log("\n# MEMORY LOG\n");
  if (m_head != nullptr) {
    ztLc_log("\n * FOUND MEMORY LEAK!: *\n\n");
    for (const ztMemBlock *record = m_head; record != nullptr; record = record->next) {
      logBlock(*record);
      unfreed += static_cast<uint32_t>(record->size);
    }
  } else {
    ztLc_log("\n");
    ztLc_log(" - All memory blocks freed\n");
  }
  ztLc_log("\n");
  ztLc_log(" - Total Memory Unfreed: %d bytes, blocks: %d\n\n", static_cast<int32_t>(unfreed), m_nblocks);
  ztLc_log(" - Alloc calls: %d, free calls: %d\n\n", static_cast<int32_t>(alloc_called),
           static_cast<int32_t>(free_called));
  ztLc_log("# END MEMORY LOG");
}
