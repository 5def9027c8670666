/// The ledger of faults as text.
#pragma once

#include "sim/faults.h"

#include <QtCore/QMap>

/// How often each kind was done; kinds that were not are left out.
QMap<QString, qint64> faultTotals(const QVector<FaultDone> &ledger);
/// JSON lines: one a fault, {"request":0,"fault":"drop","station":1,"function":3,"bytes":0}, and a last one with the
/// totals of each kind and what the slave has counted.
QByteArray faultReport(const Faults &faults, const SlaveStatistics &counted, qint64 swallowedBytes);
