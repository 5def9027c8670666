#include "proof/threads/host_threads.h"

#include "proof/plc_answers.h"

#include <iterator>
#include <thread>

Stress *stressInUse = nullptr;

namespace {

/// True while the round goes on; ends a turn.
bool goesOn(Stress &stress, int thread)
{
    stress.turns[thread].fetch_add(1, std::memory_order_relaxed);
    std::this_thread::yield();
    return stress.running.load(std::memory_order_relaxed);
}

/// A variable of the host. Those read as blocks overlap no other: all their words come from one reply or one write.
struct Tag {
    int devType;
    const char *addrText;
    int count;
    int bytes;  ///< Of the values to write.
    bool block; ///< Read back whole, all words are equal.
};

const Tag Tags[] = {
    {8, "100", 64, 128, true},   // only ever read from the PLC
    {9, "100", 16, 32, true},    // read and written
    {14, "200", 8, 16, true},    // pairs
    {12, "600", 4, 8, true},     // pairs in the area of code 7
    {13, "256", 2, 4, true},     // one value of 32 bits of its own
    {9, "250", 10, 20, false},   // crosses a gap: goes out as two frames
    {7, "500", 1, 2, false},     // a single register
    {15, "3000.5", 1, 1, false}, // read, changed, written back
    {3, "5", 3, 3, false},       // bits
    {101, "40", 2, 4, false},    // not stored when read
};
enum { FirstWrittenTag = 1, RoomyQueue = 900 };

QByteArray uniformWords(unsigned word, int bytes)
{
    QByteArray values;
    while (values.size() < bytes)
        values.append(static_cast<char>(values.size() % 2 == 0 ? word : word >> 8));
    return values;
}

void noteDone(int, int, int, int)
{
    Stress &stress = *stressInUse;
    const qint64 calls = stress.done.fetch_add(1, std::memory_order_relaxed);
    // What a callback may do, under listMutex as it is.
    QByteArray values;
    if (calls % 7 == 0)
        stress.driver.getRegisterData(0, 9, QString::fromLatin1("100"), 1, &values, 16);
    if (calls % 11 == 0)
        stress.driver.enCommStation(7, calls % 2);
}

void noteFailure(QList<RW_VAR> &, int, int)
{
    stressInUse->failed.fetch_add(1, std::memory_order_relaxed);
}

void noteFailureAndSettleAnew(QList<RW_VAR> &list, int connectNo, int flag)
{
    noteFailure(list, connectNo, flag);
    stressInUse->driver.registCallBackFuncIntf(noteDone, noteFailure);
}

void useHelpers(Stress &stress, Worker &self)
{
    Exports &driver = stress.driver;
    unsigned char bytes[] = {0x01, 0x03, 0x00, 0x00, 0x00, static_cast<unsigned char>(self.random())};
    driver.calCrc(bytes, 6);
    driver.calSum(bytes, 6);
    driver.calLrc(bytes, 6);
    driver.calXor(bytes, 6);
    driver.asciiToDigital(driver.digitalToAscii(bytes[5] & 15));
    driver.plcAddressChangeIntef(13, QString::fromLatin1("222"));
    driver.queryFinishFlag();
    for (const char *name : {"CalCRC", "CalSUM", "CalLRC", "CalXOR", "ASCIIToDigital", "DigitalToASCII",
                             "PLCAddressChangeIntef", "QueryFinishFlag"})
        ++self.calls[name];
}

/// The data symbols, as a host may look at them: single words, and PLC_driver's lists under their locks.
void lookAtData(Stress &stress, Worker &self)
{
    for (void **pointer : {stress.driver.lb, stress.driver.lw, stress.driver.rwi})
        (void)__atomic_load_n(pointer, __ATOMIC_RELAXED);
    for (const char *name : {"LB", "LW", "RWI", "PLC_driver"})
        ++self.calls[name];
    Emerson_EC_Series &driver = *stress.driver.driver;
    (void)__atomic_load_n(&stress.settings[0].finishFlag, __ATOMIC_RELAXED);
    QList<RW_VAR> copy;
    if (driver.listMutex.tryLock(self.oneIn(2) ? 0 : 1)) {
        copy = driver.writeList;
        driver.listMutex.unlock();
    }
    QMutexLocker lock(&driver.stationMutex);
    driver.disabledStations.contains(2);
}

void queueOnceReads(Stress &stress, Worker &self)
{
    RW_VAR once;
    once.devType = 2;
    once.station = 2;
    once.panelStation = OwnPanel;
    once.varId = int(self.random() % 16);
    once.count = 12;
    once.addrText = QString::fromLatin1("7");
    const int queued = stress.driver.addListOnceReadVar(&once, 0);
    ++self.calls["AddListOnceReadVar"];
    if (queued > RoomyQueue)
        return;
    RW_VAR remote = otherPanelsBlock(self.oneIn(2) ? 8 : 9, 1 + int(self.random() % 2));
    stress.driver.addListOnceReadVar(&remote, 1);
    ++self.calls["AddListOnceReadVar"];
}

void queueFinishedWrite(Stress &stress, Worker &self)
{
    RW_VAR record;
    record.rwFlag = 1;
    record.devType = 9;
    record.address = 100;
    record.count = 16;
    record.station = 1 + int(self.random() % 2);
    record.panelStation = self.oneIn(4) ? OtherPanel : OwnPanel;
    record.subIndex = self.oneIn(2) ? -1 : 0;
    record.varId = 30;
    record.data = uniformWords(unsigned(self.random()), 32);
    const int queued = stress.driver.addListWriteVar(&record, 0);
    ++self.calls["AddListWriteVar"];
    if (queued > RoomyQueue || !self.oneIn(3))
        return;
    stress.driver.addListWriteVar(&record, 1);
    ++self.calls["AddListWriteVar"];
}

QList<VARDESC> describe(int first, int behind)
{
    QList<VARDESC> variables;
    for (int i = first; i < behind; ++i) {
        VARDESC variable;
        variable.devType = static_cast<unsigned char>(Tags[i].devType);
        variable.addrText = QString::fromLatin1(Tags[i].addrText);
        variable.count = Tags[i].count;
        variable.station = static_cast<unsigned char>(1 + i % 2);
        variables << variable;
    }
    VARDESC unusable;
    unusable.devType = 8;
    unusable.station = 1;
    unusable.addrText = QString::fromLatin1("nowhere");
    return variables << unusable;
}

} // namespace

