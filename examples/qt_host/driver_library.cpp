#include "driver_library.h"

#include <dlfcn.h>

DriverLibrary::~DriverLibrary()
{
    if (library)
        ::dlclose(library);
}

bool DriverLibrary::load(const QString &path, QString *error)
{
    library = ::dlopen(path.toLocal8Bit().constData(), RTLD_NOW | RTLD_LOCAL);
    const bool isComplete = library && find("SetComInfo", setComInfo) && find("ReCreatReadVarList", reCreatReadVarList)
                            && find("ComCommunication", comCommunication) && find("DataCom", dataCom)
                            && find("GetRegisterData", getRegisterData) && find("SetRegisterData", setRegisterData);
    if (!isComplete)
        *error = QString::fromLocal8Bit(::dlerror());
    return isComplete;
}

template <class Function>
bool DriverLibrary::find(const char *name, Function &function)
{
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}
