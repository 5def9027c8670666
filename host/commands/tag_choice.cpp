// findTag, chooseTags, parseAssignment
#include "host/commands/common.h"

#include "host/tag_codec.h"

#include <algorithm>
#include <iterator>

const Tag *findTag(const QList<Tag> &tags, const QString &name)
{
    for (const Tag &tag : tags)
        if (tag.name == name)
            return &tag;
    return nullptr;
}

bool chooseTags(const CommonOptions &options, const std::vector<std::string> &names, const QList<Tag> &all,
                QList<Tag> *chosen)
{
    const QString file = fromOption(options.tagsFile);
    if (names.empty()) {
        std::copy_if(all.begin(), all.end(), std::back_inserter(*chosen),
                     [](const Tag &tag) { return tag.isReadable; });
        if (chosen->isEmpty())
            complain(QString::fromLatin1("%1: no tag can be read: expected at least one").arg(file), ExitUsage);
        return !chosen->isEmpty();
    }
    bool isRight = true;
    for (const std::string &name : names) {
        const Tag *const tag = findTag(all, fromOption(name));
        QString wrong;
        if (!tag)
            wrong = QString::fromLatin1("no such tag in %1").arg(file);
        else if (!tag->isReadable)
            wrong = QStringLiteral("cannot be read (rw is w): expected a tag that can");
        else if (findTag(*chosen, tag->name))
            wrong = QStringLiteral("named twice: expected each tag once");
        if (wrong.isEmpty())
            chosen->append(*tag);
        else
            complain(QString::fromLatin1("%1: %2").arg(fromOption(name), wrong), ExitUsage);
        isRight = isRight && wrong.isEmpty();
    }
    return isRight;
}

bool parseAssignment(const QString &text, const QList<Tag> &tags, int *tag, QByteArray *bytes, QString *error)
{
    const int equals = text.indexOf(QLatin1Char('='));
    if (equals < 1) {
        *error = QStringLiteral("expected NAME=VALUE");
        return false;
    }
    const QString name = text.left(equals).trimmed();
    for (*tag = 0; *tag < tags.size() && tags.at(*tag).name != name; ++*tag) {
    }
    if (*tag == tags.size())
        *error = QStringLiteral("no such tag: expected one of the tag file");
    else if (!tags.at(*tag).isWritable)
        *error = QStringLiteral("cannot be written (rw is r): expected a tag that can");
    else
        return encode(tags.at(*tag), text.mid(equals + 1).trimmed(), bytes, error);
    return false;
}
