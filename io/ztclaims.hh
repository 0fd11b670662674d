// Limits the memory that counts in files claim.
//
// A count claims memory for elements that have not arrived yet. A claim is granted if the file is known to hold
// the data; otherwise only within 64 KB and what has been read, so that a damaged file cannot demand memory.
// Unmet claims stay on the file's account until it is closed or read again from an earlier position.
#ifndef ZT_IO_ZTCLAIMS_HH
#define ZT_IO_ZTCLAIMS_HH

#include <stdint.h>
#include <stdio.h>

namespace ztcore {

struct ClaimAccount {
  const void *file;      // NULL for a free account
  const FILE *stream;    // the file's open stream
  int64_t claimed;       // bytes claimed that have not arrived
  int64_t position;      // of the last claim, or -1
  int64_t read;          // bytes that earlier reads of objects got
  uint64_t countedFrom;  // the thread's `bytesRead` when the outermost read of an object began
  int32_t depth;         // the number of nested reads of objects
};

// The claims of one object that is read from a file.
class Claims {
 public:
  explicit Claims(void *file);
  ~Claims();
  Claims(const Claims &) = delete;
  Claims &operator=(const Claims &) = delete;

  // Reads a count through the file's table. False when that fails or the count is negative.
  bool readCount(int32_t *count);

  // Whether the library's own primitive read the count: the stream then holds the objects. Otherwise only the
  // file's class knows the data.
  bool isCounted() const {
    return counted;
  }
  // The stream of a file with the library's own primitives; NULL for others.
  FILE *ownStream() const {
    return own;
  }
  bool isText() const {
    return text;
  }

  // Whether the file is known to hold that many bytes which no other claim needs.
  bool isHeld(int64_t bytes);
  // Whether the file is known to be too short for these elements, with their sizes in the file and in memory.
  bool isExcessive(int64_t elements, int64_t inFile, int64_t inMemory);

  // The most bytes that may be claimed, and how many of them are left.
  int64_t limit();
  int64_t left();

  // Claims bytes; false when fewer are left.
  bool take(int64_t bytes);
  // The same without a check.
  void hold(int64_t bytes);
  // Subtracts claims that are met, or all claims of this object.
  void give(int64_t bytes);
  void giveAll();
  // Adds bytes that the file delivered without being counted.
  void addArrived(int64_t bytes);

  // The bytes that the library's own primitives have read since the last call, in this thread.
  int64_t arrivedSince();

 private:
  ClaimAccount *account();
  int64_t read();

  void *file;
  FILE *stream;
  FILE *own = nullptr;
  bool text = false;
  bool counted = false;
  int64_t unmet = 0;
  uint64_t lastRead;
  ClaimAccount *shared = nullptr;
  ClaimAccount local = {};
};

// Forgets the claims of a file that is closed.
void forgetClaims(const void *file);

}  // namespace ztcore

#endif
