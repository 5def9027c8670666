/// Frames and traces in words.
#pragma once

#include "host/reply_guard.h"
#include "host/trace.h"

#include <QtCore/QStringList>

enum class FrameDirection { Unknown, Request, Reply };

/// Bytes of hexadecimal text as people write it: "01 03", "0103", "0x01,0x03". False, with the position and what was
/// expected, when it is no such text.
bool parseHex(const QString &text, QByteArray *bytes, QString *error);

/// What a frame says: first what it is, then its values, then its check and what is wrong with it, a line each. A reply
/// is compared with the request before it, when there is one, and its values get their numbers from it.
QStringList decodeFrame(const QByteArray &frame, FrameDirection direction, CrcFunction crc,
                        const QByteArray &request = QByteArray());

/// The same as a single line: values without their numbers, a check only when it is wrong.
QString decodeShort(const QByteArray &frame, FrameDirection direction, CrcFunction crc,
                    const QByteArray &request = QByteArray());

/// A result code of the driver; isSilent: there was no reply.
QString resultText(int code, bool isSilent = false);

/// Each line of the trace in words, with its moment before it.
QStringList decodeTrace(const QVector<TraceLine> &lines, CrcFunction crc);
