/// Values that live, initial memory and stuck cells, from a TOML file.
#pragma once

#include "sim/slave.h"

#include <QtCore/QStringList>

/// Adds the stations of the file to the slave and fills them. Problems name file, line and key, what stands there and
/// what was expected, "FILE:LINE: key: text: expected ...", one string each in the order of lines; the slave can be
/// used only when there is none.
void readLiveFile(const QString &fileName, Slave &slave, QStringList *problems);
void parseLiveFile(const QByteArray &text, const QString &fileName, Slave &slave, QStringList *problems);
