/// A simulated PLC without a line: what it answers, and what its memory holds.
#pragma once

#include "sim/slave.h"

#include "tests/bytes_text.h"

/// The replies to bytes and the silence behind them.
inline QByteArray exchange(Slave &slave, const QByteArray &bytes)
{
    QList<SlaveAnswer> answers = slave.receive(bytes);
    answers += slave.lineQuiet();
    QByteArray replies;
    for (const SlaveAnswer &answer : qAsConst(answers))
        replies += answer.reply;
    return replies;
}

/// Spaced hex, high byte first.
inline QString registersOf(const PlcMemory &memory, int first, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(char(memory.holdingRegister(first + i) >> 8)).append(char(memory.holdingRegister(first + i)));
    return toHex(bytes);
}

/// Every cell that exists or not, as bytes to compare.
inline QByteArray wholeMemory(const PlcMemory &memory)
{
    QByteArray bytes;
    for (int number = 0; number < PlcMemory::Cells; ++number)
        bytes.append(char(memory.holdingRegister(number) >> 8))
            .append(char(memory.holdingRegister(number)))
            .append(char(memory.coil(number)));
    return bytes;
}
