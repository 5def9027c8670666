/// Requests on their way out, replies on their way in, and what the callbacks were told.
#pragma once

#include "tests/driver_fixture.h"

/// A request with a name: the connection and variable that its callbacks report.
RW_VAR named(int connectNo, int varId, RW_VAR var);
/// A named write of word 100 of code 7.
RW_VAR namedWrite(int connectNo, int varId, int station = 1);
/// A named read of word 100 of code 7.
RW_VAR namedRead(int connectNo, int varId, int station = 1);
/// The same request of another panel, so that its reply is remote.
RW_VAR remote(RW_VAR var, int subIndex = 0);
/// A write of one word of code 7.
RW_VAR wordWrite(int address, int station = 1);
/// Writes of one word each, from address 100 on.
QList<RW_VAR> wordWrites(int count);
/// Reads of one word of code 7 each.
QList<RW_VAR> wordReads(int first, int count);

/// "connectNo.varId@station" of each entry.
QString names(const QList<RW_VAR> &list);
/// "channelNo/connectNo.varId=status" of each request-done callback.
QString doneCalls();
/// "listLength/connectNo/flag" of each failure callback.
QString failureCalls();
/// The list of a PLC_driver.servedList: 0 cyclic, 1 writes, 2 one-shot reads.
QList<RW_VAR> &listServed(int servedList);

/// A reply with a right CRC, its other bytes 0, of the length that a request expects.
QByteArray goodReplyTo(const Protocol &request);
/// Has the next frame built and answers it well; the result code, -1 when there is no frame.
int answerWell();
/// Has the next frame built and lets it time out; the result code, -1 when there is no frame.
int timeOut();
/// "list:address" of the next frame, with W, O or C for the list it comes from; "-" for none.
QString next();
/// Answers the frame in flight well; nothing when none is.
void answer();
/// The next requests of a line that always answers well.
QString nextOf(int calls);

/// A good reply to wordReadInFlight().
extern const char GoodReply[];
/// Puts a read of word 100 of code 7 in flight.
Protocol &wordReadInFlight();
/// Puts a read whose data start at byte 3 in flight.
void readInFlight(int devType, int address, int dataLen, int station = 1, int subIndex = 0);
/// Puts the write of word 10 behind the read in flight, its value still a placeholder.
void writeBehind();
/// Stores a reply to the frame in flight, with the head of the write queue.
void storeReply(const QByteArray &reply);

/// A list of reads of one word each, and a good reply to each.
struct Cycle {
    DriverFixture driver;
    QList<QByteArray> replies;

    Cycle(int entries, int stationScope, int remoteMode);
    /// A transaction for each entry.
    void turn();
    static void turnOnce(QByteArray &reply);
};
