/// Every exported function from four threads at once: one runs the cycle, the others read, write and set up. Exit code
/// 0 only if no block was torn and no unsound frame went out; what ThreadSanitizer finds ends it with its own code.
///     stress LIBRARY one|several local|remote CYCLES SEED
#include "proof/plc_answers.h"
#include "proof/threads/host_threads.h"

#include <QtCore/QSet>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

enum { CyclesARound = 2500, CyclesATurn = 2 };

struct CycleThread : Worker {
    using Worker::Worker;
    qint64 cycles = 0;
    qint64 unsound = 0; ///< Frames that should never go out.
    qint64 good = 0;    ///< Transactions answered well.
    qint64 stored = 0;  ///< Replies stored for another panel.
};

/// What arrives: mostly the answer, at times nothing, too little, or a wrong CRC.
QByteArray receive(const Protocol &request, CycleThread &self)
{
    QByteArray reply = replyTo(request, unsigned(self.cycles) & 0xFFFF);
    if (self.oneIn(10))
        return QByteArray();
    if (self.oneIn(50))
        reply.chop(1);
    else if (self.oneIn(50) && !reply.isEmpty())
        reply[reply.size() - 1] = static_cast<char>(reply.at(reply.size() - 1) ^ 1);
    return reply;
}

/// The time on the line. However busy the machine, each of the other threads has a turn every other cycle.
void waitForOthers(const Stress &stress, qint64 cycles)
{
    for (const std::atomic<qint64> &turns : stress.turns) {
        while (turns.load(std::memory_order_relaxed) < cycles / CyclesATurn)
            std::this_thread::yield();
    }
}

void runCycle(Stress &stress, CycleThread &self, qint64 cycles)
{
    Exports &driver = stress.driver;
    for (const qint64 last = self.cycles + cycles; self.cycles < last;) {
        const Protocol *request = driver.comCommunication();
        ++self.calls["ComCommunication"];
        if (request == nullptr) {
            std::this_thread::yield();
            continue;
        }
        ++self.cycles;
        self.unsound += !isSoundFrame(*request);
        const bool remote = request->var.panelStation != OwnPanel;
        waitForOthers(stress, self.cycles);
        QByteArray reply = receive(*request, self);
        const RW_VAR result = *driver.dataCom(&reply, reply.size());
        ++self.calls["DataCom"];
        self.good += result.resultCode == 1;
        self.stored += remote && result.resultCode == 1;
    }
    stress.running.store(false, std::memory_order_relaxed);
}

/// While no other thread calls: settings of this round, and finished blocks, whose function takes no lock.
void beginRound(Stress &stress, CycleThread &self, int round)
{
    for (COMINFO &settings : stress.settings) {
        settings.maxBlockLen = round % 2 == 0 ? 64 : 96; // no tag that is read as a block is cut
        settings.writeMode = round % 4 == 3 ? 0 : 2;
    }
    stress.settingsComeAndGo = round % 4 == 2;
    stress.driver.setComInfo(&stress.settings[0]);
    stress.driver.enCommStation(-1, 0);
    for (const int devType : {8, 9}) {
        RW_VAR block = otherPanelsBlock(devType, 1);
        stress.driver.addListReadVar(&block);
        ++self.calls["AddListReadVar"];
    }
    stress.running.store(true, std::memory_order_relaxed);
}

/// While no other thread calls: what must hold of the driver's state whatever happened. Says what does not.
bool isSoundState(const Stress &stress)
{
    const Emerson_EC_Series &state = *stress.driver.driver;
    QSet<QByteArray> keys;
    for (const EXTENDVAR &record : state.extendVarList)
        keys.insert(QByteArray::number(record.station) + ' ' + QByteArray::number(record.devType) + ' '
                    + QByteArray::number(record.address));
    const bool sound = keys.size() == state.extendVarList.size() && state.writeList.size() <= 1100
                       && state.onceReadList.size() <= 1100 && *stress.driver.lb == nullptr
                       && *stress.driver.lw == nullptr && *stress.driver.rwi == nullptr;
    if (!sound)
        std::printf("unsound state: %d keys of %d records, %d writes, %d one-shot reads\n", int(keys.size()),
                    int(state.extendVarList.size()), int(state.writeList.size()), int(state.onceReadList.size()));
    return sound;
}

int report(const Stress &stress, const CycleThread &cycle, const Worker *others[], bool soundState)
{
    CallCounts calls = cycle.calls;
    qint64 blocks = 0, torn = 0;
    for (int i = 0; i < 3; ++i) {
        for (auto call = others[i]->calls.constBegin(); call != others[i]->calls.constEnd(); ++call)
            calls[call.key()] += call.value();
        blocks += others[i]->blocksRead;
        torn += others[i]->torn;
    }
    std::printf("  %lld cycles, %lld good, %lld stored for another panel, %lld done, %lld given up; %lld blocks read, "
                "%lld torn; %lld unsound frames\n ",
                cycle.cycles, cycle.good, cycle.stored, qint64(stress.done), qint64(stress.failed), blocks, torn,
                cycle.unsound);
    for (auto call = calls.constBegin(); call != calls.constEnd(); ++call)
        std::printf(" %s %lld", call.key().constData(), call.value());
    std::printf("\n");
    const bool busy = calls.size() == 24 && cycle.good > 0 && cycle.stored > 0 && stress.done > 0 && stress.failed > 0;
    if (!busy)
        std::printf("  not everything happened: %d of 24 names used\n", int(calls.size()));
    return busy && soundState && torn == 0 && cycle.unsound == 0 ? 0 : 1;
}

int run(Stress &stress, qint64 cycles, unsigned seed)
{
    CycleThread cycle(seed);
    Worker reader(seed + 1), writer(seed + 2), setUp(seed + 3);
    bool soundState = true;
    for (int round = 0; cycle.cycles < cycles; ++round) {
        beginRound(stress, cycle, round);
        std::thread threads[] = {std::thread([&] { readScreens(stress, reader); }),
                                 std::thread([&] { writeValues(stress, writer); }),
                                 std::thread([&] { setUpAgain(stress, setUp); })};
        runCycle(stress, cycle, qMin<qint64>(CyclesARound, cycles - cycle.cycles));
        for (std::thread &thread : threads)
            thread.join();
        soundState = isSoundState(stress) && soundState;
    }
    const Worker *others[] = {&reader, &writer, &setUp};
    return report(stress, cycle, others, soundState);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 6) {
        std::fprintf(stderr, "usage: stress LIBRARY one|several local|remote CYCLES SEED\n");
        return 2;
    }
    Stress stress;
    stressInUse = &stress;
    QString error;
    if (!stress.driver.open(QString::fromLocal8Bit(argv[1]), &error)) {
        std::fprintf(stderr, "stress: %s\n", qPrintable(error));
        return 2;
    }
    for (COMINFO &settings : stress.settings) {
        settings.plcStation = 1;
        settings.retryLimit = 1;
        settings.ownStation = OwnPanel;
        settings.stationScope = std::strcmp(argv[2], "several") == 0;
        settings.remoteMode = std::strcmp(argv[3], "remote") == 0;
    }
    return run(stress, std::atoll(argv[4]), unsigned(std::atoi(argv[5])));
}
