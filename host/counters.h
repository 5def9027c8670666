/// What is counted on the line: per station, per list of the driver, and in all.
#pragma once

#include "driver/driver_object.h"
#include "host/line.h"

#include <QtCore/QJsonObject>
#include <QtCore/QMap>

#include <array>

/// Times in microseconds, in buckets that grow with the time: flat memory, a percentile within 1/16.
class TimeStatistics {
public:
    void add(qint64 microseconds);
    qint64 count() const { return samples; }
    qint64 minimum() const { return samples ? least : 0; }
    qint64 maximum() const { return most; }
    double mean() const { return samples ? sum / double(samples) : 0; }
    /// The time that a share of the samples does not exceed, 0.99 for the 99th percentile; 0 without samples.
    qint64 percentile(double share) const;
    QJsonObject toJson() const;

private:
    QVector<qint64> buckets;
    qint64 samples = 0, least = 0, most = 0;
    double sum = 0; ///< Years of microseconds, without an overflow.
};

struct Counters {
    qint64 requests = 0;        ///< Frames sent, repeats included.
    qint64 retries = 0;         ///< Frames among them that were sent again.
    qint64 good = 0;            ///< Right answers; a broadcast counts when it was sent.
    qint64 timeouts = 0;        ///< No answer, or none but discarded bytes.
    qint64 crc = 0;             ///< Answers with a wrong CRC.
    qint64 length = 0;          ///< Answers too short or too long.
    qint64 exceptions = 0;      ///< Exception replies.
    qint64 port = 0;            ///< Requests that the port did not take or lost.
    qint64 failed = 0;          ///< Requests that the driver gave up.
    qint64 discardedFrames = 0; ///< Bursts that were no answer to the request.
    qint64 discardedBytes = 0;  ///< All bytes that never reached the driver.
    qint64 bytesSent = 0;
    qint64 bytesReceived = 0;
    QMap<int, qint64> exceptionCodes;
    TimeStatistics replyTime;

    void count(const Transaction &transaction, int bytesSent, bool isRetry);
    QJsonObject toJson() const;
};

struct PanelCounters {
    Counters all;
    std::array<Counters, 3> lists; ///< By ServedList: cyclic, write, one-shot.
    QMap<int, Counters> stations;
    TimeStatistics passTime;
    int readLength = 0, writeLength = 0, onceLength = 0; ///< Queues as they stand now.
    int writeMost = 0, onceMost = 0;                     ///< And the longest they have been.
    qint64 reopened = 0;                                 ///< Times that the port came back.

    QJsonObject toJson() const;
};
