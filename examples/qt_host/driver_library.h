/// The driver, loaded by path; its functions by name, with their types from the header.
#pragma once

#include "driver/emerson_ec_series.h"

/// Unloads the driver at its end: no call may be going on then, and nothing that the driver gave out may be kept.
class DriverLibrary {
public:
    DriverLibrary() = default;
    ~DriverLibrary();
    DriverLibrary(const DriverLibrary &) = delete;
    DriverLibrary &operator=(const DriverLibrary &) = delete;

    /// False, and why, when there is no driver at that path.
    bool load(const QString &path, QString *error);

    decltype(&::SetComInfo) setComInfo = nullptr;
    decltype(&::ReCreatReadVarList) reCreatReadVarList = nullptr;
    decltype(&::ComCommunication) comCommunication = nullptr;
    decltype(&::DataCom) dataCom = nullptr;
    decltype(&::GetRegisterData) getRegisterData = nullptr;
    decltype(&::SetRegisterData) setRegisterData = nullptr;

private:
    template <class Function>
    bool find(const char *name, Function &function);

    void *library = nullptr;
};
