/// What the driver makes of the tags: the blocks that it reads in a pass, and the time that a pass takes on the line.
#pragma once

#include "host/plugin.h"
#include "host/tags.h"

#include <QtCore/QJsonObject>

/// Why a block ends although the next one begins right behind it.
enum class BlockCut {
    None,
    Map,   ///< The PLC's numbers jump there.
    Length ///< It is as long as max_block_len allows.
};

struct PlanBlock {
    int station = 0;
    int code = 0;
    QString firstAddress; ///< As the engineer writes it.
    QString lastAddress;
    bool isCoils = false; ///< Otherwise registers.
    int firstNumber = 0;  ///< Modbus numbers.
    int lastNumber = 0;
    int bytes = 0;       ///< Data bytes of the reply.
    int usefulBytes = 0; ///< Those among them that hold something of a tag.
    QVector<int> tags;   ///< Whose cells are in it, all or some.
    BlockCut cut = BlockCut::None;
    int requestBytes = 0; ///< On the line.
    int replyBytes = 0;
};

struct Plan {
    QVector<PlanBlock> blocks; ///< In the driver's order.
    double answerMilliseconds = 0;
    QString problem; ///< Empty, or why the driver could not be taken through a pass.

    int bytes() const;
    int usefulBytes() const;
    int lineBytes() const; ///< Requests and replies.
    int cuts() const;
    /// Predicted time of a pass without repeats: of each block the request, the silence in which the PLC sees that it
    /// has ended, the PLC's own time, the reply, and the silence before the next request.
    double passMilliseconds(const LineSettings &line) const;
};

/// Takes a fresh driver through one pass with made-up replies; the driver is left without a list. No session may be in
/// use. answerMilliseconds is the PLC's own time for each request.
Plan makePlan(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags, double answerMilliseconds);

/// Neighbouring block lengths that come to the same.
struct LengthTrial {
    int firstLength = 0;
    int lastLength = 0;
    int requests = 0;
    int bytes = 0;
    int usefulBytes = 0;
    double passMilliseconds = 0;
};

/// Every even max_block_len that the tags allow, the shortest first.
QVector<LengthTrial> suggest(const Plugin &plugin, const PanelSettings &settings, const QList<Tag> &tags,
                             double answerMilliseconds);
/// The trial with the shortest pass, the first among equals; -1 when there is none. Its firstLength is the one to take.
int shortestPass(const QVector<LengthTrial> &trials);

QString cutName(BlockCut cut);
QJsonObject planJson(const Plan &plan, const PanelSettings &settings, const QList<Tag> &tags);
