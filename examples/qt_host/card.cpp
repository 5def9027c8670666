#include "card.h"

#include "look.h"

#include <QtGui/QPainter>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

Card::Card(const QString &caption, const QString &address) : column(new QVBoxLayout(this))
{
    column->setContentsMargins(22, 18, 22, 20);
    const auto top = new QHBoxLayout;
    const auto captionLabel = makeLabel(caption, look::font(17, QFont::Medium), look::Text);
    captionLabel->setFixedHeight(22); // Whatever the font: what stands below has its place.
    top->addWidget(captionLabel);
    top->addStretch();
    top->addWidget(makeLabel(address, look::font(13), look::FaintText));
    column->addLayout(top);
}

void Card::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(look::CardEdge, 1));
    painter.setBrush(look::Card);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 14, 14);
}

QLabel *makeLabel(const QString &text, const QFont &font, const QColor &colour)
{
    const auto label = new QLabel(text);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}
