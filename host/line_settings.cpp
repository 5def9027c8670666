#include "host/settings.h"

QString LineSettings::text() const
{
    const char letter = parity == Parity::None ? 'N' : parity == Parity::Even ? 'E' : 'O';
    return QString::fromLatin1("%1 baud 8%2%3").arg(baud).arg(QLatin1Char(letter)).arg(stopBits);
}

int LineSettings::characterBits() const
{
    return 1 + 8 + (parity != Parity::None) + stopBits;
}

qint64 LineSettings::charactersTime(qint64 characters) const
{
    return baud > 0 ? characters * characterBits() * 1000000 / baud : 0;
}

qint64 LineSettings::silentInterval() const
{
    if (silence >= 0)
        return silence;
    return baud > 19200 ? 1750 : charactersTime(7) / 2;
}
