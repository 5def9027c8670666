#include "image/element_access.h"

#include "driver/bytes.h"
#include "image/areas.h"

#include <cstring>

namespace {

template <class Element>
void getBits(QByteArray &out, const Element *area, int start, int count, int bitsPerElement)
{
    growTo(out, count);
    char *const bytes = out.data();
    for (int i = 0; i < count; ++i) {
        const qint64 bit = qint64(start) + i;
        const bool on = bit >= 0 && (elementAt(area, bit / bitsPerElement) >> bit % bitsPerElement & 1) != 0;
        bytes[i] = on ? 1 : 0;
    }
}

template <class Element>
void setBits(int start, Element *area, const QByteArray &in, int count, int bitsPerElement)
{
    for (int i = 0; i < qMin(count, in.size()); ++i) {
        const qint64 bit = qint64(start) + i;
        if (bit < 0)
            continue;
        const qint64 index = bit / bitsPerElement;
        const unsigned mask = 1u << bit % bitsPerElement;
        const unsigned element = elementAt(area, index);
        setElement(area, index, static_cast<Element>(in.at(i) == 1 ? element | mask : element & ~mask));
    }
}

unsigned bigEndianDword(const QByteArray &bytes, qint64 first)
{
    return bigEndianWord(bytes, first) << 16 | bigEndianWord(bytes, first + 2);
}

unsigned littleEndianDword(const QByteArray &bytes, qint64 first)
{
    return littleEndianWord(bytes, first) | littleEndianWord(bytes, first + 2) << 16;
}

const Protocol &inFlight()
{
    return PLC_driver.protocolList.at(0);
}

/// Elements of size bytes that both the request expects and the reply holds whole.
int elementsThere(const QByteArray &reply, int size)
{
    const qint64 held = inFlight().dataOffset < 0 ? 0 : qint64(reply.size()) - inFlight().dataOffset;
    return int(qMax(qint64(0), qMin(qint64(inFlight().dataLen), held) / size));
}

/// The first data byte; the reply's first when it holds none.
const char *dataOf(const QByteArray &reply)
{
    const int offset = inFlight().dataOffset;
    return reply.constData() + (holdsBytes(reply, offset, 1) ? offset : 0);
}

} // namespace

void GetBitFromUC(QByteArray &out, const unsigned char *area, int start, int count)
{
    getBits(out, area, start, count, 8);
}

void GetBitFromUS(QByteArray &out, const unsigned short *area, int start, int count)
{
    getBits(out, area, start, count, 16);
}

void GetWordFromUS(QByteArray &out, const unsigned short *area, int start, int count)
{
    growTo(out, 2 * count);
    char *const bytes = out.data();
    const AreaPart part = partInside(start, count);
    if (part.count < count)
        std::memset(bytes, 0, 2 * size_t(count));
    copyToLittleEndian(bytes + 2 * part.skipped, area + part.index, part.count);
}

void GetWordFromUI(QByteArray &out, const unsigned short *area, int start, int count)
{
    if (count == 1) {
        // The low half alone, which is the second word.
        growTo(out, 2);
        putLittleEndianWord(out.data(), elementAt(area, qint64(start) + 1));
        return;
    }
    growTo(out, count / 2 * 4);
    char *const bytes = out.data();
    for (int k = 0; k < count / 2; ++k) {
        const qint64 high = qint64(start) + 2 * k;
        putLittleEndianWord(bytes + 4 * k, elementAt(area, high + 1));
        putLittleEndianWord(bytes + 4 * k + 2, elementAt(area, high));
    }
}

void GetWordFromUI_DCV(QByteArray &out, const unsigned int *area, int start, int count)
{
    if (count == 1) {
        growTo(out, 2);
        putLittleEndianWord(out.data(), elementAt(area, start));
        return;
    }
    if (count >= 2)
        growTo(out, count / 2 * 2 + 2);
    char *const bytes = out.data();
    for (int k = 0; k < count / 2; ++k) {
        // Two bytes apart on purpose: a later value overlaps the one before.
        const unsigned value = elementAt(area, qint64(start) + k);
        putLittleEndianWord(bytes + 2 * k, value);
        putLittleEndianWord(bytes + 2 * k + 2, value >> 16);
    }
}

void SetBitToUC(int start, unsigned char *area, const QByteArray &in, int count)
{
    setBits(start, area, in, count, 8);
}

void SetBitToUS(int start, unsigned short *area, const QByteArray &in, int count)
{
    setBits(start, area, in, count, 16);
}

void SetWordToUS(int start, unsigned short *area, const QByteArray &in, int count)
{
    const AreaPart part = partInside(start, qMin(count, in.size() / 2));
    copyFromLittleEndian(area + part.index, in.constData() + 2 * part.skipped, part.count);
}

void SetWordToUI(int start, unsigned short *area, const QByteArray &in, int count)
{
    for (int k = 0; k < count / 2 && holdsBytes(in, 4 * qint64(k), 4); ++k) {
        const qint64 high = qint64(start) + 2 * k;
        setElement(area, high, static_cast<unsigned short>(littleEndianWord(in, 4 * qint64(k) + 2)));
        setElement(area, high + 1, static_cast<unsigned short>(littleEndianWord(in, 4 * qint64(k))));
    }
}

void SetWordToUI_DCV(int start, unsigned int *area, const QByteArray &in, int count)
{
    for (int k = 0; k < count && holdsBytes(in, 4 * qint64(k), 4); ++k)
        setElement(area, qint64(start) + k, littleEndianDword(in, 4 * qint64(k)));
}

void SaveBitToUC(const QByteArray &reply, unsigned char *area)
{
    const Protocol &request = inFlight();
    // The division drops the bit: a block is stored from the byte that holds its first one.
    const AreaPart part = partInside(request.var.address / 8, elementsThere(reply, 1));
    std::memcpy(area + part.index, dataOf(reply) + part.skipped, size_t(part.count));
}

void SaveWordToUS(const QByteArray &reply, unsigned short *area)
{
    const AreaPart part = partInside(inFlight().var.address, elementsThere(reply, 2));
    copyFromBigEndian(area + part.index, dataOf(reply) + 2 * part.skipped, part.count);
}

void SaveWordToUI(const QByteArray &reply, unsigned int *area)
{
    const Protocol &request = inFlight();
    const AreaPart part = partInside(request.var.address, elementsThere(reply, 4));
    for (int i = 0; i < part.count; ++i)
        area[part.index + i] = bigEndianDword(reply, request.dataOffset + 4 * (qint64(part.skipped) + i));
}
