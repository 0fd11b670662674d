#include <zentova.h>

#include <assert.h>
#include <stdio.h>
#include <string.h>

#define Meter_FIELDS \
  ztBaseClass_FIELDS \
  int32_t level, limit;
#define Meter_METHODS ztBaseClass_METHODS
ZT_DECLARE_CLASS(Meter)

static int32_t meterWrite(const void *object, void *file) {
  const Meter *meter = object;
  return ztBaseClass_table()->write(meter, file) && ztFile_of(file)->writeInt(file, meter->level) &&
         ztFile_of(file)->writeInt(file, meter->limit);
}

static int32_t meterRead(void *object, void *file) {
  Meter *meter = object;
  return ztBaseClass_table()->read(meter, file) && ztFile_of(file)->readInt(file, &meter->level) &&
         ztFile_of(file)->readInt(file, &meter->limit);
}

static void meterMethods(MeterMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, write, meterWrite);
  ZT_OVERRIDE_METHOD(methods, read, meterRead);
}

// begin version
ZT_DEFINE_CLASS_FULL(Meter, ztBaseClass, meterMethods, 2, ztClassFunctions, ztOOP_noFunctions)

/* Version 1 stored the level only. */
static int32_t meterReadVersion1(void *object, void *file, uint32_t version) {
  Meter *meter = object;
  (void)version;
  meter->limit = 100;
  return ztBaseClass_table()->read(meter, file) && ztFile_of(file)->readInt(file, &meter->level);
}
// end version

static ztFile *openFile(const char *path) {
  ztFile *file = ztFile_new();
  assert(ztFile_of(file)->open(file, path, "w+b"));
  return file;
}

/* As the first version of the class wrote it. */
static void writeVersion1(ztFile *file) {
  char name[100] = "Meter";
  ztFile_of(file)->writeBuf(file, sizeof name, name);
  ztFile_of(file)->writeInt(file, 1);
  ztFile_of(file)->writeInt(file, 42);
  ztFile_of(file)->goToBegin(file);
}

static void readVersion1(void) {
  ztFile *file = openFile("meter.bin");
  writeVersion1(file);
  // begin reader
  ZT_REGISTER_CLASS(Meter);
  ztOOP_setReader(MeterClass_Instance(), 1, meterReadVersion1);
  Meter *meter = Meter_cast(ztOOP_readObject(file)); /* a record of either version */
  assert(meter->level == 42 && meter->limit == 100);
  // end reader
  Meter_of(meter)->unRef(meter);
  ztFile_of(file)->unRef(file);
}

static void storeAndRead(void) {
  Meter *meter = Meter_new();
  meter->level = 7;
  meter->limit = 8;
  ztFile *file = openFile("meter.bin");
  // begin store
  ztBaseClass_functions()->classWrite(NULL, meter, file); /* which class it is */
  Meter_of(meter)->write(meter, file);                    /* and its data */
  ztFile_of(file)->goToBegin(file);
  Meter *copy = Meter_cast(ztOOP_readObject(file));
  assert(copy->level == 7 && copy->limit == 8);
  // end store
  // begin flush
  assert(ztFile_of(file)->flush(file) == 0); /* all of it was written */
  // end flush
  Meter_of(copy)->unRef(copy);
  Meter_of(meter)->unRef(meter);
  ztFile_of(file)->unRef(file);
}

static void strings(void) {
  ztFile *file = openFile("names.bin");
  // begin strings
  ztString *name = ztString_new();
  const char *const names[] = {"Intake", "Outlet"};
  for (int i = 0; i < 2; ++i) {
    ztString_of(name)->set(name, names[i]);
    assert(ztString_store(name, file));
  }
  ztFile_of(file)->goToBegin(file);
  while (ztString_load(name, file)) puts(ztString_of(name)->get(name));
  // end strings
  ztString_of(name)->unRef(name);
  ztFile_of(file)->unRef(file);
}

static void container(void) {
  ztFile *file = openFile("levels.bin");
  // begin container
  ztIntArray *levels = ztIntArray_new(), *read = ztIntArray_new();
  for (int32_t i = 0; i < 3; ++i) ztIntArray_of(levels)->pushBack(levels, &i);
  assert(ztIntArray_of(levels)->write(levels, file)); /* the count and the elements */
  ztFile_of(file)->goToBegin(file);
  assert(ztIntArray_of(read)->read(read, file) && ztIntArray_of(read)->getSize(read) == 3);
  // end container
  ztIntArray_of(read)->unRef(read);
  ztIntArray_of(levels)->unRef(levels);
  ztFile_of(file)->unRef(file);
}

static void lines(void) {
  ztTextFile *file = ztTextFile_new();
  assert(ztTextFile_of(file)->open(file, "lines.txt", "w+"));
  ztTextFile_of(file)->writeString(file, "Intake");
  ztTextFile_of(file)->writeString(file, "Outlet");
  ztTextFile_of(file)->goToBegin(file);
  // begin lines
  char line[80];
  int count = 0;
  while (ztTextFile_of(file)->readString(file, sizeof line, line) != 0) { /* with its line feed */
    line[strcspn(line, "\n")] = '\0';
    printf("%d: %s\n", ++count, line);
  }
  // end lines
  assert(count == 2);
  ztTextFile_of(file)->unRef(file);
}

int main(void) {
  readVersion1();
  storeAndRead();
  strings();
  container();
  lines();
  return 0;
}
