/// Records as text, and text as arguments: the C++ half of records.py.
#pragma once

#include "driver/driver_object.h"

#include <sstream>
#include <string>

inline std::string number(qint64 value)
{
    return std::to_string(value);
}

template <class... Numbers>
std::string numbers(qint64 first, Numbers... rest)
{
    std::string text = number(first);
    ((text += "," + number(rest)), ...);
    return text;
}

std::string hex(const QByteArray &bytes); ///< "-" for none.
QByteArray toBytes(const std::string &hex);
std::string text(const RW_VAR &var);
std::string text(const Protocol &pending);
std::string text(const EXTENDVAR &value);
std::string text(const COMINFO &record);
std::string dump(const Emerson_EC_Series &driver); ///< All of it.

template <class Entry>
std::string text(const char *name, const QList<Entry> &entries)
{
    std::string line = std::string(" ") + name + "=";
    for (const Entry &entry : entries)
        line += "<" + text(entry) + ">";
    return line;
}

/// The arguments of one command, in their order. Stops the process when there are too few.
class Arguments {
public:
    explicit Arguments(const std::string &line) : stream(line) {}

    std::string word();
    qint64 wide() { return std::stoll(word()); }
    int integer() { return int(wide()); }
    QByteArray bytes() { return toBytes(word()); }
    QString quoted();
    bool var(RW_VAR *var); ///< False for the word null.
    EXTENDVAR stored();

private:
    std::istringstream stream;
};

[[noreturn]] void giveUp(const std::string &what);
