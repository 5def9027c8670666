#include "host/counters.h"

namespace {

// Up to Exact a bucket a microsecond; above, 16 buckets each time the value doubles.
enum { Exact = 32, StepsADoubling = 16, FirstPower = 5 };

int powerOf(qint64 value)
{
    return 63 - __builtin_clzll(quint64(value));
}

int bucketOf(qint64 value)
{
    if (value < Exact)
        return int(value);
    const int power = powerOf(value);
    return Exact + (power - FirstPower) * StepsADoubling + int(value >> (power - 4) & (StepsADoubling - 1));
}

/// The largest value of a bucket.
qint64 bucketEnd(int bucket)
{
    if (bucket < Exact)
        return bucket;
    const int power = (bucket - Exact) / StepsADoubling + FirstPower;
    const qint64 step = (bucket - Exact) % StepsADoubling + 1;
    // The first term may be the largest there is.
    return (qint64(1) << power) - 1 + (step << (power - 4));
}

} // namespace

void TimeStatistics::add(qint64 microseconds)
{
    const qint64 value = qMax(qint64(0), microseconds);
    const int bucket = bucketOf(value);
    if (bucket >= buckets.size())
        buckets.resize(bucket + 1);
    ++buckets[bucket];
    least = samples ? qMin(least, value) : value;
    most = qMax(most, value);
    sum += double(value);
    ++samples;
}

qint64 TimeStatistics::percentile(double share) const
{
    qint64 seen = 0;
    for (int bucket = 0; bucket < buckets.size(); ++bucket) {
        seen += buckets.at(bucket);
        if (seen > 0 && double(seen) >= share * double(samples))
            return qMin(bucketEnd(bucket), most);
    }
    return most;
}

QJsonObject TimeStatistics::toJson() const
{
    return {{QStringLiteral("count"), samples},
            {QStringLiteral("min_us"), minimum()},
            {QStringLiteral("mean_us"), mean()},
            {QStringLiteral("p99_us"), percentile(0.99)},
            {QStringLiteral("max_us"), maximum()}};
}

void Counters::count(const Transaction &transaction, int sent, bool isRetry)
{
    // Without a port nothing is sent.
    requests += sent > 0;
    retries += isRetry && sent > 0;
    bytesSent += sent;
    bytesReceived += transaction.bytesReceived;
    switch (transaction.outcome) {
    case Outcome::Good:
    case Outcome::NoReplyExpected:
        ++good;
        break;
    case Outcome::Timeout:
        ++timeouts;
        break;
    case Outcome::BadCrc:
        ++crc;
        break;
    case Outcome::WrongLength:
        ++length;
        break;
    case Outcome::Exception:
        ++exceptions;
        ++exceptionCodes[transaction.exceptionCode];
        break;
    case Outcome::PortGone:
        ++port;
        break;
    }
    for (const Discarded &discarded : transaction.discarded) {
        discardedFrames += discarded.reason == Discarded::Foreign;
        // The echo of one's own request is expected where it is removed.
        if (discarded.reason != Discarded::Echo)
            discardedBytes += discarded.bytes.size();
    }
    if (transaction.replyTime >= 0)
        replyTime.add(transaction.replyTime);
}

QJsonObject Counters::toJson() const
{
    QJsonObject codes;
    for (auto code = exceptionCodes.begin(); code != exceptionCodes.end(); ++code)
        codes.insert(exceptionText(code.key()), code.value());
    return {{QStringLiteral("requests"), requests},
            {QStringLiteral("retries"), retries},
            {QStringLiteral("good"), good},
            {QStringLiteral("timeouts"), timeouts},
            {QStringLiteral("crc"), crc},
            {QStringLiteral("length"), length},
            {QStringLiteral("exceptions"), exceptions},
            {QStringLiteral("exception_codes"), codes},
            {QStringLiteral("port"), port},
            {QStringLiteral("failed"), failed},
            {QStringLiteral("discarded_frames"), discardedFrames},
            {QStringLiteral("discarded_bytes"), discardedBytes},
            {QStringLiteral("bytes_sent"), bytesSent},
            {QStringLiteral("bytes_received"), bytesReceived},
            {QStringLiteral("reply_time"), replyTime.toJson()}};
}

QJsonObject PanelCounters::toJson() const
{
    QJsonObject ofStations;
    for (auto station = stations.begin(); station != stations.end(); ++station)
        ofStations.insert(QString::number(station.key()), station.value().toJson());
    return {{QStringLiteral("all"), all.toJson()},
            {QStringLiteral("lists"), QJsonObject{{QStringLiteral("cyclic"), lists[ServedCyclic].toJson()},
                                                  {QStringLiteral("write"), lists[ServedWrite].toJson()},
                                                  {QStringLiteral("once"), lists[ServedOnce].toJson()}}},
            {QStringLiteral("stations"), ofStations},
            {QStringLiteral("pass_time"), passTime.toJson()},
            {QStringLiteral("queues"), QJsonObject{{QStringLiteral("read"), readLength},
                                                   {QStringLiteral("write"), writeLength},
                                                   {QStringLiteral("write_most"), writeMost},
                                                   {QStringLiteral("once"), onceLength},
                                                   {QStringLiteral("once_most"), onceMost}}},
            {QStringLiteral("reopened"), reopened}};
}
