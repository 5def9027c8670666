#include "toggle.h"

#include "look.h"

#include <QtGui/QPainter>

Toggle::Toggle(QWidget *parent) : QAbstractButton(parent)
{
    setCheckable(true);
    setFocusPolicy(Qt::TabFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Toggle::sizeHint() const
{
    return QSize(92, 52);
}

void Toggle::nextCheckState()
{
    emit asked(!isChecked());
}

void Toggle::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track = QRectF(rect()).adjusted(2, 2, -2, -2);
    const double radius = track.height() / 2;
    const QColor off = isEnabled() ? look::Tick : look::Track;
    const QColor on = isEnabled() ? look::Accent : look::Unknown;
    if (hasFocus()) {
        QColor ring = look::Accent;
        ring.setAlpha(90);
        painter.setPen(QPen(ring, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), radius + 1, radius + 1);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? on : off);
    painter.drawRoundedRect(track.adjusted(1, 1, -1, -1), radius, radius);
    const double knob = radius - 5;
    const double x = isChecked() ? track.right() - radius : track.left() + radius;
    painter.setBrush(QColor(0, 0, 0, 28));
    painter.drawEllipse(QPointF(x, track.center().y() + 1.5), knob + 0.5, knob + 0.5);
    painter.setBrush(isDown() ? look::Background : look::Card);
    painter.drawEllipse(QPointF(x, track.center().y()), knob, knob);
}
