// An object of Qt's with one property, "level".
#ifndef ZT_BENCH_OBJECTS_QTGAUGE_HH
#define ZT_BENCH_OBJECTS_QTGAUGE_HH

#ifdef ZT_BENCH_QT

#include <QObject>

class QtGauge : public QObject {
  Q_OBJECT
  Q_PROPERTY(int level READ level WRITE setLevel NOTIFY levelChanged)

 public:
  int level() const {
    return levelValue;
  }
  void setLevel(int level) {
    levelValue = level;
    Q_EMIT levelChanged(level);
  }
  void take(int level) {
    levelValue = level;
  }
 Q_SIGNALS:
  void levelChanged(int level);

 private:
  int levelValue = 0;
};

#endif

#endif
