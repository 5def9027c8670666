#include "plc_link.h"

#include "tags.h"

#include <QtCore/QTimer>
#include <QtCore/QtEndian>

namespace {

enum { Station = 1 };
enum Milliseconds { Idle = 20, BeforeReopening = 500 };

bool isFailure(int resultCode)
{
    constexpr int WillBeRepeated = 0, GoodReply = 1, GoodRemoteReply = 100;
    return resultCode != WillBeRepeated && resultCode != GoodReply && resultCode != GoodRemoteReply;
}

} // namespace

PlcLink::PlcLink(DriverLibrary &driver, const QString &portPath) : driver(driver), portPath(portPath)
{
    settings.plcStation = Station;
    settings.maxBlockLen = 32;
    settings.retryLimit = 2;
    settings.writeMode = 2; // To the PLC, not only into the image.
}

void PlcLink::start()
{
    driver.setComInfo(&settings);
    QList<VARDESC> descriptions;
    for (const Tag &tag : Tags) {
        VARDESC description;
        description.devType = uchar(tag.devType);
        description.addrText = QLatin1String(tag.address);
        description.count = 1;
        descriptions.append(description);
    }
    driver.reCreatReadVarList(descriptions);
    step();
}

/// Queued by the driver, and sent before its next read.
void PlcLink::write(int tag, int value)
{
    QByteArray bytes(2, '\0');
    qToLittleEndian(quint16(value), bytes.data());
    driver.setRegisterData(QString(), Tags[tag].devType, QLatin1String(Tags[tag].address), Station, &bytes, 1, 0, tag);
}

/// One frame at most, so that writes and the end of the thread come in between.
void PlcLink::step()
{
    int pause = 0;
    if (!line.isOpen() && !line.open(portPath)) {
        enter(NoPort);
        pause = BeforeReopening;
    } else if (const Protocol *const request = driver.comCommunication()) {
        exchange(*request);
    } else {
        pause = Idle;
    }
    QTimer::singleShot(pause, this, &PlcLink::step);
}

/// Each frame has exactly one DataCom, whatever came.
void PlcLink::exchange(const Protocol &request)
{
    QByteArray reply = line.transact(request);
    if (isFailure(driver.dataCom(&reply, reply.size())->resultCode))
        enter(NoAnswer);
    if (settings.finishFlag == 0)
        return;
    settings.finishFlag = 0; // All blocks were answered, one after the other; count anew.
    readTags();
    enter(Good);
}

void PlcLink::readTags()
{
    for (int tag = 0; tag < TagCount; ++tag) {
        QByteArray bytes(2, '\0');
        driver.getRegisterData(0, Tags[tag].devType, QLatin1String(Tags[tag].address), Station, &bytes, 1);
        emit valueRead(tag, qFromLittleEndian<quint16>(bytes.constData()));
    }
}

void PlcLink::enter(State newState)
{
    if (state != newState)
        emit stateChanged(newState);
    state = newState;
}