RW_VAR otherPanelsBlock(int devType, int station)
{
    RW_VAR record;
    record.devType = devType;
    record.address = 100;
    record.count = devType == 8 ? 64 : 16;
    record.station = station;
    record.panelStation = OtherPanel;
    record.subIndex = -1;
    return record;
}

void readScreens(Stress &stress, Worker &self)
{
    while (goesOn(stress, 0)) {
        const Tag &tag = Tags[self.random() % std::size(Tags)];
        const int station = 1 + int(self.random() % 2);
        QByteArray values;
        stress.driver.getRegisterData(0, tag.devType, QString::fromLatin1(tag.addrText), station, &values, tag.count);
        ++self.calls["GetRegisterData"];
        self.blocksRead += tag.block;
        self.torn += tag.block && !isUniform(values);
        if (self.oneIn(8))
            useHelpers(stress, self);
        if (self.oneIn(8))
            lookAtData(stress, self);
    }
}

void writeValues(Stress &stress, Worker &self)
{
    while (goesOn(stress, 1)) {
        const int choice = FirstWrittenTag + int(self.random() % (std::size(Tags) - FirstWrittenTag));
        const Tag &tag = Tags[choice];
        QByteArray values = uniformWords(unsigned(self.random()), tag.bytes);
        const int station = 1 + int(self.random() % 2);
        stress.driver.setRegisterData(QString::fromLatin1("tag"), tag.devType, QString::fromLatin1(tag.addrText),
                                      station, &values, tag.count, 1, choice);
        ++self.calls["SetRegisterData"];
        // Not changed in place after this: Qt reads the reference count relaxed, and a store then looks like a race.
        if (self.oneIn(4))
            queueFinishedWrite(stress, self);
        if (self.oneIn(4))
            queueOnceReads(stress, self);
    }
}

void setUpAgain(Stress &stress, Worker &self)
{
    Exports &driver = stress.driver;
    const int tags = int(std::size(Tags));
    QList<VARDESC> lists[] = {describe(0, tags), describe(0, 1), describe(0, 5), QList<VARDESC>()};
    int memory[2] = {};
    while (goesOn(stress, 2)) {
        if (stress.settingsComeAndGo && self.oneIn(16)) {
            driver.setComInfo(nullptr);
            std::this_thread::yield();
        }
        driver.setComInfo(&stress.settings[self.oneIn(64)]);
        driver.registCallBackFuncIntf(self.oneIn(8) ? nullptr : noteDone,
                                      self.oneIn(2) ? noteFailure : noteFailureAndSettleAnew);
        driver.flashLocalRegister(&memory[self.oneIn(2)], &memory[self.oneIn(2)], &memory[self.oneIn(2)]);
        driver.enCommStation(self.oneIn(2) ? 2 : 5, self.oneIn(3) ? 0 : 1);
        if (self.oneIn(64))
            driver.enCommStation(-1, 0);
        for (const char *name : {"SetComInfo", "RegistCallBackFuncIntf", "FlashLocalRegister", "EnCommStation"})
            ++self.calls[name];
        if (self.oneIn(16)) {
            driver.reCreatReadVarList(lists[self.oneIn(2) ? 0 : self.random() % std::size(lists)]);
            ++self.calls["ReCreatReadVarList"];
        }
    }
    driver.flashLocalRegister(nullptr, nullptr, nullptr);
}
