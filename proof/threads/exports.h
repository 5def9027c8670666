/// Every name that the driver exports, and how often each was called.
#pragma once

#include "host/plugin.h"

#include <QtCore/QMap>

/// All 24: the fourteen entry points and PLC_driver of Plugin, five more helpers and the three pointers.
class Exports : public Plugin {
public:
    /// False, with the reason, when the library cannot be loaded or lacks a name.
    bool open(const QString &path, QString *error);

    decltype(&::CalSUM) calSum = nullptr;
    decltype(&::CalLRC) calLrc = nullptr;
    decltype(&::CalXOR) calXor = nullptr;
    decltype(&::DigitalToASCII) digitalToAscii = nullptr;
    decltype(&::ASCIIToDigital) asciiToDigital = nullptr;
    void **lb = nullptr;
    void **lw = nullptr;
    void **rwi = nullptr;
};

/// Names of exports and their calls. Of one thread: shared ones would order the threads, and hide their races.
using CallCounts = QMap<QByteArray, qint64>;
