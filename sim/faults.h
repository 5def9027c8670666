/// A seeded script of faults: which request is answered how wrongly, and a ledger of what was done.
#pragma once

#include "sim/slave.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <random>

enum class FaultKind {
    None,
    Drop,           ///< No reply.
    Delay,          ///< The whole reply later, still within the host's patience.
    Late,           ///< The whole reply after the host has given up.
    Duplicate,      ///< The reply twice, the second right behind the first.
    CrcSwapped,     ///< The two CRC bytes change places (and are made to differ).
    BitFlipped,     ///< One bit of the reply, chosen by the seed.
    Truncated,      ///< The reply ends early, after "at" bytes, or at a place chosen by the seed.
    ExtraBefore,    ///< Bytes chosen by the seed, right before the reply.
    ExtraAfter,     ///< Bytes chosen by the seed, right behind the reply.
    Noise,          ///< The reply, and some silence later bytes that nobody asked for.
    WrongStation,   ///< Another station's number, with a right CRC.
    WrongFunction,  ///< Another function, with a right CRC.
    WrongByteCount, ///< A read reply with another byte count and as many bytes, with a right CRC; a write reply with
                    ///< another address or value.
    Exception,      ///< An exception reply, code "code" or chosen by the seed.
    HalfThenNext,   ///< The first half of the reply; the second half comes right before the next reply.
    Joined,         ///< No reply; it comes right before the next one, joined to it.
    Echo,           ///< The request comes back before the reply.
    PortGone        ///< The port vanishes instead of a reply and is back after a while.
};
QString faultName(FaultKind kind); ///< "drop", "crc-swapped", ...
/// FaultKind::None when there is no fault of that name.
FaultKind faultByName(const QString &name);
QStringList faultNames();
/// What a fault does, in one line for a person.
QString faultMeaning(FaultKind kind);

/// One rule of a script. Requests are counted from 0 over all stations of the line, answered ones only.
struct FaultRule {
    FaultKind kind = FaultKind::None;
    qint64 first = 0;     ///< First request that it may hit,
    qint64 last = -1;     ///< and the last; -1 = no end.
    int station = -1;     ///< Only requests to this station; -1 = all.
    double rate = 1;      ///< Share of the requests that it hits, by the seed.
    int at = -1;          ///< Truncated: bytes that are left; -1 = chosen by the seed.
    int code = -1;        ///< Exception: its code; -1 = chosen by the seed.
    int milliseconds = 0; ///< Delay, Late, PortGone: how long; Noise: how long after the reply; 0 = the kind's own.

    /// Reads "KIND[,key=value...]", "truncated,first=10,last=20,station=3,rate=0.1,at=4"; the key of milliseconds is
    /// "ms". False, with what was expected, when it is no rule.
    static bool parse(const QString &text, FaultRule *rule, QString *error);
};
/// How long a fault of this kind takes when its rule does not say: delay 20, late 350, noise 20, port-gone 1000;
/// 0 for kinds without a time.
int ownMilliseconds(FaultKind kind);

/// One thing that was done, in the order of doing.
struct FaultDone {
    qint64 request; ///< Number of the request.
    FaultKind kind;
    int station;
    int function;
    int bytes; ///< All that went onto the line for this request, with what had been held back before it.
};

/// A piece of output: bytes, and how long after the moment at which the reply is due they start; for a second piece,
/// how long after the end of the one before.
struct Output {
    qint64 afterMicroseconds = 0;
    QByteArray bytes;
    bool isEcho = false; ///< Reaches the host together with the request's last byte, long before the reply is due.
};

class Faults {
public:
    explicit Faults(quint32 seed = 1) : random(seed) {}

    void add(const FaultRule &rule) { rules.append(rule); }
    void clear() { rules.clear(); }
    /// The stations that live on this line: none of them is ever a wrong station.
    void setOwnStations(const QList<int> &stations) { ownStations = stations; }

    /// What goes onto the line for an answer, in place of its reply. The first rule that hits decides; one that could
    /// not change this reply does not hit it (truncated beyond its end, a byte count in an exception reply, the
    /// exception that it is already, joined while another reply is held back). What was held back waits through a drop.
    QVector<Output> outputFor(const SlaveAnswer &answer);
    /// How long the port is gone, by the answer just given to outputFor; 0 = it stays.
    int portGoneMilliseconds() const { return goneMilliseconds; }

    const QVector<FaultDone> &ledger() const { return done; }
    /// The same, and forgets it, so that a long run's ledger does not grow.
    QVector<FaultDone> takeLedger();
    qint64 requests() const { return counted; }

private:
    const FaultRule *ruleFor(const SlaveAnswer &answer);
    bool hits(const FaultRule &rule, const SlaveAnswer &answer);
    QVector<Output> withFault(const FaultRule &rule, const SlaveAnswer &answer);
    QByteArray damaged(const FaultRule &rule, const SlaveAnswer &answer);
    QByteArray bitFlipped(QByteArray reply);
    QByteArray wrongStation(QByteArray reply);
    QByteArray wrongFunction(QByteArray reply);
    QByteArray wrongByteCount(QByteArray reply);
    QByteArray exception(const FaultRule &rule, const QByteArray &reply);
    int below(int limit);
    QByteArray someBytes(int count);
    QByteArray takeHeldBack();

    QVector<FaultRule> rules;
    std::mt19937 random;
    QList<int> ownStations;
    qint64 counted = 0;
    QByteArray heldBack; ///< Half of a reply, or a whole one, that comes with the next.
    int goneMilliseconds = 0;
    QVector<FaultDone> done;
};
