// What Qt takes for the same.
#include "bench/instructions/maps.hh"
#include "bench/objects/qtgauge.hh"

#include <QHash>
#include <QMap>
#include <QVariant>

#include <memory>

namespace {

// Objects -----------------------------------------------------------------------------------------

void object(int rounds) {
  for (int i = 0; i < rounds; ++i) use(std::make_unique<QObject>());
}

QMetaObject::Connection connect(const QtGauge &sender, const QtGauge &receiver) {
  return QObject::connect(&sender, &QtGauge::levelChanged, &receiver, &QtGauge::take);
}

void connectAndReleaseReceiver(int rounds) {
  const QtGauge sender;
  for (int i = 0; i < rounds; ++i) {
    const auto receiver = std::make_unique<QtGauge>();
    connect(sender, *receiver);
  }
}

void connectAndDisconnect(int rounds) {
  const QtGauge sender;
  const QtGauge receiver;
  for (int i = 0; i < rounds; ++i) QObject::disconnect(connect(sender, receiver));
}

template <int count>
void emitTo(int rounds) {
  QtGauge sender;
  const QtGauge receivers[count];
  for (const QtGauge &receiver : receivers) connect(sender, receiver);
  for (int i = 0; i < rounds; ++i) Q_EMIT sender.levelChanged(i);
}

void setProperty(int rounds) {
  QObject gauge;
  gauge.setProperty("extra", 0);
  for (int i = 0; i < rounds; ++i) gauge.setProperty("extra", i);
}

void getProperty(int rounds) {
  QObject gauge;
  gauge.setProperty("extra", 0);
  for (int i = 0; i < rounds; ++i) use(gauge.property("extra").toInt());
}

// Maps --------------------------------------------------------------------------------------------

struct Access {
  template <typename Container>
  static void put(Container &container, int number) {
    container.insert(number, number);
  }
  template <typename Container>
  static auto look(const Container &container, int number) {
    return container.constFind(number);
  }
};

using Peer = Maps<Access, QMap<int, int>, QHash<int, int>>;

const Operation operations[] = {
    {"object: new, release/QObject", object},
    {"connect, receiver released/QObject", connectAndReleaseReceiver},
    {"connect, disconnect/QObject", connectAndDisconnect},
    {"emit to 1 slot/QObject", emitTo<1>},
    {"emit to 10 slots/QObject", emitTo<10>},
    {"dynamic property: set/QObject", setProperty},
    {"dynamic property: get/QObject", getProperty},
    withEach("map of 1,000: push, free/QMap", Peer::mapPushAndFree),
    withEach("map of 1,000: find/QMap", Peer::mapFind),
    withEach("hash table of 1,000: insert, free/QHash", Peer::hashInsertAndFree),
    withEach("hash table of 1,000: find/QHash", Peer::hashFind),
};

}  // namespace

int main(int argc, char **argv) {
  // Otherwise a random number decides which keys share a bucket.
#if QT_VERSION >= QT_VERSION_CHECK(6, 2, 0)
  QHashSeed::setDeterministicGlobalSeed();
#else
  qSetGlobalQHashSeed(0);
#endif
  return runOperations(operations, argc, argv);
}
