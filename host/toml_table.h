/// Reading one table of a TOML file: every key is asked for once, and what nobody asked for is a problem.
#pragma once

#include "host/problems.h"

// The library asserts that wrong files like "[ #" do not occur, and without assertions reports them.
#define TOML_ASSERT(expr) static_assert(true)
#include <toml++/toml.h>

#include <functional>
#include <initializer_list>

enum class Need { Required, Optional };

/// False, with the place of the error, when the text is no TOML.
bool parseToml(const QByteArray &text, Problems &problems, toml::table *root);
void refuseOtherTables(const toml::table &root, std::initializer_list<const char *> names, Problems &problems);

class TomlTable {
public:
    TomlTable(const toml::table &root, const char *name, Problems &problems);

    // True when the key is there and its value fits; otherwise the target keeps what it had, and there is a problem
    // unless the key is optional and missing.
    bool readBool(const char *key, Need need, bool *target);
    bool readInteger(const char *key, Need need, int lowest, int highest, int *target);
    bool readInteger(const char *key, Need need, const QString &expected, const std::function<bool(qint64)> &fits,
                     int *target);
    /// A text that is not empty.
    bool readText(const char *key, Need need, const char *expected, QString *target);
    /// The index of the name that it is.
    bool readChoice(const char *key, Need need, std::initializer_list<const char *> names, int *target);
    /// A known key that must not be there now.
    void refuse(const char *key, const char *expected);
    /// A problem when two values that were read are there and the first is above the second.
    void checkOrder(const char *lowKey, int low, const char *highKey, int high);

    /// After all keys: problems for unknown keys, or for a table that is missing and has required ones.
    void finish();

private:
    const toml::node *find(const char *key, Need need, const QString &expected);
    void addProblem(const toml::node &node, const char *key, const QString &expected);

    QString name;
    Problems &problems;
    const toml::table *table = nullptr;
    bool isMissing = false;
    QStringList knownKeys;
    QStringList requiredKeys;
    QStringList wrongKeys;
};
