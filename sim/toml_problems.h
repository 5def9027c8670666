/// What is wrong with a TOML file, key by key.
#pragma once

#include <QtCore/QMap>
#include <QtCore/QStringList>

// Wrong files are reported by the parser itself; its assertions would end the program before that.
#define TOML_ASSERT(expr) static_assert(true)
#include <toml++/toml.h>

QString asText(std::string_view text);

/// Problems are texts "FILE:LINE: key: text: expected ...".
class TomlProblems {
public:
    explicit TomlProblems(const QString &fileName) : fileName(fileName) {}

    void add(const toml::source_region &where, const QString &key, const QString &text, const QString &expected);
    void add(const toml::node &node, const QString &key, const QString &expected);
    /// A key that is missing from a table, or that holds what cannot be used. The path is what the key is called after.
    void add(const toml::table &table, const char *key, const QString &path, const QString &expected);
    void addUnknownKeys(const toml::table &table, const QString &path, const QStringList &known);
    /// False, with a problem, when the key is not there or holds anything but a whole number from least to most.
    bool readNumber(const toml::table &table, const char *key, const QString &path, int least, int most,
                    const QString &what, int *number);

    /// Null when the key is not there, and, with a problem, when it holds no list.
    const toml::array *readList(const toml::table &table, const char *key, const QString &path,
                                const QString &expected);

    /// In the order of lines.
    QStringList all() const;

private:
    const QString fileName;
    QMap<quint32, QStringList> byLine;
};
