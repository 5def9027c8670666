#include "host/toml_table.h"

#include "host/toml_slip.h"

namespace {

QString fromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), int(text.size()));
}

int lineOf(const toml::source_region &source)
{
    return int(source.begin.line);
}

/// The value as it stands in the file, or what kind it is.
QString nodeText(const toml::node &node)
{
    if (const auto *value = node.as_string())
        return QLatin1Char('"') + (value->get().empty() ? QString() : shown(fromUtf8(value->get()))) + QLatin1Char('"');
    if (const auto *value = node.as_integer())
        return QString::number(value->get());
    if (const auto *value = node.as_floating_point()) {
        const QString text = QString::number(value->get());
        return text.toLongLong() != 0 || text == QLatin1String("0") ? text + QLatin1String(".0") : text;
    }
    if (const auto *value = node.as_boolean())
        return value->get() ? QStringLiteral("true") : QStringLiteral("false");
    return node.is_table()   ? QStringLiteral("a table")
           : node.is_array() ? QStringLiteral("an array")
                             : QStringLiteral("a date or time");
}

QString joined(std::initializer_list<const char *> names, const QString &mark)
{
    QStringList texts;
    for (const char *name : names)
        texts << mark + QLatin1String(name) + mark;
    return texts.join(QLatin1String(", "));
}

} // namespace

bool parseToml(const QByteArray &text, Problems &problems, toml::table *root)
{
    toml::parse_result result = toml::parse(std::string_view(text.constData(), size_t(text.size())));
    if (result.succeeded()) {
        *root = std::move(result).table();
        return true;
    }
    const toml::parse_error &error = result.error();
    const int line = lineOf(error.source());
    const QByteArray lineText = text.split('\n').value(line - 1).trimmed();
    const Slip slip = slipOf(QString::fromUtf8(lineText), fromUtf8(error.description()));
    problems.addAt(line, int(error.source().begin.column), slip.text, slip.expected);
    return false;
}

void refuseOtherTables(const toml::table &root, std::initializer_list<const char *> names, Problems &problems)
{
    for (auto &&[key, node] : root) {
        bool isKnown = false;
        for (const char *name : names)
            isKnown = isKnown || key.str() == name;
        if (!isKnown) {
            problems.add(lineOf(key.source()), shown(fromUtf8(key.str())),
                         node.is_table() ? QStringLiteral("unknown table") : QStringLiteral("unknown key"),
                         QStringLiteral("expected the tables ") + joined(names, QString()));
        }
    }
}

TomlTable::TomlTable(const toml::table &root, const char *name, Problems &problems)
    : name(QLatin1String(name)), problems(problems)
{
    const toml::node *node = root.get(name);
    isMissing = node == nullptr;
    if (node == nullptr)
        return;
    table = node->as_table();
    if (table == nullptr)
        problems.add(lineOf(node->source()), this->name, nodeText(*node),
                     QStringLiteral("expected a table [%1]").arg(this->name));
}

const toml::node *TomlTable::find(const char *key, Need need, const QString &expected)
{
    knownKeys << QLatin1String(key);
    if (need == Need::Required)
        requiredKeys << QLatin1String(key);
    const toml::node *node = table != nullptr ? table->get(key) : nullptr;
    if (node == nullptr && table != nullptr && need == Need::Required)
        problems.add(lineOf(table->source()), name + QLatin1Char('.') + QLatin1String(key), QStringLiteral("missing"),
                     QLatin1String("expected ") + expected);
    return node;
}

void TomlTable::addProblem(const toml::node &node, const char *key, const QString &expected)
{
    wrongKeys << QLatin1String(key);
    problems.add(lineOf(node.source()), name + QLatin1Char('.') + QLatin1String(key), nodeText(node),
                 QLatin1String("expected ") + expected);
}

bool TomlTable::readBool(const char *key, Need need, bool *target)
{
    const QString expected = QStringLiteral("true or false");
    const toml::node *node = find(key, need, expected);
    if (node == nullptr)
        return false;
    const auto *value = node->as_boolean();
    if (value == nullptr) {
        addProblem(*node, key, expected);
        return false;
    }
    *target = value->get();
    return true;
}

bool TomlTable::readInteger(const char *key, Need need, int lowest, int highest, int *target)
{
    return readInteger(
        key, need, QStringLiteral("a whole number from %1 to %2").arg(lowest).arg(highest),
        [=](qint64 value) { return value >= lowest && value <= highest; }, target);
}

bool TomlTable::readInteger(const char *key, Need need, const QString &expected,
                            const std::function<bool(qint64)> &fits, int *target)
{
    const toml::node *node = find(key, need, expected);
    if (node == nullptr)
        return false;
    const auto *value = node->as_integer();
    if (value == nullptr || !fits(value->get())) {
        addProblem(*node, key, expected);
        return false;
    }
    *target = int(value->get());
    return true;
}

bool TomlTable::readText(const char *key, Need need, const char *expected, QString *target)
{
    const toml::node *node = find(key, need, QLatin1String(expected));
    if (node == nullptr)
        return false;
    const auto *value = node->as_string();
    const QString text = value != nullptr ? fromUtf8(value->get()) : QString();
    bool isPlain = !text.isEmpty();
    for (QChar c : text)
        isPlain = isPlain && c.category() != QChar::Other_Control;
    if (!isPlain) {
        addProblem(*node, key, QLatin1String(expected));
        return false;
    }
    *target = text;
    return true;
}

bool TomlTable::readChoice(const char *key, Need need, std::initializer_list<const char *> names, int *target)
{
    const QString expected = QLatin1String("one of ") + joined(names, QStringLiteral("\""));
    const toml::node *node = find(key, need, expected);
    if (node == nullptr)
        return false;
    if (const auto *value = node->as_string()) {
        int index = 0;
        for (const char *choice : names) {
            if (value->get() == choice) {
                *target = index;
                return true;
            }
            ++index;
        }
    }
    addProblem(*node, key, expected);
    return false;
}

void TomlTable::refuse(const char *key, const char *expected)
{
    if (const toml::node *node = find(key, Need::Optional, QString()))
        addProblem(*node, key, QLatin1String(expected));
}

void TomlTable::checkOrder(const char *lowKey, int low, const char *highKey, int high)
{
    if (low <= high || wrongKeys.contains(QLatin1String(lowKey)) || wrongKeys.contains(QLatin1String(highKey)))
        return;
    // One of the two may be missing and have its usual value: the one that is there is named.
    const toml::node *node = table->get(highKey);
    if (node != nullptr)
        addProblem(*node, highKey, QStringLiteral("%1 or more, as %2 is").arg(low).arg(QLatin1String(lowKey)));
    else
        addProblem(*table->get(lowKey), lowKey,
                   QStringLiteral("%1 or less, as %2 is").arg(high).arg(QLatin1String(highKey)));
}

void TomlTable::finish()
{
    if (isMissing && !requiredKeys.isEmpty())
        problems.add(0, name, QStringLiteral("missing"),
                     QStringLiteral("expected a table [%1] with %2").arg(name, requiredKeys.join(QLatin1String(", "))));
    if (table == nullptr)
        return;
    for (auto &&[key, node] : *table) {
        Q_UNUSED(node)
        const QString text = fromUtf8(key.str());
        if (!knownKeys.contains(text))
            problems.add(lineOf(key.source()), name + QLatin1Char('.') + shown(text), QStringLiteral("unknown key"),
                         QLatin1String("expected ") + knownKeys.join(QLatin1String(", ")));
    }
}
