#include "containers/ztarray.hh"
#include "containers/ztdetached.hh"
#include "io/ztclaims.hh"
#include "io/ztfile.h"
#include "io/ztstream.hh"

using namespace ztcore;

// If the file may be shorter than the count claims, places are made as elements arrive. A class that overrides
// the making of places makes all of them at once.

namespace {

class ArrayReader {
 public:
  ArrayReader(ztArray &target, void *source) : array(target), file(source), claims(source) {}

  int32_t read();

 private:
  // A rough size of what an object owns outside its place.
  static constexpr int64_t ownParts = 128;
  // Granted without a check of the file.
  static constexpr int64_t smallClaim = 4096;
  // The most elements without a size that are read from a file that does not tell its end.
  static constexpr int32_t mostWithoutSize = 65536;

  bool makesOwnSlots() const {
    const ztArrayMethods *methods = ztArray_of(&array);
    const ztArrayMethods *library = ztArray_table();
    return methods->setSize != library->setSize || methods->empty != library->empty;
  }
  int64_t sizeOf(int32_t places) const {
    return places == 0 ? 0 : blockSize(array, places);
  }
  // An element takes its size in the file, and an object at least a byte.
  bool isExcessive() {
    return claims.isExcessive(count, holdsObjects(array) ? 1 : array.elementSize, sizeOf(1));
  }

  // Reading an element may change the array. No places are made after elements that were added.
  bool hasSlot(int32_t index) const {
    return index < made && (array.count == made || (array.count > made && made == count));
  }

  int32_t placesAtFirst();
  int32_t placesToAdd();
  bool setSize(int32_t places);
  bool addObjects(int32_t added);
  bool addPlaces(int32_t added);
  bool readObject(int32_t index);
  bool readBytes(int32_t index);
  bool fillUp(int32_t arrived);
  void bring(int64_t bytes);

  ztArray &array;
  void *file;
  Claims claims;
  int32_t count = 0;
  int32_t made = 0;     // the number of places
  bool isFree = false;  // the places are no claim of this count
  int64_t claimed = 0;  // for each place; 0 while no place depends on the file
  bool more = true;     // the last element had data
};

}  // namespace

// The number of places to begin with, or -1 for a refused count.
int32_t ArrayReader::placesAtFirst() {
  const int64_t size = sizeOf(count);
  isFree = size < 0 || count == array.count || makesOwnSlots();
  if (!isFree && size <= smallClaim && !holdsObjects(array)) return count;
  if (size > smallClaim && isExcessive()) return -1;
  if (isFree) return count;
  claimed = sizeOf(1);
  if (claims.isHeld(size)) {
    claims.hold(size);
    return count;
  }
  if (claims.take(size)) return count;
  if (claims.ownStream() != nullptr && !hasByte(claims.ownStream())) return -1;
  // Objects exist even if the file has no record for them.
  if (holdsObjects(array)) claimed += ownParts;
  const int32_t places = placesToAdd();
  return places == 0 ? -1 : places;
}

// The number of places that may be claimed, or one for an element that has begun to arrive.
int32_t ArrayReader::placesToAdd() {
  // A block without objects exists until its bytes are in the larger one.
  const int64_t bytes = claims.left() - (holdsObjects(array) ? 0 : sizeOf(made));
  const int64_t places = bytes / claimed;
  const int32_t missing = count - made;
  if (places > 0) {
    const int32_t added = places < missing ? static_cast<int32_t>(places) : missing;
    claims.hold(added * claimed);
    return added;
  }
  FILE *stream = claims.ownStream();
  // Elements without data would never reach the next byte.
  const bool hasBegun = more && (stream == nullptr || hasByte(stream));
  if (hasBegun) claims.hold(claimed);
  return hasBegun;
}

bool ArrayReader::setSize(int32_t places) {
  const void *before = array.data;
  const ContainerUse use(&array);
  if (!ztArray_of(&array)->setSize(&array, places) || use.ended()) return false;
  // An array that has the count already keeps its contents.
  if (before != nullptr && before == array.data && !holdsObjects(array)) {
    clearBehind(array, array.data, 0, blockSize(array, array.count));
  }
  made = array.count;
  if (makesOwnSlots()) count = made;
  return true;
}

