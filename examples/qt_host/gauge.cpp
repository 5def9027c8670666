#include "gauge.h"

#include "look.h"

#include <QtCore/QtMath>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

namespace {

// In units of the drawing, which is 400 wide and 320 high with the hub at (0, 0).
constexpr QRectF Drawing(-200, -196, 400, 320);
constexpr double ArcRadius = 152, ArcWidth = 14, TickEnd = 136, MajorTick = 12, MinorTick = 6, LabelRadius = 179;
constexpr double NeedleTip = 133, NeedleHalf = 5, Hub = 12;
// Degrees, counter-clockwise from three o'clock.
constexpr double FirstAngle = 210, Sweep = 240;

double angleOf(double value)
{
    return FirstAngle - Sweep * value / 100;
}

QPointF onCircle(double radius, double value)
{
    const double angle = qDegreesToRadians(angleOf(value));
    return QPointF(radius * qCos(angle), -radius * qSin(angle));
}

void drawArc(QPainter &painter, const QColor &colour, double value)
{
    const QRectF circle(-ArcRadius, -ArcRadius, 2 * ArcRadius, 2 * ArcRadius);
    painter.setPen(QPen(colour, ArcWidth, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(circle, qRound(FirstAngle * 16), qRound((angleOf(value) - FirstAngle) * 16));
}

} // namespace

Gauge::Gauge(const QString &unit, QWidget *parent) : QWidget(parent), unit(unit)
{
    needle.setDuration(350);
    needle.setEasingCurve(QEasingCurve::OutCubic);
    needle.setStartValue(0.0);
    needle.setEndValue(0.0);
    connect(&needle, &QVariantAnimation::valueChanged, this, [this] { update(); });
}

void Gauge::setValue(double value)
{
    if (hasValue && value == target)
        return;
    hasValue = true;
    target = value;
    needle.stop();
    needle.setStartValue(needle.currentValue());
    needle.setEndValue(qBound(0.0, value, 100.0));
    needle.start();
    update();
}

void Gauge::setCurrent(bool isNowCurrent)
{
    isCurrent = isNowCurrent;
    update();
}

void Gauge::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double scale = qMin(width() / Drawing.width(), height() / Drawing.height());
    painter.translate(rect().center());
    painter.scale(scale, scale);
    painter.translate(-Drawing.center());
    drawScale(painter);
    if (hasValue)
        drawNeedle(painter);
    drawReading(painter);
}

void Gauge::drawScale(QPainter &painter) const
{
    drawArc(painter, look::Track, 100);
    if (hasValue && needle.currentValue().toDouble() > 0)
        drawArc(painter, isCurrent ? look::Accent : look::Unknown, needle.currentValue().toDouble());
    painter.setFont(look::font(14));
    for (int value = 0; value <= 100; value += 5) {
        const bool isMajor = value % 20 == 0;
        painter.setPen(QPen(look::Tick, isMajor ? 2 : 1.2, Qt::SolidLine, Qt::FlatCap));
        painter.drawLine(onCircle(TickEnd, value), onCircle(TickEnd - (isMajor ? MajorTick : MinorTick), value));
        if (!isMajor)
            continue;
        painter.setPen(look::QuietText);
        QRectF box(0, 0, 48, 20);
        box.moveCenter(onCircle(LabelRadius, value));
        painter.drawText(box, Qt::AlignCenter, QString::number(value));
    }
}

void Gauge::drawNeedle(QPainter &painter) const
{
    const QColor colour = isCurrent ? look::Text : look::Unknown;
    painter.save();
    painter.rotate(-angleOf(needle.currentValue().toDouble()));
    QPainterPath path(QPointF(NeedleTip, 0));
    path.lineTo(0, -NeedleHalf);
    path.lineTo(0, NeedleHalf);
    path.closeSubpath();
    painter.setPen(QPen(colour, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(colour);
    painter.drawPath(path);
    painter.setPen(QPen(look::Card, 3));
    painter.drawEllipse(QPointF(), Hub, Hub);
    painter.restore();
}

void Gauge::drawReading(QPainter &painter) const
{
    const QString number = hasValue ? QString::number(target, 'f', 1) : QStringLiteral("–");
    const QFont numberFont = look::font(46, QFont::DemiBold);
    const QFont unitFont = look::font(20);
    const double numberWidth = QFontMetricsF(numberFont).horizontalAdvance(number);
    const double unitWidth = hasValue ? 6 + QFontMetricsF(unitFont).horizontalAdvance(unit) : 0;
    const double left = -(numberWidth + unitWidth) / 2;
    painter.setPen(isCurrent ? look::Text : look::FaintText);
    painter.setFont(numberFont);
    painter.drawText(QPointF(left, 90), number);
    if (!hasValue)
        return;
    painter.setPen(isCurrent ? look::QuietText : look::FaintText);
    painter.setFont(unitFont);
    painter.drawText(QPointF(left + numberWidth + 6, 90), unit);
}
