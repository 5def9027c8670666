/// Colours and type of the screen: one accent, and grey for all that is not known.
#pragma once

#include <QtGui/QColor>
#include <QtGui/QFont>

namespace look {

const QColor Background(0xEF, 0xF2, 0xF5);
const QColor Card(0xFF, 0xFF, 0xFF);
const QColor CardEdge(0xDF, 0xE4, 0xEA);
const QColor Text(0x1D, 0x29, 0x33);
const QColor QuietText(0x66, 0x73, 0x80);
const QColor FaintText(0x9A, 0xA5, 0xB1);
const QColor Track(0xE4, 0xE9, 0xEE);
const QColor Tick(0xB7, 0xC1, 0xCB);
const QColor Accent(0x13, 0x7F, 0x8E);
const QColor Running(0x2E, 0x9E, 0x5B);
const QColor Alarm(0xC2, 0x41, 0x3A);
const QColor Unknown(0xB4, 0xBD, 0xC6); ///< In place of every colour while the PLC does not answer.

inline QFont font(int pixelSize, QFont::Weight weight = QFont::Normal)
{
    QFont result(QStringLiteral("Inter"));
    result.setStyleHint(QFont::SansSerif); // Where there is no Inter.
    result.setPixelSize(pixelSize);
    result.setWeight(weight);
    return result;
}

} // namespace look
