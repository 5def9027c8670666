// Lists, values and helpers
#include "driver/limits.h"
#include "proof/fuzz/check.h"
#include "proof/fuzz/session.h"

namespace {

enum { MostDescriptions = 12 };

unsigned char *bytesOf(QByteArray &bytes)
{
    return reinterpret_cast<unsigned char *>(const_cast<char *>(bytes.constData()));
}

} // namespace

/// Any record. Counts above the limit of a call cost nothing, because no frame is made of them.
RW_VAR HostSession::record()
{
    RW_VAR var = input.record(input.byte() & 1);
    if (var.count <= ElementLimit)
        var.count = affordable();
    var.nameText = name();
    var.addrText = squeezed.text(input.addressText(var.devType));
    var.data = values();
    return var;
}

QString HostSession::name()
{
    return squeezed.text(QString::fromLatin1("abcdef").left(input.below(4)));
}

/// A few bytes, or as many as a large block has.
QByteArray HostSession::values()
{
    QByteArray bytes = input.bytes(input.below(12));
    if (input.oneIn(8))
        bytes.append(QByteArray(qMin(bounds.elements, input.below(4) * 100), '\1'));
    return squeezed.bytes(bytes);
}

void HostSession::rebuildList()
{
    QList<VARDESC> descriptions;
    for (int left = input.below(MostDescriptions); left > 0; --left) {
        VARDESC description;
        description.devType = uchar(input.deviceType());
        description.station = uchar(input.station());
        description.addrText = squeezed.text(input.addressText(description.devType));
        description.nameText = name();
        description.count = affordable();
        descriptions.append(description);
    }
    const int length = ReCreatReadVarList(descriptions);
    DEMAND(length == PLC_driver.readList.size());
    DEMAND(length <= 2 * ElementLimit && (length == 0 || !descriptions.isEmpty()));
}

void HostSession::addRead()
{
    // A host may hand over a record that is the driver's own, here and below.
    if (input.oneIn(8) && !PLC_driver.readList.isEmpty())
        DEMAND(AddListReadVar(&PLC_driver.readList.first()) == PLC_driver.readList.size());
    RW_VAR var = record();
    DEMAND(AddListReadVar(&var) == PLC_driver.readList.size());
    DEMAND(AddListReadVar(nullptr) == 0);
}

void HostSession::addWrite()
{
    RW_VAR var = record();
    QList<RW_VAR> &queue = PLC_driver.writeList;
    const int before = queue.size();
    const int mode = input.oneIn(2) ? 0 : input.below(4);
    RW_VAR *const given = input.oneIn(8) && before > 0 ? &queue.last() : &var;
    DEMAND(AddListWriteVar(given, mode) == queue.size());
    DEMAND(mode == 1 ? queue.size() == before + 1 : queue.size() <= qMax(before, int(QueueLimit)));
    DEMAND(AddListWriteVar(nullptr, mode) == 0);
}

void HostSession::addOnce()
{
    enum { Weight = 16 }; // each piece is compared with the queue
    RW_VAR var = record();
    QList<RW_VAR> &queue = PLC_driver.onceReadList;
    const int before = queue.size();
    const int mode = input.oneIn(2) ? 0 : input.below(4);
    if (mode != 1)
        var.count = affordable(Weight);
    RW_VAR *const given = mode == 1 && input.oneIn(8) && before > 0 ? &queue.last() : &var;
    const int length = AddListOnceReadVar(given, mode);
    DEMAND(length == queue.size() || (length == 0 && mode != 1 && queue.size() == before));
    DEMAND(mode == 1 ? length == before + 1 : queue.size() <= 2 * qMax(before, int(QueueLimit)));
    DEMAND(AddListOnceReadVar(nullptr, mode) == 0);
}

void HostSession::readValues()
{
    const int devType = input.deviceType();
    QByteArray fresh = values();
    QByteArray &array = input.oneIn(2) ? screen : fresh;
    const QByteArray before = array;
    const QString text = squeezed.text(input.addressText(devType));
    const int count = affordable();
    const int answer = GetRegisterData(input.byte(), devType, text, input.station(), &array, count);
    DEMAND(answer == 0 || answer == 1);
    DEMAND(answer == 0 ? array == before : array.size() >= before.size());
    DEMAND(array.constData() == before.constData() || array.constData()[array.size()] == '\0');
    DEMAND(GetRegisterData(0, devType, text, 1, nullptr, count) == 0);
}

void HostSession::writeValues()
{
    const int devType = input.deviceType();
    QByteArray given = values();
    const QByteArray before = given;
    const QString text = squeezed.text(input.addressText(devType));
    const int queued = PLC_driver.writeList.size();
    SetRegisterData(name(), devType, text, input.station(), &given, affordable(), input.below(13), input.below(4));
    DEMAND(given.constData() == before.constData());
    // A cut at a boundary may make two of each.
    DEMAND(PLC_driver.writeList.size() <= 2 * qMax(queued, int(QueueLimit)));
    DEMAND(SetRegisterData(QString(), devType, text, 1, nullptr, 1, 0, 0) == 0);
}

void HostSession::parseAddress()
{
    const int devType = input.deviceType();
    const QString text = squeezed.text(input.addressText(devType));
    DEMAND(PLCAddressChangeIntef(devType, text)
           == PLCAddressChangeIntef(devType, QString::fromLatin1(text.toLatin1())));
}

void HostSession::checksum()
{
    QByteArray bytes = values();
    const auto length = static_cast<unsigned short>(bytes.size());
    const bool isMissing = input.oneIn(8);
    unsigned char *const buffer = isMissing ? nullptr : bytesOf(bytes);
    const bool isEmpty = isMissing || length == 0;
    DEMAND(!isEmpty || CalCRC(buffer, length) == 0xFFFF);
    const int sum = CalSUM(buffer, length);
    DEMAND(!isEmpty || sum == 0);
    DEMAND(CalLRC(buffer, length) == 256 - (sum & 0xFF));
    if (isMissing || length > 0)
        DEMAND(CalXOR(buffer, length) <= 0xFF);
    // Behind its own CRC a text has the CRC 0.
    if (!isEmpty) {
        const unsigned crc = CalCRC(buffer, length);
        QByteArray sealed = squeezed.bytes(bytes + char(crc & 0xFF) + char(crc >> 8));
        DEMAND(CalCRC(bytesOf(sealed), static_cast<unsigned short>(sealed.size())) == 0);
    }
}

void HostSession::digits()
{
    const int value = input.oneIn(2) ? input.byte() : input.anyInt();
    const int digit = DigitalToASCII(value);
    DEMAND(value < 0 || value > 15 || ASCIIToDigital(digit) == value);
    ASCIIToDigital(value);
}
