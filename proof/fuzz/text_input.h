/// The input of a target that reads a text: one byte that chooses, then the text.
#pragma once

#include <QtCore/QByteArray>

struct TextInput {
    TextInput(const uint8_t *data, size_t size)
        : choice(size > 0 ? data[0] : 0),
          text(size > 1 ? QByteArray(reinterpret_cast<const char *>(data) + 1, int(size) - 1) : QByteArray())
    {
    }

    int choice;
    QByteArray text;
};
