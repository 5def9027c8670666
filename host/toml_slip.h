/// What a person is told of a syntax error in a TOML file.
#pragma once

#include <QtCore/QString>

struct Slip {
    QString text; ///< What stands there, or what the parser says of it.
    QString expected;
};

/// From the line with the error, without blanks around, and the parser's description of it.
Slip slipOf(const QString &line, const QString &description);
