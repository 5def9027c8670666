/// Records that cross the boundary between a host runtime and the driver.
///
/// Their word order and widths are part of the interface. A word is 32 bits on the target; a QString or a QByteArray
/// takes one pointer-sized word (record_layout.cpp holds the compile-time proof).
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#if QT_VERSION >= 0x060000
#error "The records need Qt 4 or 5: a Qt 6 QString or QByteArray is three words wide, not one."
#endif

/// One variable, or one block of elements, to read or write.
struct RW_VAR {
    int connectNo = 0;    ///< Connection of the variable; 0..11 choose the code inside an error block.
    int varId = 0;        ///< Variable within its connection; with connectNo it names the variable in callbacks.
    int rwFlag = 0;       ///< 0 = read, 1 = write; a reply to any other value fails its check.
    int hostWord3 = 0;    ///< Copied through.
    int panelStation = 0; ///< Panel that owns the variable; other than COMINFO::ownStation makes the reply remote.
    int resultCode = 0;   ///< Set in the record that DataCom returns.
    QString nameText;     ///< Copied through.
    QString addrText;     ///< Address as the engineer writes it.
    int devType = 0;      ///< Device-type code.
    int address = 0;      ///< Element address; word * 16 + bit for a bit inside a word.
    int station = 0;      ///< PLC station; 0 = broadcast, for which no reply is expected.
    int count = 0;        ///< Elements; bytes in a finished bit read.
    int subIndex = 0;     ///< -1 = none; anything else keeps a remote reply out of the image.
    int hostWord13 = 0;   ///< Copied through, and sent in remote frames.
    QByteArray data;      ///< Value bytes of a write, least significant first; empty in the record DataCom returns.
};

/// One request frame that waits for its reply.
struct Protocol {
    QByteArray frame;   ///< Request bytes.
    int frameLen = 0;   ///< Bytes of frame to send.
    int replyLen = 0;   ///< Expected reply in bytes; 0 = none (broadcast), -1 = any length.
    int dataOffset = 0; ///< Index of the first data byte in the reply.
    int dataLen = 0;    ///< Data bytes in the reply.
    RW_VAR var;         ///< Copy of the request.
    int extra20 = 0;    ///< Copied along, never read.
    int extra21 = 0;
    int extra22 = 0;
};

/// One value of the keyed store; (station, devType, address) is its key.
struct EXTENDVAR {
    int station = 0;
    int devType = 0; ///< Base type of the device-type code.
    int address = 0; ///< Bits: bit address rounded down to a multiple of 8; otherwise the element address.
    /// Bits: one byte for 8 bits. Words: low byte, high byte. Code 13: low and high byte of the high word, then of the
    /// low word. Two zero bytes in a new record.
    QByteArray data = QByteArray(2, '\0');
};

/// One variable as the host describes it for cyclic reading.
struct VARDESC {
    unsigned char hostByte0 = 0; ///< Not read.
    unsigned char devType = 0;   ///< Device-type code.
    unsigned char station = 0;   ///< PLC station; used when COMINFO::stationScope is not 0.
    int hostWord1 = 0;           ///< Not read.
    QString addrText;
    QString nameText;
    int count = 0; ///< Bits for bit and bit-in-word codes, otherwise words; two a value for code 13.
};

/// The host's communication settings: 19 words that stay the host's and must outlive the driver's use of them.
/// The driver touches only the words with a comment.
struct COMINFO {
    int hostWord0 = 0;
    int hostWord1 = 0;
    int hostWord2 = 0;
    int hostWord3 = 0;
    int maxBlockLen = 0; ///< Longest block in words; bits may use as many bytes.
    int hostWord5 = 0;
    int plcStation = 0;   ///< PLC station used while stationScope is 0.
    int retryLimit = 0;   ///< Repeats allowed after a bad reply.
    int retryCount = 0;   ///< Driver: repeats used so far; cleared only when the limit is passed.
    int stationScope = 0; ///< 0 = one PLC (fixed image areas); otherwise several stations (keyed store).
    int hostWord10 = 0;   ///< Driver: cleared by SetComInfo.
    int frameTotal = 0;   ///< Driver: frames of the current transaction.
    int frameDone = 0;    ///< Driver: frames of it answered so far.
    int hostWord13 = 0;   ///< Driver: cleared by SetComInfo.
    int remoteMode = 0;   ///< Not 0 = every request is a remote frame.
    int ownStation = 0;   ///< Station number of this panel.
    int writeMode = 0;    ///< 2 = host writes go to the PLC; otherwise only into the image.
    int finishFlag = 0;   ///< Driver: 1 after a full pass, 0 after a bad reply.
    int channelNo = 0;    ///< First argument of the request-done callback.
};

/// status: 1 = answered correctly, 2 = finally failed.
typedef void (*RequestDoneCallback)(int channelNo, int connectNo, int varId, int status);
/// list is always empty and flag always 1; connectNo is that of the failed request.
typedef void (*CommFailCallback)(QList<RW_VAR> &list, int connectNo, int flag);
