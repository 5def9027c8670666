#include "sim/toml_problems.h"

#include <sstream>

namespace {

enum { LongestShownText = 60 };

/// A value as a file would spell it, on one line.
QString asText(const toml::node &node)
{
    std::ostringstream out;
    node.visit([&out](const auto &value) { out << toml::toml_formatter(value, toml::format_flags::none); });
    const QString text = QString::fromStdString(out.str()).simplified();
    return text.size() > LongestShownText ? text.left(LongestShownText - 3) + QLatin1String("...") : text;
}

} // namespace

QString asText(std::string_view text)
{
    return QString::fromUtf8(text.data(), int(text.size()));
}

void TomlProblems::add(const toml::node &node, const QString &key, const QString &expected)
{
    add(node.source(), key, asText(node), expected);
}

void TomlProblems::add(const toml::source_region &where, const QString &key, const QString &text,
                       const QString &expected)
{
    byLine[where.begin.line] << QString::fromLatin1("%1:%2: %3: %4: expected %5")
                                    .arg(fileName, QString::number(where.begin.line), key, text, expected);
}

QStringList TomlProblems::all() const
{
    QStringList list;
    for (const QStringList &ofLine : byLine)
        list << ofLine;
    return list;
}

void TomlProblems::add(const toml::table &table, const char *key, const QString &path, const QString &expected)
{
    const QString whole = path + QLatin1String(key);
    if (const toml::node *const node = table.get(key))
        add(*node, whole, expected);
    else
        add(table.source(), whole, QStringLiteral("missing"), expected);
}

void TomlProblems::addUnknownKeys(const toml::table &table, const QString &path, const QStringList &known)
{
    for (const auto &[key, node] : table)
        if (!known.contains(asText(key.str())))
            add(key.source(), path + asText(key.str()), QStringLiteral("unknown key"), known.join(QLatin1String(", ")));
}

bool TomlProblems::readNumber(const toml::table &table, const char *key, const QString &path, int least, int most,
                              const QString &what, int *number)
{
    const toml::node *const node = table.get(key);
    const toml::value<int64_t> *const value = node ? node->as_integer() : nullptr;
    if (value && value->get() >= least && value->get() <= most) {
        *number = int(value->get());
        return true;
    }
    add(table, key, path, QString::fromLatin1("%1 from %2 to %3").arg(what).arg(least).arg(most));
    return false;
}

const toml::array *TomlProblems::readList(const toml::table &table, const char *key, const QString &path,
                                          const QString &expected)
{
    const toml::node *const node = table.get(key);
    const toml::array *const list = node ? node->as_array() : nullptr;
    if (node && !list)
        add(table, key, path, expected);
    return list;
}
