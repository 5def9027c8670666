/// The demo, step by step. Each step prints what it does and checks what it shows.
#pragma once

#include "host/cycle.h"
#include "host/demo_tags.h"
#include "host/plugin.h"
#include "host/screen.h"
#include "host/simulator.h"

#include <atomic>
#include <functional>
#include <memory>

struct DemoOptions {
    QString driverPath;
    QString simPath;
    QString port;           ///< Instead of the simulated PLC's own; empty = that one.
    QStringList stuckCells; ///< Cells in which the simulated PLC ignores writes.
    int liveSeconds = 8;
};

/// Coils and registers of one station, all of them.
struct PlcSnapshot {
    QVector<int> coils;
    QVector<int> registers;
};

class Demo {
public:
    enum Outcome { AllRight = 0, WrongValue = 1, CannotRun = 2, Interrupted = 130 };

    Demo(const DemoOptions &options, const std::atomic<bool> &interrupted);
    /// Runs every step, or as far as it can. Returns an Outcome, the exit code.
    int run();

private:
    // demo.cpp
    bool start();
    bool showOnePass();
    void showFrames(const Exchange &exchange, const QString &label);
    void showSummary();
    int conclude(bool finished);
    bool waitFor(const QString &what, int milliseconds, const std::function<bool()> &isReached);
    bool waitForFreshValues();
    bool cannotGoOn(const QString &why);
    void check(bool isRight, const QString &whatIsWrong);

    // demo_plan.cpp
    bool showPlan();
    void showTags();
    void showBlocks();
    QStringList tagsInBlock(const RW_VAR &block, QVector<int> &elementsFound) const;

    // demo_values.cpp
    QVector<quint32> valuesInDriver(const DemoTag &tag) const;
    QVector<quint32> valuesInPlc(const DemoTag &tag, int station);
    int compareAllTags(Table *table);
    bool showAllValues();
    bool showLiveValues();

    // demo_writes.cpp
    bool writeOneOfEachKind();
    bool queueAllWrites(PlcSnapshot &polled, PlcSnapshot &other);
    void showWrites();
    bool queueWrite(const DemoTag &tag, const QVector<quint32> &values, int varId);
    void queueBroadcast(const DemoTag &tag, const QVector<quint32> &values, int varId);
    PlcSnapshot snapshot(int station);
    void compareSnapshots(int station, const PlcSnapshot &expected);
    int statusOf(int varId) const;

    // demo_cable.cpp
    bool pullTheCable();
    void showFailures();
    void showLostWrites();
    bool plugIn();
    void compareLostWrites();

    const DemoOptions options;
    const std::atomic<bool> &interrupted;
    Screen screen;
    // Destroyed from the last to the first: the cycle calls the driver, and the plan shares memory with it.
    COMINFO comInfo;
    Plugin plugin;
    Simulator simulator;
    QList<RW_VAR> plan;
    std::unique_ptr<Cycle> cycle;

    LineSettings line;
    int checksMade = 0;
    int checksFailed = 0;
    QString obstacle;
};

/// Stations of the simulated PLC: the one that is polled, and one more that hears broadcasts.
enum DemoStation { PolledStation = 1, OtherStation = 2 };
/// Names the demo's requests in result codes and callbacks; the cyclic reads are connection 0.
enum { WriteConnection = 1 };
