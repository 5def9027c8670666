/// Which array holds which storage code, and the one place where an index is checked against an area.
#pragma once

#include "driver/driver_object.h"

/// The area of a storage code (a base type); null when it has none of this element type.
unsigned char *bitArea(int storageCode);
unsigned short *wordArea(int storageCode);

inline bool insideArea(qint64 index)
{
    return index >= 0 && index < AreaElements;
}

/// The part of a run of elements that lies inside an area.
struct AreaPart {
    int skipped; ///< Elements of the run before it.
    int index;   ///< Of its first element in the area; 0 when it is empty.
    int count;
};

/// The part of count elements of which the first is at start.
inline AreaPart partInside(int start, int count)
{
    const qint64 first = qMax(qint64(0), qint64(start));
    const qint64 end = qMin(qint64(AreaElements), qint64(start) + count);
    return first < end ? AreaPart{int(first - start), int(first), int(end - first)} : AreaPart{0, 0, 0};
}

/// The element at an index, 0 outside the area.
template <class Element>
Element elementAt(const Element *area, qint64 index)
{
    return insideArea(index) ? area[index] : Element(0);
}

/// Sets the element at an index; nothing outside the area.
template <class Element>
void setElement(Element *area, qint64 index, Element value)
{
    if (insideArea(index))
        area[index] = value;
}
