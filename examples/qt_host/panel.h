/// The screen: a gauge, a lamp and a switch, and whether what they show is what the PLC has.
#pragma once

#include "plc_link.h"

#include <QtWidgets/QWidget>

class Gauge;
class Lamp;
class QLabel;
class Toggle;

class Panel : public QWidget {
    Q_OBJECT

public:
    explicit Panel(const QString &portPath);

public slots:
    void showValue(int tag, int value);
    void showState(PlcLink::State state);

signals:
    void writeAsked(int tag, int value);

protected:
    void paintEvent(QPaintEvent *) override;

private:
    QLayout *header(const QString &portPath);
    QLayout *cards();

    Gauge *level;
    Lamp *pump;
    QLabel *pumpText;
    Toggle *valve;
    QLabel *valveText;
    QLabel *stateText;
    bool hasValues = false;
};
