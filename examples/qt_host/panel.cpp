#include "panel.h"

#include "card.h"
#include "gauge.h"
#include "lamp.h"
#include "look.h"
#include "tags.h"
#include "toggle.h"

#include <QtGui/QPainter>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

namespace {

struct StateLook {
    QString text;
    QColor dot;
};

StateLook lookOf(PlcLink::State state)
{
    switch (state) {
    case PlcLink::Waiting:
        break;
    case PlcLink::Good:
        return {QStringLiteral("Connected"), look::Running};
    case PlcLink::NoAnswer:
        return {QStringLiteral("No answer"), look::Alarm};
    case PlcLink::NoPort:
        return {QStringLiteral("No port"), look::Alarm};
    }
    return {QStringLiteral("Connecting"), look::Unknown};
}

void setTextColour(QLabel *label, const QColor &colour)
{
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
}

/// A card with a lamp or a switch, and its state in words beside it.
Card *stateCard(const QString &caption, TagName tag, QWidget *widget, QLabel *text)
{
    const auto card = new Card(caption, QLatin1String(Tags[tag].shownAddress));
    const auto row = new QHBoxLayout;
    row->setSpacing(20);
    row->addWidget(widget);
    row->addWidget(text, 1);
    card->content()->addStretch();
    card->content()->addLayout(row);
    card->content()->addStretch();
    return card;
}

} // namespace

Panel::Panel(const QString &portPath)
    : level(new Gauge(QStringLiteral("%"))), pump(new Lamp),
      pumpText(makeLabel(QStringLiteral("–"), look::font(24, QFont::DemiBold), look::Text)), valve(new Toggle),
      valveText(makeLabel(QStringLiteral("–"), look::font(24, QFont::DemiBold), look::Text)),
      stateText(makeLabel(QString(), look::font(16, QFont::Medium), look::Text))
{
    setWindowTitle(QStringLiteral("Tank 1"));
    resize(800, 480);
    const auto rows = new QVBoxLayout(this);
    rows->setContentsMargins(24, 18, 24, 24);
    rows->setSpacing(16);
    rows->addLayout(header(portPath));
    rows->addLayout(cards(), 1);
    connect(valve, &Toggle::asked, this, [this](bool on) { emit writeAsked(Valve, on); });
    showState(PlcLink::Waiting);
}

QLayout *Panel::header(const QString &portPath)
{
    const auto row = new QHBoxLayout;
    row->setSpacing(14);
    row->addWidget(makeLabel(windowTitle(), look::font(24, QFont::DemiBold), look::Text));
    row->addWidget(makeLabel(QStringLiteral("station 1 on ") + portPath, look::font(14), look::QuietText), 0,
                   Qt::AlignBottom);
    row->addStretch();
    row->addWidget(stateText);
    stateText->setFixedHeight(30); // Whatever the font.
    return row;
}

QLayout *Panel::cards()
{
    const auto levelCard = new Card(QStringLiteral("Level"), QLatin1String(Tags[Level].shownAddress));
    levelCard->content()->addWidget(level, 1);
    const auto right = new QVBoxLayout;
    right->setSpacing(16);
    right->addWidget(stateCard(QStringLiteral("Pump"), Pump, pump, pumpText), 1);
    right->addWidget(stateCard(QStringLiteral("Inlet valve"), Valve, valve, valveText), 1);
    const auto columns = new QHBoxLayout;
    columns->setSpacing(16);
    columns->addWidget(levelCard, 9);
    columns->addLayout(right, 5);
    return columns;
}

void Panel::showValue(int tag, int value)
{
    hasValues = true;
    switch (TagName(tag)) {
    case Level:
        level->setValue(value / 10.0);
        break;
    case Pump:
        pump->setOn(value != 0);
        pumpText->setText(value != 0 ? QStringLiteral("Running") : QStringLiteral("Stopped"));
        break;
    case Valve:
        valve->setChecked(value != 0);
        valveText->setText(value != 0 ? QStringLiteral("Open") : QStringLiteral("Closed"));
        break;
    case TagCount:
        break;
    }
}

void Panel::showState(PlcLink::State state)
{
    const bool isCurrent = state == PlcLink::Good;
    level->setCurrent(isCurrent);
    pump->setCurrent(isCurrent);
    valve->setEnabled(isCurrent);
    for (QLabel *const text : {pumpText, valveText})
        setTextColour(text, isCurrent ? look::Text : look::FaintText);
    const StateLook shown = lookOf(state);
    const QString remark = hasValues && !isCurrent ? QStringLiteral(", last values") : QString();
    stateText->setText(
        QStringLiteral("<span style=\"color: %1\">●</span>&nbsp; %2%3").arg(shown.dot.name(), shown.text, remark));
}

void Panel::paintEvent(QPaintEvent *)
{
    QPainter(this).fillRect(rect(), look::Background);
}
