#include "host/plan.h"

#include <QtCore/QJsonArray>

QString cutName(BlockCut cut)
{
    switch (cut) {
    case BlockCut::None:
        return QString();
    case BlockCut::Map:
        return QStringLiteral("map");
    case BlockCut::Length:
        return QStringLiteral("length");
    }
    return QString();
}

QJsonObject planJson(const Plan &plan, const PanelSettings &settings, const QList<Tag> &tags)
{
    QJsonArray blocks;
    for (const PlanBlock &block : plan.blocks) {
        QJsonArray names;
        for (const int tag : block.tags)
            names << tags.at(tag).name;
        blocks << QJsonObject{{"station", block.station},
                              {"code", block.code},
                              {"first", block.firstAddress},
                              {"last", block.lastAddress},
                              {"space", QLatin1String(block.isCoils ? "coils" : "registers")},
                              {"first_number", block.firstNumber},
                              {"last_number", block.lastNumber},
                              {"bytes", block.bytes},
                              {"useful_bytes", block.usefulBytes},
                              {"request_bytes", block.requestBytes},
                              {"reply_bytes", block.replyBytes},
                              {"cut", cutName(block.cut)},
                              {"tags", names}};
    }
    return QJsonObject{{"max_block_len", settings.maxBlockLen},
                       {"line", settings.line.text()},
                       {"answer_ms", plan.answerMilliseconds},
                       {"requests", plan.blocks.size()},
                       {"bytes", plan.bytes()},
                       {"useful_bytes", plan.usefulBytes()},
                       {"line_bytes", plan.lineBytes()},
                       {"cuts", plan.cuts()},
                       {"pass_ms", plan.passMilliseconds(settings.line)},
                       {"blocks", blocks}};
}
