#include "frames/read_request.h"

#include "frames/address_map.h"
#include "frames/frame_writer.h"
#include "frames/pending.h"
#include "varlist/device_traits.h"

namespace {

enum { RequestLength = 8 };

void appendRead(const RW_VAR &entry, const DeviceTraits &traits, FunctionCode function, int quantity, qint64 dataLen)
{
    QByteArray &frame = appendPending(entry, readReply(entry.station, dataLen), RequestLength);
    FrameWriter(frame).u8(entry.station).u8(function).u16(modbusNumber(traits.map, entry.address)).u16(quantity).crc();
    startTransaction(1);
}

} // namespace

// The list builders have made base types of the aliases; one that arrives all the same has no builder.
void ReadRegister(const RW_VAR *entry)
{
    if (exceedsElementLimit(*entry))
        return;
    switch (deviceTraits(entry->devType).kind) {
    case Kind::Bit:
        ReadBool(entry);
        break;
    case Kind::Word:
    case Kind::Dword:
        ReadAnalog(entry);
        break;
    case Kind::Pair:
    case Kind::BitInWord:
    case Kind::None:
        break;
    }
}

void ReadBool(const RW_VAR *entry)
{
    // The data length is not cut to 16 bits with the quantity: 8192 bytes ask for 0 coils. Deliberate.
    appendRead(*entry, deviceTraits(entry->devType), ReadCoils, int(unsigned(entry->count) << 3 & 0xFFFF),
               entry->count);
}

void ReadAnalog(const RW_VAR *entry)
{
    const DeviceTraits &traits = deviceTraits(entry->devType);
    const unsigned registers = traits.kind == Kind::Dword ? 2 : 1;
    const unsigned quantity = unsigned(entry->count) * registers & 0xFFFF;
    appendRead(*entry, traits, ReadHoldingRegisters, int(quantity), 2 * qint64(quantity));
}
