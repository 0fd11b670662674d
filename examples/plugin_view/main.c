/*
 * Loads a plugin, and uses a class of it that this program has never seen: it lists what the class is, sets a
 * property, calls a method by its name, and connects to a signal.
 *
 * usage: plugin_view PLUGIN CLASS PROPERTY METHOD SIGNAL
 */
#include "zentova.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

/* The only kind of method that this program can call. */
typedef int32_t (*Method)(void *object, int32_t number);

static int isCallable(const ztMethodInfo *method) {
  char begin[80];
  snprintf(begin, sizeof begin, "int32_t (*%s)(void *", method->name);
  if (strncmp(method->declaration, begin, strlen(begin)) != 0) return 0;
  const char *second = strchr(method->declaration, ',');
  return second != NULL && strncmp(second, ", int32_t ", 10) == 0 && strchr(second + 1, ',') == NULL;
}

static void listMethods(const ztClassInfo *info) {
  puts("methods of its own:");
  for (int32_t i = 0; i < info->methodCount; ++i) {
    const ztMethodInfo *method = &info->methods[i];
    if (method->definedBy != info->klass || method->state != ztMethodDefined) continue;
    printf("  %2d %s%s\n", (int)method->slot, method->declaration,
           method->introducedBy == info->klass ? "" : ", overridden");
  }
}

static void listFields(const ztClassInfo *info) {
  puts("fields:");
  for (int32_t i = 0; i < info->fieldCount; ++i) {
    const ztFieldInfo *field = &info->fields[i];
    printf("  %2d %s %s, of %s\n", (int)field->offset, field->type, field->name, field->introducedBy->name);
  }
}

static void listProperties(const ztObjectInfo *info) {
  puts("properties:");
  for (int32_t i = 0; i < info->propertyCount; ++i) {
    const ztPropertyInfo *property = &info->properties[i];
    printf("  %s %s, of %s%s\n", property->type, property->name, property->declaredBy,
           property->isWritable ? "" : ", read only");
  }
}

static void listSignals(const ztObjectInfo *info) {
  puts("signals:");
  for (int32_t i = 0; i < info->signalCount; ++i) printf("  %s\n", info->signals[i].declaration);
}

static int describe(ztClass *klass) {
  ztClassInfo *info = ztOOP_classInfo(klass);
  ztObjectInfo *more = ztObject_classInfo(klass);
  if (info != NULL && more != NULL) {
    printf("%s, below %s, %d bytes\n", info->name, info->parent->name, (int)info->instanceSize);
    listMethods(info);
    listFields(info);
    listProperties(more);
    listSignals(more);
  }
  const int described = info != NULL && more != NULL;
  ztObject_freeClassInfo(more);
  ztOOP_freeClassInfo(info);
  return described;
}

/* The method of that name; NULL when there is none that can be called. */
static Method findMethod(const void *object, const char *name) {
  Method found = NULL;
  ztClassInfo *info = ztOOP_classInfo(ztOOP_classOf(object));
  for (int32_t i = 0; info != NULL && i < info->methodCount; ++i) {
    const ztMethodInfo *method = &info->methods[i];
    if (strcmp(method->name, name) == 0 && method->state == ztMethodDefined && isCallable(method))
      found = ((Method *)ztOOP_classOf(object)->methodTable)[method->slot];
  }
  ztOOP_freeClassInfo(info);
  return found;
}

static void showSignal(void *receiver, intptr_t value) {
  (void)receiver;
  printf("the signal says %d\n", (int)value);
}

static int use(void *object, const char *property, const char *method, const char *signal) {
  ztObject *listener = ztObject_new();
  int32_t value = 0;
  const Method raise = findMethod(object, method);
  const int used = listener != NULL && raise != NULL &&
                   ztObject_connect(object, signal, listener, (ztSlotFunction){.call1 = showSignal}, 1) &&
                   ztObject_setInt(object, property, 40) && ztObject_getInt(object, property, &value);
  if (used) {
    printf("%s is %d\n", property, (int)value);
    printf("%s gives %d\n", method, (int)raise(object, 2));
  }
  if (listener != NULL) ztObject_of(listener)->unRef(listener);
  return used;
}

int main(int count, char **words) {
  if (count != 6) {
    fprintf(stderr, "usage: %s PLUGIN CLASS PROPERTY METHOD SIGNAL\n", words[0]);
    return 2;
  }
  void *plugin = dlopen(words[1], RTLD_NOW);
  if (plugin == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  void *object = ztNewFromName(words[2]);
  const int used =
      object != NULL && describe(ztOOP_classOf(object)) && use(object, words[3], words[4], words[5]);
  if (object != NULL) ztBaseClass_of(object)->unRef(object);
  dlclose(plugin);
  return used ? 0 : 1;
}
