/// A symbolic link that gives a pseudo-terminal a name that stays the same.
#pragma once

#include <QtCore/QString>

#include <sys/stat.h>

class PortLink {
public:
    /// An empty path: there is no link, and everything succeeds.
    explicit PortLink(const QString &path) : path(path) {}
    ~PortLink() { remove(); }
    PortLink(const PortLink &) = delete;
    PortLink &operator=(const PortLink &) = delete;

    bool isWanted() const { return !path.isEmpty(); }
    /// Makes the link, in place of one that leads nowhere or to the same target. False, with a reason, when anything
    /// else is there or the link cannot be made.
    bool pointTo(const QString &target, QString *error);
    /// Removes the link if it is still the one that was made.
    void remove();

private:
    bool makeRoom(const QByteArray &name, const QByteArray &aim, QString *error) const;

    const QString path;
    bool isMade = false;
    struct stat made; ///< Of the link while isMade.
};
