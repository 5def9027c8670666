/// What the host calls in an example of the manual.
#pragma once

#include "tests/driver_fixture.h"
#include "tests/golden_page.h"

/// A fresh driver and the calls of one example.
class ExampleCalls {
public:
    static bool isCall(const QString &word);
    /// Makes the call of a line, "read code 8, address 300, count 4"; what is wrong with the line, or nothing.
    QString make(const QString &word, const QString &rest);
    /// "settings": before all calls.
    QString settings(const QString &rest);
    /// Registers all that is to be read in cycles. Once, behind the last call.
    void registerReads();
    /// What GetRegisterData gives for the first variable; a problem when there is none.
    QString valueOfFirst(QString &problem) const;

    DriverFixture driver;
    bool isMade = false;   ///< A call has been made.
    bool isCyclic = false; ///< There is something to be read in cycles.

private:
    void read(const PageFields &given);
    void readOnce(const PageFields &given);
    void write(const PageFields &given);
    void record(const PageFields &given);

    QList<VARDESC> descriptions;
    struct {
        int code, count, station;
        QString address;
    } first = {0, 0, 0, QString()};
};
