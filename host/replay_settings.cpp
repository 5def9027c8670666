// readTraceSettings
#include "host/replay_calls.h"

#include <iterator>
#include <limits>

namespace {

struct SettingWord {
    const char *name;
    int COMINFO::*word;
    int least, most;
};

const int LeastInt = std::numeric_limits<int>::min();
const int MostInt = std::numeric_limits<int>::max();
const SettingWord SettingWords[] = {
    {"maxBlockLen", &COMINFO::maxBlockLen, 0, 65535},
    {"plcStation", &COMINFO::plcStation, LeastInt, MostInt},
    {"retryLimit", &COMINFO::retryLimit, LeastInt, MostInt},
    {"stationScope", &COMINFO::stationScope, LeastInt, MostInt},
    {"remoteMode", &COMINFO::remoteMode, LeastInt, MostInt},
    {"ownStation", &COMINFO::ownStation, LeastInt, MostInt},
    {"writeMode", &COMINFO::writeMode, LeastInt, MostInt},
    {"channelNo", &COMINFO::channelNo, LeastInt, MostInt},
};

} // namespace

bool readTraceSettings(const TraceLine &line, COMINFO *settings, QString *expected)
{
    for (int i = 0; i < int(std::size(SettingWords)); ++i) {
        const SettingWord &setting = SettingWords[i];
        const QByteArray name = QByteArray(setting.name) + '=';
        const QByteArray field = line.fields.value(i);
        qint64 value = 0;
        if (!field.startsWith(name) || !trace::toNumber(field.mid(name.size()), &value) || value < setting.least
            || value > setting.most) {
            *expected = QString::fromLatin1("%1 and a number from %2 to %3")
                            .arg(QLatin1String(name))
                            .arg(setting.least)
                            .arg(setting.most);
            return false;
        }
        settings->*setting.word = int(value);
    }
    if (line.fields.size() > int(std::size(SettingWords)))
        *expected = QStringLiteral("no more settings");
    return line.fields.size() == int(std::size(SettingWords));
}
