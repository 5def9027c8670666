/// The demo, step by step. Each step prints what it does and checks what it shows.
#pragma once

#include "host/commands/common.h"
#include "host/commands/demo_tags.h"
#include "host/plan.h"
#include "host/screen.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>

struct DemoOptions {
    CommonOptions common;
    std::string simPath; ///< Empty = beside this program.
    std::vector<int> stuckCells;
    int liveSeconds = 5;
    int patience = 1; ///< Every wait and its limit, so many times as long.
};

/// Coils and registers of one station, all of them.
struct PlcSnapshot {
    QVector<int> coils;
    QVector<int> registers;
};

struct DemoWrite {
    const char *tag;
    const char *text;   ///< As a person types it.
    QVector<int> cells; ///< What the PLC's cells hold afterwards; of bits in words the bit.
    WriteState state;   ///< How it should end.
};

struct QueuedWrite {
    int tag;
    QByteArray bytes;
};

class Demo {
public:
    explicit Demo(const DemoOptions &options);
    /// Runs every step, or as far as it can. Returns the exit code.
    int run();

private:
    // demo.cpp
    bool start();
    bool startPanel();
    void showSummary();
    int conclude(bool hasFinished);
    bool cannotGoOn(const QString &why, ExitCode code);
    void check(bool isRight, const QString &whatIsWrong);
    /// Notes what has happened since the last call.
    void takeEvents(int milliseconds);
    bool waitFor(const QString &what, int milliseconds, const std::function<bool()> &isReached);
    bool waitForAPass();
    QVector<TagValue> currentValues();
    bool areAllGood();

    // demo_values.cpp
    bool showPlan();
    bool showLiveValues();
    bool waitForChanges();
    QStringList liveLines(const PanelSnapshot &snapshot) const;
    int compareAllTags(TextTable *table);
    bool showAllValues();

    // demo_writes.cpp
    bool writeOneOfEachKind();
    bool writeToALockedCell();
    bool encodeWrites(const QVector<DemoWrite> &writes, QVector<QueuedWrite> *due);
    bool carryOut(const QVector<DemoWrite> &writes, QVector<int> *ids);
    bool waitForWrites(const QVector<int> &ids);
    void showWrites(const QVector<DemoWrite> &writes, const QVector<int> &ids);
    PlcSnapshot plcSnapshot(int station);
    void apply(const DemoWrite &write, PlcSnapshot *snapshot) const;
    void compareSnapshots(int station, const PlcSnapshot &expected);

    // demo_cable.cpp
    bool pullTheCable();
    bool plugIn();
    bool takeThePortAway();
    bool waitUntilAllGood(const QElapsedTimer &since, const QString &after);
    void countQualities(const QString &when);

    const DemoOptions &options;
    Screen screen;
    QTemporaryDir folder;
    Simulator simulator;
    Loaded loaded;
    QList<Tag> tags;
    Plan plan;
    std::unique_ptr<PanelThread> thread;

    QElapsedTimer sinceStart;
    QVector<int> changes; ///< Of each tag's value.
    QMap<int, WriteEntry> endedWrites;
    QVector<bool> portChanges;
    QMap<int, bool> switched; ///< Stations that were switched, to what last.

    int checksMade = 0;
    int checksFailed = 0;
    QString obstacle;
    ExitCode obstacleCode = ExitOk;
};
