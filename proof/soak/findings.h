/// What a soak looks at, how often it looked, and what it found.
#pragma once

#include <QtCore/QString>

class Findings {
public:
    enum Check { Values, LiveValues, OneShotReads, WriteStates, PlcMemory, Outcomes, Counters, Time, Queues, Memory };
    enum { Checks = Memory + 1, MostShown = 20 };

    /// One look; the text, made only when it is needed, says what was wrong.
    template <class Text>
    void look(Check check, bool isRight, Text text)
    {
        ++seen[check];
        if (!isRight)
            found(check, text());
    }
    void found(Check check, const QString &text);
    void setMoment(qint64 microseconds) { moment = microseconds; }

    qint64 looks(Check check) const { return seen[check]; }
    qint64 wrong() const;
    int passed() const;
    int failed() const { return int(Checks) - passed(); }
    /// A line a check.
    void print() const;

private:
    qint64 seen[Checks] = {};
    qint64 bad[Checks] = {};
    qint64 moment = 0;
};
