#include "lamp.h"

#include "look.h"

#include <QtGui/QPainter>

namespace {

constexpr double Radius = 29, HaloRadius = 38;

} // namespace

Lamp::Lamp(QWidget *parent) : QWidget(parent)
{
    setFixedSize(92, 76); // As wide as a switch: what stands beside them is in line.
}

void Lamp::setOn(bool isNowOn)
{
    isOn = isNowOn;
    update();
}

void Lamp::setCurrent(bool isNowCurrent)
{
    isCurrent = isNowCurrent;
    update();
}

void Lamp::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPointF middle(38, 38);
    if (!isCurrent) { // Neither on nor off: an empty ring.
        QPen pen(look::Unknown, 2.5, Qt::SolidLine, Qt::FlatCap);
        pen.setDashPattern({3, 2.4});
        painter.setPen(pen);
        painter.drawEllipse(middle, Radius, Radius);
        return;
    }
    if (isOn) {
        QRadialGradient halo(middle, HaloRadius);
        QColor rim = look::Running;
        rim.setAlpha(60);
        halo.setColorAt(0.7, rim);
        rim.setAlpha(0);
        halo.setColorAt(1, rim);
        painter.setPen(Qt::NoPen);
        painter.setBrush(halo);
        painter.drawEllipse(middle, HaloRadius, HaloRadius);
    }
    QRadialGradient glass(middle, 42, middle - QPointF(9, 11));
    glass.setColorAt(0, isOn ? look::Running.lighter(125) : look::Card);
    glass.setColorAt(0.6, isOn ? look::Running : look::Track);
    painter.setPen(QPen(isOn ? look::Running.darker(112) : look::Tick, 2));
    painter.setBrush(glass);
    painter.drawEllipse(middle, Radius, Radius);
}
