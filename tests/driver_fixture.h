/// What every test of the driver starts from: a driver as if just loaded, and words for requests and replies.
#pragma once

#include "driver/emerson_ec_series.h"
#include "tests/bytes_text.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtTest/QtTest>

Q_DECLARE_METATYPE(RW_VAR)
Q_DECLARE_METATYPE(VARDESC)

/// One call of the request-done callback.
struct RequestDone {
    int channelNo, connectNo, varId, status;
};
/// One call of the failure callback.
struct CommFail {
    int listLength, connectNo, flag;
};

/// Settings and callbacks of one test row. Constructing it makes PLC_driver anew and registers both.
/// The settings start at zero except maxBlockLen 32, plcStation 1, ownStation 1 and writeMode 2.
class DriverFixture {
public:
    DriverFixture();
    ~DriverFixture();
    DriverFixture(const DriverFixture &) = delete;
    DriverFixture &operator=(const DriverFixture &) = delete;

    COMINFO settings;
    static QList<RequestDone> requestsDone; ///< Callbacks since the fixture was made, oldest first.
    static QList<CommFail> commFailures;
};

/// A read request record; panelStation 1 (the fixture's own station), subIndex 0.
RW_VAR readVar(int devType, int address, int count, int station = 1);
/// A write request record with its value bytes; panelStation 1, rwFlag 1.
RW_VAR writeVar(int devType, int address, int count, const QByteArray &data, int station = 1);
/// A variable as the host describes it.
VARDESC description(int devType, const char *addrText, int count, int station = 1);
/// "devType/address/count@station" of each entry, separated by blanks.
QString summary(const QList<RW_VAR> &list);
