#include "reading.h"

#include <stdio.h>
#include <string.h>

// begin store
static int store(ztFile *file) {
  if (!ztFile_of(file)->open(file, "readings.bin", "wb")) return 0;
  ztFile_of(file)->writeInt(file, 3);
  for (int32_t i = 0; i < 3; ++i) {
    Reading *reading = newReading(6 + i, 410.5 + i);
    if (reading == NULL) return 0;
    ztBaseClass_functions()->classWrite(NULL, reading, file); /* which class it is */
    Reading_of(reading)->write(reading, file);                /* and its data */
    Reading_of(reading)->unRef(reading);
  }
  return ztFile_of(file)->flush(file) == 0; /* tells whether all of it was written */
}
// end store

// begin load
static int load(ztFile *file) {
  ZT_REGISTER_CLASS(Reading); /* this process has made none yet */
  int32_t count = 0;
  if (!ztFile_of(file)->open(file, "readings.bin", "rb") || !ztFile_of(file)->readInt(file, &count)) return 0;
  for (int32_t i = 0; i < count; ++i) {
    Reading *reading = Reading_cast(ztOOP_readObject(file)); /* makes an object of the stored class */
    if (reading == NULL) return 0;
    printf("%02d:00  %.1f cm\n", (int)reading->hour, reading->level);
    Reading_of(reading)->unRef(reading);
  }
  return 1;
}
// end load

// begin main
int main(int count, char **words) {
  ztFile *file = ztFile_new();
  if (file == NULL) return 1;
  const int done = count > 1 && strcmp(words[1], "store") == 0 ? store(file) : load(file);
  ztFile_of(file)->unRef(file); /* closes the file */
  return done ? 0 : 1;
}
// end main
