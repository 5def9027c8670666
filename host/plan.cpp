#include "host/plan.h"

#include "host/block_map.h"
#include "host/session.h"

#include <QtCore/QBitArray>

#include <algorithm>
#include <numeric>

namespace {

enum {
    BitCodes = 7,
    SpecialCode = 13,
    ReadCoils = 1,
    ReadRegisters = 3,
    ReplyHead = 3,
    ResultGood = 1,
};

int bytesOfCell(int code)
{
    return code == SpecialCode ? 4 : 2;
}

// A block of bits may reach past the end of its area: the last piece goes on.
int numberOf(const DeviceType &type, int element)
{
    const AreaPiece *found = &type.pieces.first();
    for (const AreaPiece &piece : type.pieces)
        if (piece.first <= element)
            found = &piece;
    return found->number + (element - found->first) * (type.kind == ElementKind::Special ? 2 : 1);
}

// Of bits, a byte counts as useful as soon as one of its eight is wanted: fewer are never read.
int usefulBytesOf(const CellRange &range, const QVector<CellRange> &wanted)
{
    const int cellsOfUnit = range.base < BitCodes ? 8 : 1;
    QBitArray units((range.last - range.first) / cellsOfUnit + 1);
    for (const CellRange &cells : wanted) {
        if (!cells.overlaps(range))
            continue;
        const int first = qMax(cells.first, range.first), last = qMin(cells.last, range.last);
        units.fill(true, (first - range.first) / cellsOfUnit, (last - range.first) / cellsOfUnit + 1);
    }
    return units.count(true) * (range.base < BitCodes ? 1 : bytesOfCell(range.base));
}

BlockCut cutOf(const BlockMap &map, int block, const DeviceType &type)
{
    const CellRange &range = map.range(block);
    for (int other = 0; other < map.blocks(); ++other) {
        const CellRange &next = map.range(other);
        if (next.station != range.station || next.base != range.base || next.first != range.last + 1)
            continue;
        const int step = type.kind == ElementKind::Special ? 2 : 1;
        return numberOf(type, next.first) == numberOf(type, range.last) + step ? BlockCut::Length : BlockCut::Map;
    }
    return BlockCut::None;
}

PlanBlock describeBlock(const BlockMap &map, int index, const QList<Tag> &tags)
{
    const CellRange &range = map.range(index);
    const DeviceType *type = findDeviceType(range.base);
    PlanBlock block;
    block.station = range.station;
    block.code = range.base;
    if (!type)
        return block;
    block.isCoils = type->kind == ElementKind::Bit;
    block.firstAddress = addressText(*type, range.first);
    block.lastAddress = addressText(*type, range.last);
    block.firstNumber = numberOf(*type, range.first);
    block.lastNumber = numberOf(*type, range.last) + (type->kind == ElementKind::Special ? 1 : 0);
    const int cells = range.last - range.first + 1;
    block.bytes = block.isCoils ? cells / 8 : cells * bytesOfCell(range.base);
    block.tags = map.tagsOfBlock(index);
    QVector<CellRange> wanted;
    for (const int tag : qAsConst(block.tags))
        wanted << cellsOfTag(tags.at(tag));
    block.usefulBytes = usefulBytesOf(range, wanted);
    block.cut = cutOf(map, index, *type);
    return block;
}

QByteArray madeUpReply(const Protocol &request, const Plugin &plugin)
{
    if (request.replyLen < ReplyHead + 2)
        return QByteArray();
    QByteArray reply(request.replyLen, '\0');
    reply[0] = char(request.var.station);
    reply[1] = char(request.var.devType < BitCodes ? ReadCoils : ReadRegisters);
    reply[2] = char(request.replyLen - ReplyHead - 2);
    const int length = reply.size() - 2;
    const unsigned short crc =
        plugin.calCrc(reinterpret_cast<unsigned char *>(reply.data()), static_cast<unsigned short>(length));
    reply[length] = char(crc & 0xFF);
    reply[length + 1] = char(crc >> 8);
    return reply;
}

/// Has every block of the list read once; the lengths are those of the driver's own frames.
QString cycleOnce(Session &session, QVector<PlanBlock> &blocks)
{
    for (int i = 0; i < blocks.size(); ++i) {
        const Protocol *request = session.next();
        if (!request)
            return QString::fromLatin1("the driver made no request of block %1: expected one a block").arg(i + 1);
        blocks[i].requestBytes = request->frameLen;
        blocks[i].replyBytes = request->replyLen;
        const int result = session.answer(madeUpReply(*request, session.driver()));
        if (result != ResultGood)
            return QString::fromLatin1("the driver took the reply to block %1 with result %2: expected %3")
                .arg(i + 1)
                .arg(result)
                .arg(int(ResultGood));
    }
    return QString();
}

int sumOf(const QVector<PlanBlock> &blocks, int PlanBlock::*field)
{
    return std::accumulate(blocks.begin(), blocks.end(), 0,
                           [field](int sum, const PlanBlock &block) { return sum + block.*field; });
}

} // namespace

