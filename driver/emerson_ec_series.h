/// Chief header: everything that a host runtime may look up in libemerson_ec_series.so by its plain symbol name.
///
/// Calling order: SetComInfo, FlashLocalRegister and RegistCallBackFuncIntf once; fill the lists; then, from one
/// thread, ComCommunication, send the frame, wait for the reply, DataCom, and again. Everything else but AddListReadVar
/// may be called from any thread. docs/interface.md describes each function in full.
#pragma once

#include "driver/checksum.h"
#include "driver/driver_object.h"
#include "driver/records.h"

extern "C" {

/// The three memory blocks last given to FlashLocalRegister; the driver never reads them.
extern EC_EXPORT void *LB;
extern EC_EXPORT void *LW;
extern EC_EXPORT void *RWI;

// ---- Set-up and station control (host_setup.cpp, station.cpp) ----

/// Gives the driver the host's settings and clears their words 10 and 13. The record must outlive the driver's use of
/// it.
EC_EXPORT void SetComInfo(COMINFO *info);
/// Keeps three host pointers in LB, LW and RWI.
EC_EXPORT void FlashLocalRegister(void *localBits, void *localWords, void *third);
/// Sets both callbacks. They run under listMutex and must not call back into list or write functions.
EC_EXPORT void RegistCallBackFuncIntf(RequestDoneCallback requestDone, CommFailCallback commFail);
/// mode 0 switches a station off, 1 on, others do nothing; a negative station switches all on, whatever the mode.
EC_EXPORT void EnCommStation(int station, int mode);
/// Always 1. Whether a pass is complete is in COMINFO::finishFlag.
EC_EXPORT int QueryFinishFlag();

// ---- The cycle, from one thread (scheduler.cpp, data_com.cpp) ----

/// The frame to send now, or null when there is none. The same frame until DataCom has accepted or given up on it;
/// the pointer is valid until the next DataCom.
EC_EXPORT Protocol *ComCommunication();
/// Takes the len bytes received for the frame in flight (0 after a time-out). Returns the driver's result record, whose
/// resultCode tells the outcome, valid until the next call.
EC_EXPORT RW_VAR *DataCom(QByteArray *reply, int len);

// ---- Variables (varlist/) ----

/// Rebuilds the cyclic read list. Returns its length. Descriptions without a usable address are left out.
EC_EXPORT int ReCreatReadVarList(QList<VARDESC> &descriptions);
/// Appends a finished entry to the cyclic list, without a lock: not while the cycle may run. Returns the new length.
EC_EXPORT int AddListReadVar(RW_VAR *var);
/// Queues a write; mode 1 appends, any other merges with an equal queued write. Returns the queue length.
EC_EXPORT int AddListWriteVar(RW_VAR *var, int mode);
/// Queues a one-shot read; mode 1 appends as it stands, any other converts, cuts and leaves out what is queued already.
/// Returns the queue length, or 0 when the address does not parse. Changes the caller's record.
EC_EXPORT int AddListOnceReadVar(RW_VAR *var, int mode);
/// The element address of an address text, or a negative number when it cannot be used.
EC_EXPORT int PLCAddressChangeIntef(int devType, QString text);

// ---- Values (image/) ----

/// Copies count elements out of the local image into values. Returns 0 when the address does not parse, otherwise 1.
EC_EXPORT int GetRegisterData(int unused, int devType, QString addrText, int station, QByteArray *values, int count);
/// Queues a write of count elements. Returns the queue's length before blocks are cut at a boundary, 1 for a write into
/// the image only, 0 when nothing was done.
EC_EXPORT int SetRegisterData(QString nameText, int devType, QString addrText, int station, QByteArray *values,
                              int count, int connectNo, int varId);

} // extern "C"
