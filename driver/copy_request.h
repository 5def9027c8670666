/// Copies the records of requests, twice in each transaction. The assignment operators of Qt's texts and byte arrays
/// are calls into its library; their copy constructors are not.
#pragma once

#include "driver/records.h"

template <class Shared>
void shareText(const Shared &from, Shared &to)
{
    Shared copy(from);
    to.swap(copy);
}

/// All but the texts and the value bytes.
inline void copyWords(const RW_VAR &from, RW_VAR &to)
{
    to.connectNo = from.connectNo;
    to.varId = from.varId;
    to.rwFlag = from.rwFlag;
    to.hostWord3 = from.hostWord3;
    to.panelStation = from.panelStation;
    to.resultCode = from.resultCode;
    to.devType = from.devType;
    to.address = from.address;
    to.station = from.station;
    to.count = from.count;
    to.subIndex = from.subIndex;
    to.hostWord13 = from.hostWord13;
}

inline void copyRequest(const RW_VAR &from, RW_VAR &to)
{
    copyWords(from, to);
    shareText(from.nameText, to.nameText);
    shareText(from.addrText, to.addrText);
    shareText(from.data, to.data);
}
