#include "tests/model/shim_calls.h"

#include <dlfcn.h>

#include <limits>

QString libraryPath;
std::unique_ptr<Plugin> plugin;
std::string callbacks;
COMINFO settings[3];

namespace {

QByteArray localPath()
{
    return libraryPath.toLocal8Bit();
}

} // namespace

void *symbolAddress(const char *name)
{
    void *library = ::dlopen(localPath().constData(), RTLD_NOW | RTLD_LOCAL);
    void *address = library ? ::dlsym(library, name) : nullptr;
    if (!address)
        giveUp(std::string("no symbol ") + name);
    ::dlclose(library);
    return address;
}

void loadAnew()
{
    plugin.reset();
    if (::dlopen(localPath().constData(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD))
        giveUp("the library stayed loaded");
    plugin.reset(new Plugin);
    QString error;
    if (!plugin->load(libraryPath, &error))
        giveUp(error.toStdString());
    for (COMINFO &record : settings)
        record = COMINFO();
    callbacks.clear();
}

std::string summary()
{
    const Emerson_EC_Series &driver = *plugin->driver;
    const int given = !driver.comInfo ? 0 : driver.comInfo == &settings[1] ? 1 : driver.comInfo == &settings[2] ? 2 : 9;
    return "settings=" + number(given) + ":" + text(settings[1]) + ":" + text(settings[2]) + " counters="
           + numbers(driver.servedList, driver.writeStreak, driver.onceStreak, driver.passCount, driver.failFlag)
           + " lengths="
           + numbers(driver.readList.size(), driver.writeList.size(), driver.onceReadList.size(),
                     driver.protocolList.size(), driver.extendVarList.size(), driver.disabledStations.size(),
                     driver.spareList.size());
}

void noteDone(int channelNo, int connectNo, int varId, int status)
{
    callbacks += "done(" + numbers(channelNo, connectNo, varId, status) + ")";
}

void noteFail(QList<RW_VAR> &list, int connectNo, int flag)
{
    callbacks += "fail(" + numbers(list.size(), connectNo, flag) + ")";
}

std::string keepPointers(Arguments &arguments)
{
    void *pointers[3];
    qint64 beyond[3]; // What a pointer of a 32-bit target has no room for passes by the driver.
    for (int i = 0; i < 3; ++i) {
        const qint64 value = arguments.wide();
        pointers[i] = reinterpret_cast<void *>(quintptr(value));
        beyond[i] = value - qint64(quintptr(value));
    }
    plugin->flashLocalRegister(pointers[0], pointers[1], pointers[2]);
    const auto kept = [](const char *name) { return qint64(quintptr(*symbol<void **>(name))); };
    return numbers(kept("LB") + beyond[0], kept("LW") + beyond[1], kept("RWI") + beyond[2]);
}

std::string comCommunication(Arguments &)
{
    const Protocol *pending = plugin->comCommunication();
    if (!pending)
        return "null";
    const QList<Protocol> &all = plugin->driver->protocolList;
    return (!all.isEmpty() && pending == &all.at(0) ? "head " : "NOT THE HEAD ") + text(*pending);
}

static std::string answered(const RW_VAR *result)
{
    return (result == &plugin->driver->result ? "" : "NOT THE RESULT ") + text(*result);
}

std::string dataCom(Arguments &arguments)
{
    const int length = arguments.integer();
    const std::string hexReply = arguments.word();
    if (hexReply == "null")
        return answered(plugin->dataCom(nullptr, length));
    QByteArray reply = toBytes(hexReply);
    const std::string line = answered(plugin->dataCom(&reply, length));
    return hex(reply) == hexReply ? line : line + " REPLY CHANGED";
}

std::string reply(Arguments &arguments)
{
    const int kind = arguments.integer();
    QByteArray bytes;
    int length = 0;
    const QList<Protocol> &all = plugin->driver->protocolList;
    if (!all.isEmpty()) {
        length = all.at(0).replyLen == -1 ? 9 : all.at(0).replyLen;
        if (length >= 2 && length < 400000) {
            bytes = QByteArray(length - 2, char(kind * 37 + length));
            const unsigned short crc = symbol<decltype(&::CalCRC)>("CalCRC")(
                reinterpret_cast<unsigned char *>(bytes.data()), static_cast<unsigned short>(bytes.size()));
            bytes.append(char(crc & 255)).append(char(crc >> 8));
        }
        const int intMax = std::numeric_limits<int>::max();
        const int wrong[] = {length, length, intMax, -intMax - 1, length, bytes.size() + 1, -1, 1, 0, -2};
        if (kind == 1)
            bytes.chop(1);
        if (kind == 4)
            bytes.clear();
        if (kind < 10)
            length = wrong[kind];
    }
    return text(*plugin->dataCom(&bytes, length));
}

std::string recreate(Arguments &arguments)
{
    QList<VARDESC> descriptions;
    const int size = arguments.integer();
    for (int i = 0; i < size; ++i) {
        VARDESC description;
        description.hostByte0 = 7;
        description.hostWord1 = 77;
        description.devType = static_cast<unsigned char>(arguments.integer());
        description.station = static_cast<unsigned char>(arguments.integer());
        description.addrText = arguments.quoted();
        description.nameText = arguments.quoted();
        description.count = arguments.integer();
        descriptions.append(description);
    }
    const std::string line = number(plugin->reCreatReadVarList(descriptions));
    return descriptions.size() == size ? line : line + " INPUT CHANGED";
}

std::string getRegisterData(Arguments &arguments)
{
    const int devType = arguments.integer();
    const QString addrText = arguments.quoted();
    const int station = arguments.integer();
    const int count = arguments.integer();
    const std::string array = arguments.word();
    if (array == "null")
        return number(plugin->getRegisterData(5, devType, addrText, station, nullptr, count)) + " -";
    QByteArray values = toBytes(array);
    const QByteArray shared = values;
    const int result = plugin->getRegisterData(5, devType, addrText, station, &values, count);
    return number(result) + " " + hex(values) + (hex(shared) == array ? "" : " A COPY CHANGED TOO");
}

std::string setRegisterData(Arguments &arguments)
{
    const QString name = arguments.quoted();
    const int devType = arguments.integer();
    const QString addrText = arguments.quoted();
    const int station = arguments.integer();
    const std::string array = arguments.word();
    QByteArray values = array == "null" ? QByteArray() : toBytes(array);
    const int count = arguments.integer();
    const int connectNo = arguments.integer();
    const int varId = arguments.integer();
    const int result = plugin->setRegisterData(name, devType, addrText, station, array == "null" ? nullptr : &values,
                                               count, connectNo, varId);
    return number(result) + " " + hex(values);
}

void changeStore(Arguments &arguments)
{
    QList<EXTENDVAR> &store = plugin->driver->extendVarList;
    const std::string action = arguments.word();
    if (action == "clear") {
        store.clear();
    } else if (action == "add") {
        store.append(arguments.stored());
    } else {
        const int index = arguments.integer();
        if (index < store.size() && action == "set")
            store[index] = arguments.stored();
        else if (index < store.size())
            store.removeAt(index);
    }
}

std::string checksum(Arguments &arguments, const char *name)
{
    QByteArray bytes = arguments.bytes();
    const auto length = static_cast<unsigned short>(arguments.integer());
    return number(symbol<decltype(&::CalCRC)>(name)(reinterpret_cast<unsigned char *>(bytes.data()), length));
}

std::string toInt(Arguments &arguments)
{
    const int base = arguments.integer();
    bool ok;
    const int value = arguments.quoted().toInt(&ok, base);
    return numbers(ok, value);
}
