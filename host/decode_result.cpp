// resultText
#include "host/decode.h"

namespace {

enum { Connections = 12 };

/// The first code of a block, that of connection 0; the other connections' follow.
struct ResultBlock {
    int first;
    const char *text;
};

const ResultBlock Blocks[] = {
    {11, "reply refused, its CRC is wrong"},         {41, "no reply"},         {71, "reply of a wrong length"},
    {111, "remote reply refused, its CRC is wrong"}, {141, "no remote reply"}, {171, "remote reply of a wrong length"},
};

} // namespace

QString resultText(int code, bool isSilent)
{
    for (const ResultBlock &block : Blocks) {
        if (code < block.first || code >= block.first + Connections)
            continue;
        const int connection = code - block.first;
        // Every connection beyond the block shares its first code.
        return QString::fromLatin1("%1, given up (%2, connection %3%4)")
            .arg(QLatin1String(block.text))
            .arg(code)
            .arg(connection)
            .arg(connection == 0 ? QLatin1String(" or above 11") : QLatin1String());
    }
    switch (code) {
    case 0:
        return (isSilent ? QStringLiteral("no") : QStringLiteral("bad"))
               + QStringLiteral(" reply, the frame will be sent again (0)");
    case 1:
        return QStringLiteral("good (1)");
    case 100:
        return QStringLiteral("good remote reply, not stored or not the last (100)");
    }
    return QString::fromLatin1("unknown result (%1)").arg(code);
}
