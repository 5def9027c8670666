/// What is measured besides transactions, for the clock and for the count of instructions alike.
#pragma once

#include "bench/driver_rig.h"

/// Variables of one word, each with an address of its own: over four areas, and either in order or thoroughly mixed.
QList<VARDESC> describe(int count, bool inOrder);

/// A burst of writes, each to a word of its own.
class Burst {
public:
    explicit Burst(int longest);

    /// The first calls of a burst; the queue is empty before.
    void run(DriverRig &rig, int calls);
    /// Lets the queue go, as its host would by answering.
    static void drain(DriverRig &rig);

private:
    const QString m_name;
    QByteArray m_value;
    QList<QString> m_addresses;
};
