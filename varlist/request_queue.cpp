#include "varlist/request_queue.h"

#include <algorithm>

bool operator==(const RequestKey &left, const RequestKey &right)
{
    return left.address == right.address && left.devType == right.devType && left.station == right.station
           && left.count == right.count && left.varId == right.varId && left.connectNo == right.connectNo;
}

uint qHash(const RequestKey &key)
{
    return uint(key.address) * 2654435761u ^ uint(key.devType) * 40503u ^ uint(key.station) * 2246822519u
           ^ uint(key.count) * 3266489917u ^ uint(key.varId) * 668265263u ^ uint(key.connectNo) * 374761393u;
}

void RequestQueue::open()
{
    if (m_seen.constBegin() != list().constBegin())
        forget();
    // The list would be copied whole at its first change otherwise.
    m_seen.clear();
}

void RequestQueue::forget()
{
    m_first.clear();
    m_removed = 0;
    m_indexed = 0;
    m_whole = 0;
    m_hasDuplicates = false;
}

void RequestQueue::removeFirst()
{
    // The entry that is not comparable any more.
    if (m_indexed > m_rules.firstComparable)
        forgetAt(m_rules.firstComparable);
    m_indexed = qMax(0, m_indexed - 1);
    m_whole = qMax(0, m_whole - 1);
    ++m_removed;
    m_rules.list->removeFirst();
    if (list().isEmpty())
        forget();
}

void RequestQueue::forgetAt(int position)
{
    const auto place = m_first.find(m_rules.keyOf(list().at(position)));
    if (place != m_first.end() && place.value() == m_removed + position)
        m_first.erase(place);
}

void RequestQueue::indexTheRest()
{
    m_indexed = qMax(m_indexed, m_rules.firstComparable);
    for (; m_indexed < list().size() && !m_hasDuplicates; ++m_indexed) {
        const RequestKey key = m_rules.keyOf(list().at(m_indexed));
        m_hasDuplicates = m_first.contains(key);
        m_first.insert(key, m_removed + m_indexed);
    }
}

int RequestQueue::find(const RW_VAR &var)
{
    const RequestKey key = m_rules.keyOf(var);
    indexTheRest();
    if (!m_hasDuplicates) {
        const auto place = m_first.constFind(key);
        if (place == m_first.constEnd())
            return -1;
        const qint64 position = place.value() - m_removed;
        if (position >= 0 && position < list().size() && m_rules.keyOf(list().at(int(position))) == key)
            return int(position);
    }
    // Equal entries, which appending without a look and cutting make, would each have to be known by their places.
    for (int i = m_rules.firstComparable; i < list().size(); ++i) {
        if (m_rules.keyOf(list().at(i)) == key)
            return i;
    }
    return -1;
}

void RequestQueue::cut()
{
    const auto first = std::find_if(list().constBegin() + m_whole, list().constEnd(), m_rules.isCut);
    m_whole = list().size();
    if (first == list().constEnd())
        return;
    const int position = int(first - list().constBegin());
    for (; m_indexed > position; --m_indexed)
        forgetAt(m_indexed - 1);
    QList<RW_VAR> rest = list().mid(position);
    m_rules.cut(rest);
    m_rules.list->erase(m_rules.list->begin() + position, m_rules.list->end());
    m_rules.list->append(rest);
    m_whole = list().size();
}
