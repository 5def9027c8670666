/// The keyed store: values of several stations, one record a key, in order of first use.
/// REQUIRES: the lock of store_lock.h held.
#pragma once

#include "driver/records.h"

/// Position in extendVarList of the first record with this key; appended, with two zero bytes, when there is none.
int ExtendFindSameVar(int station, int devType, int address);

/// The records of one station and storage code. One at a time, and nobody else changes the list as long as it lives.
class KeyedRecords {
public:
    KeyedRecords(int station, int storageCode);
    ~KeyedRecords();
    KeyedRecords(const KeyedRecords &) = delete;
    KeyedRecords &operator=(const KeyedRecords &) = delete;

    /// Value bytes of the record at an address, made when there is none; null for an address beyond an int. Valid until
    /// the next call.
    QByteArray *dataAt(qint64 address)
    {
        // A block's records were mostly made one after the other, so its addresses tell where the others are.
        const qint64 likely = m_last + ((address - m_address) >> m_shift);
        if (likely < 0 || likely >= m_guessable || !isAt(int(likely), address))
            return search(address);
        m_last = int(likely);
        m_address = address;
        return &m_records[m_last].data;
    }
    /// Position of the record last looked at; -1 before the first.
    int last() const { return m_last; }

private:
    bool isAt(int position, qint64 address) const
    {
        const EXTENDVAR &record = m_records[position];
        return record.address == address && record.devType == m_code && record.station == m_station;
    }
    QByteArray *search(qint64 address);

    const int m_station;
    const int m_code;
    const int m_shift; ///< Neighbours are 1 << m_shift addresses apart.
    int m_last = -1;
    qint64 m_address = 0; ///< Of the record at m_last.
    int m_guessable;      ///< Positions at which a record with a key is the first with it.
    QList<EXTENDVAR>::iterator m_records;
};
