#include "host/plugin.h"

#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <dlfcn.h>

namespace {

template <class Pointer>
void lookUp(void *library, const char *name, Pointer &pointer, QStringList &missing)
{
    pointer = reinterpret_cast<Pointer>(::dlsym(library, name));
    if (!pointer)
        missing << QLatin1String(name);
}

} // namespace

Plugin::~Plugin()
{
    if (library)
        ::dlclose(library);
}

bool Plugin::load(const QString &path, QString *error)
{
    if (!QFileInfo(path).isFile()) {
        *error = QString::fromLatin1("no driver at %1: expected the built libemerson_ec_series.so").arg(path);
        return false;
    }
    library = ::dlopen(QFileInfo(path).absoluteFilePath().toLocal8Bit().constData(), RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        *error = QString::fromLatin1("cannot load %1: expected a driver library, the loader says: %2")
                     .arg(path, QString::fromLocal8Bit(::dlerror()));
        return false;
    }
    QStringList missing;
    lookUp(library, "SetComInfo", setComInfo, missing);
    lookUp(library, "FlashLocalRegister", flashLocalRegister, missing);
    lookUp(library, "RegistCallBackFuncIntf", registCallBackFuncIntf, missing);
    lookUp(library, "EnCommStation", enCommStation, missing);
    lookUp(library, "QueryFinishFlag", queryFinishFlag, missing);
    lookUp(library, "ComCommunication", comCommunication, missing);
    lookUp(library, "DataCom", dataCom, missing);
    lookUp(library, "ReCreatReadVarList", reCreatReadVarList, missing);
    lookUp(library, "AddListReadVar", addListReadVar, missing);
    lookUp(library, "AddListWriteVar", addListWriteVar, missing);
    lookUp(library, "AddListOnceReadVar", addListOnceReadVar, missing);
    lookUp(library, "PLCAddressChangeIntef", plcAddressChangeIntef, missing);
    lookUp(library, "GetRegisterData", getRegisterData, missing);
    lookUp(library, "SetRegisterData", setRegisterData, missing);
    lookUp(library, "CalCRC", calCrc, missing);
    lookUp(library, "PLC_driver", driver, missing);
    if (missing.isEmpty())
        return true;
    *error = QString::fromLatin1("%1 is not this driver: expected it to export %2")
                 .arg(path, missing.join(QLatin1String(", ")));
    return false;
}
