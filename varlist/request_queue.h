/// A queue of requests that is searched, cut and shortened at its head without going through all of it.
#pragma once

#include "driver/records.h"

#include <QtCore/QHash>

/// What makes two queued requests the same.
struct RequestKey {
    int connectNo, varId, station, devType, address, count;
};

/// How one of the driver's queues differs from the other.
struct QueueRules {
    QList<RW_VAR> *list;
    int firstComparable;                 ///< Entries before this position are never the same as a new one.
    RequestKey (*keyOf)(const RW_VAR &); ///< With 0 in what does not count.
    bool (*isCut)(const RW_VAR &);       ///< True for an entry that crosses a boundary of its area.
    int (*cut)(QList<RW_VAR> &);         ///< Cuts all such entries of a list.
};

/// Keeps, beside one of the public lists, where each request is and which entries have been looked at for cutting. A
/// host may change the lists; between two uses a copy that shares the list's memory tells, because whoever changes the
/// list makes it part from that copy. Then everything is looked at anew.
class RequestQueue {
public:
    explicit RequestQueue(const QueueRules &rules) : m_rules(rules) {}

    const QList<RW_VAR> &list() const { return *m_rules.list; }

    /// One use of the queue: only this class changes the list as long as it lives. One at a time.
    /// REQUIRES: listMutex held.
    class Use {
    public:
        explicit Use(RequestQueue &queue) : m_queue(queue) { m_queue.open(); }
        ~Use() { m_queue.close(); }
        Use(const Use &) = delete;
        Use &operator=(const Use &) = delete;

    private:
        RequestQueue &m_queue;
    };

    // All of these within a use.
    void append(const RW_VAR &var) { m_rules.list->append(var); }
    void replace(int position, const RW_VAR &var) { (*m_rules.list)[position] = var; }
    void removeFirst();
    /// Position of the first entry that is the same as var, -1 for none.
    int find(const RW_VAR &var);
    /// Cuts the entries that cross a boundary of their area.
    void cut();

private:
    void open();
    void close() { m_seen = *m_rules.list; }
    void forget();
    void forgetAt(int position);
    void indexTheRest();

    const QueueRules m_rules;
    QList<RW_VAR> m_seen;
    QHash<RequestKey, qint64> m_first; ///< First places, counted from the first entry that the queue ever had.
    qint64 m_removed = 0;              ///< Place of the head.
    int m_indexed = 0;                 ///< Entries that have been put into m_first; the rest is when it is needed.
    int m_whole = 0;                   ///< Entries known not to cross a boundary.
    bool m_hasDuplicates = false;
};

/// Both in write_list.cpp and once_list.cpp.
extern RequestQueue writeQueue;
extern RequestQueue onceReadQueue;
