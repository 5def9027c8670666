/// The commands of the shim that take more than a line, over the library that is loaded now.
#pragma once

#include "host/plugin.h"
#include "tests/model/shim_text.h"

#include <memory>

extern QString libraryPath; ///< Absolute.
extern std::unique_ptr<Plugin> plugin;
extern std::string callbacks; ///< Those of the command that runs.
extern COMINFO settings[3];   ///< [0] is not used: SetComInfo 0 gives a null pointer.

/// A driver as if just loaded, because it is: unloading leaves nothing behind.
void loadAnew();
/// What Plugin does not look up. Valid until loadAnew.
void *symbolAddress(const char *name);
template <class Pointer>
Pointer symbol(const char *name)
{
    return reinterpret_cast<Pointer>(symbolAddress(name));
}

/// The state as far as it is short.
std::string summary();

void noteDone(int channelNo, int connectNo, int varId, int status);
void noteFail(QList<RW_VAR> &list, int connectNo, int flag);

std::string keepPointers(Arguments &arguments);
std::string comCommunication(Arguments &arguments);
std::string dataCom(Arguments &arguments);
/// Answers the frame in flight from its expected length alone. Kinds 1 to 9 are bad replies, any other is a good one.
std::string reply(Arguments &arguments);
std::string recreate(Arguments &arguments);
std::string getRegisterData(Arguments &arguments);
std::string setRegisterData(Arguments &arguments);
void changeStore(Arguments &arguments);
std::string checksum(Arguments &arguments, const char *name);
std::string toInt(Arguments &arguments);

template <class Add>
std::string addVar(Arguments &arguments, Add add)
{
    RW_VAR var;
    if (!arguments.var(&var))
        return number(add(nullptr));
    const int length = add(&var);
    return number(length) + " " + text(var);
}
