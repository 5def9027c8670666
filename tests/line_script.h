/// Line tests: a script of what comes, and what became of it, as text.
#pragma once

#include "host/line.h"

#include "tests/bytes_text.h"
#include "tests/scripted_channel.h"

/// 19200 baud 8E1: 2005 us of silence, 4583 us for 8 characters, 4010 us for 7.
inline LineSettings evenParity()
{
    LineSettings settings;
    settings.baud = 19200;
    settings.parity = Parity::Even;
    settings.replyTimeout = 100;
    settings.turnaround = 100;
    settings.lateWindow = 50;
    return settings;
}

inline unsigned short bitwiseCrc(unsigned char *buf, unsigned short len)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < len; ++i) {
        crc ^= buf[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return static_cast<unsigned short>(crc);
}

/// Bytes at moments: "12000 01 03 02; 13000 12 34".
inline void play(ScriptedChannel &channel, const QString &script)
{
    for (const QString &burst : script.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString text = burst.trimmed();
        const int blank = text.indexOf(QLatin1Char(' '));
        channel.at(text.left(blank).toLongLong(), QByteArray::fromHex(text.mid(blank).toLatin1()));
    }
}

/// "13718 18874".
inline QString textOf(const QList<qint64> &moments)
{
    QStringList texts;
    for (const qint64 moment : moments)
        texts << QString::number(moment);
    return texts.join(QLatin1Char(' '));
}

/// "good sent 2005 done 14005 after 5412: 01 03 02 12 34 B5 33; noise 11000: FF".
inline QString textOf(const Transaction &transaction)
{
    static const char *const reasons[] = {"before", "echo", "noise", "foreign", "late"};
    QString text = QStringLiteral("%1 sent %2 done %3")
                       .arg(outcomeName(transaction.outcome))
                       .arg(transaction.sentAt)
                       .arg(transaction.doneAt);
    if (transaction.replyTime != -1)
        text += QStringLiteral(" after %1").arg(transaction.replyTime);
    if (transaction.exceptionCode != 0)
        text += QStringLiteral(" code %1").arg(transaction.exceptionCode);
    if (transaction.echoMissing)
        text += QStringLiteral(" no echo");
    text += QStringLiteral(": ") + (transaction.reply.isEmpty() ? QStringLiteral("-") : toHex(transaction.reply));
    for (const Discarded &discarded : transaction.discarded)
        text += QStringLiteral("; %1 %2: %3")
                    .arg(QLatin1String(reasons[discarded.reason]))
                    .arg(discarded.moment)
                    .arg(toHex(discarded.bytes));
    return text;
}
