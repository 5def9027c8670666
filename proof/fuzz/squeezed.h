/// Byte arrays and texts without a spare byte: each in a block of the heap of its exact size, so that the address
/// sanitizer sees the first byte read beyond it. An ordinary QByteArray hides that one behind its terminator.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstring>
#include <memory>
#include <vector>

/// Keeps the blocks until it goes: the driver shares what it is given, and must be emptied before.
class Squeezed {
public:
    QByteArray bytes(const QByteArray &values)
    {
        char *const block = keep(values.size());
        std::memcpy(block, values.constData(), size_t(values.size()));
        return QByteArray::fromRawData(block, values.size());
    }
    QString text(const QString &value)
    {
        const int size = value.size() * int(sizeof(QChar));
        char *const block = keep(size);
        std::memcpy(block, value.constData(), size_t(size));
        return QString::fromRawData(reinterpret_cast<QChar *>(block), value.size());
    }

private:
    char *keep(int size)
    {
        blocks.emplace_back(new char[size_t(size)]);
        return blocks.back().get();
    }

    std::vector<std::unique_ptr<char[]>> blocks;
};
