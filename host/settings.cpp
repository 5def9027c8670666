#include "host/settings.h"

#include "host/problems.h"
#include "host/toml_table.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

namespace {

enum { LongestTime = 3600000, LargestFile = 1 << 20 };

const QVector<int> &baudRates()
{
    static const QVector<int> rates = {300,   600,   1200,   1800,   2400,   4800,   9600,   19200,
                                       38400, 57600, 115200, 230400, 460800, 500000, 576000, 921600};
    return rates;
}

QString baudRatesText()
{
    QStringList texts;
    for (int rate : baudRates())
        texts << QString::number(rate);
    return QLatin1String("one of ") + texts.join(QLatin1String(", "));
}

void readLine(const toml::table &root, LineSettings *line, Problems &problems)
{
    TomlTable table(root, "line", problems);
    table.readText("port", Need::Required, "the serial port, as \"/dev/ttyUSB0\"", &line->port);
    table.readInteger(
        "baud", Need::Required, baudRatesText(),
        [](qint64 value) { return value <= 921600 && baudRates().contains(int(value)); }, &line->baud);
    int parity = 0;
    table.readChoice("parity", Need::Required, {"none", "even", "odd"}, &parity);
    line->parity = Parity(parity);
    table.readInteger("stop_bits", Need::Required, 1, 2, &line->stopBits);
    table.readInteger("reply_timeout_ms", Need::Required, 1, LongestTime, &line->replyTimeout);
    table.readInteger("turnaround_ms", Need::Optional, 0, LongestTime, &line->turnaround);
    table.readInteger("late_window_ms", Need::Optional, 0, LongestTime, &line->lateWindow);
    table.readInteger("silence_us", Need::Optional, 0, LongestTime, &line->silence);
    table.readInteger("reopen_first_ms", Need::Optional, 1, LongestTime, &line->reopenFirst);
    table.readInteger("reopen_most_ms", Need::Optional, 1, LongestTime, &line->reopenMost);
    table.checkOrder("reopen_first_ms", line->reopenFirst, "reopen_most_ms", line->reopenMost);
    table.readBool("echo", Need::Optional, &line->hasEcho);
    table.readBool("guard", Need::Optional, &line->isGuarded);
    table.finish();
}

/// Which stations there are, and how they are told apart.
void readStations(TomlTable &table, PanelSettings *settings)
{
    int stations = 0;
    const bool isKnown = table.readChoice("stations", Need::Required, {"one", "several"}, &stations);
    settings->hasSeveral = stations == 1;
    if (isKnown && settings->hasSeveral)
        table.refuse("station", "nothing, as with stations = \"several\" each tag has a station of its own");
    else
        table.readInteger("station", isKnown ? Need::Required : Need::Optional, 1, 247, &settings->station);
}

void readDriver(const toml::table &root, const QString &fileName, PanelSettings *settings, Problems &problems)
{
    TomlTable table(root, "driver", problems);
    QString path;
    if (table.readText("path", Need::Optional, "the driver's file, as \"libemerson_ec_series.so\"", &path))
        settings->driverPath = QDir::cleanPath(QFileInfo(fileName).absoluteDir().absoluteFilePath(path));
    int format = 0;
    table.readChoice("format", Need::Optional, {"modbus", "remote"}, &format);
    settings->isRemote = format == 1;
    const int longest = PanelSettings::longestBlock(settings->isRemote, false);
    table.readInteger(
        "max_block_len", Need::Required, QStringLiteral("an even number from 2 to %1").arg(longest),
        [longest](qint64 value) { return value >= 2 && value <= longest && value % 2 == 0; }, &settings->maxBlockLen);
    table.readInteger("retries", Need::Required, 0, 100, &settings->retries);
    readStations(table, settings);
    table.readInteger("own_station", Need::Optional, 0, 255, &settings->ownStation);
    table.finish();
}

void readHandling(const toml::table &root, PanelSettings *settings, Problems &problems)
{
    TomlTable writes(root, "writes", problems);
    writes.readBool("confirm", Need::Optional, &settings->confirmWrites);
    writes.finish();

    TomlTable values(root, "values", problems);
    values.readInteger("stale_after_ms", Need::Optional, 1, LongestTime, &settings->staleAfter);
    values.finish();

    TomlTable stations(root, "stations", problems);
    stations.readInteger("off_after", Need::Optional, 0, 1000, &settings->offAfter);
    stations.readInteger("probe_first_ms", Need::Optional, 1, LongestTime, &settings->probeFirst);
    stations.readInteger("probe_most_ms", Need::Optional, 1, LongestTime, &settings->probeMost);
    stations.checkOrder("probe_first_ms", settings->probeFirst, "probe_most_ms", settings->probeMost);
    stations.finish();
}

} // namespace

COMINFO PanelSettings::comInfo() const
{
    COMINFO info;
    info.maxBlockLen = maxBlockLen;
    info.plcStation = station;
    info.retryLimit = retries;
    info.stationScope = hasSeveral ? 1 : 0;
    info.remoteMode = isRemote ? 1 : 0;
    info.ownStation = ownStation;
    info.writeMode = 2;
    return info;
}

PanelSettings parseSettings(const QByteArray &text, const QString &fileName, QStringList *problems)
{
    PanelSettings settings;
    Problems found(fileName);
    toml::table root;
    if (text.size() > LargestFile)
        found.add(0, QStringLiteral("size"), QStringLiteral("%1 bytes").arg(text.size()),
                  QStringLiteral("expected %1 at most").arg(int(LargestFile)));
    else if (parseToml(text, found, &root)) {
        readLine(root, &settings.line, found);
        readDriver(root, fileName, &settings, found);
        readHandling(root, &settings, found);
        refuseOtherTables(root, {"line", "driver", "writes", "values", "stations"}, found);
    }
    *problems << found.texts();
    return settings;
}

PanelSettings readSettings(const QString &fileName, QStringList *problems)
{
    QByteArray text;
    if (!readWhole(fileName, LargestFile, QStringLiteral("a file of settings"), &text, problems))
        return PanelSettings();
    return parseSettings(text, fileName, problems);
}
