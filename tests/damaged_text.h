/// Files as no editor would leave them.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QRandomGenerator>

/// The text with three damages, each by chance: a byte that is another, some that are missing, some that stand twice.
inline QByteArray damaged(QByteArray text, QRandomGenerator &random)
{
    for (int i = 0; i < 3; ++i) {
        const int at = random.bounded(text.size());
        switch (random.bounded(3)) {
        case 0:
            text[at] = char(random.bounded(256));
            break;
        case 1:
            text.remove(at, random.bounded(20));
            break;
        default:
            text.insert(at, text.mid(random.bounded(text.size()), 20));
        }
    }
    return text;
}
