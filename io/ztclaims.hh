// What counts in a file demand, and what the file has given for it.
//
// A count claims memory for elements that have yet to arrive. Claims that the file is known to hold are met at
// once; others only as far as 64 KB and what has been read allow, so that a damaged file cannot demand memory.
// Claims that nothing arrived for stay on the file's account until it is closed or read again from before.
#ifndef ZT_IO_ZTCLAIMS_HH
#define ZT_IO_ZTCLAIMS_HH

#include <stdint.h>
#include <stdio.h>

namespace ztcore {

// The account of one file.
struct ClaimAccount {
  const void *file;      // NULL while nobody's
  const FILE *stream;    // what the file had open
  int64_t claimed;       // bytes claimed that nothing has arrived for
  int64_t position;      // of the last claim, -1 where there is none
  int64_t read;          // bytes that earlier reads of objects brought
  uint64_t countedFrom;  // what the thread had read when the outermost read of an object began
  int32_t depth;         // reads of objects that are under way
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

  // Whether the count came through the library's own primitive: the bytes of the stream are then those of
  // the objects. Otherwise only the file's class knows what is to come.
  bool isCounted() const {
    return counted;
  }
  // The stream of a file whose primitives are the library's own; NULL for others.
  FILE *ownStream() const {
    return own;
  }
  // Whether such a file is one of text.
  bool isText() const {
    return text;
  }

  // Whether the file is known to hold so many bytes which no other claim counts on.
  bool isHeld(int64_t bytes);
  // Whether the file is known to end so early that so many elements, of which each takes bytes in the file
  // and others in memory, will not be met.
  bool isExcessive(int64_t elements, int64_t inFile, int64_t inMemory);

  // What may be claimed in all, and what of it is left.
  int64_t limit();
  int64_t left();

  // Claims bytes; false when that many are not left.
  bool take(int64_t bytes);
  // The same without asking.
  void hold(int64_t bytes);
  // Claims that are met, or all that this object still has.
  void give(int64_t bytes);
  void giveAll();
  // What a file brought that is not counted.
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
