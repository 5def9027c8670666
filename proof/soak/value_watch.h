/// Every value that the panel calls good, compared with the cells of the request that read it.
#pragma once

#include "findings.h"
#include "rig.h"

class ValueWatch {
public:
    ValueWatch(SoakRig &rig, Findings &findings);

    void served(const RW_VAR &var, int list, const Transaction &transaction, bool isGood);
    void changed(int tag) { changedTags.insert(tag); }
    /// After the step in which a block was read.
    void look();
    /// Ages of all good values.
    void lookAtAges();
    /// What a tag must show that was read in this request.
    bool isRight(int tag, const QByteArray &bytes) const;

private:
    bool isLiveRight(const QByteArray &bytes) const;
    int expected(const Unit &unit) const;
    void takeEpochs(const QByteArray &request);
    void lookAt(int tag);

    SoakRig &rig;
    Findings &findings;
    QVector<QVector<int>> coilEpochs, registerEpochs; ///< Of the last good read: by station, by number.
    QSet<int> changedTags;
    int readBlock = -1;
    qint64 sentAt = 0, doneAt = 0;
};
