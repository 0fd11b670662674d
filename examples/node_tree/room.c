#include "room.h"

static int32_t roomCreate(void *object) {
  ((Room *)object)->area = 0;
  return ztRoot_table()->create(object);
}

static int32_t roomWrite(const void *object, void *file) {
  return ztRoot_table()->write(object, file) &&
         ztFile_of(file)->writeFloat(file, ((const Room *)object)->area) > 0;
}

static int32_t roomRead(void *object, void *file) {
  return ztRoot_table()->read(object, file) && ztFile_of(file)->readFloat(file, &((Room *)object)->area);
}

static void roomMethods(RoomMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, roomCreate);
  ZT_OVERRIDE_METHOD(methods, read, roomRead);
  ZT_OVERRIDE_METHOD(methods, write, roomWrite);
}

ZT_DEFINE_CLASS(Room, ztRoot, roomMethods)