int Plan::bytes() const
{
    return sumOf(blocks, &PlanBlock::bytes);
}

int Plan::usefulBytes() const
{
    return sumOf(blocks, &PlanBlock::usefulBytes);
}

int Plan::lineBytes() const
{
    return sumOf(blocks, &PlanBlock::requestBytes) + sumOf(blocks, &PlanBlock::replyBytes);
}

int Plan::cuts() const
{
    return int(std::count_if(blocks.begin(), blocks.end(),
                             [](const PlanBlock &block) { return block.cut != BlockCut::None; }));
}

double Plan::passMilliseconds(const LineSettings &line) const
{
    // The silence setting is the host's; the PLC keeps to its baud rate.
    LineSettings ofPlc = line;
    ofPlc.silence = -1;
    double microseconds = 0;
    for (const PlanBlock &block : blocks)
        microseconds += double(line.charactersTime(block.requestBytes)) + double(ofPlc.silentInterval())
                        + answerMilliseconds * 1000 + double(line.charactersTime(block.replyBytes))
                        + double(line.silentInterval());
    return microseconds / 1000;
}

Plan makePlan(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags, double answerMilliseconds)
{
    Plan plan;
    plan.answerMilliseconds = answerMilliseconds;
    Session session(plugin, settings.comInfo(), nullptr, [] { return qint64(0); });
    session.describe(descriptionsOf(tags, settings));
    const BlockMap map(session.readList(), tags);
    for (int i = 0; i < map.blocks(); ++i)
        plan.blocks << describeBlock(map, i, tags);
    plan.problem = cycleOnce(session, plan.blocks);
    return plan;
}

QVector<LengthTrial> suggest(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags,
                             double answerMilliseconds)
{
    const bool hasSpecial =
        std::any_of(tags.begin(), tags.end(), [](const Tag &tag) { return tag.type == SpecialCode; });
    QVector<LengthTrial> trials;
    PanelSettings tried = settings;
    for (int length = 2; length <= PanelSettings::longestBlock(settings.isRemote, hasSpecial); length += 2) {
        tried.maxBlockLen = length;
        const Plan plan = makePlan(plugin, tried, tags, answerMilliseconds);
        if (!plan.problem.isEmpty() || plan.blocks.isEmpty())
            continue;
        const LengthTrial trial{
            length, length, plan.blocks.size(), plan.bytes(), plan.usefulBytes(), plan.passMilliseconds(settings.line)};
        // As many requests and bytes take the same time.
        const bool isSame =
            !trials.isEmpty() && trials.last().requests == trial.requests && trials.last().bytes == trial.bytes;
        if (isSame)
            trials.last().lastLength = length;
        else
            trials << trial;
    }
    return trials;
}

int shortestPass(const QVector<LengthTrial> &trials)
{
    const auto best = std::min_element(trials.begin(), trials.end(), [](const LengthTrial &a, const LengthTrial &b) {
        return a.passMilliseconds < b.passMilliseconds;
    });
    return best == trials.end() ? -1 : int(best - trials.begin());
}
