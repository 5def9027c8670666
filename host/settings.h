/// The settings of one line and its PLCs, read from a TOML file.
#pragma once

#include "driver/records.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

enum class Parity { None, Even, Odd };

/// The serial line and its timing. Times are in milliseconds.
struct LineSettings {
    QString port;
    int baud = 0;
    Parity parity = Parity::None;
    int stopBits = 1;
    int replyTimeout = 0;  ///< Longest wait for the end of a reply, beyond the time its bytes take on the line.
    int turnaround = 100;  ///< Pause after a broadcast, which nobody answers.
    int lateWindow = 100;  ///< Quiet time after a reply did not come (whole), for what comes too late.
    int silence = -1;      ///< Microseconds of silence before a request; -1 = as the baud rate asks for.
    int reopenFirst = 250; ///< Pause before a lost port is opened again; doubles up to reopenMost.
    int reopenMost = 5000;
    bool hasEcho = false;  ///< The adapter hands back what was sent.
    bool isGuarded = true; ///< Replies are compared with their request before the driver gets them.

    /// "19200 baud 8N2".
    QString text() const;
    /// Bits of a character on the line: start, eight data bits, parity, stop bits.
    int characterBits() const;
    /// Microseconds that as many characters take.
    qint64 charactersTime(qint64 characters) const;
    /// Microseconds: silence when it is set, otherwise 3.5 characters, 1750 above 19200 baud.
    qint64 silentInterval() const;
};

struct PanelSettings {
    LineSettings line;
    QString driverPath;  ///< Absolute; empty = the one that findDriver knows.
    int maxBlockLen = 0; ///< Even, 2 to longestBlock.
    int retries = 0;
    bool hasSeveral = false; ///< Several stations (the driver's keyed store) or one PLC.
    int station = 1;         ///< The one PLC's, 1 to 247.
    bool isRemote = false;   ///< Requests in the remote format.
    int ownStation = 0;      ///< This panel's number.
    bool confirmWrites = true;
    int staleAfter = 5000; ///< Milliseconds after which a value is uncertain.
    int offAfter = 3;      ///< Failed requests in a row that switch a station off; 0 = never.
    int probeFirst = 1000; ///< Milliseconds before a switched-off station is tried again; doubles up to probeMost.
    int probeMost = 60000;

    /// The longest block that fits a frame, in words; with code 13, of two registers a value, in values. A request in
    /// the remote format tells its length in one byte.
    static int longestBlock(bool isRemote, bool hasSpecial)
    {
        return isRemote ? (hasSpecial ? 58 : 116) : (hasSpecial ? 60 : 122);
    }
    /// The record that the driver is given.
    COMINFO comInfo() const;
};

/// Reads settings from TOML text. Every problem names file, line and key, and what was expected, one string each; the
/// result can be used only when there is none. Relative paths are taken from the file's folder.
PanelSettings parseSettings(const QByteArray &text, const QString &fileName, QStringList *problems);
/// The same from a file; a file that cannot be read is a problem too.
PanelSettings readSettings(const QString &fileName, QStringList *problems);
