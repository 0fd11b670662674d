#include "warden.h"

#include <stdio.h>

static int32_t wardenCreate(void *object) {
  ((Warden *)object)->alarms = 0;
  return ztBaseView_table()->create(object);
}

/* A slot with one argument, a double. It changes the model, of which the other views hear at once. */
static void wardenAlarm(void *object, double temperature) {
  Warden *warden = object;
  ++warden->alarms;
  printf("warden %.1f C is too hot: burner off\n", temperature);
  void *boiler = Warden_of(warden)->getSender(warden);
  Boiler_of(boiler)->setProperty(boiler, "burning", "ztBool", 0);
}

static int32_t wardenWatch(void *object, void *boiler) {
  const ztSlotFunction alarm = {.number1 = wardenAlarm};
  Boiler *model = boiler;
  return Boiler_of(model)->connect(model->klass, model, "overheated", object, "alarm", alarm, 1);
}

static void wardenMethods(WardenMethods *methods) {
  ZT_OVERRIDE_METHOD(methods, create, wardenCreate);
  ZT_OVERRIDE_METHOD(methods, watch, wardenWatch);
}

ZT_DEFINE_CLASS(Warden, ztBaseView, wardenMethods)
