// The settings file of a line.
#include "host/settings.h"
#include "proof/fuzz/check.h"
#include "proof/fuzz/text_input.h"

namespace {

const char Least[] = "[line]\nport = \"/dev/ttyUSB0\"\nbaud = 9600\nparity = \"even\"\nstop_bits = 1\n"
                     "reply_timeout_ms = 200\n[driver]\npath = \"lib.so\"\nmax_block_len = 32\nretries = 2\n";

void demandSound(const PanelSettings &settings)
{
    const LineSettings &line = settings.line;
    DEMAND(!line.port.isEmpty() && line.baud >= 300 && line.baud <= 921600);
    DEMAND(line.characterBits() >= 10 && line.characterBits() <= 12 && !line.text().isEmpty());
    DEMAND(line.silentInterval() >= 0 && line.charactersTime(300) > 0);
    DEMAND(line.replyTimeout > 0 && line.turnaround >= 0 && line.lateWindow >= 0);
    DEMAND(line.reopenFirst <= line.reopenMost && settings.probeFirst <= settings.probeMost);
    DEMAND(settings.driverPath.isEmpty() || settings.driverPath.startsWith(QLatin1Char('/')));
    DEMAND(settings.maxBlockLen >= 2 && settings.maxBlockLen % 2 == 0);
    DEMAND(settings.maxBlockLen <= PanelSettings::longestBlock(settings.isRemote, false));
    const COMINFO record = settings.comInfo();
    DEMAND(record.maxBlockLen == settings.maxBlockLen && record.writeMode == 2);
    DEMAND((record.stationScope != 0) == settings.hasSeveral && (record.remoteMode != 0) == settings.isRemote);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const TextInput input(data, size);
    // Half of the texts continue settings that lack a key.
    const QByteArray text = input.choice & 1 ? Least + input.text : input.text;
    QStringList problems;
    const PanelSettings settings = parseSettings(text, QStringLiteral("line.toml"), &problems);
    if (problems.isEmpty())
        demandSound(settings);
    for (const QString &problem : problems)
        DEMAND(problem.startsWith(QLatin1String("line.toml")) && !problem.contains(QLatin1Char('\n')));
    return 0;
}
