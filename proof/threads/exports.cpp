#include "proof/threads/exports.h"

#include <dlfcn.h>

namespace {

template <class Pointer>
bool lookUp(void *library, const char *name, Pointer &pointer)
{
    pointer = reinterpret_cast<Pointer>(::dlsym(library, name));
    return pointer != nullptr;
}

} // namespace

bool Exports::open(const QString &path, QString *error)
{
    if (!load(path, error))
        return false;
    void *const library = ::dlopen(path.toLocal8Bit().constData(), RTLD_NOW | RTLD_NOLOAD);
    const bool complete = library != nullptr && lookUp(library, "CalSUM", calSum) && lookUp(library, "CalLRC", calLrc)
                          && lookUp(library, "CalXOR", calXor) && lookUp(library, "DigitalToASCII", digitalToAscii)
                          && lookUp(library, "ASCIIToDigital", asciiToDigital) && lookUp(library, "LB", lb)
                          && lookUp(library, "LW", lw) && lookUp(library, "RWI", rwi);
    if (library != nullptr)
        ::dlclose(library);
    if (!complete)
        *error = QString::fromLatin1("%1 does not export every helper and pointer").arg(path);
    return complete;
}
