#include "proof/memory/host_work.h"

#include "proof/plc_answers.h"

#include <iterator>

namespace {

enum { OwnPanel = 3, OtherPanel = 9, Stations = 2 };

struct Tag {
    int devType;
    const char *addrText;
    int count;
};

const Tag Tags[] = {
    {0, "17", 5},   {1, "10", 12},   {2, "2044", 9},  {3, "250", 16},  {4, "1", 1},    {5, "300", 3}, {6, "255", 2},
    {7, "100", 40}, {8, "250", 12},  {9, "0", 3},     {10, "5", 2},    {11, "7", 1},   {12, "20", 4}, {13, "254", 6},
    {14, "30", 2},  {15, "10.3", 1}, {16, "11.9", 2}, {17, "2.0", 20}, {100, "40", 7}, {101, "4", 4}, {102, "9.15", 1},
};

void ignoreDone(int, int, int, int) {}
void ignoreFailure(QList<RW_VAR> &, int, int) {}

QList<VARDESC> describe(int first)
{
    QList<VARDESC> variables;
    for (int i = first; i < int(std::size(Tags)); ++i) {
        VARDESC variable;
        variable.devType = static_cast<unsigned char>(Tags[i].devType);
        variable.station = static_cast<unsigned char>(1 + i % Stations);
        variable.addrText = QString::fromLatin1(Tags[i].addrText);
        variable.nameText = QString::fromLatin1("tag %1").arg(i);
        variable.count = Tags[i].count;
        variables << variable;
    }
    return variables;
}

RW_VAR finishedRecord(int turn, int rwFlag)
{
    RW_VAR record;
    record.rwFlag = rwFlag;
    record.devType = 8;
    record.address = 100 + turn % 3;
    record.count = 4;
    record.station = 1 + turn % Stations;
    record.panelStation = turn % 4 == 0 ? OtherPanel : OwnPanel;
    record.subIndex = turn % 8 == 0 ? -1 : 0;
    record.nameText = QString::fromLatin1("record %1").arg(turn);
    if (rwFlag == 1)
        record.data = QByteArray(8, static_cast<char>(turn));
    return record;
}

} // namespace

Way wayOf(int number)
{
    return {number % 2 != 0, number / 2 % 2 != 0};
}

QString HostWork::begin(const QString &library, Way way)
{
    QString error;
    if (!m_driver.load(library, &error))
        return error;
    const Emerson_EC_Series &state = *m_driver.driver;
    QByteArray values;
    m_driver.getRegisterData(0, 7, QString::fromLatin1("100"), 1, &values, 40);
    if (state.comInfo != nullptr || !state.readList.isEmpty() || !state.writeList.isEmpty()
        || !state.onceReadList.isEmpty() || !state.protocolList.isEmpty() || !state.extendVarList.isEmpty()
        || !state.disabledStations.isEmpty() || values != QByteArray(80, '\0'))
        return QString::fromLatin1("the driver remembers an earlier load");

    m_settings.maxBlockLen = 32;
    m_settings.plcStation = 1;
    m_settings.retryLimit = 1;
    m_settings.writeMode = 2;
    m_settings.ownStation = OwnPanel;
    m_settings.stationScope = way.several;
    m_settings.remoteMode = way.remote;
    m_driver.setComInfo(&m_settings);
    m_driver.registCallBackFuncIntf(ignoreDone, ignoreFailure);
    m_driver.flashLocalRegister(&m_settings, nullptr, nullptr);
    QList<VARDESC> variables = describe(0);
    m_driver.reCreatReadVarList(variables);
    return QString();
}

void HostWork::callAround(int turn)
{
    const Tag &tag = Tags[turn % std::size(Tags)];
    const QString addrText = QString::fromLatin1(tag.addrText);
    QByteArray values;
    m_driver.getRegisterData(0, tag.devType, addrText, 1 + turn % Stations, &values, tag.count);
    // The address that the next load looks at, among others.
    values = QByteArray(2 * tag.count, static_cast<char>(turn % 3 == 0));
    m_driver.setRegisterData(QString::fromLatin1("write %1").arg(turn), tag.devType, addrText, 1, &values, tag.count,
                             turn % 13, turn);
    RW_VAR once = finishedRecord(turn, 0);
    once.addrText = addrText;
    once.devType = tag.devType;
    m_driver.addListOnceReadVar(&once, 0);
    RW_VAR record = finishedRecord(turn, turn % 2);
    if (turn % 7 == 0 && record.rwFlag == 0)
        m_driver.addListOnceReadVar(&record, 1);
    else if (record.rwFlag == 1)
        m_driver.addListWriteVar(&record, turn % 9 == 0);
    if (turn % 64 == 6)
        m_driver.addListReadVar(&record);
    m_driver.enCommStation(turn % 16 == 0 ? -1 : 2, turn % 5 != 0);
    m_driver.plcAddressChangeIntef(tag.devType, addrText);
    if (turn % 50 == 49) {
        QList<VARDESC> variables = describe(turn % 3);
        m_driver.reCreatReadVarList(variables);
    }
}

void HostWork::answer(const Protocol &request, int turn)
{
    QByteArray reply = replyTo(request, unsigned(turn) * 0x0101);
    int len = reply.size();
    switch (turn % 23) {
    case 3: // nothing came
        reply.clear();
        len = 0;
        break;
    case 7: // too little
        reply.chop(1);
        len = reply.size();
        break;
    case 11: // wrong CRC
        if (len > 0)
            reply[len - 1] = static_cast<char>(reply.at(len - 1) ^ 1);
        break;
    case 19: // fewer bytes than the host says
        reply.truncate(2);
        reply.squeeze();
        break;
    }
    const RW_VAR result = *m_driver.dataCom(&reply, len);
    Q_UNUSED(result);
}

bool HostWork::run(int cycles)
{
    // More is queued than goes out, so that some of it is still there when the library goes.
    int answered = 0;
    for (int turn = 0; answered < cycles && turn < 4 * cycles; ++turn) {
        if (turn % 3 == 0)
            callAround(turn / 3);
        const Protocol *request = m_driver.comCommunication();
        if (request == nullptr)
            continue;
        answer(*request, turn);
        ++answered;
    }
    return answered == cycles;
}
