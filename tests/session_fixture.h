/// A session with the built library whose trace is at hand as text. Its clock goes on a millisecond with every look.
#pragma once

#include "host/session.h"
#include "tests/bytes_text.h"

#include <QtCore/QTemporaryDir>

#include <memory>

/// maxBlockLen 32, one PLC at station 1, this panel 1, one repeat, channel 7, writes reach the PLC.
inline COMINFO sessionSettings()
{
    COMINFO settings;
    settings.maxBlockLen = 32;
    settings.plcStation = 1;
    settings.ownStation = 1;
    settings.retryLimit = 1;
    settings.writeMode = 2;
    settings.channelNo = 7;
    return settings;
}

inline VARDESC described(int devType, const char *address, int count, const char *name = "", int station = 1)
{
    VARDESC description;
    description.devType = static_cast<unsigned char>(devType);
    description.station = static_cast<unsigned char>(station);
    description.addrText = QLatin1String(address);
    description.nameText = QLatin1String(name);
    description.count = count;
    return description;
}

class TracedSession {
public:
    TracedSession(const Plugin &plugin, const COMINFO &settings)
    {
        QString error;
        fileName = folder.filePath(QStringLiteral("trace"));
        if (writer.open(fileName, &error))
            session.reset(new Session(plugin, settings, &writer, [this] { return moment += 1000; }));
        else
            qFatal("%s", qPrintable(error));
    }

    Session *operator->() { return session.get(); }

    /// The next frame in hex; empty when there is none.
    QString nextFrame()
    {
        const Protocol *const request = session->next();
        return request != nullptr ? toHex(request->frame.left(request->frameLen)) : QString();
    }
    /// A request, and its answer in spaced hex without the CRC; "" for none. Returns the result code, -1 without a
    /// request.
    int exchange(const char *reply)
    {
        return session->next() == nullptr ? -1 : session->answer(*reply == 0 ? QByteArray() : withCrc(reply));
    }

    /// Ends the session. What was traced.
    QByteArray finish()
    {
        session.reset();
        QFile file(fileName);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    /// The same without heading and moments.
    QStringList finishLines()
    {
        QStringList lines = QString::fromLatin1(finish()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        lines.removeFirst();
        for (QString &line : lines)
            line = line.section(QLatin1Char(' '), 1);
        return lines;
    }

private:
    QTemporaryDir folder;
    QString fileName;
    TraceWriter writer;
    qint64 moment = 0;
    std::unique_ptr<Session> session;
};
