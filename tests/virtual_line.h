/// A line between the host's Channel and the simulated PLC's Wire, in a time that passes only while somebody waits.
#pragma once

#include "host/channel.h"
#include "sim/wire.h"

#include <functional>

class VirtualLine : public Channel {
public:
    explicit VirtualLine(Wire &wire) : wire(wire) {}

    bool open(QString *error) override;
    void close() override { opened = false; }
    bool isOpen() const override { return opened && !wire.isPortGone(); }
    qint64 now() override { return moment; }
    bool send(const QByteArray &bytes) override;
    QByteArray receiveUntil(qint64 until) override;
    void restUntil(qint64 until) override;
    void sleepUntil(qint64 until) override;

    /// The moments at which it was opened, in vain or not.
    const QList<qint64> &triedOpenings() const { return openings; }
    /// Called when time passes a moment set with callAt, once.
    void callAt(qint64 when, std::function<void()> what);

private:
    void passToNext(qint64 until);
    void passTo(qint64 until);

    Wire &wire;
    bool opened = false;
    qint64 moment = 0;
    QList<qint64> openings;
    QByteArray waiting; ///< Reached the host while it slept.
    QMap<qint64, std::function<void()>> calls;
};
