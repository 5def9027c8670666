/// The driver as a host sees it: a library loaded by path, its functions found by symbol name.
#pragma once

#include "driver/driver_object.h"
#include "driver/emerson_ec_series.h"
#include "driver/records.h"

#include <QtCore/QString>

/// Copies of the driver's records may share memory with the library: none may outlive this object.
class Plugin {
public:
    Plugin() = default;
    ~Plugin();
    Plugin(const Plugin &) = delete;
    Plugin &operator=(const Plugin &) = delete;

    /// False, with what, where and what was expected, when the file cannot be loaded or lacks a symbol.
    bool load(const QString &path, QString *error);

    decltype(&::SetComInfo) setComInfo = nullptr;
    decltype(&::FlashLocalRegister) flashLocalRegister = nullptr;
    decltype(&::RegistCallBackFuncIntf) registCallBackFuncIntf = nullptr;
    decltype(&::EnCommStation) enCommStation = nullptr;
    decltype(&::QueryFinishFlag) queryFinishFlag = nullptr;
    decltype(&::ComCommunication) comCommunication = nullptr;
    decltype(&::DataCom) dataCom = nullptr;
    decltype(&::ReCreatReadVarList) reCreatReadVarList = nullptr;
    decltype(&::AddListReadVar) addListReadVar = nullptr;
    decltype(&::AddListWriteVar) addListWriteVar = nullptr;
    decltype(&::AddListOnceReadVar) addListOnceReadVar = nullptr;
    decltype(&::PLCAddressChangeIntef) plcAddressChangeIntef = nullptr;
    decltype(&::GetRegisterData) getRegisterData = nullptr;
    decltype(&::SetRegisterData) setRegisterData = nullptr;
    decltype(&::CalCRC) calCrc = nullptr;
    Emerson_EC_Series *driver = nullptr; ///< PLC_driver, the driver's state.

private:
    void *library = nullptr;
};
