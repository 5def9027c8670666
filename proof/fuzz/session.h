/// A whole session of a host with the driver: exported calls in any order with arguments of any kind, and the public
/// members changed between them.
#pragma once

#include "driver/emerson_ec_series.h"
#include "proof/fuzz/input.h"
#include "proof/fuzz/replies.h"

#include <memory>

/// What keeps a session from being slow; what is asked for beyond it is cut down.
struct SessionBounds {
    int calls;
    int elements; ///< Of all calls together.
    int longestReply;
};

class HostSession {
public:
    HostSession(Input &input, const SessionBounds &bounds);
    ~HostSession();
    void play();

    /// Called by the driver in the middle of DataCom.
    void duringCallback();

private:
    // session.cpp: the cycle and set-up
    void setUp();
    void registerCallbacks();
    void setComInfo();
    void changeSettings();
    void switchStation();
    void askNext();
    void answer();
    void cycle();
    // session_values.cpp: lists, values, helpers
    void rebuildList();
    void addRead();
    void addWrite();
    void addOnce();
    void readValues();
    void writeValues();
    void parseAddress();
    void checksum();
    void digits();
    // session_tampering.cpp: public members
    void changeList();
    void changeProtocol();
    void changeStore();
    void changeCounters();

    /// A count of elements that is still affordable, each weighing so much.
    int affordable(int weight = 1);
    RW_VAR record();
    QString name();
    QByteArray values();
    QList<RW_VAR> &someList();

    Input &input;
    SessionBounds bounds;
    Squeezed squeezed;
    /// On the heap, so that what lies beyond a record is seen.
    std::unique_ptr<COMINFO> settings[2];
    QByteArray screen;       ///< An array that the host uses again and again.
    bool isTampered = false; ///< The frames in flight are not what the driver made.
};

/// One execution: a session on a fresh driver, which is left empty.
void playSession(const uint8_t *data, size_t size, const SessionBounds &bounds);