bool ArrayReader::addPlaces(int32_t added) {
  if (added <= 0) return false;
  if (holdsObjects(array)) {
    if (!addObjects(added)) return false;
    made += added;
    return true;
  }
  if (!resizeBlock(array, int64_t{made} + added)) return false;
  clearBehind(array, array.data, made, blockSize(array, int64_t{made} + added));
  made += added;
  array.count = made;
  return true;
}

bool ArrayReader::addObjects(int32_t added) {
  if (!ownBlock(array)) return false;
  DetachedBlock detached(array);
  if (!detached.isOut()) return false;
  const bool isAdded = detached.add(added);
  return detached.putBack() && isAdded;
}

// The bytes of an element that has arrived are no longer a claim.
void ArrayReader::bring(int64_t bytes) {
  if (!claims.isCounted()) claims.addArrived(bytes);
  if (claimed > 0) claims.give(claimed);
}

// False when memory is exhausted, or when the array no longer has such objects.
bool ArrayReader::readObject(int32_t index) {
  if (!ownBlock(array)) return false;
  DetachedBlock detached(array);
  if (!detached.isOut()) return false;
  void *place = detached.open(index);
  claims.arrivedSince();
  const bool done = ztBaseClass_of(place)->read(place, file) > 0;
  more = claims.isCounted() ? claims.arrivedSince() > 0 : done;
  detached.close(index);
  if (!detached.putBack()) return false;
  if (more) bring(array.elementSize);
  return true;
}

// False at the end of the file.
bool ArrayReader::readBytes(int32_t index) {
  const int32_t size = array.elementSize;
  const ztFileMethods *methods = ztFile_of(file);
  claims.arrivedSince();
  const int32_t got = methods->readBuf(file, size, placeAt(array, index));
  const int64_t arrived = claims.isCounted() ? claims.arrivedSince() : got;
  more = arrived > 0;
  if (size == 0) return claims.isCounted() ? more : index < mostWithoutSize && !methods->eof(file);
  if (arrived >= size) bring(size);
  return arrived >= size || ((more || claims.ownStream() == nullptr) && !methods->eof(file));
}

// Zeroes the elements that the file lacks, as far as the claim allows.
bool ArrayReader::fillUp(int32_t arrived) {
  if (isFree) return true;
  const int64_t lacking = sizeOf(count) - sizeOf(claimed > 0 ? made : arrived);
  return claims.take(lacking) && (made == count || addPlaces(count - made));
}

int32_t ArrayReader::read() {
  if (!claims.readCount(&count)) return 0;
  const int32_t first = placesAtFirst();
  const ContainerUse use(&array);
  if (first < 0 || !setSize(first) || use.ended()) return 0;
  bool isMet = true;
  for (int32_t i = 0; i < count && isMet; ++i) {
    if (i == made) isMet = addPlaces(placesToAdd());
    if (!isMet || !hasSlot(i)) break;
    if (holdsObjects(array)) {
      isMet = readObject(i);
    } else if (!readBytes(i)) {
      isMet = fillUp(i);
      break;
    }
  }
  if (isMet) return 1;
  if (use.ended()) return 0;
  ztArray_of(&array)->empty(&array);
  claims.giveAll();
  return 0;
}

int32_t ztcore::arrayRead(ztArray &array, void *file) {
  if (file == nullptr || !ztSequenceContainer_table()->read(&array, file)) return 0;
  return ArrayReader(array, file).read();
}

int32_t ztcore::arrayWrite(const ztArray &array, void *file) {
  if (file == nullptr || !ztSequenceContainer_table()->write(&array, file)) return 0;
  const ztFileMethods *methods = ztFile_of(file);
  if (methods->writeInt(file, array.count) <= 0) return 0;
  // Elements of no bytes add nothing to a binary file.
  const bool leavesBytes = holdsObjects(array) || array.elementSize != 0;
  if (!leavesBytes && methods->writeBuf == ztFile_table()->writeBuf) return 1;
  for (int32_t i = 0; i < array.count; ++i) {
    const void *place = placeAt(array, i);
    if (holdsObjects(array)) {
      ztBaseClass_of(place)->write(place, file);
    } else {
      methods->writeBuf(file, array.elementSize, place);
    }
  }
  return 1;
}
