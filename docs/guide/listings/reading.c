#include "reading.h"

// begin write_read
static int32_t readingWrite(const void *object, void *file) {
  const Reading *reading = object;
  return ztBaseClass_table()->write(reading, file) && /* the parent's data first */
         ztFile_of(file)->writeInt(file, reading->hour) && ztFile_of(file)->writeFloat(file, reading->level);
}

static int32_t readingRead(void *object, void *file) {
  Reading *reading = object;
  return ztBaseClass_table()->read(reading, file) && ztFile_of(file)->readInt(file, &reading->hour) &&
         ztFile_of(file)->readFloat(file, &reading->level);
}

static void readingMethods(ReadingMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, readingWrite);
  ZT_OVERRIDE_METHOD(methods, read, readingRead);
}

ZT_DEFINE_CLASS(Reading, ztBaseClass, readingMethods)
// end write_read

// begin make
Reading *newReading(int32_t hour, double level) {
  Reading *reading = Reading_new();
  if (reading == NULL) return NULL;
  reading->hour = hour;
  reading->level = level;
  return reading;
}
// end make
